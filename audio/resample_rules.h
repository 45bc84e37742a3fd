// Reading and writing one sample as a double with full scale 1.0, the rule
// every linear resampling method shares.
#pragma once

#include <cmath>
#include <cstdint>

#include "audio/sampletypes.h"

namespace gv::audio::resample {

using u8 = unsigned char;

template <DWORD T> inline double Read(const u8 *p) {
  using Ty = SampleType<T>;
  if constexpr (kIsFloat<Ty>)
    return double(ReadFloat<Ty>(p));
  else
    return double(ReadInt<T>(p)) * (1.0 / Ty::kScale);
}

// Truncated toward zero and clipped to the type's range; NaN gives the
// minimum. Floats are stored as they are.
template <DWORD T> inline void Write(u8 *p, double x) {
  using Ty = SampleType<T>;
  if constexpr (kIsFloat<Ty>) {
    WriteFloat<Ty>(p, typename Ty::Value(x));
  } else {
    // Inside (min - 1, max + 1) the conversion's truncation lands in range;
    // outside, and for NaN, the range's ends.
    const double y = x * Ty::kScale;
    std::int32_t v;
    if (y > double(Ty::kMin) - 1.0 && y < double(Ty::kMax) + 1.0)
      v = std::int32_t(y);
    else
      v = y > 0.0 ? Ty::kMax : Ty::kMin;
    WriteInt<T>(p, v);
  }
}

// Calls f.template operator()<T>() for a linear type; false for others.
template <class F> inline bool WithLinearType(DWORD type, F &&f) {
  switch (type) {
    case GV_SAMPLE_UINT8: f.template operator()<GV_SAMPLE_UINT8>(); return true;
    case GV_SAMPLE_INT16: f.template operator()<GV_SAMPLE_INT16>(); return true;
    case GV_SAMPLE_INT24: f.template operator()<GV_SAMPLE_INT24>(); return true;
    case GV_SAMPLE_INT32: f.template operator()<GV_SAMPLE_INT32>(); return true;
    case GV_SAMPLE_FLOAT32: f.template operator()<GV_SAMPLE_FLOAT32>(); return true;
    case GV_SAMPLE_FLOAT64: f.template operator()<GV_SAMPLE_FLOAT64>(); return true;
    case GV_SAMPLE_INT24IN32: f.template operator()<GV_SAMPLE_INT24IN32>(); return true;
  }
  return false;
}

}  // namespace gv::audio::resample
