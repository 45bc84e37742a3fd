// Peak elements: each channel's smallest and largest sample over a run of
// frames, as 16-bit values, summarised from any sample type and written
// into the element area.
#include <immintrin.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "audio/cpu.h"
#include "audio/sampletypes.h"
#include "files/peak.h"

namespace gv::peak {
namespace {

using audio::ReadFloat;
using audio::ReadInt;
using audio::SampleType;

inline short Clip16(double v) {
  if (!(v == v)) return 0;  // NaN
  v = std::floor(v + 0.5);
  return short(v > 32767 ? 32767 : v < -32768 ? -32768 : v);
}

// 8-bit values scale asymmetrically (127 -> 32766, -128 -> -32768), as
// files of earlier releases hold them.
inline short Min8(int v) { return short(v * 256); }
inline short Max8(int v) {
  const int m = v * 258;
  return short(m < -32768 ? -32768 : m);
}

// One element per run of `per` frames for integer types read as int32,
// with their conversion to 16 bits.
template <DWORD C, class ToMin, class ToMax>
int64_t SummariseInt(const unsigned char *p, DWORD frames, DWORD channels, DWORD per, short *out,
                     ToMin toMin, ToMax toMax) {
  constexpr int kBytes = SampleType<C>::kBytes;
  int64_t elements = 0;
  for (DWORD k0 = 0; k0 < frames; k0 += per, ++elements) {
    const DWORD k1 = frames - k0 < per ? frames : k0 + per;
    for (DWORD c = 0; c < channels; ++c) {
      int32_t lo = INT32_MAX, hi = INT32_MIN;
      for (DWORD k = k0; k < k1; ++k) {
        const int32_t v = ReadInt<C>(p + (size_t(k) * channels + c) * kBytes);
        lo = v < lo ? v : lo;
        hi = v > hi ? v : hi;
      }
      out[0] = toMin(lo);
      out[1] = toMax(hi);
      out += 2;
    }
  }
  return elements;
}

template <DWORD C>
int64_t SummariseFloat(const unsigned char *p, DWORD frames, DWORD channels, DWORD per,
                       short *out) {
  using T = SampleType<C>;
  int64_t elements = 0;
  for (DWORD k0 = 0; k0 < frames; k0 += per, ++elements) {
    const DWORD k1 = frames - k0 < per ? frames : k0 + per;
    for (DWORD c = 0; c < channels; ++c) {
      double lo = HUGE_VAL, hi = -HUGE_VAL;
      for (DWORD k = k0; k < k1; ++k) {
        const double v = ReadFloat<T>(p + (size_t(k) * channels + c) * T::kBytes);
        lo = v < lo ? v : lo;  // NaN never wins
        hi = v > hi ? v : hi;
      }
      out[0] = lo == HUGE_VAL ? 0 : Clip16(lo * 32768.0);
      out[1] = hi == -HUGE_VAL ? 0 : Clip16(hi * 32768.0);
      out += 2;
    }
  }
  return elements;
}

// The smallest and largest of `samples` 16-bit values (a multiple of 64)
// with AVX2, folded to eight lanes so that lane l still holds the values
// of lanes l and l + 8.
GV_AVX2 void MinMaxAvx2(const int16_t *s, size_t samples, __m128i *lo, __m128i *hi) {
  __m256i lo0 = _mm256_set1_epi16(32767), hi0 = _mm256_set1_epi16(-32768), lo1 = lo0, hi1 = hi0;
  for (size_t i = 0; i < samples; i += 32) {
    const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(s + i));
    const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(s + i + 16));
    lo0 = _mm256_min_epi16(lo0, a), hi0 = _mm256_max_epi16(hi0, a);
    lo1 = _mm256_min_epi16(lo1, b), hi1 = _mm256_max_epi16(hi1, b);
  }
  lo0 = _mm256_min_epi16(lo0, lo1);
  hi0 = _mm256_max_epi16(hi0, hi1);
  *lo = _mm_min_epi16(_mm256_castsi256_si128(lo0), _mm256_extracti128_si256(lo0, 1));
  *hi = _mm_max_epi16(_mm256_castsi256_si128(hi0), _mm256_extracti128_si256(hi0, 1));
}

// The same with SSE2, for `samples` a multiple of 8.
void MinMaxSse2(const int16_t *s, size_t samples, __m128i *lo, __m128i *hi) {
  __m128i lo0 = _mm_set1_epi16(32767), hi0 = _mm_set1_epi16(-32768), lo1 = lo0, hi1 = hi0;
  size_t i = 0;
  for (; i + 16 <= samples; i += 16) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s + i));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s + i + 8));
    lo0 = _mm_min_epi16(lo0, a), hi0 = _mm_max_epi16(hi0, a);
    lo1 = _mm_min_epi16(lo1, b), hi1 = _mm_max_epi16(hi1, b);
  }
  for (; i < samples; i += 8) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s + i));
    lo0 = _mm_min_epi16(lo0, a), hi0 = _mm_max_epi16(hi0, a);
  }
  *lo = _mm_min_epi16(lo0, lo1);
  *hi = _mm_max_epi16(hi0, hi1);
}

// 16-bit data with 1, 2, 4 or 8 channels: SSE2 (or AVX2) minimum and maximum over
// whole elements (lane l holds channel l % channels), the rest as above.
int64_t SummariseInt16(const unsigned char *p, DWORD frames, DWORD channels, DWORD per,
                       short *out) {
  const auto same = [](int32_t v) { return short(v); };
  if (!(channels == 1 || channels == 2 || channels == 4 || channels == 8) || per % 8)
    return SummariseInt<GV_SAMPLE_INT16>(p, frames, channels, per, out, same, same);
  const int16_t *d = reinterpret_cast<const int16_t *>(p);
  const DWORD whole = frames / per;
  const size_t samples = size_t(per) * channels;
  const bool avx2 = samples % 64 == 0 && audio::HasAvx2();
  for (DWORD e = 0; e < whole; ++e) {
    const int16_t *s = d + e * samples;
    __m128i lo, hi;
    if (avx2) MinMaxAvx2(s, samples, &lo, &hi);
    else MinMaxSse2(s, samples, &lo, &hi);
    // Fold the lanes of one channel together in registers (lane l holds
    // channel l % channels), then interleave minimum and maximum per channel.
    if (channels <= 4) {
      lo = _mm_min_epi16(lo, _mm_shuffle_epi32(lo, 0x4E));
      hi = _mm_max_epi16(hi, _mm_shuffle_epi32(hi, 0x4E));
    }
    if (channels <= 2) {
      lo = _mm_min_epi16(lo, _mm_shuffle_epi32(lo, 0xB1));
      hi = _mm_max_epi16(hi, _mm_shuffle_epi32(hi, 0xB1));
    }
    if (channels == 1) {
      lo = _mm_min_epi16(lo, _mm_shufflelo_epi16(lo, 0xB1));
      hi = _mm_max_epi16(hi, _mm_shufflelo_epi16(hi, 0xB1));
    }
    const __m128i pairs = _mm_unpacklo_epi16(lo, hi);
    if (channels == 1) {
      const int v = _mm_cvtsi128_si32(pairs);
      std::memcpy(out, &v, 4);
    } else if (channels == 2) {
      _mm_storel_epi64(reinterpret_cast<__m128i *>(out), pairs);
    } else {
      _mm_storeu_si128(reinterpret_cast<__m128i *>(out), pairs);
      if (channels == 8)
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + 8), _mm_unpackhi_epi16(lo, hi));
    }
    out += 2 * channels;
  }
  if (whole * per == frames) return whole;
  return whole + SummariseInt<GV_SAMPLE_INT16>(p + size_t(whole) * samples * 2, frames - whole * per,
                                               channels, per, out, same, same);
}

}  // namespace

int64_t Summarise(const WAVEFORMATEX &wfx, const void *pData, DWORD frames, DWORD per,
                  short *out) {
  const auto *p = static_cast<const unsigned char *>(pData);
  const DWORD ch = wfx.nChannels;
  const auto by = [](int shift) {
    return [shift](int32_t v) { return Clip16(double(v) * (32768.0 / double(1u << shift))); };
  };
  switch (GvAudio_GetSampleType(&wfx)) {
    case GV_SAMPLE_INT16: return SummariseInt16(p, frames, ch, per, out);
    case GV_SAMPLE_UINT8: return SummariseInt<GV_SAMPLE_UINT8>(p, frames, ch, per, out, Min8, Max8);
    case GV_SAMPLE_INT8: return SummariseInt<GV_SAMPLE_INT8>(p, frames, ch, per, out, Min8, Max8);
    case GV_SAMPLE_INT24:
      return SummariseInt<GV_SAMPLE_INT24>(p, frames, ch, per, out, by(23), by(23));
    case GV_SAMPLE_INT24IN32:
      return SummariseInt<GV_SAMPLE_INT24IN32>(p, frames, ch, per, out, by(23), by(23));
    case GV_SAMPLE_INT32:
      return SummariseInt<GV_SAMPLE_INT32>(p, frames, ch, per, out, by(31), by(31));
    case GV_SAMPLE_FLOAT32: return SummariseFloat<GV_SAMPLE_FLOAT32>(p, frames, ch, per, out);
    case GV_SAMPLE_FLOAT64: return SummariseFloat<GV_SAMPLE_FLOAT64>(p, frames, ch, per, out);
  }
  return -1;
}

HRESULT WriteElements(tGVAUDIOPEAK &p, const WAVEFORMATEX &wfx, const void *data, DWORD frames,
                      uint64_t *offset) {
  const DWORD per = p.header.nFramesPerElement;
  if (!data || !per || wfx.nChannels != p.header.nChannels) return E_FAIL;
  const size_t count = frames / per + 1;
  if (uint64_t(count) * p.elementSize > 0x7FFF0000u) return E_FAIL;
  std::vector<short> elements;
  try {
    elements.resize(count * p.halfElement);
  } catch (...) {
    return E_FAIL;
  }
  const int64_t made = Summarise(wfx, data, frames, per, elements.data());
  if (made < 0) return E_FAIL;
  return WriteSummary(p, elements.data(), made, frames, offset);
}

HRESULT WriteSummary(tGVAUDIOPEAK &p, const short *elements, int64_t count, uint64_t frames,
                     uint64_t *offset) {
  if (GvPeak_PeakFileOpen(&p, GENERIC_READ | GENERIC_WRITE) != S_OK) return E_FAIL;
  const DWORD bytes = DWORD(count) * p.elementSize;
  LARGE_INTEGER at;
  at.QuadPart = LONGLONG(p.header.dwDataOffset + *offset);
  DWORD put = 0;
  if (!SetFilePointerEx(p.file, at, nullptr, FILE_BEGIN) ||
      !WriteFile(p.file, elements, bytes, &put, nullptr) || put != bytes)
    return E_FAIL;
  // Cached elements the write replaced are stale now.
  const uint64_t firstWritten = *offset / p.elementSize;
  if (p.cacheCount && firstWritten < uint64_t(p.cacheFirst) + p.cacheCount &&
      uint64_t(p.cacheFirst) < firstWritten + count) {
    p.cacheFirst = 0xFFFFFFFF;
    p.cacheCount = 0;
  }
  SetFrames(p.header, Frames(p.header) + frames);
  *offset += bytes;
  return S_OK;
}

}  // namespace gv::peak

using namespace gv::peak;

GVAPI(HRESULT) GvPeak_WritePeakDataExNew(tGVAUDIOPEAK *pPeak, const WAVEFORMATEX *pwfx,
                                         const void *pData, DWORD frames, ULONGLONG *pOffset) {
  if (!pPeak || !pwfx || !pOffset) return E_FAIL;
  uint64_t offset = *pOffset;
  const HRESULT hr = WriteElements(*pPeak, *pwfx, pData, frames, &offset);
  if (SUCCEEDED(hr)) *pOffset = offset;
  return hr;
}

GVAPI(HRESULT) GvPeak_WritePeakDataEx(tGVAUDIOPEAK *pPeak, const WAVEFORMATEX *pwfx,
                                      const void *pData, DWORD frames, DWORD *pOffset) {
  if (!pPeak || !pwfx || !pOffset) return E_FAIL;
  uint64_t offset = *pOffset;
  const HRESULT hr = WriteElements(*pPeak, *pwfx, pData, frames, &offset);
  if (SUCCEEDED(hr)) {
    if (offset > 0xFFFFFFFFu) return E_FAIL;
    *pOffset = DWORD(offset);
  }
  return hr;
}

GVAPI(HRESULT) GvPeak_WritePeakDataEx2(tGVAUDIOPEAK *pPeak, const WAVEFORMATEX *pwfx,
                                       const void *pData, DWORD frames, ULONGLONG firstFrame) {
  if (!pPeak || !pwfx || !pPeak->header.nFramesPerElement) return E_FAIL;
  uint64_t offset = firstFrame / pPeak->header.nFramesPerElement * pPeak->elementSize;
  return WriteElements(*pPeak, *pwfx, pData, frames, &offset);
}

GVAPI(HRESULT) GvPeak_WritePeakData(tGVAUDIOPEAK *pPeak, const WAVEFORMATEX *pwfx,
                                    const void *pData, DWORD frames) {
  if (!pPeak) return E_FAIL;
  return GvPeak_WritePeakDataEx2(pPeak, pwfx, pData, frames, Frames(pPeak->header));
}
