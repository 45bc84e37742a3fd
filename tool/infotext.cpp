#include "infotext.h"

namespace gvtool {

unsigned long long ChunksEnd(DWORD rest, unsigned long long fileSize) {
  const DWORD size = rest + 4;  // the header's own value again
  if (size <= 4 || size == 0xFFFFFFFFu || 8ull + size > fileSize) return fileSize;
  return 8ull + size;
}

HRESULT LoadFileInfo(HANDLE file, tGVINFOLIST *list) {
  list->nCount = 0;
  list->pItems = nullptr;
  LARGE_INTEGER fileSize = {};
  if (!GetFileSizeEx(file, &fileSize)) return HRESULT_FROM_WIN32(GetLastError());
  riff_RestoreLocation(file, 0);
  DWORD rest = 0;
  HRESULT hr = riff_ReadFileID(file, &rest, nullptr);
  if (hr != S_OK) return hr;
  const unsigned long long end = ChunksEnd(rest, (unsigned long long)fileSize.QuadPart);
  LONG budget = LONG(end - 12 > 0x7FFFFFFF ? 0x7FFFFFFF : end - 12);
  DWORD size = 0;
  hr = riff_FindListChunk(file, GVINFO_ID_INFO, &size, &budget);
  if (hr == GVRIFF_E_NOTFOUND) return S_OK;
  if (hr != S_OK) return hr;
  if (size > 0x7FFFFFFF) return GVRIFF_E_READ;  // a LIST smaller than its type
  LONG remaining = static_cast<LONG>(size);
  hr = infolist_Load(file, list, &remaining);
  return hr < 0 ? hr : S_OK;
}

std::string CodeText(DWORD code) {
  char text[8];
  GvFourCCToString(code, text);
  return text;
}

std::string InfoDisplayName(DWORD code) {
  for (int i = 0; i < GVSUMMARY_COUNT; ++i) {
    const tGVSUMMARYITEM *item = GvSummary_GetItem(i);
    if (GvSummary_GetFCC(item) == code && item->szName[0]) return item->szName;
  }
  return CodeText(code);
}

}  // namespace gvtool
