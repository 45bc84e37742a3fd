// Items owned by the list: blocks from its private heap or the global heap.
#include <cstring>

#include "containers/list.h"
#include "kernel/gmem.h"

namespace gv::list {

namespace {

// Global item blocks are zero-filled when the list's zero-fill bit is set.
UINT ItemGlobalFlags(const tGVLIST *l) {
  return GMEM_MOVEABLE | ((l->itemAllocFlags & HEAP_ZERO_MEMORY) ? GMEM_ZEROINIT : 0);
}

}  // namespace

void *AllocBlock(tGVLIST *l, DWORD size) {
  if (l->itemHeap) return HeapAlloc(l->itemHeap, l->itemAllocFlags, size);
  return gv::GlobalAllocPtr(ItemGlobalFlags(l), size);
}

void FreeBlock(tGVLIST *l, void *block) {
  if (!block) return;
  if (l->itemHeap)
    HeapFree(l->itemHeap, l->itemFreeFlags, block);
  else
    gv::GlobalFreePtr(block);
}

DWORD BlockSize(const tGVLIST *l, const void *block) {
  if (!block) return 0;
  if (l->itemHeap) {
    SIZE_T size = HeapSize(l->itemHeap, l->itemAllocFlags & ~HEAP_NO_SERIALIZE, block);
    return size == static_cast<SIZE_T>(-1) ? 0 : static_cast<DWORD>(size);
  }
  HGLOBAL h = GlobalHandle(block);
  return h ? static_cast<DWORD>(GlobalSize(h)) : 0;
}

HRESULT AddItem(tGVLIST *l, const void *contents, DWORD size, int index, int *newIndex) {
  if (index < 0 || index > l->count) index = l->count;
  void *block = AllocBlock(l, size);
  if (!block) return E_OUTOFMEMORY;
  HRESULT hr = Insert(l, index, &block, 1);
  if (FAILED(hr)) {
    FreeBlock(l, block);
    return hr;
  }
  if (contents) memcpy(block, contents, size);
  if (newIndex) *newIndex = index;
  return S_OK;
}

HRESULT ResizeItem(tGVLIST *l, int index, DWORD size) {
  void *block = Stored(l, index);
  if (!block) return E_FAIL;
  void *resized = nullptr;
  if (l->itemHeap) {
    resized = HeapReAlloc(l->itemHeap, l->itemAllocFlags, block, size);
  } else {
    if (!GlobalHandle(block)) return E_FAIL;
    resized = block;
    if (!ResizeGlobal(&resized, size, ItemGlobalFlags(l))) resized = nullptr;
  }
  if (!resized) return E_OUTOFMEMORY;
  Store(l, index, resized);
  return S_OK;
}

DWORD AllocSize(const tGVLIST *l, int index) {
  if (index >= 0) {
    // An inline item is its slot, so its size needs no item and no index check.
    if (IsInline(l)) return l->slotSize;
    if (index >= l->count) return 0;
    return OwnsItems(l) ? BlockSize(l, Stored(l, index)) : 0;
  }
  DWORD total = GVLIST_RECORD_SIZE;
  if (l->slots) total += static_cast<DWORD>(GlobalSize(GlobalHandle(l->slots)));
  if (OwnsItems(l))
    for (LONG i = 0; i < l->count; ++i) total += BlockSize(l, Stored(l, i));
  return total;
}

}  // namespace gv::list

using gv::list::Access;

GVAPI(HRESULT) GvList_AllocItem(tGVLIST *list, const void *contents, DWORD size, int index,
                                int *newIndex) {
  if (newIndex) *newIndex = -1;
  if (!list) return E_FAIL;
  Access access(list);
  if (!access.allowed() || !gv::list::OwnsItems(list) || size == 0) return E_FAIL;
  return gv::list::AddItem(list, contents, size, index, newIndex);
}

GVAPI(HRESULT) GvList_ReAllocItem(tGVLIST *list, int index, DWORD size) {
  if (!list) return E_FAIL;
  Access access(list);
  if (!access.allowed() || !gv::list::OwnsItems(list) || size == 0) return E_FAIL;
  if (index < 0 || index >= list->count) return E_FAIL;
  return gv::list::ResizeItem(list, index, size);
}

GVAPI(DWORD) GvList_AllocSize(tGVLIST *list, int index) {
  if (!list) return 0;
  Access access(list);
  if (!access.allowed()) return 0;
  return gv::list::AllocSize(list, index);
}
