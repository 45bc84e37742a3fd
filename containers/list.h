// Internals of the dynamic list shared by its source files.
#pragma once

#include <cstdint>

#include "include/gvlist.h"

static_assert(sizeof(void *) != 4 || sizeof(tGVLIST) == GVLIST_RECORD_SIZE,
              "the list record is 76 bytes on 32-bit Windows");

namespace gv::list {

// Holds a thread-safe list's lock for the length of one call. Unlocked lists
// compare GetCurrentThread() with the creator's value instead; both are the
// same pseudo-handle in every thread, so unlocked lists work from any thread
// and callers rely on that.
class Access {
 public:
  explicit Access(tGVLIST *list) : list_(list) {
    if (list_->options & GVLIST_THREADSAFE) {
      EnterCriticalSection(&list_->lock);
      locked_ = true;
    } else {
      allowed_ = GetCurrentThread() == list_->ownerThread;
    }
  }
  ~Access() {
    if (locked_) LeaveCriticalSection(&list_->lock);
  }
  Access(const Access &) = delete;
  Access &operator=(const Access &) = delete;
  bool allowed() const { return allowed_; }

 private:
  tGVLIST *list_;
  bool locked_ = false;
  bool allowed_ = true;
};

inline bool IsInline(const tGVLIST *l) { return (l->options & GVLIST_INLINE) != 0; }
inline bool OwnsItems(const tGVLIST *l) { return (l->options & GVLIST_OWNITEMS) != 0; }

inline BYTE *Slot(const tGVLIST *l, LONG index) {
  return static_cast<BYTE *>(l->slots) + static_cast<SIZE_T>(index) * l->slotSize;
}
// The 32-bit value of a slot of a non-inline list.
inline void *Stored(const tGVLIST *l, LONG index) {
  return *reinterpret_cast<void **>(Slot(l, index));
}
inline void Store(tGVLIST *l, LONG index, void *value) {
  *reinterpret_cast<void **>(Slot(l, index)) = value;
}
// What callbacks see: the slot itself for inline lists, else its value.
inline const void *ItemValue(const tGVLIST *l, LONG index) {
  return IsInline(l) ? static_cast<const void *>(Slot(l, index)) : Stored(l, index);
}

// `amount` rounded up to whole growth steps (amount >= 0).
inline int64_t RoundToGrowth(const tGVLIST *l, int64_t amount) {
  return (amount + l->growth - 1) / l->growth * l->growth;
}

// Largest slot array the list will ask for; anything bigger is refused as
// out of memory before the allocator is asked.
constexpr int64_t kMaxSlotBytes = 0x7FFF0000;

// A new list with clamped counts, options checked by the caller.
HRESULT Create(tGVLIST **list, int itemSize, int initialCount, int growth, DWORD options);

// Capacity changes; the caller holds the list.
HRESULT Grow(tGVLIST *l, int slots);
HRESULT Shrink(tGVLIST *l, int slots);
// Reallocates the slot array to `capacity` slots (zero-filling new slots).
HRESULT Reallocate(tGVLIST *l, int64_t capacity);

// Resizes a locked block from gv::GlobalAllocPtr to `bytes`; *block is the
// block afterwards, still locked: the new one, or the old one on failure.
bool ResizeGlobal(void **block, SIZE_T bytes, UINT flags);

// The editing algorithms behind the exports; the caller holds the list and
// has checked the arguments the exports check. Results as the exports'.
HRESULT Insert(tGVLIST *l, int index, const void *items, int count);
HRESULT Delete(tGVLIST *l, int index, int count, BOOL shrink);
HRESULT Move(tGVLIST *l, int from, int to, int count);
// Inserts every item of src at its sorted place in dest; the caller holds src.
void SortInto(tGVLIST *dest, tGVLIST *src, GVLISTSORTPROC compare);

// Sorted insertion index in the normalised range; caller holds the list.
int SortedInsertIndex(tGVLIST *l, const void *key, int start, int count,
                      GVLISTSORTPROC compare);

// Owned-item blocks: allocation with the list's flags, size, release.
void *AllocBlock(tGVLIST *l, DWORD size);
void FreeBlock(tGVLIST *l, void *block);
DWORD BlockSize(const tGVLIST *l, const void *block);
// Allocates an owned block and inserts it at index (negative or beyond the
// count: append); resizes the owned block at index. The caller holds the
// list and has checked that it owns its items.
HRESULT AddItem(tGVLIST *l, const void *contents, DWORD size, int index, int *newIndex);
HRESULT ResizeItem(tGVLIST *l, int index, DWORD size);
// Bytes held by the list (negative index) or by one item.
DWORD AllocSize(const tGVLIST *l, int index);

}  // namespace gv::list
