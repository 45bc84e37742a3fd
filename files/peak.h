// The open peak file and the operations its exports share.
#pragma once

#include <cstdint>

#include "include/gvpeak.h"

struct tGVAUDIOPEAK {
  tGVPEAKHEADER header;
  DWORD modified;   // created by this record and not yet stamped
  DWORD temporary;  // a temporary "FPEAK%.03u.TMP" file
  char peakName[MAX_PATH];
  char sourceName[MAX_PATH];
  char tempDir[MAX_PATH];
  DWORD halfElement;  // 2 x channels
  DWORD elementSize;  // 4 x channels
  DWORD cacheDirty;
  DWORD cacheFirst;  // first cached element, all ones when empty
  DWORD cacheCount;
  DWORD cacheBytes;     // 4096
  DWORD cacheCapacity;  // elements the cache holds
  unsigned char cache[4096];
  HANDLE file;
};

namespace gv::peak {

constexpr DWORD kHeaderSize = 64;
constexpr DWORD kVersion = 100;
constexpr DWORD kMaxChannels = 1024;  // bounds a header's channel count

uint64_t Frames(const tGVPEAKHEADER &h);
void SetFrames(tGVPEAKHEADER &h, uint64_t frames);

// Writes back cached elements; false when that fails.
bool FlushCache(tGVAUDIOPEAK &p);

// The elements of `frames` frames of pData summarised into `out` (room for
// frames / per + 1 elements); returns the number of elements. False result
// (-1) for a format without peaks.
int64_t Summarise(const WAVEFORMATEX &wfx, const void *pData, DWORD frames, DWORD perElement,
                  short *out);

// Writes elements at `offset` bytes into the element area.
HRESULT WriteElements(tGVAUDIOPEAK &p, const WAVEFORMATEX &wfx, const void *data, DWORD frames,
                      uint64_t *offset);

// Writes `count` summarised elements covering `frames` frames at `offset`
// bytes into the element area, and counts the frames in the header.
HRESULT WriteSummary(tGVAUDIOPEAK &p, const short *elements, int64_t count, uint64_t frames,
                     uint64_t *offset);

}  // namespace gv::peak
