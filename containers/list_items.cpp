// Items owned by the list: blocks from its private heap or the global heap.
#include <cstring>

#include "containers/list.h"
#include "kernel/gmem.h"

namespace gv::list {

namespace {

// Global item blocks are zero-filled when the list's zero-fill bit is set.
UINT GlobalFlags(const tGVLIST *l) {
  return GMEM_MOVEABLE | ((l->itemAllocFlags & HEAP_ZERO_MEMORY) ? GMEM_ZEROINIT : 0);
}

}  // namespace

void *AllocBlock(tGVLIST *l, DWORD size) {
  if (l->itemHeap) return HeapAlloc(l->itemHeap, l->itemAllocFlags, size);
  return gv::GlobalAllocPtr(GlobalFlags(l), size);
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

}  // namespace gv::list

using gv::list::Access;

GVAPI(HRESULT) GvList_AllocItem(tGVLIST *list, const void *contents, DWORD size, int index,
                                int *newIndex) {
  if (newIndex) *newIndex = -1;
  if (!list) return E_FAIL;
  Access access(list);
  if (!access.allowed() || !gv::list::OwnsItems(list) || size == 0) return E_FAIL;
  if (index < 0 || index > list->count) index = list->count;
  void *block = gv::list::AllocBlock(list, size);
  if (!block) return E_OUTOFMEMORY;
  HRESULT hr = gv::list::Insert(list, index, &block, 1);
  if (FAILED(hr)) {
    gv::list::FreeBlock(list, block);
    return hr;
  }
  if (contents) memcpy(block, contents, size);
  if (newIndex) *newIndex = index;
  return S_OK;
}

GVAPI(HRESULT) GvList_ReAllocItem(tGVLIST *list, int index, DWORD size) {
  if (!list) return E_FAIL;
  Access access(list);
  if (!access.allowed() || !gv::list::OwnsItems(list) || size == 0) return E_FAIL;
  if (index < 0 || index >= list->count) return E_FAIL;
  void *block = gv::list::Stored(list, index);
  if (!block) return E_FAIL;
  void *resized = nullptr;
  if (list->itemHeap) {
    resized = HeapReAlloc(list->itemHeap, list->itemAllocFlags, block, size);
  } else {
    if (!GlobalHandle(block)) return E_FAIL;
    resized = block;
    if (!gv::list::ResizeGlobal(&resized, size, gv::list::GlobalFlags(list))) resized = nullptr;
  }
  if (!resized) return E_OUTOFMEMORY;
  gv::list::Store(list, index, resized);
  return S_OK;
}

GVAPI(DWORD) GvList_AllocSize(tGVLIST *list, int index) {
  if (!list) return 0;
  Access access(list);
  if (!access.allowed()) return 0;
  if (index >= 0) {
    // An inline item is its slot, so its size needs no item and no index check.
    if (gv::list::IsInline(list)) return list->slotSize;
    if (index >= list->count) return 0;
    return gv::list::OwnsItems(list) ? gv::list::BlockSize(list, gv::list::Stored(list, index)) : 0;
  }
  DWORD total = GVLIST_RECORD_SIZE;
  if (list->slots) total += static_cast<DWORD>(GlobalSize(GlobalHandle(list->slots)));
  if (gv::list::OwnsItems(list))
    for (LONG i = 0; i < list->count; ++i)
      total += gv::list::BlockSize(list, gv::list::Stored(list, i));
  return total;
}
