// riff_ position helpers and chunk data reads.
#include "files/riff_io.h"
#include "kernel/gmem.h"

using namespace gv::riff;

namespace {

// Bytes between the file pointer and the end of a disk file; false when the
// handle is not a disk file whose size can be asked.
bool BytesLeft(HANDLE file, uint64_t *left) {
  if (GetFileType(file) != FILE_TYPE_DISK) return false;
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file, &size)) return false;
  uint64_t at = Tell(file);
  uint64_t end = static_cast<uint64_t>(size.QuadPart);
  *left = at < end ? end - at : 0;
  return true;
}

}  // namespace

GVAPI(HRESULT) riff_SaveLocation(HANDLE file, DWORD *location) {
  DWORD at = SetFilePointer(file, 0, nullptr, FILE_CURRENT);
  if (location) *location = at;
  return S_OK;
}

GVAPI(HRESULT) riff_RestoreLocation(HANDLE file, DWORD location) {
  SeekTo(file, location);
  return S_OK;
}

GVAPI(HRESULT) riff_SeekDataStart(HANDLE file) {
  SeekTo(file, 12);
  return S_OK;
}

GVAPI(DWORD) riff_SkipChunk(HANDLE file, DWORD size) {
  uint64_t padded = PaddedSize(size);
  SeekBy(file, static_cast<int64_t>(padded));
  return static_cast<DWORD>(padded);
}

GVAPI(HRESULT) riff_ValidateChunkHeader(DWORD id, LONG size) {
  (void)id;
  if (size < 0) return GVRIFF_E_NEGATIVESIZE;
  if (size == 0) return GVRIFF_E_ZEROSIZE;
  return S_OK;
}

GVAPI(HRESULT) riff_ReadData(HANDLE file, void *buffer, DWORD size) {
  if (!buffer && size) return GVRIFF_E_READ;
  if (!ReadBytes(file, buffer, size, nullptr)) return GVRIFF_E_READ;
  if (size & 1) SeekBy(file, 1);
  return S_OK;
}

GVAPI(HRESULT) riff_ReadDataBounded(HANDLE file, void *buffer, DWORD bufferSize,
                                    DWORD chunkSize) {
  DWORD want = bufferSize < chunkSize ? bufferSize : chunkSize;
  if (!buffer && want) return GVRIFF_E_READ;
  DWORD got = 0;
  if (!ReadBytes(file, buffer, want, &got)) return GVRIFF_E_READ;
  SeekBy(file, static_cast<int64_t>(PaddedSize(chunkSize) - got));
  return S_OK;
}

GVAPI(HRESULT) riff_ReadDataAlloc(HANDLE file, tGVRIFFDATA *record) {
  if (!record) return E_INVALIDARG;
  record->data = nullptr;
  if (record->size == 0) return S_OK;
  // A size field can be corrupt: never allocate more than the file can still
  // deliver.
  uint64_t left = 0;
  if (BytesLeft(file, &left) && record->size > left) return GVRIFF_E_READ;
  void *block = gv::GlobalAllocPtr(GMEM_MOVEABLE | GMEM_ZEROINIT, record->size);
  if (!block) return E_OUTOFMEMORY;
  HRESULT hr = riff_ReadData(file, block, record->size);
  if (hr != S_OK) {
    gv::GlobalFreePtr(block);
    return hr;
  }
  record->data = block;
  return S_OK;
}
