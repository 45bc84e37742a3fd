// Insertion, deletion and moving of item ranges.
#include <algorithm>
#include <cstring>

#include "containers/list.h"
#include "kernel/gmem.h"

namespace gv::list {

HRESULT Insert(tGVLIST *l, int index, const void *items, int count) {
  if (index < 0 || index > l->count) index = l->count;
  // Growth happens when the free slots can't take the items; for a full list
  // that is the whole inserted count in growth steps, as callers expect.
  int64_t unused = l->allocated - l->count;
  if (unused < count) {
    HRESULT hr = Grow(l, static_cast<int>(count - unused));
    if (FAILED(hr)) return hr;
  }
  SIZE_T size = l->slotSize;
  memmove(Slot(l, index + count), Slot(l, index), (l->count - index) * size);
  memcpy(Slot(l, index), items, count * size);
  l->count += count;
  return S_OK;
}

HRESULT Delete(tGVLIST *l, int index, int count, BOOL shrink) {
  // "To the end" is counted without wrapping, so an index far before the
  // start is refused below rather than read as an empty range.
  int64_t wanted = count < 0 ? int64_t{l->count} - index : count;
  if (wanted < 1) return S_OK;
  if (index < 0 || index > l->count - 1) return E_FAIL;
  count = static_cast<int>(std::min<int64_t>(wanted, l->count - index));

  if (OwnsItems(l))
    for (int i = index; i < index + count; ++i) FreeBlock(l, Stored(l, i));
  SIZE_T size = l->slotSize;
  memmove(Slot(l, index), Slot(l, index + count), (l->count - index - count) * size);
  memset(Slot(l, l->count - count), 0, count * size);
  l->count -= count;

  if (shrink && l->allocated - l->count > l->growth) Shrink(l, l->allocated - l->count);
  return S_OK;
}

HRESULT Move(tGVLIST *l, int from, int to, int count) {
  int64_t block = count < 0 ? int64_t{l->count} - std::max(from, to) : count;
  if (from + block > l->count || to + block > l->count) return E_FAIL;
  if (block < 1 || from == to) return S_OK;
  // A real block that starts before the first item names no items: refused.
  if (from < 0 || to < 0) return E_FAIL;
  count = static_cast<int>(block);

  SIZE_T size = l->slotSize;
  SIZE_T blockBytes = count * size;
  // Small blocks go through the stack; larger ones through a global block.
  BYTE local[512];
  BYTE *scratch = local;
  if (blockBytes > sizeof local) {
    scratch = static_cast<BYTE *>(gv::GlobalAllocPtr(GMEM_MOVEABLE, blockBytes));
    if (!scratch) return E_OUTOFMEMORY;
  }
  memcpy(scratch, Slot(l, from), blockBytes);
  if (from < to)
    memmove(Slot(l, from), Slot(l, from + count), (to - from) * size);
  else
    memmove(Slot(l, to + count), Slot(l, to), (from - to) * size);
  memcpy(Slot(l, to), scratch, blockBytes);
  if (scratch != local) gv::GlobalFreePtr(scratch);
  return S_OK;
}

}  // namespace gv::list

using gv::list::Access;

GVAPI(HRESULT) GvList_InsertList(tGVLIST *list, int index, const void *items, int count) {
  if (!list || count < 0 || (count > 0 && !items)) return E_FAIL;
  Access access(list);
  if (!access.allowed()) return E_FAIL;
  if (count == 0) return S_OK;
  return gv::list::Insert(list, index, items, count);
}

GVAPI(HRESULT) GvList_DeleteList(tGVLIST *list, int index, int count, BOOL shrink) {
  if (!list) return E_FAIL;
  // An empty deletion succeeds at once, whatever the index.
  if (count >= 0 && count < 1) return S_OK;
  Access access(list);
  if (!access.allowed()) return E_FAIL;
  return gv::list::Delete(list, index, count, shrink);
}

GVAPI(HRESULT) GvList_MoveRange(tGVLIST *list, int from, int to, int count) {
  if (!list) return E_FAIL;
  Access access(list);
  if (!access.allowed()) return E_FAIL;
  return gv::list::Move(list, from, to, count);
}
