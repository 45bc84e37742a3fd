// INFO lists on disk: loaded from and saved to a "LIST" "INFO" chunk, and
// one item's text read straight from a file.
#include <cstring>

#include "files/info.h"
#include "files/riff_io.h"
#include "kernel/gmem.h"

namespace gv::info {
namespace {

constexpr DWORD kInfo = GVINFO_ID_INFO;

// Reads one entry's text; the bytes after its first zero stay zero.
HRESULT ReadEntry(HANDLE file, tGVINFOITEM *item, int64_t *budget, bool bounded) {
  riff::Header h;
  if (riff::ReadHeader(file, &h) != S_OK || h.got != 8) return GVRIFF_E_READ;
  *budget -= 8;
  if ((bounded && h.size > *budget) || h.size > BytesLeft(file)) return GVRIFF_E_READ;
  item->fcc = h.id;
  if (h.size == 0) return S_OK;  // no text: the item counts as absent
  char *text = static_cast<char *>(GlobalAllocPtr(GMEM_MOVEABLE | GMEM_ZEROINIT, h.size));
  if (!text) return E_OUTOFMEMORY;
  item->pszText = text;
  DWORD got = 0;
  if (!riff::ReadBytes(file, text, h.size, &got) || got != h.size) return GVRIFF_E_READ;
  const char *end = static_cast<const char *>(std::memchr(text, 0, h.size));
  if (!end) return GVRIFF_E_READ;  // the text must end inside its chunk
  std::memset(text + (end - text), 0, h.size - (end - text));
  if (h.size & 1) riff::SeekBy(file, 1);
  *budget -= riff::PaddedSize(h.size);
  return S_OK;
}

void Empty(tGVINFOLIST *list) {
  list->nCount = 0;
  list->pItems = nullptr;
}

void FreeList(tGVINFOLIST *list) { infolist_Free(list); }

}  // namespace

HRESULT Load(HANDLE file, tGVINFOLIST *list, LONG *remaining) {
  Empty(list);
  if (remaining && *remaining < 0) return GVRIFF_E_READ;  // a LIST smaller than its type word
  const uint64_t start = riff::Tell(file);
  LONG copy = remaining ? *remaining : 0;
  const LONG count = riff_GetNumListEntries(file, remaining ? &copy : nullptr);
  if (count < 1) return count;
  // Every entry takes at least a header of the file.
  if (uint64_t(count) * 8 > BytesLeft(file)) return GVRIFF_E_READ;
  auto *items = static_cast<tGVINFOITEM *>(
      GlobalAllocPtr(GMEM_MOVEABLE | GMEM_ZEROINIT, uint64_t(count) * sizeof(tGVINFOITEM)));
  if (!items) return E_OUTOFMEMORY;
  list->pItems = items;
  list->nCount = static_cast<DWORD>(count);
  riff::SeekTo(file, start);
  int64_t budget = remaining ? *remaining : 0;
  for (LONG i = 0; i < count; ++i) {
    const HRESULT hr = ReadEntry(file, &items[i], &budget, remaining != nullptr);
    if (hr != S_OK) {
      FreeList(list);
      riff::SeekTo(file, start);
      return hr;
    }
  }
  return S_OK;
}

HRESULT Save(HANDLE file, const tGVINFOLIST &list, DWORD *written) {
  if (list.nCount == 0) return S_OK;
  const uint64_t start = riff::Tell(file);
  if (riff_WriteListHeader(file, kInfo, 0) != S_OK) return GVRIFF_E_WRITE;
  DWORD listSize = 4;
  for (DWORD i = 0; i < list.nCount; ++i) {
    const tGVINFOITEM &item = list.pItems[i];
    if (!item.pszText) continue;
    const DWORD size = static_cast<DWORD>(std::strlen(item.pszText) + 1);
    if (riff_WriteChunkHeader(file, item.fcc, size) != S_OK ||
        !riff::WriteBytes(file, item.pszText, size))
      return GVRIFF_E_WRITE;
    const DWORD pad = size & 1;
    // The pad byte is the item's index, as the family's files have it.
    const BYTE padByte = static_cast<BYTE>(i);
    if (pad && !riff::WriteBytes(file, &padByte, 1)) return GVRIFF_E_WRITE;
    listSize += size + pad + 8;
  }
  const uint64_t end = riff::Tell(file);
  riff::SeekTo(file, start + 4);
  const bool ok = riff::WriteBytes(file, &listSize, 4);
  riff::SeekTo(file, end);
  if (!ok) return GVRIFF_E_WRITE;
  if (written) *written = listSize + 8;
  return S_OK;
}

HRESULT StringFromFile(HANDLE file, DWORD code, char *buffer, LONG *remaining) {
  riff::PositionKeeper keep(file);
  DWORD listSize = 0;
  HRESULT hr = riff_FindListChunk(file, kInfo, &listSize, remaining);
  if (hr != S_OK) return hr;
  // A LIST smaller than its type word reports a wrapped size.
  if (listSize >= 0xFFFFFFFCu || listSize > BytesLeft(file)) return GVRIFF_E_READ;
  LONG inner = static_cast<LONG>(listSize);
  DWORD size = 0;
  hr = riff_FindChunkHeader(file, code, &size, &inner);
  if (hr != S_OK) return hr;
  if (size > BytesLeft(file) || size >= 0x7FFFFFFFu) return GVRIFF_E_READ;
  char *text = static_cast<char *>(GlobalAllocPtr(GMEM_MOVEABLE | GMEM_ZEROINIT, size + 1));
  if (!text) return E_OUTOFMEMORY;
  DWORD got = 0;
  hr = riff::ReadBytes(file, text, size, &got) && got == size ? S_OK : GVRIFF_E_READ;
  if (hr == S_OK) std::memcpy(buffer, text, std::strlen(text) + 1);
  FreeBlock(text);
  return hr;
}

}  // namespace gv::info

GVAPI(HRESULT) infolist_Load(HANDLE file, tGVINFOLIST *list, LONG *remaining) {
  if (!list) return E_INVALIDARG;
  return gv::info::Load(file, list, remaining);
}

GVAPI(HRESULT) infolist_Save(HANDLE file, const tGVINFOLIST *list, DWORD *written) {
  if (written) *written = 0;
  if (!list) return E_INVALIDARG;
  return gv::info::Save(file, *list, written);
}

GVAPI(HRESULT) infolist_GetStringFromFile(HANDLE file, DWORD code, LPSTR buffer, WORD,
                                          LONG *remaining) {
  if (!buffer) return E_INVALIDARG;
  return gv::info::StringFromFile(file, code, buffer, remaining);
}
