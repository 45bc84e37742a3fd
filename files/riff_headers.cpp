// riff_ chunk, list and file headers, and chunk writes.
#include "files/riff_io.h"

using namespace gv::riff;

GVAPI(HRESULT) riff_ReadChunkHeader(HANDLE file, DWORD *id, DWORD *size) {
  if (!id || !size) return E_INVALIDARG;
  Header h;
  HRESULT hr = ReadHeader(file, &h);
  *id = h.id;
  if (hr == S_OK) *size = h.size;
  return hr;
}

GVAPI(HRESULT) riff_ReadListHeader(HANDLE file, DWORD *listType, DWORD *size) {
  if (!listType || !size) return E_INVALIDARG;
  Header h;
  HRESULT hr = ReadHeader(file, &h);
  if (hr != S_OK) return hr;
  *size = h.size;
  if (h.id != GVRIFF_ID_LIST) {
    *listType = h.id;
    return GVRIFF_E_NOTLIST;
  }
  *size = h.size - 4;
  DWORD type = 0;
  if (!ReadBytes(file, &type, 4, nullptr)) return GVRIFF_E_READ;
  *listType = type;
  return S_OK;
}

GVAPI(HRESULT) riff_ReadFileID(HANDLE file, DWORD *size, DWORD *formType) {
  Header h;
  ReadHeader(file, &h);  // a failed read leaves zeros, which the id test rejects
  if (size) *size = h.size - 4;
  if (h.id != GVRIFF_ID_RIFF) return GVRIFF_E_NOTRIFF;
  DWORD form = 0;
  if (!ReadBytes(file, &form, 4, nullptr)) return GVRIFF_E_READ;
  if (formType) *formType = form;
  return S_OK;
}

GVAPI(HRESULT) riff_WriteChunkHeader(HANDLE file, DWORD id, DWORD size) {
  if (!WriteBytes(file, &id, 4) || !WriteBytes(file, &size, 4)) return GVRIFF_E_WRITE;
  return S_OK;
}

GVAPI(HRESULT) riff_WriteChunk(HANDLE file, DWORD id, const void *data, DWORD size,
                               DWORD *written) {
  if (!data && size) return E_INVALIDARG;
  HRESULT hr = riff_WriteChunkHeader(file, id, size);
  if (hr != S_OK) return hr;
  if (!WriteBytes(file, data, size)) return GVRIFF_E_WRITE;
  DWORD pad = size & 1;
  if (pad) {
    const BYTE zero = 0;
    if (!WriteBytes(file, &zero, 1)) return GVRIFF_E_WRITE;
  }
  if (written) *written = size + pad + 8;
  return S_OK;
}

GVAPI(HRESULT) riff_WriteListHeader(HANDLE file, DWORD listType, DWORD size) {
  if (riff_WriteChunkHeader(file, GVRIFF_ID_LIST, size) != S_OK) return GVRIFF_E_WRITE;
  if (!WriteBytes(file, &listType, 4)) return GVRIFF_E_WRITE;
  return S_OK;
}

GVAPI(HRESULT) riff_WriteFileID(HANDLE file, DWORD formType, DWORD size) {
  // Only the form type's write decides the result; callers rely on that.
  riff_WriteChunkHeader(file, GVRIFF_ID_RIFF, size);
  if (!WriteBytes(file, &formType, 4)) return GVRIFF_E_WRITE;
  return S_OK;
}

GVAPI(HRESULT) riff_SetRIFFSize(HANDLE file, DWORD size) {
  PositionKeeper keep(file);
  SeekTo(file, 4);
  return WriteBytes(file, &size, 4) ? S_OK : GVRIFF_E_WRITE;
}

GVAPI(HRESULT) riff_UpdateRIFFSize(HANDLE file, LONG difference) {
  PositionKeeper keep(file);
  SeekTo(file, 4);
  DWORD size = 0;
  if (!ReadBytes(file, &size, 4, nullptr)) return GVRIFF_E_WRITE;
  size += static_cast<DWORD>(difference);
  SeekTo(file, 4);
  return WriteBytes(file, &size, 4) ? S_OK : GVRIFF_E_WRITE;
}
