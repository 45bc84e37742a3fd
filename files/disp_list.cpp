// DISP lists: the data of wanted clipboard formats read from "DISP" chunks,
// and written back one chunk per entry.
#include "files/info.h"
#include "files/riff_io.h"
#include "kernel/gmem.h"

namespace gv::info {
namespace {

constexpr DWORD kDisp = GVINFO_ID_DISP;

void FreeData(tGVDISPLIST *list) {
  for (DWORD i = 0; i < list->nCount; ++i) {
    FreeBlock(list->pItems[i].pData);
    list->pItems[i].pData = nullptr;
    list->pItems[i].cbData = 0;
  }
}

tGVDISPITEM *Find(const tGVDISPLIST &list, DWORD format) {
  for (DWORD i = 0; i < list.nCount; ++i)
    if (list.pItems[i].dwFormat == format) return &list.pItems[i];
  return nullptr;
}

// Reads the data of one "DISP" chunk of `size` bytes whose format word has
// been read into the entry it belongs to.
HRESULT ReadData(HANDLE file, tGVDISPITEM *entry, DWORD size) {
  const DWORD bytes = size - 4;
  void *data = bytes ? GlobalAllocPtr(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes) : nullptr;
  if (bytes && !data) return E_OUTOFMEMORY;
  DWORD got = 0;
  if (!riff::ReadBytes(file, data, bytes, &got) || got != bytes) {
    FreeBlock(data);
    return GVRIFF_E_READ;
  }
  if (size & 1) riff::SeekBy(file, 1);
  FreeBlock(entry->pData);  // of several chunks of one format the last wins
  entry->pData = data;
  entry->cbData = bytes;
  return S_OK;
}

HRESULT Scan(HANDLE file, tGVDISPLIST *list, int64_t budget) {
  while (budget >= 8) {
    riff::Header h;
    if (riff::ReadHeader(file, &h) != S_OK || h.got != 8) return GVRIFF_E_READ;
    budget -= 8;
    const uint64_t padded = riff::PaddedSize(h.size);
    const bool pastEnd = h.size > BytesLeft(file);
    if (h.id != kDisp) {
      if (pastEnd) return S_OK;  // a cut-off chunk (a truncated data) ends the list
      riff::SeekBy(file, int64_t(padded));
      budget -= int64_t(padded);
      continue;
    }
    if (pastEnd || h.size > budget) return GVRIFF_E_READ;
    if (h.size < 4) return GVRIFF_E_READ;  // shorter than its format word
    DWORD format = 0, got = 0;
    if (!riff::ReadBytes(file, &format, 4, &got) || got != 4) return GVRIFF_E_READ;
    if (tGVDISPITEM *entry = Find(*list, format)) {
      const HRESULT hr = ReadData(file, entry, h.size);
      if (hr != S_OK) return hr;
    } else {
      riff::SeekBy(file, int64_t(padded) - 4);
    }
    budget -= int64_t(padded);
  }
  return S_OK;
}

}  // namespace

HRESULT LoadDisp(HANDLE file, tGVDISPLIST *list, LONG remaining) {
  if (list->nCount == 0) return S_OK;
  riff::PositionKeeper keep(file);
  const HRESULT hr = Scan(file, list, remaining);
  if (hr != S_OK) FreeData(list);
  return hr;
}

HRESULT SaveDisp(HANDLE file, const tGVDISPLIST &list, DWORD *written) {
  DWORD total = 0;
  for (DWORD i = 0; i < list.nCount; ++i) {
    const tGVDISPITEM &e = list.pItems[i];
    if (!e.pData) continue;
    if (e.cbData > 0xFFFFFFF0u) return E_INVALIDARG;
    const DWORD size = e.cbData + 4;
    const BYTE zero = 0;
    if (riff_WriteChunkHeader(file, kDisp, size) != S_OK || !riff::WriteBytes(file, &e.dwFormat, 4) ||
        !riff::WriteBytes(file, e.pData, e.cbData) || ((size & 1) && !riff::WriteBytes(file, &zero, 1)))
      return GVRIFF_E_WRITE;
    total += 8 + size + (size & 1);
  }
  if (written) *written = total;
  return S_OK;
}

}  // namespace gv::info

GVAPI(HRESULT) displist_Load(HANDLE file, tGVDISPLIST *list, LONG *remaining) {
  if (!list || (list->nCount && !list->pItems)) return E_INVALIDARG;
  return gv::info::LoadDisp(file, list, remaining ? *remaining : 0);
}

GVAPI(HRESULT) displist_Save(HANDLE file, const tGVDISPLIST *list, DWORD *written) {
  if (written) *written = 0;
  if (!list || (list->nCount && !list->pItems)) return E_INVALIDARG;
  return gv::info::SaveDisp(file, *list, written);
}

GVAPI(tGVDISPITEM *) displist_GetItem(const tGVDISPLIST *list, DWORD format) {
  return list && list->pItems ? gv::info::Find(*list, format) : nullptr;
}

GVAPI(HRESULT) displist_Free(tGVDISPLIST *list) {
  if (list && list->pItems) gv::info::FreeData(list);
  return S_OK;
}
