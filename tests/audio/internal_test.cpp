// Internal operations that are not exported, so their sources are compiled
// into this test: the attributes-record operations the audio stream uses,
// and the agreement of the SSE2 and AVX2 forms of the rules.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "../../audio/attribs.cpp"
#include "../../audio/converters.cpp"

namespace {

using namespace gv::audio;

tGVAUDIOATTRIBS Attr(DWORD flags, DWORD bits, DWORD channels) {
  tGVAUDIOATTRIBS a{};
  a.cbSize = sizeof a;
  a.dwFlags = flags;
  a.nBitsPerSample = bits;
  a.nChannels = channels;
  a.nBytesPerSample = BytesPerSample(bits, flags);
  a.nBlockAlign = a.nBytesPerSample * channels;
  return a;
}

TEST(AudioAttribs, SampleTypeFollowsKindBitsAndFlags) {
  const struct {
    DWORD flags, bits, type;
  } cases[] = {{GVAA_UNSIGNED8, 8, GV_SAMPLE_UINT8},   {0, 8, GV_SAMPLE_INT8},
               {GVAA_PACKED24, 16, GV_SAMPLE_INT16},   {GVAA_PACKED24, 24, GV_SAMPLE_INT24},
               {0, 24, GV_SAMPLE_INT24IN32},           {0, 32, GV_SAMPLE_INT32},
               {GVAA_FLOAT32 | GVAA_SCALEDFLOAT, 0, GV_SAMPLE_FLOAT32},
               {GVAA_FLOAT64, 64, GV_SAMPLE_FLOAT64},  {0, 12, GV_SAMPLE_NONE},
               {0x30000, 32, GV_SAMPLE_NONE}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(SampleTypeOfAttribs(Attr(cases[i].flags, cases[i].bits, 2)), cases[i].type);
  }
}

TEST(AudioAttribs, MatchNeedsChannelsAndKindOrBitsAndFlags) {
  const struct {
    tGVAUDIOATTRIBS a, b;
    bool match;
  } cases[] = {
      {Attr(GVAA_FLOAT32, 16, 2), Attr(GVAA_FLOAT32 | GVAA_SCALEDFLOAT, 24, 2), true},
      {Attr(GVAA_FLOAT32, 16, 2), Attr(GVAA_FLOAT32, 16, 1), false},
      {Attr(0, 16, 2), Attr(0, 16, 2), true},
      {Attr(0, 16, 2), Attr(GVAA_UNSIGNED8, 16, 2), false},
      {Attr(0, 16, 2), Attr(0, 24, 2), false},
      {Attr(GVAA_FLOAT32, 32, 2), Attr(GVAA_FLOAT64, 32, 2), false},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(AttribsMatch(cases[i].a, cases[i].b), cases[i].match);
  }
}

TEST(AudioAttribs, SilenceIsOffsetOnlyForUnsigned8) {
  unsigned char buf[16];
  const struct {
    tGVAUDIOATTRIBS a;
    DWORD frames;
    unsigned char fill;
    size_t bytes;
  } cases[] = {{Attr(GVAA_UNSIGNED8, 8, 3), 5, 0x80, 15},
               {Attr(0, 8, 1), 7, 0x00, 7},
               {Attr(GVAA_UNSIGNED8 | GVAA_PACKED24, 24, 1), 3, 0x00, 9},
               {Attr(GVAA_FLOAT32, 32, 2), 0, 0x00, 0}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    std::memset(buf, 0x5A, sizeof buf);
    FillSilence(cases[i].a, buf, cases[i].frames);
    for (size_t k = 0; k < sizeof buf; ++k)
      EXPECT_EQ(buf[k], k < cases[i].bytes ? cases[i].fill : 0x5A) << "byte " << k;
  }
}

TEST(AudioAttribs, CopyConvertsDestinationChannelsTimesFramesAtUnityGain) {
  const tGVAUDIOATTRIBS dst = Attr(GVAA_FLOAT32 | GVAA_SCALEDFLOAT, 16, 2);
  const tGVAUDIOATTRIBS src = Attr(0, 16, 2);
  const short in[6] = {16384, -32768, 1, 2, 3, 4};
  float out[6] = {9, 9, 9, 9, 9, 9};
  EXPECT_EQ(CopyByAttribs(out, dst, in, src, 2), S_OK);
  EXPECT_EQ(out[0], 0.5f);  // the scaled-float flag does not change the gain
  EXPECT_EQ(out[1], -1.0f);
  EXPECT_EQ(out[4], 9.0f);
  EXPECT_EQ(CopyByAttribs(out, dst, in, Attr(0, 12, 2), 0), S_OK);
  EXPECT_EQ(CopyByAttribs(out, dst, in, Attr(0, 12, 2), 1), E_NOTIMPL);
  EXPECT_EQ(GetConverterForAttribs(Attr(0x30000, 16, 2), src), nullptr);
}

template <size_t I> void CompareGeneralPaths(bool inPlace) {
  using D = SampleType<kComputableTypes[I / 8]>;
  using S = SampleType<kComputableTypes[I % 8]>;
  SCOPED_TRACE(::testing::Message() << "dst 0x" << std::hex << D::kCode << " src 0x" << S::kCode
                                    << (inPlace ? " in place" : ""));
  const DWORD n = inPlace ? 263 : 1031;
  const size_t width = std::max(D::kBytes, S::kBytes);
  std::mt19937 rng{static_cast<unsigned>(I)};
  std::vector<u8> src(n * width);
  for (auto &b : src) b = u8(rng());
  if constexpr (kIsFloat<S>) {  // mostly modest values, a few specials
    const double specials[] = {0.0, -0.0, 1.0, -1.0, 1e300, -1e300, 1e-300, 0.5};
    for (DWORD i = 0; i < n; ++i) {
      double v = (i < 8) ? specials[i] : int(rng() % 40001 - 20000) / 12345.0;
      WriteFloat<S>(&src[i * S::kBytes], typename S::Value(v));
    }
  }
  for (float gain : {0.5f, -1.0f, 1.0000001f, 2.0f, 0.3f}) {
    std::vector<u8> a(n * width + 16, 0xA5), b = a;
    if (inPlace) {
      std::copy(src.begin(), src.begin() + n * S::kBytes, a.begin());
      std::copy(src.begin(), src.begin() + n * S::kBytes, b.begin());
      Run<D, S>(a.data(), a.data(), n, GeneralRule<D, S>(gain));
      RunAvx2<D, S>(b.data(), b.data(), n, GeneralRuleAvx2<D, S>(gain));
    } else {
      Run<D, S>(a.data(), src.data(), n, GeneralRule<D, S>(gain));
      RunAvx2<D, S>(b.data(), src.data(), n, GeneralRuleAvx2<D, S>(gain));
    }
    for (size_t i = 0; i < a.size(); ++i)
      ASSERT_EQ(a[i], b[i]) << "byte " << i << " gain " << gain;
  }
}

template <size_t... I> void CompareAllGeneralPaths(std::index_sequence<I...>) {
  (CompareGeneralPaths<I>(false), ...);
  (CompareGeneralPaths<I>(true), ...);
}

TEST(ConverterPaths, Avx2AndSse2GeneralRulesGiveIdenticalBytes) {
  if (!HasAvx2()) GTEST_SKIP() << "no AVX2 on this processor";
  CompareAllGeneralPaths(std::make_index_sequence<64>{});
}

// The gain-1.0 rule of every pair of different types: the SSE2 loop and the
// AVX2 loop give the same bytes, in place and not.
// The gain-1.0 rule of a pair in the SSE2 loop or in the AVX2 loop.
template <class D, class S> void RunUnity(u8 *d, const u8 *s, DWORD n, bool avx2) {
  if constexpr (kNarrowIntPair<D, S>) {
    if (avx2) RunAvx2<D, S>(d, s, n, NarrowIntRuleAvx2<D, S>{});
    else Run<D, S>(d, s, n, NarrowIntRule<D, S>{});
  } else {
    if (avx2) RunAvx2<D, S>(d, s, n, FastRuleAvx2<D, S>{});
    else Run<D, S>(d, s, n, FastRule<D, S>{});
  }
}

template <size_t I> void CompareFastPaths(bool inPlace) {
  using D = SampleType<kComputableTypes[I / 8]>;
  using S = SampleType<kComputableTypes[I % 8]>;
  if constexpr (D::kCode != S::kCode) {
    SCOPED_TRACE(::testing::Message() << "dst 0x" << std::hex << D::kCode << " src 0x"
                                      << S::kCode << (inPlace ? " in place" : ""));
    const DWORD n = inPlace ? 263 : 1031;
    const size_t width = std::max(D::kBytes, S::kBytes);
    std::mt19937 rng{static_cast<unsigned>(I)};
    std::vector<u8> src(n * width);
    for (auto &b : src) b = u8(rng());
    if constexpr (kIsFloat<S>) {  // in range, clipping, full scale and NaN
      const double specials[] = {0.0, -0.0, 1.0, -1.0, 1e300, -1e300, 0.99999994, -0.5};
      for (DWORD i = 0; i < n; ++i) {
        double v = (i < 8) ? specials[i] : int(rng() % 40001 - 20000) / 16000.0;
        WriteFloat<S>(&src[i * S::kBytes], typename S::Value(v));
      }
      std::memset(&src[9 * S::kBytes], 0xFF, S::kBytes);
    }
    std::vector<u8> a(n * width + 16, 0xA5), b = a;
    if (inPlace) {
      std::copy(src.begin(), src.begin() + n * S::kBytes, a.begin());
      std::copy(src.begin(), src.begin() + n * S::kBytes, b.begin());
      RunUnity<D, S>(a.data(), a.data(), n, false);
      RunUnity<D, S>(b.data(), b.data(), n, true);
    } else {
      RunUnity<D, S>(a.data(), src.data(), n, false);
      RunUnity<D, S>(b.data(), src.data(), n, true);
    }
    for (size_t i = 0; i < a.size(); ++i) ASSERT_EQ(a[i], b[i]) << "byte " << i;
  }
}

template <size_t... I> void CompareAllFastPaths(std::index_sequence<I...>) {
  (CompareFastPaths<I>(false), ...);
  (CompareFastPaths<I>(true), ...);
}

TEST(ConverterPaths, Avx2AndSse2UnityRulesGiveIdenticalBytes) {
  if (!HasAvx2()) GTEST_SKIP() << "no AVX2 on this processor";
  CompareAllFastPaths(std::make_index_sequence<64>{});
}

}  // namespace
