// The eight computable sample types as compile-time traits: layout, width,
// integer scale, and the scalar read and write of one sample. Converters and
// channel routines are generated from these, so every pair shares one rule.
#pragma once

#include <cstdint>
#include <cstring>

#include "gvaudio.h"

namespace gv::audio {

// Integer types carry their significant bits (INT24IN32 counts as 24), the
// full-scale value and the range a destination clips to.
enum class Kind { Int, Float };

template <DWORD Code> struct SampleType;

#define GV_INT_SAMPLE(code, bytes, bits)                          \
  template <> struct SampleType<code> {                           \
    static constexpr DWORD kCode = code;                          \
    static constexpr Kind kKind = Kind::Int;                      \
    static constexpr int kBytes = bytes;                          \
    static constexpr int kBits = bits;                            \
    static constexpr double kScale = double(1u << (bits - 1));      \
    static constexpr std::int32_t kMin = -(std::int32_t)((1u << (bits - 1)) - 1) - 1; \
    static constexpr std::int32_t kMax = (std::int32_t)((1u << (bits - 1)) - 1); \
  }

GV_INT_SAMPLE(GV_SAMPLE_UINT8, 1, 8);
GV_INT_SAMPLE(GV_SAMPLE_INT8, 1, 8);
GV_INT_SAMPLE(GV_SAMPLE_INT16, 2, 16);
GV_INT_SAMPLE(GV_SAMPLE_INT24, 3, 24);
GV_INT_SAMPLE(GV_SAMPLE_INT24IN32, 4, 24);
GV_INT_SAMPLE(GV_SAMPLE_INT32, 4, 32);
#undef GV_INT_SAMPLE

template <> struct SampleType<GV_SAMPLE_FLOAT32> {
  static constexpr DWORD kCode = GV_SAMPLE_FLOAT32;
  static constexpr Kind kKind = Kind::Float;
  static constexpr int kBytes = 4;
  static constexpr int kBits = 32;
  using Value = float;
};
template <> struct SampleType<GV_SAMPLE_FLOAT64> {
  static constexpr DWORD kCode = GV_SAMPLE_FLOAT64;
  static constexpr Kind kKind = Kind::Float;
  static constexpr int kBytes = 8;
  static constexpr int kBits = 64;
  using Value = double;
};

template <class T> constexpr bool kIsInt = T::kKind == Kind::Int;
template <class T> constexpr bool kIsFloat = T::kKind == Kind::Float;

// The order of the converter matrix: index 0..7.
inline constexpr DWORD kComputableTypes[8] = {GV_SAMPLE_UINT8,   GV_SAMPLE_INT16,   GV_SAMPLE_INT24,
                                       GV_SAMPLE_INT32,   GV_SAMPLE_FLOAT32, GV_SAMPLE_FLOAT64,
                                       GV_SAMPLE_INT24IN32, GV_SAMPLE_INT8};

// Matrix index of a sample type, or -1 when it has no converters.
inline int ComputableIndex(DWORD type) {
  for (int i = 0; i < 8; ++i)
    if (kComputableTypes[i] == type) return i;
  return -1;
}

// Bytes of one stored sample of any known type, big-endian ones included;
// 0 for GV_SAMPLE_NONE. What byte-moving routines (repetition, spreading a
// channel) need.
inline int StoredSampleBytes(DWORD type) {
  switch (type) {
    case GV_SAMPLE_UINT8: case GV_SAMPLE_INT8: return 1;
    case GV_SAMPLE_INT16: case GV_SAMPLE_INT16BE: return 2;
    case GV_SAMPLE_INT24: case GV_SAMPLE_INT24BE: return 3;
    case GV_SAMPLE_INT32: case GV_SAMPLE_FLOAT32: case GV_SAMPLE_INT24IN32:
    case GV_SAMPLE_INT32BE: return 4;
    case GV_SAMPLE_FLOAT64: return 8;
  }
  return 0;
}

// ---- Scalar reads: integer types give the signed value v ----------------
template <DWORD C> inline std::int32_t ReadInt(const unsigned char *p);
template <> inline std::int32_t ReadInt<GV_SAMPLE_UINT8>(const unsigned char *p) {
  return static_cast<signed char>(*p ^ 0x80);
}
template <> inline std::int32_t ReadInt<GV_SAMPLE_INT8>(const unsigned char *p) {
  return static_cast<signed char>(*p);
}
template <> inline std::int32_t ReadInt<GV_SAMPLE_INT16>(const unsigned char *p) {
  std::int16_t v;
  std::memcpy(&v, p, 2);
  return v;
}
template <> inline std::int32_t ReadInt<GV_SAMPLE_INT24>(const unsigned char *p) {
  std::uint32_t u = p[0] | (p[1] << 8) | (std::uint32_t(p[2]) << 16);
  return static_cast<std::int32_t>(u << 8) >> 8;
}
template <> inline std::int32_t ReadInt<GV_SAMPLE_INT32>(const unsigned char *p) {
  std::int32_t v;
  std::memcpy(&v, p, 4);
  return v;
}
template <> inline std::int32_t ReadInt<GV_SAMPLE_INT24IN32>(const unsigned char *p) {
  return ReadInt<GV_SAMPLE_INT32>(p);
}

// ---- Scalar writes: v is already within the destination's range ---------
template <DWORD C> inline void WriteInt(unsigned char *p, std::int32_t v);
template <> inline void WriteInt<GV_SAMPLE_UINT8>(unsigned char *p, std::int32_t v) {
  *p = static_cast<unsigned char>(v ^ 0x80);
}
template <> inline void WriteInt<GV_SAMPLE_INT8>(unsigned char *p, std::int32_t v) {
  *p = static_cast<unsigned char>(v);
}
template <> inline void WriteInt<GV_SAMPLE_INT16>(unsigned char *p, std::int32_t v) {
  std::int16_t s = static_cast<std::int16_t>(v);
  std::memcpy(p, &s, 2);
}
template <> inline void WriteInt<GV_SAMPLE_INT24>(unsigned char *p, std::int32_t v) {
  p[0] = static_cast<unsigned char>(v);
  p[1] = static_cast<unsigned char>(v >> 8);
  p[2] = static_cast<unsigned char>(v >> 16);
}
template <> inline void WriteInt<GV_SAMPLE_INT32>(unsigned char *p, std::int32_t v) {
  std::memcpy(p, &v, 4);
}
template <> inline void WriteInt<GV_SAMPLE_INT24IN32>(unsigned char *p, std::int32_t v) {
  std::memcpy(p, &v, 4);
}

template <class T> inline typename T::Value ReadFloat(const unsigned char *p) {
  typename T::Value x;
  std::memcpy(&x, p, sizeof x);
  return x;
}
template <class T> inline void WriteFloat(unsigned char *p, typename T::Value x) {
  std::memcpy(p, &x, sizeof x);
}

}  // namespace gv::audio
