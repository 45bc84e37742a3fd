// Draw data: the elements under each pixel reduced to one minimum and one
// maximum per channel, read in large pieces through the scratch buffer, or
// through the element cache when the whole view fits in it.
#include <emmintrin.h>

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

// Folds `count` elements of `stride` values (min, max per channel) into lo
// and hi for channels ch[0 .. n-1]. When those are all the element's one or
// two channels, SSE2 takes the minimum and maximum over every value and the
// even lanes give the minima, the odd lanes the maxima.
void ReduceRun(const short *v, size_t count, DWORD stride, const DWORD *ch, int n, short *lo,
               short *hi) {
  size_t i = 0;
  if (DWORD(2 * n) == stride && ch[0] == 0 && (n == 1 || ch[1] == 1)) {
    const size_t values = count * stride, whole = values / 8 * 8;
    __m128i mn = _mm_set1_epi16(32767), mx = _mm_set1_epi16(-32768);
    for (; i < whole; i += 8) {
      const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i *>(v + i));
      mn = _mm_min_epi16(mn, x), mx = _mm_max_epi16(mx, x);
    }
    mn = _mm_min_epi16(mn, _mm_shuffle_epi32(mn, 0x4E));
    mx = _mm_max_epi16(mx, _mm_shuffle_epi32(mx, 0x4E));
    if (n == 1) {
      mn = _mm_min_epi16(mn, _mm_shuffle_epi32(mn, 0xB1));
      mx = _mm_max_epi16(mx, _mm_shuffle_epi32(mx, 0xB1));
    }
    alignas(16) short a[8], b[8];
    _mm_store_si128(reinterpret_cast<__m128i *>(a), mn);
    _mm_store_si128(reinterpret_cast<__m128i *>(b), mx);
    for (int k = 0; k < n; ++k) {
      lo[k] = a[2 * k] < lo[k] ? a[2 * k] : lo[k];
      hi[k] = b[2 * k + 1] > hi[k] ? b[2 * k + 1] : hi[k];
    }
    i = whole / stride;  // whole elements done
  }
  for (v += i * stride; i < count; ++i, v += stride) {
    for (int k = 0; k < n; ++k) {
      lo[k] = v[2 * ch[k]] < lo[k] ? v[2 * ch[k]] : lo[k];
      hi[k] = v[2 * ch[k] + 1] > hi[k] ? v[2 * ch[k] + 1] : hi[k];
    }
  }
}

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
    while (e < end && e < present) {
      const short *v = reader.Get(e, &failed);
      if (!v) break;
      any = true;
      // All of this pixel's elements the window holds, at once.
      uint64_t stop = end < present ? end : present;
      if (stop > reader.first() + reader.count()) stop = reader.first() + reader.count();
      ReduceRun(v, size_t(stop - e), p.elementSize / 2, ch, n, lo, hi);
      e = stop;
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
