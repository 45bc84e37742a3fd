#include "files/riff_io.h"

#include <cstring>

namespace gv::riff {

bool ReadBytes(HANDLE file, void *buffer, DWORD size, DWORD *got) {
  DWORD n = 0;
  BOOL ok = size == 0 ? TRUE : ReadFile(file, buffer, size, &n, nullptr);
  if (!ok) n = 0;
  if (n < size && buffer) std::memset(static_cast<BYTE *>(buffer) + n, 0, size - n);
  if (got) *got = n;
  return ok != FALSE;
}

bool WriteBytes(HANDLE file, const void *buffer, DWORD size) {
  if (size == 0) return true;
  DWORD n = 0;
  return WriteFile(file, buffer, size, &n, nullptr) && n == size;
}

bool SeekBy(HANDLE file, int64_t distance) {
  LARGE_INTEGER d;
  d.QuadPart = distance;
  return SetFilePointerEx(file, d, nullptr, FILE_CURRENT) != FALSE;
}

bool SeekTo(HANDLE file, uint64_t offset) {
  LARGE_INTEGER d;
  d.QuadPart = static_cast<LONGLONG>(offset);
  return SetFilePointerEx(file, d, nullptr, FILE_BEGIN) != FALSE;
}

uint64_t Tell(HANDLE file) {
  LARGE_INTEGER zero, at;
  zero.QuadPart = 0;
  at.QuadPart = 0;
  SetFilePointerEx(file, zero, &at, FILE_CURRENT);
  return static_cast<uint64_t>(at.QuadPart);
}

HRESULT ReadHeader(HANDLE file, Header *header) {
  DWORD got = 0;
  header->got = 0;
  if (!ReadBytes(file, &header->id, 4, &got)) return GVRIFF_E_READ;
  header->got = got;
  if (!ReadBytes(file, &header->size, 4, &got)) return GVRIFF_E_READ;
  header->got += got;
  return S_OK;
}

}  // namespace gv::riff
