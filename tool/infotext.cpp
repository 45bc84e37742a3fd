#include "infotext.h"

namespace gvtool {

HRESULT LoadFileInfo(HANDLE file, tGVINFOLIST *list) {
  list->nCount = 0;
  list->pItems = nullptr;
  DWORD size = 0;
  HRESULT hr = riff_FindListChunkFromStart(file, GVINFO_ID_INFO, &size);
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
