// GvGetFileWfx: the format record and the data chunk of a WAVE file.
#include <cstdlib>

#include "files/riff_io.h"
#include "include/gvstream.h"

namespace gv::stream {
namespace {

constexpr DWORD kFmt = GVRIFF_FOURCC('f', 'm', 't', ' ');
constexpr DWORD kData = GVRIFF_FOURCC('d', 'a', 't', 'a');
// A format record cannot be longer than its 18 bytes plus a 16-bit cbSize.
constexpr DWORD kMaxFormat = sizeof(WAVEFORMATEX) + 0xFFFF;

bool IsPcmFamily(const WAVEFORMATEX &w) {
  switch (w.wFormatTag) {
    case WAVE_FORMAT_PCM: case WAVE_FORMAT_IEEE_FLOAT: case GV_WAVE_FORMAT_UNPACKED:
    case GV_WAVE_FORMAT_SIGNED: case GV_WAVE_FORMAT_BIGENDIAN: return true;
  }
  return false;
}

uint64_t FileSize(HANDLE file) {
  DWORD high = 0;
  const DWORD low = GetFileSize(file, &high);
  return uint64_t(high) << 32 | low;
}

// The "fmt " chunk read into a zero-filled block of at least a whole
// WAVEFORMATEX, or null when it is missing or claims more than the file has.
WAVEFORMATEX *ReadFormat(HANDLE file) {
  DWORD size = 0;
  if (riff_FindChunkHeaderInRIFF(file, kFmt, &size, nullptr) != S_OK) return nullptr;
  if (size > kMaxFormat || size > FileSize(file) - riff::Tell(file)) return nullptr;
  auto *wfx = static_cast<WAVEFORMATEX *>(
      std::calloc(1, size > sizeof(WAVEFORMATEX) ? size : sizeof(WAVEFORMATEX)));
  if (!wfx) return nullptr;
  DWORD got = 0;
  if (!riff::ReadBytes(file, wfx, size, &got) || got < 16) {
    std::free(wfx);
    return nullptr;
  }
  GvAudio_FixBadWfx(wfx);
  return wfx;
}

}  // namespace

WAVEFORMATEX *ProbeWave(const char *name, uint64_t *frames, uint64_t *dataOffset) {
  HANDLE file = CreateFileA(name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL | FILE_FLAG_WRITE_THROUGH, nullptr);
  if (file == INVALID_HANDLE_VALUE) return nullptr;
  WAVEFORMATEX *wfx = ReadFormat(file);
  DWORD dataSize = 0;
  if (wfx && !(IsPcmFamily(*wfx) && wfx->nChannels &&
               wfx->nBlockAlign == wfx->nChannels * (wfx->wBitsPerSample / 8) &&
               riff_FindChunkHeaderInRIFF(file, kData, &dataSize, nullptr) == S_OK)) {
    std::free(wfx);
    wfx = nullptr;
  }
  if (wfx) {
    *dataOffset = riff::Tell(file);
    *frames = dataSize / wfx->nBlockAlign;
  }
  CloseHandle(file);
  return wfx;
}

}  // namespace gv::stream

GVAPI(WAVEFORMATEX *) GvGetFileWfx(LPCSTR pszFile, ULONGLONG *pFrames, ULONGLONG *pDataOffset) {
  if (!pszFile) return nullptr;
  uint64_t frames = 0, offset = 0;
  WAVEFORMATEX *wfx = gv::stream::ProbeWave(pszFile, &frames, &offset);
  if (wfx) {
    if (pFrames) *pFrames = frames;
    if (pDataOffset) *pDataOffset = offset;
  }
  return wfx;
}
