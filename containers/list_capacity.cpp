// Capacity of the slot array: it grows and shrinks in whole growth steps.
#include <cstring>

#include "containers/list.h"

namespace gv::list {

HRESULT Reallocate(tGVLIST *l, int64_t capacity) {
  int64_t bytes = capacity * l->slotSize;
  if (capacity < 0 || bytes > kMaxSlotBytes) return E_OUTOFMEMORY;
  void *slots = nullptr;
  if (bytes == 0) {
    // A moveable block reallocated to nothing would be discarded, so an
    // empty capacity simply has no slot array.
    if (l->slots) {
      HGLOBAL h = GlobalHandle(l->slots);
      GlobalUnlock(h);
      GlobalFree(h);
    }
  } else if (!l->slots) {
    HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, static_cast<SIZE_T>(bytes));
    slots = h ? GlobalLock(h) : nullptr;
    if (!slots) {
      if (h) GlobalFree(h);
      return E_OUTOFMEMORY;
    }
  } else {
    HGLOBAL h = GlobalHandle(l->slots);
    GlobalUnlock(h);
    HGLOBAL moved = GlobalReAlloc(h, static_cast<SIZE_T>(bytes), GMEM_MOVEABLE | GMEM_ZEROINIT);
    slots = moved ? GlobalLock(moved) : nullptr;
    if (!slots) {
      // The old block is still valid when reallocation fails.
      l->slots = GlobalLock(moved ? moved : h);
      return E_OUTOFMEMORY;
    }
    if (capacity > l->allocated)
      memset(static_cast<BYTE *>(slots) + static_cast<SIZE_T>(l->allocated) * l->slotSize, 0,
             static_cast<SIZE_T>(capacity - l->allocated) * l->slotSize);
  }
  l->slots = slots;
  l->allocated = static_cast<LONG>(capacity);
  return S_OK;
}

HRESULT Grow(tGVLIST *l, int slots) {
  int64_t amount = RoundToGrowth(l, slots > 0 ? slots : l->growth);
  return Reallocate(l, l->allocated + amount);
}

HRESULT Shrink(tGVLIST *l, int slots) {
  int64_t unused = l->allocated - l->count;
  int64_t amount = RoundToGrowth(l, slots < 0 ? unused : slots);
  if (amount > unused) amount -= l->growth;
  // Never below the count, however many slots were asked for.
  if (amount > unused) amount = unused / l->growth * l->growth;
  if (amount < 1) return S_OK;
  return Reallocate(l, l->allocated - amount);
}

}  // namespace gv::list

GVAPI(HRESULT) GvList_GrowAllocated(tGVLIST *list, int slots) {
  if (!list) return E_FAIL;
  gv::list::Access access(list);
  if (!access.allowed()) return E_FAIL;
  return gv::list::Grow(list, slots);
}

GVAPI(HRESULT) GvList_ShrinkAllocated(tGVLIST *list, int slots) {
  if (!list) return E_FAIL;
  gv::list::Access access(list);
  if (!access.allowed()) return E_FAIL;
  return gv::list::Shrink(list, slots);
}
