// Two channels of a frame at once in SSE2 doubles, for the stereo float32
// and 16-bit loops of the linear resamplers. Every step is the scalar rule's
// own operation in the same order (reads exact, f * (b - a) + a in double,
// float rounding to nearest, integer writes clipped then truncated), so
// the bytes are the scalar path's.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

#include "audio/sampletypes.h"

namespace gv::audio::resample {

template <DWORD T> constexpr bool kHasStereoSimd = T == GV_SAMPLE_FLOAT32 || T == GV_SAMPLE_INT16;

template <DWORD T> inline __m128d Load2(const unsigned char *p) {
  std::int32_t bits;
  std::memcpy(&bits, p, 4);
  if constexpr (T == GV_SAMPLE_INT16) {
    __m128i x = _mm_cvtsi32_si128(bits);
    x = _mm_srai_epi32(_mm_unpacklo_epi16(x, x), 16);
    return _mm_mul_pd(_mm_cvtepi32_pd(x), _mm_set1_pd(1.0 / 32768.0));
  } else {
    double pair;
    std::memcpy(&pair, p, 8);
    return _mm_cvtps_pd(_mm_castpd_ps(_mm_set_sd(pair)));
  }
}

template <DWORD T> inline void Store2(unsigned char *p, __m128d v) {
  if constexpr (T == GV_SAMPLE_INT16) {
    // Clipping first makes the truncation land in range; NaN takes the
    // minimum (maxpd returns its second operand for NaN).
    v = _mm_mul_pd(v, _mm_set1_pd(32768.0));
    v = _mm_min_pd(_mm_max_pd(v, _mm_set1_pd(-32768.0)), _mm_set1_pd(32767.0));
    const __m128i x = _mm_cvttpd_epi32(v);
    const std::int32_t packed = _mm_cvtsi128_si32(_mm_packs_epi32(x, x));
    std::memcpy(p, &packed, 4);
  } else {
    const double pair = _mm_cvtsd_f64(_mm_castps_pd(_mm_cvtpd_ps(v)));
    std::memcpy(p, &pair, 8);
  }
}

inline __m128d Lerp(__m128d a, __m128d b, double f) {
  return _mm_add_pd(_mm_mul_pd(_mm_set1_pd(f), _mm_sub_pd(b, a)), a);
}

}  // namespace gv::audio::resample
