// Every converter of the 8x8 matrix against the reference model, at gain
// 1.0 and at other gains, on edge values and random data, out of place and
// in place, with lengths that leave SIMD tails; once with each loop forced
// (scalar, SSE2, AVX2), so every path answers to the model itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "audio/convert.h"
#include "audio/reference_model.h"
#include "gvtalc.h"
#include "support/cases.h"

namespace {

using audiotest::kTypes;
using audiotest::TypeInfo;

const float kGains[] = {1.0f, 0.5f, 2.0f, -1.0f, 1.0000001f, 0.7f, -3.3f};
const unsigned char kCanary = 0xA5;
const size_t kCanaryBytes = 16;

void PutInt(std::vector<unsigned char> &buf, const TypeInfo &t, std::int64_t v) {
  unsigned char b[8];
  audiotest::WriteInt(t, b, v);
  buf.insert(buf.end(), b, b + t.bytes);
}

// The bytes of v as they lie in memory (little-endian).
template <class T> void Put(std::vector<unsigned char> &buf, T v) {
  const unsigned char *b = reinterpret_cast<const unsigned char *>(&v);
  buf.insert(buf.end(), b, b + sizeof v);
}

// Edge values (the documented examples among them) followed by random
// data, count samples in all.
std::vector<unsigned char> SourceData(const TypeInfo &t, size_t count, unsigned seed) {
  std::vector<unsigned char> buf;
  std::mt19937 rng(seed);
  if (audiotest::IsFloat(t)) {
    const double steps[] = {0.0, -0.0, 1.0, -1.0, 0.5, -0.5, 0.99999, -0.99999, -0.00001,
                            1.0000001, -1.0000001, 2.0, -2.0, 3.0, -1.5, 1e10, -1e10,
                            3.0517578125e-05, 2147483646.9 / 2147483648.0,
                            32767.999 / 32768, -32768.5 / 32768, 127.99 / 128, -128.7 / 128,
                            std::nextafter(1.0, 0.0), std::nextafter(-1.0, 0.0),
                            std::nextafter(0.5, 0.0), 8388607.5 / 8388608,
                            2147483647.0 / 2147483648.0, 2147483647.5 / 2147483648.0,
                            -2147483648.5 / 2147483648.0, 0.1, -0.3, 0.75, 1.5};
    std::uniform_real_distribution<double> dist(-1.6, 1.6);
    for (size_t i = 0; i < count; ++i) {
      const double v = i < std::size(steps) ? steps[i] : dist(rng);
      if (t.code == GV_SAMPLE_FLOAT32) Put(buf, float(v));
      else Put(buf, v);
    }
  } else {
    const std::int64_t lo = audiotest::RangeMin(t), hi = audiotest::RangeMax(t);
    const std::int64_t edges[] = {0, 1, -1, 2, -2, lo, hi, lo + 1, hi - 1, hi / 2, lo / 2,
                                  hi / 2 + 1, 0x7F, -0x80, 0x80, 0x7FFF, -0x8000, 0x8000, -12345};
    for (std::int64_t v : edges)
      if (v >= lo && v <= hi) PutInt(buf, t, v);
    if (t.bytes == 4) {  // int24in32 containers may hold out-of-range values too
      for (std::uint32_t v : {0x7FFFFF80u, 0x7FFFFFC0u, 0x00FFFFFFu, 0x01000001u, 0x3FFFFFFFu,
                              0xC0000001u, 0x80000080u, 0x7FFFFFBFu, 0x7F7FFFFFu, 0x80800001u,
                              0xFF000001u, 0x00800000u, 0xFF7FFFFFu, 0x7FFFFFFFu, 0x80000000u,
                              0x12345678u, 0x01000000u})
        Put(buf, v);
    }
    while (buf.size() < count * t.bytes) buf.push_back(static_cast<unsigned char>(rng()));
  }
  buf.resize(count * t.bytes);
  return buf;
}

// Float64 sources are multiplied in double at gains other than 1.0, so the
// result may sit one unit away from the 80-bit model where the product
// falls within a double's rounding of a truncation step or a tie.
bool WithinDoubleRounding(const TypeInfo &dt, const unsigned char *got,
                          const unsigned char *want) {
  if (dt.code == GV_SAMPLE_FLOAT64 || dt.code == GV_SAMPLE_FLOAT32) {
    // Neighbouring values of one sign differ by one in their bit patterns.
    std::int64_t a = 0, b = 0;
    std::memcpy(&a, got, dt.bytes);
    std::memcpy(&b, want, dt.bytes);
    return std::llabs(a - b) == 1;
  }
  const auto a = audiotest::ReadSample(dt, got), b = audiotest::ReadSample(dt, want);
  return std::llabs(a.v - b.v) == 1;
}

using gv::audio::ConvertPath;

struct Pair {
  int dst, src;
  ConvertPath path;
};

class ConverterMatrix : public ::testing::TestWithParam<Pair> {
 protected:
  const TypeInfo &D() const { return kTypes[GetParam().dst]; }
  const TypeInfo &S() const { return kTypes[GetParam().src]; }

  void SetUp() override {
    if (!gv::audio::ForceConvertPath(GetParam().path)) GTEST_SKIP() << "no AVX2 here";
  }
  void TearDown() override { gv::audio::ForceConvertPath(ConvertPath::Auto); }

  GVCONVERTFUNC Converter() const { return gv::audio::GetConverter(D().code, S().code); }

  // Compares n converted samples with the model; returns mismatches.
  int Compare(const unsigned char *out, const unsigned char *src, size_t n, float gain) const {
    int bad = 0;
    for (size_t i = 0; i < n; ++i) {
      unsigned char want[8];
      bool any = false;
      audiotest::ModelOne(D(), want, S(), src + i * S().bytes, gain, &any);
      const unsigned char *got = out + i * D().bytes;
      if (any) {
        const auto v = audiotest::ReadSample(D(), got).v;
        if (v >= audiotest::RangeMin(D()) && v <= audiotest::RangeMax(D())) continue;
      } else if (std::memcmp(got, want, D().bytes) == 0) {
        continue;
      } else if (S().code == GV_SAMPLE_FLOAT64 && gain != 1.0f &&
                 WithinDoubleRounding(D(), got, want)) {
        continue;
      }
      if (++bad <= 3)
        ADD_FAILURE() << "n=" << n << " sample " << i << " source " << Hex(src + i * S().bytes, S())
                      << " gain " << gain << ": got " << Hex(got, D()) << " want " << Hex(want, D());
    }
    return bad;
  }

  static std::string Hex(const unsigned char *p, const TypeInfo &t) {
    std::string text;
    char hex[4];
    for (int b = 0; b < t.bytes; ++b) std::snprintf(hex, sizeof hex, "%02X", p[b]), text += hex;
    return text;
  }
};

TEST_P(ConverterMatrix, MatchesReferenceModelOutOfPlace) {
  GVCONVERTFUNC convert = Converter();
  ASSERT_NE(convert, nullptr);
  FOR_EACH_CASE(kGains) {
    for (size_t n : {0, 1, 3, 5, 7, 61, 1027}) {
      const auto src = SourceData(S(), n, unsigned(n * 31 + GetParam().src));
      const auto srcCopy = src;
      std::vector<unsigned char> dst(n * D().bytes + kCanaryBytes, kCanary);
      convert(dst.data(), src.data(), DWORD(n), c);
      EXPECT_EQ(src, srcCopy) << "source modified, n=" << n;
      for (size_t i = n * D().bytes; i < dst.size(); ++i)
        ASSERT_EQ(dst[i], kCanary) << "write past the last sample at byte " << i << ", n=" << n;
      EXPECT_EQ(Compare(dst.data(), src.data(), n, c), 0);
    }
  }
}

TEST_P(ConverterMatrix, MatchesReferenceModelInPlace) {
  GVCONVERTFUNC convert = Converter();
  ASSERT_NE(convert, nullptr);
  const size_t width = std::max(D().bytes, S().bytes);
  FOR_EACH_CASE(kGains) {
    for (size_t n : {1, 6, 63, 258}) {
      const auto src = SourceData(S(), n, unsigned(n * 7 + GetParam().dst));
      std::vector<unsigned char> buf(n * width + kCanaryBytes, kCanary);
      std::memcpy(buf.data(), src.data(), src.size());
      convert(buf.data(), buf.data(), DWORD(n), c);
      for (size_t i = n * width; i < buf.size(); ++i) ASSERT_EQ(buf[i], kCanary) << "n=" << n;
      EXPECT_EQ(Compare(buf.data(), src.data(), n, c), 0);
    }
  }
}

std::vector<Pair> AllPairs() {
  std::vector<Pair> pairs;
  for (ConvertPath path : {ConvertPath::Scalar, ConvertPath::Sse2, ConvertPath::Avx2})
    for (int d = 0; d < 8; ++d)
      for (int s = 0; s < 8; ++s) pairs.push_back({d, s, path});
  return pairs;
}

std::string PairName(const ::testing::TestParamInfo<Pair> &info) {
  static const char *const kPath[] = {"auto", "scalar", "sse2", "avx2"};
  return std::string(kPath[int(info.param.path)]) + "_" + kTypes[info.param.dst].name +
         "_from_" + kTypes[info.param.src].name;
}

INSTANTIATE_TEST_SUITE_P(AllPairs, ConverterMatrix, ::testing::ValuesIn(AllPairs()), PairName);

}  // namespace
