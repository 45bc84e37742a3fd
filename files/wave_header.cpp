// Calls only the library's exports, so gvtool builds it in as well.
#include "files/wave_header.h"

#include "include/gvriff.h"

namespace gv {

bool WritePlainWaveHeaders(const char *path, const WAVEFORMATEX &wfx, DWORD dataBytes) {
  HANDLE h = CreateFileA(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return false;
  const DWORD pad = dataBytes & 1;
  DWORD put = 0;
  const BYTE zero = 0;
  bool ok = riff_WriteFileID(h, GVRIFF_FOURCC('W', 'A', 'V', 'E'), 0) == S_OK &&
            riff_WriteChunkHeader(h, GVRIFF_FOURCC('f', 'm', 't', ' '), 16) == S_OK &&
            WriteFile(h, &wfx, 16, &put, nullptr) && put == 16 &&
            riff_WriteChunkHeader(h, GVRIFF_FOURCC('d', 'a', 't', 'a'), dataBytes) == S_OK;
  if (ok && pad)
    ok = SetFilePointer(h, 0, nullptr, FILE_END) != INVALID_SET_FILE_POINTER &&
         WriteFile(h, &zero, 1, &put, nullptr) && put == 1;
  ok = ok && riff_SetRIFFSize(h, kPlainWaveHeaderBytes - 8 + dataBytes + pad) == S_OK;
  const DWORD error = GetLastError();
  CloseHandle(h);
  SetLastError(error);
  return ok;
}

}  // namespace gv
