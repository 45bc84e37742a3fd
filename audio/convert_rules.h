// The conversion rules of one sample pair, each written side by side in a
// scalar form (one sample) and SIMD forms (SSE2, four and sixteen samples;
// AVX2 sixteen-sample forms of every rule, chosen at run time) that must give
// identical bytes. Converters run
// a sixteen-sample form over the bulk and the scalar form over the last
// 0-15 samples, so any disagreement shows up in tests with odd lengths.
//
// Precision: the general path works in double. Integer sources of 32 bits
// (INT32, INT24IN32) are split into a high and a low half so that both
// partial products with the gain are exact; the rounding error of their sum
// is recovered exactly (two-sum) and used to correct truncation at integer
// steps and the rounding to float. The result is the exactly truncated
// product, which is what 80-bit arithmetic gives for every integer and
// float32 source, without x87 code. Float64 sources are multiplied in
// double.
#pragma once

#include "audio/cpu.h"
#include <emmintrin.h>
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "sampletypes.h"

namespace gv::audio {

using u8 = unsigned char;

// ---------------------------------------------------------------------------
// Element loads and stores

inline std::int32_t Load32(const u8 *p) {
  std::int32_t v;
  std::memcpy(&v, p, 4);
  return v;
}
inline void Store32(u8 *p, std::int32_t v) { std::memcpy(p, &v, 4); }

// Four integer samples as signed 32-bit lanes (the value v of each).
template <DWORD C> inline __m128i Load4(const u8 *p) {
  if constexpr (C == GV_SAMPLE_UINT8 || C == GV_SAMPLE_INT8) {
    __m128i x = _mm_cvtsi32_si128(Load32(p));
    if constexpr (C == GV_SAMPLE_UINT8) x = _mm_xor_si128(x, _mm_set1_epi8(char(0x80)));
    x = _mm_unpacklo_epi8(x, x);
    x = _mm_unpacklo_epi16(x, x);
    return _mm_srai_epi32(x, 24);
  } else if constexpr (C == GV_SAMPLE_INT16) {
    __m128i x = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(p));
    return _mm_srai_epi32(_mm_unpacklo_epi16(x, x), 16);
  } else if constexpr (C == GV_SAMPLE_INT24) {
    // Each lane loads the 4 bytes ending with its sample, so nothing past
    // the twelve bytes is read.
    __m128i x = _mm_setr_epi32(Load32(p) << 8, Load32(p + 2), Load32(p + 5), Load32(p + 8));
    return _mm_srai_epi32(x, 8);
  } else {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
  }
}

// The low three bytes of each lane, packed into bytes 0-11 (12-15 zero):
// first two lanes per 64-bit half (6 bytes each), then the two halves.
inline __m128i Pack12(__m128i v) {
  const __m128i lo = _mm_and_si128(v, _mm_set_epi32(0, 0xFFFFFF, 0, 0xFFFFFF));
  const __m128i mid = _mm_and_si128(_mm_srli_epi64(v, 8), _mm_set_epi32(0xFFFF, 0xFF000000, 0xFFFF, 0xFF000000));
  const __m128i six = _mm_or_si128(lo, mid);  // bytes 0-5 and 8-13
  return _mm_or_si128(_mm_move_epi64(six),
                      _mm_slli_si128(_mm_unpackhi_epi64(six, _mm_setzero_si128()), 6));
}

// Four integer samples from lanes already inside the destination's range
// (8- and 16-bit stores saturate, which is the same clipping).
template <DWORD C> inline void Store4(u8 *p, __m128i v) {
  if constexpr (C == GV_SAMPLE_UINT8 || C == GV_SAMPLE_INT8) {
    __m128i x = _mm_packs_epi32(v, v);
    x = _mm_packs_epi16(x, x);
    if constexpr (C == GV_SAMPLE_UINT8) x = _mm_xor_si128(x, _mm_set1_epi8(char(0x80)));
    Store32(p, _mm_cvtsi128_si32(x));
  } else if constexpr (C == GV_SAMPLE_INT16) {
    _mm_storel_epi64(reinterpret_cast<__m128i *>(p), _mm_packs_epi32(v, v));
  } else if constexpr (C == GV_SAMPLE_INT24) {
    const __m128i packed = Pack12(v);
    _mm_storel_epi64(reinterpret_cast<__m128i *>(p), packed);
    Store32(p + 8, _mm_cvtsi128_si32(_mm_srli_si128(packed, 8)));
  } else {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v);
  }
}

// Lanes clipped to lo..hi (SSE2 has no 32-bit min and max).
inline __m128i Clip4(__m128i v, std::int32_t lo, std::int32_t hi) {
  const __m128i vlo = _mm_set1_epi32(lo), vhi = _mm_set1_epi32(hi);
  __m128i m = _mm_cmpgt_epi32(v, vhi);
  v = _mm_or_si128(_mm_andnot_si128(m, v), _mm_and_si128(m, vhi));
  m = _mm_cmplt_epi32(v, vlo);
  return _mm_or_si128(_mm_andnot_si128(m, v), _mm_and_si128(m, vlo));
}

// Four packed 24-bit samples in bytes 0-11 as sign-extended 32-bit lanes:
// two samples per 64-bit half, the second of each moved up one byte.
inline __m128i Unpack12(__m128i g) {
  const __m128i pairs = _mm_unpacklo_epi64(g, _mm_srli_si128(g, 6));
  const __m128i x = _mm_or_si128(_mm_and_si128(pairs, _mm_set_epi32(0, -1, 0, -1)),
                                 _mm_and_si128(_mm_slli_epi64(pairs, 8), _mm_set_epi32(-1, 0, -1, 0)));
  return _mm_srai_epi32(_mm_slli_epi32(x, 8), 8);
}

// Sixteen integer samples as four vectors of 32-bit lanes, with full-width
// loads where the layout allows.
template <DWORD C> inline void Load16(const u8 *p, __m128i v[4]) {
  if constexpr (C == GV_SAMPLE_UINT8 || C == GV_SAMPLE_INT8) {
    __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
    if constexpr (C == GV_SAMPLE_UINT8) x = _mm_xor_si128(x, _mm_set1_epi8(char(0x80)));
    const __m128i lo = _mm_unpacklo_epi8(x, x), hi = _mm_unpackhi_epi8(x, x);
    v[0] = _mm_srai_epi32(_mm_unpacklo_epi16(lo, lo), 24);
    v[1] = _mm_srai_epi32(_mm_unpackhi_epi16(lo, lo), 24);
    v[2] = _mm_srai_epi32(_mm_unpacklo_epi16(hi, hi), 24);
    v[3] = _mm_srai_epi32(_mm_unpackhi_epi16(hi, hi), 24);
  } else if constexpr (C == GV_SAMPLE_INT16) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 16));
    v[0] = _mm_srai_epi32(_mm_unpacklo_epi16(a, a), 16);
    v[1] = _mm_srai_epi32(_mm_unpackhi_epi16(a, a), 16);
    v[2] = _mm_srai_epi32(_mm_unpacklo_epi16(b, b), 16);
    v[3] = _mm_srai_epi32(_mm_unpackhi_epi16(b, b), 16);
  } else if constexpr (C == GV_SAMPLE_INT24) {  // 48 bytes as three 16-byte loads
    const __m128i l0 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
    const __m128i l1 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 16));
    const __m128i l2 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 32));
    v[0] = Unpack12(l0);
    v[1] = Unpack12(_mm_or_si128(_mm_srli_si128(l0, 12), _mm_slli_si128(l1, 4)));
    v[2] = Unpack12(_mm_or_si128(_mm_srli_si128(l1, 8), _mm_slli_si128(l2, 8)));
    v[3] = Unpack12(_mm_srli_si128(l2, 4));
  } else {
    for (int k = 0; k < 4; ++k) v[k] = Load4<C>(p + k * 16);
  }
}

template <DWORD C> inline void Store16(u8 *p, const __m128i v[4]) {
  if constexpr (C == GV_SAMPLE_UINT8 || C == GV_SAMPLE_INT8) {
    __m128i x = _mm_packs_epi16(_mm_packs_epi32(v[0], v[1]), _mm_packs_epi32(v[2], v[3]));
    if constexpr (C == GV_SAMPLE_UINT8) x = _mm_xor_si128(x, _mm_set1_epi8(char(0x80)));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p), x);
  } else if constexpr (C == GV_SAMPLE_INT16) {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p), _mm_packs_epi32(v[0], v[1]));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p + 16), _mm_packs_epi32(v[2], v[3]));
  } else if constexpr (C == GV_SAMPLE_INT24) {  // 4 x 12 bytes as three 16-byte stores
    const __m128i p0 = Pack12(v[0]), p1 = Pack12(v[1]), p2 = Pack12(v[2]), p3 = Pack12(v[3]);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p), _mm_or_si128(p0, _mm_slli_si128(p1, 12)));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p + 16),
                     _mm_or_si128(_mm_srli_si128(p1, 4), _mm_slli_si128(p2, 8)));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p + 32),
                     _mm_or_si128(_mm_srli_si128(p2, 8), _mm_slli_si128(p3, 4)));
  } else {
    for (int k = 0; k < 4; ++k) Store4<C>(p + k * 16, v[k]);
  }
}

inline std::int32_t Clip(std::int32_t v, std::int32_t lo, std::int32_t hi) {
  return v > hi ? hi : (v < lo ? lo : v);
}

// Integer lanes into two double pairs.
inline void ToDouble4(__m128i v, __m128d &lo, __m128d &hi) {
  lo = _mm_cvtepi32_pd(v);
  hi = _mm_cvtepi32_pd(_mm_shuffle_epi32(v, _MM_SHUFFLE(3, 2, 3, 2)));
}

// ---------------------------------------------------------------------------
// Float to integer at gain 1.0: truncate toward zero, saturating to the
// 32-bit range (at or above 2147483647.0 gives the maximum; below the
// minimum and NaN give the minimum), then clip to the destination.

inline std::int32_t TruncSat32(double z) {
  if (z >= 2147483647.0) return INT32_MAX;
  if (!(z > -2147483648.0)) return INT32_MIN;
  return static_cast<std::int32_t>(z);
}

// float32 lanes already multiplied by the scale (exact: a power of two).
inline __m128i TruncSat4(__m128 z) {
  __m128i t = _mm_cvttps_epi32(z);  // out of range and NaN give INT32_MIN
  __m128 big = _mm_cmpge_ps(z, _mm_set1_ps(2147483648.0f));
  return _mm_xor_si128(t, _mm_castps_si128(big));  // INT32_MIN -> INT32_MAX
}

// ---------------------------------------------------------------------------
// General path helpers (any gain but 1.0)

// s + err == a + b exactly, s the rounded sum.
inline void TwoSum(double a, double b, double &s, double &err) {
  s = a + b;
  double bb = s - a;
  err = (a - (s - bb)) + (b - bb);
}
inline void TwoSum(__m128d a, __m128d b, __m128d &s, __m128d &err) {
  s = _mm_add_pd(a, b);
  __m128d bb = _mm_sub_pd(s, a);
  err = _mm_add_pd(_mm_sub_pd(a, _mm_sub_pd(s, bb)), _mm_sub_pd(b, bb));
}

// y rounded to odd using the remainder err: when err is not 0 and y's last
// mantissa bit is even, step one unit toward err. Rounding the result to
// float then equals rounding y + err to float directly.
inline double RoundToOdd(double y, double err) {
  if (err == 0.0) return y;
  std::uint64_t bits;
  std::memcpy(&bits, &y, 8);
  if ((bits & 1) == 0) bits += ((y > 0) == (err > 0)) ? 1 : std::uint64_t(-1);
  std::memcpy(&y, &bits, 8);
  return y;
}
inline __m128d RoundToOdd(__m128d y, __m128d err) {
  const __m128i one = _mm_set_epi32(0, 1, 0, 1);
  __m128i bits = _mm_castpd_si128(y);
  __m128i inexact = _mm_castpd_si128(_mm_cmpneq_pd(err, _mm_setzero_pd()));
  __m128i even = _mm_cmpeq_epi32(_mm_and_si128(bits, one), _mm_setzero_si128());
  even = _mm_shuffle_epi32(even, _MM_SHUFFLE(2, 2, 0, 0));
  __m128i differ = _mm_srai_epi32(_mm_xor_si128(bits, _mm_castpd_si128(err)), 31);
  differ = _mm_shuffle_epi32(differ, _MM_SHUFFLE(3, 3, 1, 1));
  __m128i step = _mm_or_si128(differ, one);  // +1 same sign, -1 opposite
  step = _mm_and_si128(step, _mm_and_si128(inexact, even));
  return _mm_castsi128_pd(_mm_add_epi64(bits, step));
}

// z (already scaled) clipped to lo..hi and truncated toward zero, where the
// exact value is z + err. Clipping before truncation equals clipping after
// it because the bounds are integers; NaN gives lo.
inline std::int32_t TruncClip(double z, double err, double lo, double hi) {
  double zc = z > lo ? z : lo;
  zc = zc < hi ? zc : hi;
  double t = static_cast<double>(static_cast<std::int32_t>(zc));
  if (t == zc && zc == z) {
    if (z > 0 && err < 0) t -= 1.0;
    else if (z < 0 && err > 0) t += 1.0;
  }
  return static_cast<std::int32_t>(t);
}
template <bool kExact>
inline __m128i TruncClip2(__m128d z, __m128d err, __m128d lo, __m128d hi) {
  __m128d zc = _mm_min_pd(_mm_max_pd(z, lo), hi);
  __m128i ti = _mm_cvttpd_epi32(zc);
  if constexpr (kExact) {
    const __m128d zero = _mm_setzero_pd();
    __m128d t = _mm_cvtepi32_pd(ti);
    __m128d onStep = _mm_and_pd(_mm_cmpeq_pd(t, zc), _mm_cmpeq_pd(zc, z));
    __m128d down = _mm_and_pd(_mm_cmpgt_pd(z, zero), _mm_cmplt_pd(err, zero));
    __m128d up = _mm_and_pd(_mm_cmplt_pd(z, zero), _mm_cmpgt_pd(err, zero));
    __m128d delta = _mm_or_pd(_mm_and_pd(down, _mm_set1_pd(-1.0)),
                              _mm_and_pd(up, _mm_set1_pd(1.0)));
    ti = _mm_cvttpd_epi32(_mm_add_pd(t, _mm_and_pd(delta, onStep)));
  }
  return ti;
}

// ---------------------------------------------------------------------------
// Fast path (gain exactly 1.0) of a pair of different types

template <class D, class S> struct FastRule {
  static constexpr bool kClipSource24 =
      S::kCode == GV_SAMPLE_INT24IN32 &&
      (D::kCode == GV_SAMPLE_UINT8 || D::kCode == GV_SAMPLE_INT8 ||
       D::kCode == GV_SAMPLE_INT16 || D::kCode == GV_SAMPLE_INT24);

  static void One(u8 *d, const u8 *s) {
    if constexpr (kIsInt<D> && kIsInt<S>) {
      std::int32_t v = ReadInt<S::kCode>(s);
      if constexpr (kClipSource24) v = Clip(v, -8388608, 8388607);
      constexpr int shift = D::kBits - S::kBits;
      if constexpr (shift < 0) v >>= -shift;
      if constexpr (shift > 0) v = std::int32_t(std::uint32_t(v) << shift);
      WriteInt<D::kCode>(d, v);
    } else if constexpr (kIsInt<S>) {  // to float: scale down only
      double x = double(ReadInt<S::kCode>(s)) * (1.0 / S::kScale);
      WriteFloat<D>(d, typename D::Value(x));
    } else if constexpr (kIsInt<D>) {  // from float: scale up, truncate, clip
      double z = double(ReadFloat<S>(s)) * D::kScale;
      WriteInt<D::kCode>(d, Clip(TruncSat32(z), D::kMin, D::kMax));
    } else {
      WriteFloat<D>(d, typename D::Value(ReadFloat<S>(s)));
    }
  }

  // int -> int lanes
  // 8- and 16-bit stores saturate: clipping the shifted lane there gives
  // the same value as clipping the source first, so only 24-bit
  // destinations clip here.
  static __m128i Shift4(__m128i v) {
    if constexpr (kClipSource24 && D::kBytes > 2) v = Clip4(v, -8388608, 8388607);
    constexpr int shift = D::kBits - S::kBits;
    if constexpr (shift < 0) v = _mm_srai_epi32(v, -shift);
    if constexpr (shift > 0) v = _mm_slli_epi32(v, shift);
    return v;
  }

  // int lanes -> four float samples at d
  static void StoreScaledDown4(u8 *d, __m128i v) {
    if constexpr (D::kCode == GV_SAMPLE_FLOAT32) {
      // Rounding v to float then scaling by a power of two equals rounding
      // the exact product.
      __m128 x = _mm_mul_ps(_mm_cvtepi32_ps(v), _mm_set1_ps(float(1.0 / S::kScale)));
      _mm_storeu_ps(reinterpret_cast<float *>(d), x);
    } else {
      __m128d lo, hi;
      ToDouble4(v, lo, hi);
      const __m128d r = _mm_set1_pd(1.0 / S::kScale);
      _mm_storeu_pd(reinterpret_cast<double *>(d), _mm_mul_pd(lo, r));
      _mm_storeu_pd(reinterpret_cast<double *>(d + 16), _mm_mul_pd(hi, r));
    }
  }

  // four float samples at s -> int lanes within the destination's range.
  // Narrow destinations clip before truncating, which gives the same
  // integers because the bounds are integers (NaN gives the minimum, as
  // TruncSat32 does).
  static __m128i ScaledUp4(const u8 *s) {
    if constexpr (S::kCode == GV_SAMPLE_FLOAT32) {
      __m128 z = _mm_mul_ps(_mm_loadu_ps(reinterpret_cast<const float *>(s)),
                            _mm_set1_ps(float(D::kScale)));
      if constexpr (D::kBits == 32) return TruncSat4(z);
      z = _mm_min_ps(_mm_max_ps(z, _mm_set1_ps(float(D::kMin))), _mm_set1_ps(float(D::kMax)));
      return _mm_cvttps_epi32(z);
    } else {
      const __m128d k = _mm_set1_pd(D::kScale);
      const __m128d lo = _mm_set1_pd(D::kMin), hi = _mm_set1_pd(D::kMax);
      __m128d z0 = _mm_mul_pd(_mm_loadu_pd(reinterpret_cast<const double *>(s)), k);
      __m128d z1 = _mm_mul_pd(_mm_loadu_pd(reinterpret_cast<const double *>(s + 16)), k);
      z0 = _mm_min_pd(_mm_max_pd(z0, lo), hi);  // max(NaN, lo) is lo
      z1 = _mm_min_pd(_mm_max_pd(z1, lo), hi);
      return _mm_unpacklo_epi64(_mm_cvttpd_epi32(z0), _mm_cvttpd_epi32(z1));
    }
  }

  static void Four(u8 *d, const u8 *s) {
    if constexpr (kIsInt<D> && kIsInt<S>) {
      Store4<D::kCode>(d, Shift4(Load4<S::kCode>(s)));
    } else if constexpr (kIsInt<S>) {
      StoreScaledDown4(d, Load4<S::kCode>(s));
    } else if constexpr (kIsInt<D>) {
      Store4<D::kCode>(d, ScaledUp4(s));
    } else if constexpr (D::kCode == GV_SAMPLE_FLOAT64) {
      __m128 x = _mm_loadu_ps(reinterpret_cast<const float *>(s));
      _mm_storeu_pd(reinterpret_cast<double *>(d), _mm_cvtps_pd(x));
      _mm_storeu_pd(reinterpret_cast<double *>(d + 16), _mm_cvtps_pd(_mm_movehl_ps(x, x)));
    } else {
      __m128 lo = _mm_cvtpd_ps(_mm_loadu_pd(reinterpret_cast<const double *>(s)));
      __m128 hi = _mm_cvtpd_ps(_mm_loadu_pd(reinterpret_cast<const double *>(s + 16)));
      _mm_storeu_ps(reinterpret_cast<float *>(d), _mm_movelh_ps(lo, hi));
    }
  }

  // Sixteen samples: every load of the block comes before its first store,
  // so in-place use in the converter's direction stays safe.
  static void Sixteen(u8 *d, const u8 *s) {
    __m128i v[4];
    if constexpr (kIsInt<D> && kIsInt<S>) {
      Load16<S::kCode>(s, v);
      for (int k = 0; k < 4; ++k) v[k] = Shift4(v[k]);
      Store16<D::kCode>(d, v);
    } else if constexpr (kIsInt<S>) {
      Load16<S::kCode>(s, v);
      for (int k = 0; k < 4; ++k) StoreScaledDown4(d + k * 4 * D::kBytes, v[k]);
    } else if constexpr (kIsInt<D>) {
      for (int k = 0; k < 4; ++k) v[k] = ScaledUp4(s + k * 4 * S::kBytes);
      Store16<D::kCode>(d, v);
    } else if constexpr (D::kCode == GV_SAMPLE_FLOAT64) {  // widening: last block first
      for (int k = 4; k-- > 0;) Four(d + k * 4 * D::kBytes, s + k * 4 * S::kBytes);
    } else {
      for (int k = 0; k < 4; ++k) Four(d + k * 4 * D::kBytes, s + k * 4 * S::kBytes);
    }
  }
};

// Sixteen samples at once for integer pairs of 8 and 16 bits, where the
// shift rule reduces to byte moves: the same results as One and Four.
template <class D, class S>
constexpr bool kNarrowIntPair = kIsInt<D> && kIsInt<S> && D::kBytes <= 2 && S::kBytes <= 2 &&
                                D::kCode != S::kCode;

template <class D, class S> struct NarrowIntRule : FastRule<D, S> {
  static constexpr bool kFlipSource = S::kCode == GV_SAMPLE_UINT8;
  static constexpr bool kFlipDest = D::kCode == GV_SAMPLE_UINT8;

  static void Sixteen(u8 *d, const u8 *s) {
    const __m128i flip = _mm_set1_epi8(char(0x80));
    if constexpr (D::kBytes == 1 && S::kBytes == 1) {  // the sign flip of offset binary
      __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s));
      _mm_storeu_si128(reinterpret_cast<__m128i *>(d), _mm_xor_si128(x, flip));
    } else if constexpr (S::kBytes == 1) {  // 8 -> 16 bits: the byte becomes the high byte
      __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s));
      if constexpr (kFlipSource) x = _mm_xor_si128(x, flip);
      const __m128i zero = _mm_setzero_si128();
      __m128i lo = _mm_unpacklo_epi8(zero, x), hi = _mm_unpackhi_epi8(zero, x);
      _mm_storeu_si128(reinterpret_cast<__m128i *>(d), lo);
      _mm_storeu_si128(reinterpret_cast<__m128i *>(d + 16), hi);
    } else {  // 16 -> 8 bits: the high byte, arithmetic shift keeps the sign
      __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s));
      __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s + 16));
      __m128i x = _mm_packs_epi16(_mm_srai_epi16(lo, 8), _mm_srai_epi16(hi, 8));
      if constexpr (kFlipDest) x = _mm_xor_si128(x, flip);
      _mm_storeu_si128(reinterpret_cast<__m128i *>(d), x);
    }
  }
};

// ---------------------------------------------------------------------------
// General path: scale down, gain, scale up, truncate toward zero, clip.
// The order of multiplications is kept even for equal types.

template <class D, class S> struct GeneralRule {
  // Sources whose product with a float gain may not fit a double.
  static constexpr bool kSplit = kIsInt<S> && S::kBytes == 4;

  // One factor for the whole chain: the scales are powers of two, so
  // ((v / source scale) * gain) * destination scale and v * factor round
  // identically (only the product with the gain can round).
  static double Factor(float gain) {
    double f = double(gain);
    if constexpr (kIsInt<S>) f *= 1.0 / S::kScale;
    if constexpr (kIsInt<D>) f *= D::kScale;
    return f;
  }

  explicit GeneralRule(float gain) : factor(Factor(gain)) {}

  double factor;

  // The result before truncation: y + err is the exact product for integer
  // and float32 sources, the double product for float64 sources.
  void Scaled(const u8 *s, double &y, double &err) const {
    err = 0.0;
    if constexpr (kSplit) {
      std::int32_t v = ReadInt<S::kCode>(s);
      double a = double(v >> 16) * (factor * 65536.0);
      double b = double(v & 0xFFFF) * factor;
      TwoSum(a, b, y, err);
    } else if constexpr (kIsInt<S>) {
      y = double(ReadInt<S::kCode>(s)) * factor;
    } else {
      y = double(ReadFloat<S>(s)) * factor;
    }
  }

  void One(u8 *d, const u8 *s) const {
    double y, err;
    Scaled(s, y, err);
    if constexpr (D::kCode == GV_SAMPLE_FLOAT64) {
      WriteFloat<D>(d, y);
    } else if constexpr (D::kCode == GV_SAMPLE_FLOAT32) {
      WriteFloat<D>(d, float(kSplit ? RoundToOdd(y, err) : y));
    } else {
      WriteInt<D::kCode>(d, TruncClip(y, err, D::kMin, D::kMax));
    }
  }

  // int lanes -> y + err
  void ScaledInts4(__m128i v, __m128d &y0, __m128d &y1, __m128d &e0, __m128d &e1) const {
    const __m128d f = _mm_set1_pd(factor);
    if constexpr (kSplit) {
      __m128d h0, h1, l0, l1;
      ToDouble4(_mm_srai_epi32(v, 16), h0, h1);
      ToDouble4(_mm_and_si128(v, _mm_set1_epi32(0xFFFF)), l0, l1);
      const __m128d fh = _mm_set1_pd(factor * 65536.0);
      TwoSum(_mm_mul_pd(h0, fh), _mm_mul_pd(l0, f), y0, e0);
      TwoSum(_mm_mul_pd(h1, fh), _mm_mul_pd(l1, f), y1, e1);
    } else {
      __m128d v0, v1;
      ToDouble4(v, v0, v1);
      y0 = _mm_mul_pd(v0, f);
      y1 = _mm_mul_pd(v1, f);
      e0 = e1 = _mm_setzero_pd();
    }
  }

  // four float samples at s -> y (exact for float32, double for float64)
  void ScaledFloats4(const u8 *s, __m128d &y0, __m128d &y1) const {
    const __m128d g = _mm_set1_pd(factor);
    if constexpr (S::kCode == GV_SAMPLE_FLOAT32) {
      __m128 x = _mm_loadu_ps(reinterpret_cast<const float *>(s));
      y0 = _mm_mul_pd(_mm_cvtps_pd(x), g);
      y1 = _mm_mul_pd(_mm_cvtps_pd(_mm_movehl_ps(x, x)), g);
    } else {
      y0 = _mm_mul_pd(_mm_loadu_pd(reinterpret_cast<const double *>(s)), g);
      y1 = _mm_mul_pd(_mm_loadu_pd(reinterpret_cast<const double *>(s + 16)), g);
    }
  }

  void Scaled4(const u8 *s, __m128d &y0, __m128d &y1, __m128d &e0, __m128d &e1) const {
    if constexpr (kIsInt<S>) {
      ScaledInts4(Load4<S::kCode>(s), y0, y1, e0, e1);
    } else {
      ScaledFloats4(s, y0, y1);
      e0 = e1 = _mm_setzero_pd();
    }
  }

  // y + err (already at the destination's scale) -> int lanes within its range
  static __m128i ScaledUp4(__m128d y0, __m128d y1, __m128d e0, __m128d e1) {
    const __m128d lo = _mm_set1_pd(D::kMin), hi = _mm_set1_pd(D::kMax);
    __m128i t0 = TruncClip2<kSplit>(y0, e0, lo, hi);
    __m128i t1 = TruncClip2<kSplit>(y1, e1, lo, hi);
    return _mm_unpacklo_epi64(t0, t1);
  }

  // y + err -> four float samples at d
  static void StoreFloat4(u8 *d, __m128d y0, __m128d y1, __m128d e0, __m128d e1) {
    if constexpr (D::kCode == GV_SAMPLE_FLOAT64) {
      _mm_storeu_pd(reinterpret_cast<double *>(d), y0);
      _mm_storeu_pd(reinterpret_cast<double *>(d + 16), y1);
    } else {
      if constexpr (kSplit) {
        y0 = RoundToOdd(y0, e0);
        y1 = RoundToOdd(y1, e1);
      }
      _mm_storeu_ps(reinterpret_cast<float *>(d),
                    _mm_movelh_ps(_mm_cvtpd_ps(y0), _mm_cvtpd_ps(y1)));
    }
  }

  void Four(u8 *d, const u8 *s) const {
    __m128d y0, y1, e0, e1;
    Scaled4(s, y0, y1, e0, e1);
    if constexpr (kIsFloat<D>) StoreFloat4(d, y0, y1, e0, e1);
    else Store4<D::kCode>(d, ScaledUp4(y0, y1, e0, e1));
  }

  // Sixteen samples, every load before the first store.
  void Sixteen(u8 *d, const u8 *s) const {
    if constexpr (kIsInt<D>) {
      __m128i v[4];
      if constexpr (kIsInt<S>) Load16<S::kCode>(s, v);
      for (int k = 0; k < 4; ++k) {
        __m128d y0, y1, e0, e1;
        if constexpr (kIsInt<S>) ScaledInts4(v[k], y0, y1, e0, e1);
        else ScaledFloats4(s + k * 4 * S::kBytes, y0, y1), e0 = e1 = _mm_setzero_pd();
        v[k] = ScaledUp4(y0, y1, e0, e1);
      }
      Store16<D::kCode>(d, v);
    } else if constexpr (kIsInt<S>) {
      __m128i v[4];
      Load16<S::kCode>(s, v);
      for (int k = 0; k < 4; ++k) {
        __m128d y0, y1, e0, e1;
        ScaledInts4(v[k], y0, y1, e0, e1);
        StoreFloat4(d + k * 4 * D::kBytes, y0, y1, e0, e1);
      }
    } else if constexpr (D::kBytes > S::kBytes) {  // widening: last block first
      for (int k = 4; k-- > 0;) Four(d + k * 4 * D::kBytes, s + k * 4 * S::kBytes);
    } else {
      for (int k = 0; k < 4; ++k) Four(d + k * 4 * D::kBytes, s + k * 4 * S::kBytes);
    }
  }
};


// ---------------------------------------------------------------------------
// The general rule with four doubles per operation, for processors with
// AVX2 (chosen at run time). Same operations in the same order as the SSE2
// form above, so the bytes are identical.


// Packed 24-bit samples moved with byte shuffles (SSSE3, present on every
// AVX2 processor), for the loops compiled for AVX2. Each lane gets the same
// bytes as Load16 and Store16 give it, so results do not depend on the form.

// Sixteen packed 24-bit samples (48 bytes, three loads) as sign-extended
// 32-bit lanes: each sample's bytes go to the top three bytes of its lane.
template <DWORD C> GV_AVX2 inline void Load16Shuffled(const u8 *p, __m128i v[4]) {
  if constexpr (C == GV_SAMPLE_INT24) {
    const __m128i l0 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
    const __m128i l1 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 16));
    const __m128i l2 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 32));
    const __m128i m = _mm_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11);
    const __m128i m4 = _mm_setr_epi8(-1, 4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15);
    v[0] = _mm_srai_epi32(_mm_shuffle_epi8(l0, m), 8);
    v[1] = _mm_srai_epi32(_mm_shuffle_epi8(_mm_alignr_epi8(l1, l0, 12), m), 8);
    v[2] = _mm_srai_epi32(_mm_shuffle_epi8(_mm_alignr_epi8(l2, l1, 8), m), 8);
    v[3] = _mm_srai_epi32(_mm_shuffle_epi8(l2, m4), 8);
  } else {
    Load16<C>(p, v);
  }
}

// Sixteen lanes stored as packed 24-bit samples: the low three bytes of
// each lane, gathered by shuffles straight into the three 16-byte stores.
template <DWORD C> GV_AVX2 inline void Store16Shuffled(u8 *p, const __m128i v[4]) {
  if constexpr (C == GV_SAMPLE_INT24) {
    const __m128i a0 = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const __m128i a1 = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 1, 2, 4);
    const __m128i b1 = _mm_setr_epi8(5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m128i b2 = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 0, 1, 2, 4, 5, 6, 8, 9);
    const __m128i c2 = _mm_setr_epi8(10, 12, 13, 14, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m128i c3 = _mm_setr_epi8(-1, -1, -1, -1, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p),
                     _mm_or_si128(_mm_shuffle_epi8(v[0], a0), _mm_shuffle_epi8(v[1], a1)));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p + 16),
                     _mm_or_si128(_mm_shuffle_epi8(v[1], b1), _mm_shuffle_epi8(v[2], b2)));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p + 32),
                     _mm_or_si128(_mm_shuffle_epi8(v[2], c2), _mm_shuffle_epi8(v[3], c3)));
  } else {
    Store16<C>(p, v);
  }
}


GV_AVX2 inline __m128i TruncClipAvx2(__m256d z, __m256d err, __m256d lo, __m256d hi,
                                     bool exact) {
  __m256d zc = _mm256_min_pd(_mm256_max_pd(z, lo), hi);
  __m128i ti = _mm256_cvttpd_epi32(zc);
  if (!exact) return ti;
  const __m256d zero = _mm256_setzero_pd();
  __m256d t = _mm256_cvtepi32_pd(ti);
  __m256d onStep = _mm256_and_pd(_mm256_cmp_pd(t, zc, _CMP_EQ_OQ), _mm256_cmp_pd(zc, z, _CMP_EQ_OQ));
  __m256d down = _mm256_and_pd(_mm256_cmp_pd(z, zero, _CMP_GT_OQ), _mm256_cmp_pd(err, zero, _CMP_LT_OQ));
  __m256d up = _mm256_and_pd(_mm256_cmp_pd(z, zero, _CMP_LT_OQ), _mm256_cmp_pd(err, zero, _CMP_GT_OQ));
  __m256d delta = _mm256_or_pd(_mm256_and_pd(down, _mm256_set1_pd(-1.0)),
                               _mm256_and_pd(up, _mm256_set1_pd(1.0)));
  return _mm256_cvttpd_epi32(_mm256_add_pd(t, _mm256_and_pd(delta, onStep)));
}

template <class D, class S> struct GeneralRuleAvx2 : GeneralRule<D, S> {
  using Base = GeneralRule<D, S>;
  using Base::Base;
  using Base::kSplit;

  // Four samples -> y + err, from int lanes or from float samples at s.
  GV_AVX2 void Scaled(__m128i v, const u8 *s, __m256d &y, __m256d &e) const {
    const __m256d f = _mm256_set1_pd(this->factor);
    e = _mm256_setzero_pd();
    if constexpr (kSplit) {
      __m256d h = _mm256_cvtepi32_pd(_mm_srai_epi32(v, 16));
      __m256d l = _mm256_cvtepi32_pd(_mm_and_si128(v, _mm_set1_epi32(0xFFFF)));
      __m256d a = _mm256_mul_pd(h, _mm256_set1_pd(this->factor * 65536.0));
      __m256d b = _mm256_mul_pd(l, f);
      y = _mm256_add_pd(a, b);
      __m256d bb = _mm256_sub_pd(y, a);
      e = _mm256_add_pd(_mm256_sub_pd(a, _mm256_sub_pd(y, bb)), _mm256_sub_pd(b, bb));
    } else if constexpr (kIsInt<S>) {
      y = _mm256_mul_pd(_mm256_cvtepi32_pd(v), f);
    } else if constexpr (S::kCode == GV_SAMPLE_FLOAT32) {
      y = _mm256_mul_pd(_mm256_cvtps_pd(_mm_loadu_ps(reinterpret_cast<const float *>(s))), f);
    } else {
      y = _mm256_mul_pd(_mm256_loadu_pd(reinterpret_cast<const double *>(s)), f);
    }
  }

  GV_AVX2 void StoreFloat(u8 *d, __m256d y, __m256d e) const {
    if constexpr (D::kCode == GV_SAMPLE_FLOAT64) {
      _mm256_storeu_pd(reinterpret_cast<double *>(d), y);
    } else if constexpr (kSplit) {
      __m128d y0 = RoundToOdd(_mm256_castpd256_pd128(y), _mm256_castpd256_pd128(e));
      __m128d y1 = RoundToOdd(_mm256_extractf128_pd(y, 1), _mm256_extractf128_pd(e, 1));
      _mm_storeu_ps(reinterpret_cast<float *>(d),
                    _mm_movelh_ps(_mm_cvtpd_ps(y0), _mm_cvtpd_ps(y1)));
    } else {
      _mm_storeu_ps(reinterpret_cast<float *>(d), _mm256_cvtpd_ps(y));
    }
  }

  // Sixteen samples, every load before the first store.
  GV_AVX2 void Sixteen(u8 *d, const u8 *s) const {
    __m128i v[4] = {};
    if constexpr (kIsInt<S>) Load16Shuffled<S::kCode>(s, v);
    __m256d y[4], e[4];
    for (int k = 0; k < 4; ++k) Scaled(v[k], s + k * 4 * S::kBytes, y[k], e[k]);
    if constexpr (kIsInt<D>) {
      const __m256d lo = _mm256_set1_pd(D::kMin), hi = _mm256_set1_pd(D::kMax);
      for (int k = 0; k < 4; ++k) v[k] = TruncClipAvx2(y[k], e[k], lo, hi, kSplit);
      Store16Shuffled<D::kCode>(d, v);
    } else {
      for (int k = 0; k < 4; ++k) StoreFloat(d + k * 4 * D::kBytes, y[k], e[k]);
    }
  }
};

// Sixteen integer samples as two vectors of eight 32-bit lanes (the value
// v of each), for the AVX2 loops. Packed 24-bit samples: each 256-bit load
// has its two groups of four samples moved to one 128-bit half each (the
// groups start on 4-byte boundaries), then shuffled to the top three bytes
// of their lanes. Nothing past the 16 samples is read.
template <DWORD C> GV_AVX2 inline void Load16x8(const u8 *p, __m256i w[2]) {
  if constexpr (C == GV_SAMPLE_UINT8 || C == GV_SAMPLE_INT8) {
    __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
    if constexpr (C == GV_SAMPLE_UINT8) x = _mm_xor_si128(x, _mm_set1_epi8(char(0x80)));
    w[0] = _mm256_cvtepi8_epi32(x);
    w[1] = _mm256_cvtepi8_epi32(_mm_srli_si128(x, 8));
  } else if constexpr (C == GV_SAMPLE_INT16) {
    w[0] = _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p)));
    w[1] = _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 16)));
  } else if constexpr (C == GV_SAMPLE_INT24) {
    const __m256i m = _mm256_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11,
                                       -1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11);
    const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p));
    const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p + 16));
    const __m256i ia = _mm256_setr_epi32(0, 1, 2, 2, 3, 4, 5, 5);  // bytes 0-11 and 12-23
    const __m256i ib = _mm256_setr_epi32(2, 3, 4, 4, 5, 6, 7, 7);  // bytes 24-35 and 36-47
    w[0] = _mm256_srai_epi32(_mm256_shuffle_epi8(_mm256_permutevar8x32_epi32(a, ia), m), 8);
    w[1] = _mm256_srai_epi32(_mm256_shuffle_epi8(_mm256_permutevar8x32_epi32(b, ib), m), 8);
  } else {
    w[0] = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p));
    w[1] = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p + 32));
  }
}

// Sixteen lanes already inside the destination's range (8- and 16-bit
// stores saturate, which is the same clipping) stored as samples.
template <DWORD C> GV_AVX2 inline void Store16x8(u8 *p, const __m256i w[2]) {
  if constexpr (C == GV_SAMPLE_INT32 || C == GV_SAMPLE_INT24IN32) {
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(p), w[0]);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(p + 32), w[1]);
  } else if constexpr (C == GV_SAMPLE_INT16) {  // the pack works per half: put them back in order
    const __m256i x = _mm256_packs_epi32(w[0], w[1]);
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(p), _mm256_permute4x64_epi64(x, 0xD8));
  } else {
    const __m128i v[4] = {_mm256_castsi256_si128(w[0]), _mm256_extracti128_si256(w[0], 1),
                          _mm256_castsi256_si128(w[1]), _mm256_extracti128_si256(w[1], 1)};
    Store16Shuffled<C>(p, v);
  }
}

// The gain-1.0 rule for the AVX2 loops: eight 32-bit lanes per integer
// operation and per conversion to float32, four per conversion to and from
// float64. Every lane sees the operations of FastRule's SSE2 forms (exact
// conversions, power-of-two scales, the same truncation, saturation and
// clipping), so the bytes are the same.
template <class D, class S> struct FastRuleAvx2 : FastRule<D, S> {
  using Base = FastRule<D, S>;

  // int -> int lanes (8- and 16-bit stores saturate, see Shift4)
  GV_AVX2 static __m256i Shift8(__m256i v) {
    if constexpr (Base::kClipSource24 && D::kBytes > 2)
      v = _mm256_min_epi32(_mm256_max_epi32(v, _mm256_set1_epi32(-8388608)),
                           _mm256_set1_epi32(8388607));
    constexpr int shift = D::kBits - S::kBits;
    if constexpr (shift < 0) v = _mm256_srai_epi32(v, -shift);
    if constexpr (shift > 0) v = _mm256_slli_epi32(v, shift);
    return v;
  }

  // int lanes -> sixteen float samples at d
  GV_AVX2 static void StoreScaledDown(u8 *d, const __m256i w[2]) {
    if constexpr (D::kCode == GV_SAMPLE_FLOAT32) {
      const __m256 r = _mm256_set1_ps(float(1.0 / S::kScale));
      for (int k = 0; k < 2; ++k)
        _mm256_storeu_ps(reinterpret_cast<float *>(d + k * 32),
                         _mm256_mul_ps(_mm256_cvtepi32_ps(w[k]), r));
    } else {
      const __m256d r = _mm256_set1_pd(1.0 / S::kScale);
      for (int k = 0; k < 2; ++k) {
        _mm256_storeu_pd(reinterpret_cast<double *>(d + k * 64),
                         _mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_castsi256_si128(w[k])), r));
        _mm256_storeu_pd(reinterpret_cast<double *>(d + k * 64 + 32),
                         _mm256_mul_pd(_mm256_cvtepi32_pd(_mm256_extracti128_si256(w[k], 1)), r));
      }
    }
  }

  // sixteen float samples at s -> int lanes within the destination's range
  GV_AVX2 static void ScaledUp(const u8 *s, __m256i w[2]) {
    if constexpr (S::kCode == GV_SAMPLE_FLOAT32) {
      const __m256 k2 = _mm256_set1_ps(float(D::kScale));
      for (int k = 0; k < 2; ++k) {
        const __m256 z = _mm256_mul_ps(_mm256_loadu_ps(reinterpret_cast<const float *>(s + k * 32)), k2);
        if constexpr (D::kBits == 32) {  // out of range and NaN give INT32_MIN; large ones flip
          const __m256 big = _mm256_cmp_ps(z, _mm256_set1_ps(2147483648.0f), _CMP_GE_OQ);
          w[k] = _mm256_xor_si256(_mm256_cvttps_epi32(z), _mm256_castps_si256(big));
        } else {
          const __m256 c = _mm256_min_ps(_mm256_max_ps(z, _mm256_set1_ps(float(D::kMin))),
                                         _mm256_set1_ps(float(D::kMax)));
          w[k] = _mm256_cvttps_epi32(c);
        }
      }
    } else {
      const __m256d k4 = _mm256_set1_pd(D::kScale);
      const __m256d lo = _mm256_set1_pd(D::kMin), hi = _mm256_set1_pd(D::kMax);
      __m128i t[4];
      for (int k = 0; k < 4; ++k) {
        __m256d z = _mm256_mul_pd(_mm256_loadu_pd(reinterpret_cast<const double *>(s + k * 32)), k4);
        t[k] = _mm256_cvttpd_epi32(_mm256_min_pd(_mm256_max_pd(z, lo), hi));
      }
      w[0] = _mm256_inserti128_si256(_mm256_castsi128_si256(t[0]), t[1], 1);
      w[1] = _mm256_inserti128_si256(_mm256_castsi128_si256(t[2]), t[3], 1);
    }
  }

  // Sixteen samples, every load before the first store.
  GV_AVX2 static void Sixteen(u8 *d, const u8 *s) {
    __m256i w[2];
    if constexpr (kIsInt<D> && kIsInt<S>) {
      Load16x8<S::kCode>(s, w);
      w[0] = Shift8(w[0]);
      w[1] = Shift8(w[1]);
      Store16x8<D::kCode>(d, w);
    } else if constexpr (kIsInt<S>) {
      Load16x8<S::kCode>(s, w);
      StoreScaledDown(d, w);
    } else if constexpr (kIsInt<D>) {
      ScaledUp(s, w);
      Store16x8<D::kCode>(d, w);
    } else if constexpr (D::kCode == GV_SAMPLE_FLOAT64) {
      __m128 x[4];
      for (int k = 0; k < 4; ++k) x[k] = _mm_loadu_ps(reinterpret_cast<const float *>(s + k * 16));
      for (int k = 0; k < 4; ++k)
        _mm256_storeu_pd(reinterpret_cast<double *>(d + k * 32), _mm256_cvtps_pd(x[k]));
    } else {
      __m128 x[4];
      for (int k = 0; k < 4; ++k)
        x[k] = _mm256_cvtpd_ps(_mm256_loadu_pd(reinterpret_cast<const double *>(s + k * 32)));
      for (int k = 0; k < 4; ++k) _mm_storeu_ps(reinterpret_cast<float *>(d + k * 16), x[k]);
    }
  }
};

// The byte moves of NarrowIntRule with one 256-bit load or store per
// sixteen 16-bit samples, for the AVX2 loops.
template <class D, class S> struct NarrowIntRuleAvx2 : NarrowIntRule<D, S> {
  using Base = NarrowIntRule<D, S>;

  GV_AVX2 static void Sixteen(u8 *d, const u8 *s) {
    if constexpr (D::kBytes == 1 && S::kBytes == 1) {
      Base::Sixteen(d, s);
    } else if constexpr (S::kBytes == 1) {  // the byte becomes the high byte
      __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s));
      if constexpr (Base::kFlipSource) x = _mm_xor_si128(x, _mm_set1_epi8(char(0x80)));
      _mm256_storeu_si256(reinterpret_cast<__m256i *>(d),
                          _mm256_slli_epi16(_mm256_cvtepi8_epi16(x), 8));
    } else {  // the high byte, arithmetic shift keeps the sign
      const __m256i h = _mm256_srai_epi16(
          _mm256_loadu_si256(reinterpret_cast<const __m256i *>(s)), 8);
      __m128i x = _mm_packs_epi16(_mm256_castsi256_si128(h), _mm256_extracti128_si256(h, 1));
      if constexpr (Base::kFlipDest) x = _mm_xor_si128(x, _mm_set1_epi8(char(0x80)));
      _mm_storeu_si128(reinterpret_cast<__m128i *>(d), x);
    }
  }
};

}  // namespace gv::audio
