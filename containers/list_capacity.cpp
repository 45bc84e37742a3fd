// Capacity of the slot array: it grows and shrinks in whole growth steps.
#include <cstring>

#include "containers/list.h"
#include "kernel/gmem.h"

namespace gv::list {

bool ResizeGlobal(void **block, SIZE_T bytes, UINT flags) {
  HGLOBAL h = GlobalHandle(*block);
  GlobalUnlock(h);
  HGLOBAL moved = GlobalReAlloc(h, bytes, flags);
  // A failed reallocation leaves the old block valid: lock it again.
  *block = GlobalLock(moved ? moved : h);
  return moved && *block;
}

HRESULT Reallocate(tGVLIST *l, int64_t capacity) {
  int64_t bytes = capacity * l->slotSize;
  if (capacity < 0 || bytes > kMaxSlotBytes) return E_OUTOFMEMORY;
  const UINT flags = GMEM_MOVEABLE | GMEM_ZEROINIT;
  if (bytes == 0) {
    // A moveable block reallocated to nothing would be discarded, so an
    // empty capacity simply has no slot array.
    gv::GlobalFreePtr(l->slots);
    l->slots = nullptr;
  } else if (!l->slots) {
    l->slots = gv::GlobalAllocPtr(flags, static_cast<SIZE_T>(bytes));
    if (!l->slots) return E_OUTOFMEMORY;
  } else {
    if (!ResizeGlobal(&l->slots, static_cast<SIZE_T>(bytes), flags)) return E_OUTOFMEMORY;
    if (capacity > l->allocated)
      memset(Slot(l, l->allocated), 0, static_cast<SIZE_T>(capacity - l->allocated) * l->slotSize);
  }
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
