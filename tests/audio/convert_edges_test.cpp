// Conversion cases with exact expected values, and the exported copy calls'
// argument handling.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "audio/reference_model.h"
#include "gvtalc.h"

namespace {

using audiotest::FormatOf;
using audiotest::kTypes;

enum { U8, I16, I24, I32, F32, F64, I24IN32, I8 };

template <class Out, class In>
Out ConvertOne(int dst, int src, In in, float gain) {
  WAVEFORMATEX wd = FormatOf(kTypes[dst]), ws = FormatOf(kTypes[src]);
  Out out{};
  EXPECT_EQ(GvAudio_Copy(&wd, &out, &ws, &in, 1, gain), S_OK);
  return out;
}

TEST(ConvertEdges, Int16ToUnsigned8KeepsTopByteAndFlipsSign) {
  EXPECT_EQ((ConvertOne<unsigned char, short>(U8, I16, -12345, 1.0f)), 0x4F);
}

TEST(ConvertEdges, FloatToInt16TruncatesAndClips) {
  struct Case {
    float in, gain;
    short want;
  } cases[] = {{1.0f, 1.0f, 32767},  {-1.0f, 1.0f, -32768}, {0.5f, 0.5f, 8192},
               {-0.00001f, 1.0f, 0}, {2.0f, 1.0f, 32767},   {-2.0f, 0.5f, -32768},
               {0.99999f, 1.0f, 32767}, {-0.99999f, 1.0f, -32767}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ((ConvertOne<short, float>(I16, F32, cases[i].in, cases[i].gain)), cases[i].want);
  }
}

TEST(ConvertEdges, FloatJustBelowFullScaleGivesSigned8Maximum) {
  EXPECT_EQ((ConvertOne<signed char, float>(I8, F32, 0.99999f, 1.0f)), 127);
}

TEST(ConvertEdges, Unsigned8AtGainTwo) {
  EXPECT_EQ((ConvertOne<short, unsigned char>(I16, U8, 0x80, 2.0f)), 0);
  EXPECT_EQ((ConvertOne<unsigned char, unsigned char>(U8, U8, 0xFF, 2.0f)), 0xFF);
  EXPECT_EQ((ConvertOne<unsigned char, unsigned char>(U8, U8, 0x00, 2.0f)), 0x00);
}

TEST(ConvertEdges, FloatToInt32ComparesBeforeTruncation) {
  EXPECT_EQ((ConvertOne<int, double>(I32, F64, 1.0, 1.0f)), INT32_MAX);
  EXPECT_EQ((ConvertOne<int, double>(I32, F64, -1.0, 1.0f)), INT32_MIN);
  EXPECT_EQ((ConvertOne<int, double>(I32, F64, -1.5, 1.0f)), INT32_MIN);
  EXPECT_EQ((ConvertOne<int, double>(I32, F64, 2147483646.9 / 2147483648.0, 1.0f)), 2147483646);
  EXPECT_EQ((ConvertOne<int, float>(I32, F32, 3.0f, 1.0f)), INT32_MAX);
}

TEST(ConvertEdges, Int32ProductJustBelowAStepTruncatesExactly) {
  // 2139095039 * (1 + 2^-23) = 2139095293.99999988..., which rounds up to
  // an integer in double precision.
  EXPECT_EQ((ConvertOne<int, int>(I32, I32, 2139095039, 1.0000001f)), 2139095293);
  EXPECT_EQ((ConvertOne<int, int>(I32, I32, -2139095039, 1.0000001f)), -2139095293);
}

TEST(ConvertEdges, Int24In32SourceClipsOnlyWhenNarrowed) {
  const int wide = 0x01000000;  // outside the 24-bit range
  EXPECT_EQ((ConvertOne<short, int>(I16, I24IN32, wide, 1.0f)), 32767);
  EXPECT_EQ((ConvertOne<int, int>(I32, I24IN32, wide, 1.0f)), 0);  // shifted out
  EXPECT_FLOAT_EQ((ConvertOne<float, int>(F32, I24IN32, wide, 1.0f)), 2.0f);
}

TEST(ConvertEdges, Int32ToPackedInt24KeepsTopThreeBytes) {
  unsigned char out[4] = {0, 0, 0, 0xEE};
  const int in = 0x12345678;
  WAVEFORMATEX wd = FormatOf(kTypes[I24]), ws = FormatOf(kTypes[I32]);
  ASSERT_EQ(GvAudio_Copy(&wd, out, &ws, &in, 1, 1.0f), S_OK);
  const unsigned char want[4] = {0x56, 0x34, 0x12, 0xEE};
  EXPECT_EQ(0, std::memcmp(out, want, 4));
}

TEST(ConvertEdges, EqualTypesInPlaceAtUnityGainLeaveDataAlone) {
  short data[5] = {1, -2, 3, -4, 5};
  WAVEFORMATEX w = FormatOf(kTypes[I16]);
  ASSERT_EQ(GvAudio_Copy(&w, data, &w, data, 5, 1.0f), S_OK);
  EXPECT_EQ(data[3], -4);
}

TEST(ConvertEdges, UnsupportedFormatsAreNotImplemented) {
  short a[4] = {}, b[4] = {};
  WAVEFORMATEX ok = FormatOf(kTypes[I16]);
  WAVEFORMATEX big = ok;
  big.wFormatTag = GV_WAVE_FORMAT_BIGENDIAN;
  WAVEFORMATEX odd = ok;
  odd.wBitsPerSample = 12;
  EXPECT_EQ(GvAudio_Copy(&big, a, &ok, b, 2, 1.0f), E_NOTIMPL);
  EXPECT_EQ(GvAudio_Copy(&ok, a, &big, b, 2, 1.0f), E_NOTIMPL);
  EXPECT_EQ(GvAudio_Copy(&ok, a, &odd, b, 2, 0.5f), E_NOTIMPL);
  EXPECT_EQ(GvAudio_GetCopyFunction(&big, &ok), nullptr);
  EXPECT_EQ(GvAudio_GetCopyChannelsFunction(&ok, &odd), nullptr);
  long map[1] = {0};
  EXPECT_EQ(GvAudio_CopyChannels(&ok, a, &big, b, 2, map), E_NOTIMPL);
}

TEST(ConvertEdges, ZeroAndNegativeCountsDoNothing) {
  short out[2] = {7, 7};
  const short in[2] = {1, 1};
  WAVEFORMATEX w = FormatOf(kTypes[I16]);
  WAVEFORMATEX big = w;
  big.wFormatTag = GV_WAVE_FORMAT_BIGENDIAN;
  EXPECT_EQ(GvAudio_Copy(&big, out, &big, in, 0, 1.0f), S_OK);  // no format check
  EXPECT_EQ(GvAudio_Copy(&w, out, &w, in, -3, 0.5f), S_OK);
  long map[1] = {0};
  EXPECT_EQ(GvAudio_CopyChannels(&w, out, &w, in, 0, map), S_OK);
  EXPECT_EQ(out[0], 7);
  EXPECT_EQ(out[1], 7);
}

TEST(ConvertEdges, CopyCountsFramesTimesSourceChannels) {
  WAVEFORMATEX wd = FormatOf(kTypes[I32], 2), ws = FormatOf(kTypes[I16], 2);
  const short in[6] = {1, 2, 3, 4, 5, 6};
  int out[7];
  std::fill(out, out + 7, 0x5A5A5A5A);
  ASSERT_EQ(GvAudio_Copy(&wd, out, &ws, in, 3, 1.0f), S_OK);
  EXPECT_EQ(out[5], 6 << 16);
  EXPECT_EQ(out[6], 0x5A5A5A5A);
}

TEST(ConvertEdges, CopyChannelsFollowsTheMap) {
  WAVEFORMATEX wd = FormatOf(kTypes[I16], 2), ws = FormatOf(kTypes[I16], 3);
  const short in[3 * 4] = {10, 11, 12, 20, 21, 22, 30, 31, 32, 40, 41, 42};
  short out[2 * 4];
  struct Case {
    long map[3];
    short want[8];
  } cases[] = {
      {{1, 0, -1}, {11, 10, 21, 20, 31, 30, 41, 40}},
      {{-1, 2, 0}, {12, -1, 22, -1, 32, -1, 42, -1}},  // 2 is not a destination channel
      {{0, 0, 0}, {12, -1, 22, -1, 32, -1, 42, -1}},   // later sources overwrite
  };
  for (size_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    std::fill(out, out + 8, short(-1));
    ASSERT_EQ(GvAudio_CopyChannels(&wd, out, &ws, in, 4, cases[i].map), S_OK);
    for (int k = 0; k < 8; ++k) EXPECT_EQ(out[k], cases[i].want[k]) << "sample " << k;
  }
}

TEST(ConvertEdges, CopyChannelsWithoutMapIsAPlainCopy) {
  WAVEFORMATEX wd = FormatOf(kTypes[F32], 2), ws = FormatOf(kTypes[I16], 2);
  const short in[4] = {16384, -16384, 0, 32767};
  float out[4];
  ASSERT_EQ(GvAudio_CopyChannels(&wd, out, &ws, in, 2, nullptr), S_OK);
  EXPECT_EQ(out[0], 0.5f);
  EXPECT_EQ(out[1], -0.5f);
  EXPECT_EQ(out[3], 32767.0f / 32768.0f);
}

}  // namespace
