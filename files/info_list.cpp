// INFO lists in memory: items looked up, set, copied, compared and freed.
#include <cstring>

#include "files/info.h"
#include "kernel/gmem.h"
#include "files/riff_io.h"

namespace gv::info {

uint64_t BytesLeft(HANDLE file) {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file, &size)) return UINT64_MAX;
  const uint64_t at = riff::Tell(file);
  return static_cast<uint64_t>(size.QuadPart) > at ? static_cast<uint64_t>(size.QuadPart) - at : 0;
}

char *CopyText(const char *text) {
  const size_t size = std::strlen(text) + 1;
  char *block = static_cast<char *>(GlobalAllocPtr(GMEM_MOVEABLE | GMEM_ZEROINIT, size));
  if (block) std::memcpy(block, text, size);
  return block;
}

void FreeBlock(const void *block) { GlobalFreePtr(block); }

namespace {

LONG IndexOf(const tGVINFOLIST &list, DWORD code) {
  for (DWORD i = 0; i < list.nCount; ++i)
    if (list.pItems[i].fcc == code) return static_cast<LONG>(i);
  return GVRIFF_E_NOTFOUND;
}

void Free(tGVINFOLIST *list) {
  if (list->pItems) {
    for (DWORD i = 0; i < list->nCount; ++i) FreeBlock(list->pItems[i].pszText);
    FreeBlock(list->pItems);
  }
  list->pItems = nullptr;
  list->nCount = 0;
}

// Appends `code` with a copy of text (null or "": no text).
HRESULT Append(tGVINFOLIST *list, DWORD code, const char *text) {
  char *copy = nullptr;
  if (text && *text && !(copy = CopyText(text))) return E_OUTOFMEMORY;
  auto *items = static_cast<tGVINFOITEM *>(
      GlobalAllocPtr(GMEM_MOVEABLE | GMEM_ZEROINIT, (list->nCount + 1) * sizeof(tGVINFOITEM)));
  if (!items) {
    FreeBlock(copy);
    return E_OUTOFMEMORY;
  }
  if (list->pItems) {
    std::memcpy(items, list->pItems, list->nCount * sizeof(tGVINFOITEM));
    FreeBlock(list->pItems);
  }
  items[list->nCount].fcc = code;
  items[list->nCount].pszText = copy;
  list->pItems = items;
  ++list->nCount;
  return S_OK;
}

HRESULT Set(tGVINFOLIST *list, DWORD code, const char *text) {
  const LONG index = IndexOf(*list, code);
  if (index < 0) return Append(list, code, text);
  tGVINFOITEM &item = list->pItems[index];
  char *copy = nullptr;
  if (text && !(copy = CopyText(text))) return E_OUTOFMEMORY;
  FreeBlock(item.pszText);
  item.pszText = copy;
  return S_OK;
}

HRESULT Copy(tGVINFOLIST *out, const tGVINFOLIST &source) {
  out->nCount = 0;
  out->pItems = nullptr;
  if (source.nCount == 0) return S_OK;
  auto *items = static_cast<tGVINFOITEM *>(
      GlobalAllocPtr(GMEM_MOVEABLE | GMEM_ZEROINIT, source.nCount * sizeof(tGVINFOITEM)));
  if (!items) return E_OUTOFMEMORY;
  out->pItems = items;
  out->nCount = source.nCount;
  for (DWORD i = 0; i < source.nCount; ++i) {
    items[i].fcc = source.pItems[i].fcc;
    if (source.pItems[i].pszText && !(items[i].pszText = CopyText(source.pItems[i].pszText))) {
      Free(out);
      return E_OUTOFMEMORY;
    }
  }
  return S_OK;
}

bool Equal(const tGVINFOLIST &a, const tGVINFOLIST &b) {
  if (a.nCount != b.nCount) return false;
  for (DWORD i = 0; i < a.nCount; ++i) {
    const char *x = a.pItems[i].pszText, *y = b.pItems[i].pszText;
    if (!x != !y) return false;
    if (x && std::strcmp(x, y) != 0) return false;
  }
  return true;
}

}  // namespace
}  // namespace gv::info

GVAPI(HRESULT) infolist_Free(tGVINFOLIST *list) {
  if (list) gv::info::Free(list);
  return S_OK;
}

GVAPI(LONG) infolist_GetItemIndex(const tGVINFOLIST *list, DWORD code) {
  return list ? gv::info::IndexOf(*list, code) : GVRIFF_E_NOTFOUND;
}

GVAPI(LPSTR) infolist_GetItemText(const tGVINFOLIST *list, DWORD code) {
  const LONG index = infolist_GetItemIndex(list, code);
  return index < 0 ? nullptr : list->pItems[index].pszText;
}

GVAPI(HRESULT) infolist_SetItem(tGVINFOLIST *list, DWORD code, LPCSTR text) {
  if (!list) return E_INVALIDARG;
  return gv::info::Set(list, code, text);
}

GVAPI(HRESULT) infolist_Copy(tGVINFOLIST *out, const tGVINFOLIST *source) {
  if (!out || !source) return E_INVALIDARG;
  return gv::info::Copy(out, *source);
}

GVAPI(BOOL) infolist_Compare(const tGVINFOLIST *a, const tGVINFOLIST *b) {
  return a && b && gv::info::Equal(*a, *b) ? TRUE : FALSE;
}
