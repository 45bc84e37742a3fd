// Probes of WAVE files: GvGetFileWfx as the stream family has always had
// it, and GvGetFileWfxEx, which also takes extensible records and the sizes
// programs writing to a pipe leave unset.
#include <cstdlib>

#include "files/riff_io.h"
#include "include/gvstream.h"

namespace gv::stream {
namespace {

constexpr DWORD kFmt = GVRIFF_FOURCC('f', 'm', 't', ' ');
constexpr DWORD kData = GVRIFF_FOURCC('d', 'a', 't', 'a');
// A format record cannot be longer than its 18 bytes plus a 16-bit cbSize.
constexpr DWORD kMaxFormat = sizeof(WAVEFORMATEX) + 0xFFFF;

bool IsUsable(const WAVEFORMATEX &w) {
  switch (w.wFormatTag) {
    case WAVE_FORMAT_PCM: case WAVE_FORMAT_IEEE_FLOAT: case GV_WAVE_FORMAT_UNPACKED:
    case GV_WAVE_FORMAT_SIGNED: case GV_WAVE_FORMAT_BIGENDIAN: break;
    default: return false;
  }
  // A block align of 0 (fewer than 8 bits) would pass the rule but cannot
  // count frames.
  return w.nBlockAlign && w.nBlockAlign == w.nChannels * (w.wBitsPerSample / 8);
}

uint64_t FileSize(HANDLE file) {
  DWORD high = 0;
  const DWORD low = GetFileSize(file, &high);
  return uint64_t(high) << 32 | low;
}

// The format chunk of `size` bytes at the file position, in a zero-filled
// block of at least a whole WAVEFORMATEX; null when it is shorter than 16
// bytes or claims more than the file holds.
WAVEFORMATEX *ReadFormat(HANDLE file, DWORD size) {
  if (size < 16 || size > kMaxFormat || size > FileSize(file) - riff::Tell(file)) return nullptr;
  auto *wfx = static_cast<WAVEFORMATEX *>(
      std::calloc(1, size > sizeof(WAVEFORMATEX) ? size : sizeof(WAVEFORMATEX)));
  if (!wfx) return nullptr;
  DWORD got = 0;
  if (!riff::ReadBytes(file, wfx, size, &got) || got < size) {
    std::free(wfx);
    return nullptr;
  }
  GvAudio_FixBadWfx(wfx);
  return wfx;
}

HANDLE OpenForProbe(const char *name) {
  return CreateFileA(name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                     FILE_ATTRIBUTE_NORMAL | FILE_FLAG_WRITE_THROUGH, nullptr);
}

WAVEFORMATEX *Probe(HANDLE file, uint64_t *frames, uint64_t *dataOffset) {
  DWORD size = 0;
  if (riff_FindChunkHeaderInRIFF(file, kFmt, &size, nullptr) != S_OK) return nullptr;
  WAVEFORMATEX *wfx = ReadFormat(file, size);
  if (wfx && IsUsable(*wfx) && riff_FindChunkHeaderInRIFF(file, kData, &size, nullptr) == S_OK) {
    *dataOffset = riff::Tell(file);
    *frames = size / wfx->nBlockAlign;
    return wfx;
  }
  std::free(wfx);
  return nullptr;
}

// The chunk budget of a file: its RIFF size, unless that is unset (0 or all
// ones) or larger than the file, when the file's own size counts.
LONG Budget(DWORD riffSize, uint64_t fileSize, bool *unset) {
  *unset = riffSize == 0 || riffSize == 0xFFFFFFFF;
  uint64_t budget = fileSize > 12 ? fileSize - 12 : 0;
  if (!*unset && uint64_t(riffSize) - 4 < budget) budget = riffSize >= 4 ? riffSize - 4 : 0;
  return budget > 0x7FFFFFF8 ? LONG(0x7FFFFFF8) : LONG(budget);
}

WAVEFORMATEX *ProbeEx(HANDLE file, tGVWAVEINFO *info) {
  DWORD riffSize = 0, form = 0, size = 0;
  riff_RestoreLocation(file, 0);
  if (riff_ReadFileID(file, &riffSize, &form) != S_OK) return nullptr;
  const uint64_t fileSize = FileSize(file);
  bool unset = false;
  const LONG budget = Budget(riffSize, fileSize, &unset);
  LONG left = budget;
  if (riff_FindChunkHeader(file, kFmt, &size, &left) != S_OK) return nullptr;
  WAVEFORMATEX *wfx = ReadFormat(file, size);
  if (!wfx) return nullptr;
  info->wFileTag = wfx->wFormatTag;
  if (wfx->wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
    if (GvAudio_ReduceExtensible(wfx, wfx, &info->dwChannelMask) != S_OK) {
      std::free(wfx);
      return nullptr;
    }
    info->dwFlags |= GVWAVE_EXTENSIBLE;
  }
  riff::SeekTo(file, 12);
  left = budget;
  if (!IsUsable(*wfx) || riff_FindChunkHeader(file, kData, &size, &left) != S_OK) {
    std::free(wfx);
    return nullptr;
  }
  info->nDataOffset = riff::Tell(file);
  info->nDataSize = size;
  const uint64_t present = fileSize - info->nDataOffset;
  if (size == 0xFFFFFFFF || (size == 0 && present && unset)) {
    info->dwFlags |= GVWAVE_STREAMED;  // read to the end of the file
    info->nFrames = present / wfx->nBlockAlign;
  } else if (size > present) {
    info->dwFlags |= GVWAVE_TRUNCATED;
    info->nFrames = present / wfx->nBlockAlign;
  } else {
    info->nFrames = size / wfx->nBlockAlign;
  }
  return wfx;
}

}  // namespace
}  // namespace gv::stream

GVAPI(WAVEFORMATEX *) GvGetFileWfx(LPCSTR pszFile, ULONGLONG *pFrames, ULONGLONG *pDataOffset) {
  if (!pszFile) return nullptr;
  HANDLE file = gv::stream::OpenForProbe(pszFile);
  if (file == INVALID_HANDLE_VALUE) return nullptr;
  uint64_t frames = 0, offset = 0;
  WAVEFORMATEX *wfx = gv::stream::Probe(file, &frames, &offset);
  CloseHandle(file);
  if (wfx) {
    if (pFrames) *pFrames = frames;
    if (pDataOffset) *pDataOffset = offset;
  }
  return wfx;
}

GVAPI(WAVEFORMATEX *) GvGetFileWfxEx(LPCSTR pszFile, tGVWAVEINFO *pInfo) {
  if (!pszFile || !pInfo || pInfo->cbSize < sizeof(tGVWAVEINFO)) return nullptr;
  tGVWAVEINFO info{};
  info.cbSize = sizeof info;
  HANDLE file = gv::stream::OpenForProbe(pszFile);
  if (file == INVALID_HANDLE_VALUE) return nullptr;
  WAVEFORMATEX *wfx = gv::stream::ProbeEx(file, &info);
  CloseHandle(file);
  if (wfx) *pInfo = info;
  return wfx;
}
