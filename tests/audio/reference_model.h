// A reference model of sample conversion, written from the conversion rules
// independently of the library: read a sample, compute in long double (or
// with integer shifts at gain 1.0), truncate toward zero, clip, write.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "gvaudio.h"

namespace audiotest {

struct TypeInfo {
  DWORD code;
  int bytes;
  int bits;  // significant bits of integer types; 0 for floats
  const char *name;
  WORD tag, wfxBits;  // a WAVEFORMATEX that has this type
};

inline const TypeInfo kTypes[8] = {
    {GV_SAMPLE_UINT8, 1, 8, "uint8", WAVE_FORMAT_PCM, 8},
    {GV_SAMPLE_INT16, 2, 16, "int16", WAVE_FORMAT_PCM, 16},
    {GV_SAMPLE_INT24, 3, 24, "int24", WAVE_FORMAT_PCM, 24},
    {GV_SAMPLE_INT32, 4, 32, "int32", WAVE_FORMAT_PCM, 32},
    {GV_SAMPLE_FLOAT32, 4, 0, "float32", WAVE_FORMAT_IEEE_FLOAT, 32},
    {GV_SAMPLE_FLOAT64, 8, 0, "float64", WAVE_FORMAT_IEEE_FLOAT, 64},
    {GV_SAMPLE_INT24IN32, 4, 24, "int24in32", GV_WAVE_FORMAT_UNPACKED, 32},
    {GV_SAMPLE_INT8, 1, 8, "int8", GV_WAVE_FORMAT_SIGNED, 8}};

inline bool IsFloat(const TypeInfo &t) { return t.bits == 0; }

inline WAVEFORMATEX Wfx(WORD tag, WORD bits, WORD channels = 1, DWORD rate = 44100) {
  WAVEFORMATEX w{};
  w.wFormatTag = tag;
  w.wBitsPerSample = bits;
  w.nChannels = channels;
  w.nSamplesPerSec = rate;
  w.nBlockAlign = WORD(channels * (bits / 8));
  w.nAvgBytesPerSec = rate * w.nBlockAlign;
  return w;
}

inline WAVEFORMATEX FormatOf(const TypeInfo &t, WORD channels = 1) {
  return Wfx(t.tag, t.wfxBits, channels);
}

// A sample read from memory: integer value or floating value.
struct Sample {
  std::int64_t v = 0;
  long double x = 0;
};

template <class T> T Load(const unsigned char *p) {
  T v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

inline Sample ReadSample(const TypeInfo &t, const unsigned char *p) {
  Sample s;
  switch (t.code) {
    case GV_SAMPLE_UINT8: s.v = int(p[0]) - 128; break;
    case GV_SAMPLE_INT8: s.v = static_cast<signed char>(p[0]); break;
    case GV_SAMPLE_INT16: s.v = static_cast<std::int16_t>(p[0] | (p[1] << 8)); break;
    case GV_SAMPLE_INT24: {
      const std::int64_t u = p[0] | (p[1] << 8) | (std::int64_t(p[2]) << 16);
      s.v = u >= 0x800000 ? u - 0x1000000 : u;
      break;
    }
    case GV_SAMPLE_INT32:
    case GV_SAMPLE_INT24IN32: s.v = Load<std::int32_t>(p); break;
    case GV_SAMPLE_FLOAT32: s.x = Load<float>(p); break;
    case GV_SAMPLE_FLOAT64: s.x = Load<double>(p); break;
  }
  return s;
}

inline std::int64_t RangeMin(const TypeInfo &t) { return -(std::int64_t(1) << (t.bits - 1)); }
inline std::int64_t RangeMax(const TypeInfo &t) { return (std::int64_t(1) << (t.bits - 1)) - 1; }

inline void WriteInt(const TypeInfo &t, unsigned char *p, std::int64_t v) {
  switch (t.code) {
    case GV_SAMPLE_UINT8: p[0] = static_cast<unsigned char>((v & 0xFF) ^ 0x80); break;
    case GV_SAMPLE_INT8: p[0] = static_cast<unsigned char>(v & 0xFF); break;
    default:
      for (int i = 0; i < t.bytes; ++i) p[i] = static_cast<unsigned char>((v >> (8 * i)) & 0xFF);
  }
}

// Expected bytes of one destination sample. *anyInRange is set when the
// rules allow any in-range result (scaled magnitude of 2^31 or more
// reaching an 8-, 16- or 24-bit destination).
inline void ModelOne(const TypeInfo &dt, unsigned char *d, const TypeInfo &st,
                     const unsigned char *s, float gain, bool *anyInRange) {
  *anyInRange = false;
  const Sample in = ReadSample(st, s);
  const bool fast = gain == 1.0f;
  if (fast && dt.code == st.code) {
    std::memcpy(d, s, dt.bytes);
    return;
  }
  if (fast && !IsFloat(dt) && !IsFloat(st)) {
    std::int64_t v = in.v;
    if (st.code == GV_SAMPLE_INT24IN32 && dt.bits < 32) {
      if (v < -8388608) v = -8388608;
      if (v > 8388607) v = 8388607;
    }
    const int shift = dt.bits - st.bits;
    if (shift < 0) v = v >> -shift;  // arithmetic: toward minus infinity
    else v = v * (std::int64_t(1) << shift);
    WriteInt(dt, d, v);
    return;
  }
  long double y;
  const long double srcScale = IsFloat(st) ? 1.0L : std::ldexp(1.0L, st.bits - 1);
  if (IsFloat(st)) y = in.x;
  else y = static_cast<long double>(in.v) / srcScale;
  if (!fast) y = y * static_cast<long double>(gain);
  if (dt.code == GV_SAMPLE_FLOAT32) {
    float f = static_cast<float>(y);
    std::memcpy(d, &f, 4);
    return;
  }
  if (dt.code == GV_SAMPLE_FLOAT64) {
    double f = static_cast<double>(y);
    std::memcpy(d, &f, 8);
    return;
  }
  const long double z = y * std::ldexp(1.0L, dt.bits - 1);
  std::int64_t v;
  if (dt.bits == 32) {
    if (z < -2147483648.0L) v = INT32_MIN;
    else if (z >= 2147483647.0L) v = INT32_MAX;
    else v = static_cast<std::int64_t>(z);
  } else {
    if (!(std::fabs(z) < 2147483648.0L)) {
      *anyInRange = true;
      v = 0;
    } else {
      v = static_cast<std::int64_t>(z);  // toward zero
      if (v < RangeMin(dt)) v = RangeMin(dt);
      if (v > RangeMax(dt)) v = RangeMax(dt);
    }
  }
  WriteInt(dt, d, v);
}

}  // namespace audiotest
