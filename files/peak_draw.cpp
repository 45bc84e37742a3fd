// Draw data: the elements under each pixel reduced to one minimum and one
// maximum per channel, read in large pieces through the scratch buffer, or
// through the element cache when the whole view fits in it.
#include <cstring>

#include "files/peak.h"
#include "kernel/scratch.h"

namespace gv::peak {
namespace {

// Elements of the element area, read in order: a window over the file that
// moves forward as pixels ask for later elements.
class ElementReader {
 public:
  // `first`, `count`: what the buffer holds already (the element cache).
  ElementReader(tGVAUDIOPEAK &p, unsigned char *buffer, DWORD bytes, uint64_t first = 0,
                uint64_t count = 0)
      : p_(p), buffer_(buffer), capacity_(bytes / p.elementSize), first_(first), count_(count) {}

  uint64_t first() const { return first_; }
  uint64_t count() const { return count_; }

  // Element e, or null past the data or on a read error (*failed set).
  const short *Get(uint64_t e, bool *failed) {
    if (e < first_ || e >= first_ + count_) {
      first_ = e;
      count_ = 0;
      LARGE_INTEGER at;
      at.QuadPart = LONGLONG(p_.header.dwDataOffset + e * p_.elementSize);
      DWORD got = 0;
      if (!SetFilePointerEx(p_.file, at, nullptr, FILE_BEGIN) ||
          !ReadFile(p_.file, buffer_, capacity_ * p_.elementSize, &got, nullptr)) {
        *failed = true;
        return nullptr;
      }
      count_ = got / p_.elementSize;
      if (!count_) return nullptr;
    }
    return reinterpret_cast<const short *>(buffer_ + (e - first_) * p_.elementSize);
  }

 private:
  tGVAUDIOPEAK &p_;
  unsigned char *buffer_;
  DWORD capacity_;
  uint64_t first_, count_;
};

// Reduces channels ch[0 .. n-1] of the elements under each pixel into out
// (min, max per channel per pixel).
BOOL Reduce(tGVAUDIOPEAK &p, uint64_t first, int64_t count, const DWORD *ch, int n, short *out,
            int pixels) {
  const DWORD per = p.header.nFramesPerElement;
  if (pixels <= 0 || pixels > 32768 || !per || count / pixels < int64_t(per)) return FALSE;
  if (!FlushCache(p) || GvPeak_PeakFileOpen(&p, GENERIC_READ) != S_OK) {
    SetFrames(p.header, ~uint64_t(0));  // the next open sees it as stale
    return FALSE;
  }
  const uint64_t frames = Frames(p.header);
  const uint64_t present = frames / per + (frames % per != 0);
  const uint64_t firstElement = first / per;
  const uint64_t lastElement = (first + uint64_t(count)) / per;  // exclusive
  // A view that fits in the element cache is read once into it and kept
  // for the next draw of the same elements; larger views stream through
  // the scratch buffer.
  const bool cached = lastElement - firstElement <= p.cacheCapacity;
  ScratchLease scratch(!cached);
  unsigned char *buffer = cached ? p.cache : static_cast<unsigned char *>(scratch.data());
  if (!buffer) return FALSE;
  ElementReader reader(p, buffer, cached ? p.cacheBytes : scratch.size(),
                       cached && p.cacheCount ? p.cacheFirst : 0, cached ? p.cacheCount : 0);
  if (cached) {  // the cache's contents are the reader's from here on
    p.cacheFirst = 0xFFFFFFFF;
    p.cacheCount = 0;
  }
  bool failed = false;
  const double step = double(count) / pixels;
  uint64_t e = firstElement;
  for (int i = 0; i < pixels; ++i) {
    const uint64_t end = (uint64_t(double(i + 1) * step) + first) / per;
    short lo[2] = {32767, 32767}, hi[2] = {-32768, -32768};
    bool any = false;
    for (; e < end && e < present; ++e) {
      const short *v = reader.Get(e, &failed);
      if (!v) break;
      any = true;
      for (int k = 0; k < n; ++k) {
        lo[k] = v[2 * ch[k]] < lo[k] ? v[2 * ch[k]] : lo[k];
        hi[k] = v[2 * ch[k] + 1] > hi[k] ? v[2 * ch[k] + 1] : hi[k];
      }
    }
    e = end;
    for (int k = 0; k < n; ++k) {
      *out++ = any ? lo[k] : 0;
      *out++ = any ? hi[k] : 0;
    }
    if (failed) {
      SetFrames(p.header, ~uint64_t(0));
      if (cached) p.cacheCount = 0;
      return FALSE;
    }
  }
  if (cached && reader.count()) {
    p.cacheFirst = DWORD(reader.first());
    p.cacheCount = DWORD(reader.count());
  }
  return TRUE;
}

}  // namespace
}  // namespace gv::peak

GVAPI(BOOL) GvPeak_GetDrawData(tGVAUDIOPEAK *pPeak, ULONGLONG first, LONGLONG count, short *pOut,
                               int pixels) {
  if (!pPeak || !pOut) return FALSE;
  // One channel gives two values a pixel; any other count is read as two.
  static const DWORD kChannels[2] = {0, 1};
  return gv::peak::Reduce(*pPeak, first, count, kChannels, pPeak->header.nChannels == 1 ? 1 : 2,
                          pOut, pixels);
}

GVAPI(BOOL) GvPeak_GetChanDrawData(tGVAUDIOPEAK *pPeak, DWORD channel, ULONGLONG first,
                                   LONGLONG count, short *pOut, int pixels) {
  if (!pPeak || !pOut || channel >= pPeak->header.nChannels) return FALSE;
  return gv::peak::Reduce(*pPeak, first, count, &channel, 1, pOut, pixels);
}
