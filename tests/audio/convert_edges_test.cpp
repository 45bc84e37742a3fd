// The exported copy calls: format checks, counts, the gain and channel maps.
// The converted values themselves answer to the reference model in
// convert_matrix_internal_test.cpp, on every pair and loop.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "audio/reference_model.h"
#include "gvtalc.h"
#include "support/cases.h"

namespace {

using audiotest::FormatOf;
using audiotest::kTypes;

enum { U8, I16, I24, I32, F32, F64, I24IN32, I8 };

TEST(ConvertEdges, UnsupportedFormatsAreNotImplementedAndEmptyCountsDoNothing) {
  short out[2] = {7, 7};
  const short in[2] = {1, 1};
  WAVEFORMATEX ok = FormatOf(kTypes[I16]), big = ok, odd = ok;
  big.wFormatTag = GV_WAVE_FORMAT_BIGENDIAN;
  odd.wBitsPerSample = 12;
  const long map[1] = {0};
  EXPECT_EQ(GvAudio_Copy(&big, out, &ok, in, 1, 1.0f), E_NOTIMPL);
  EXPECT_EQ(GvAudio_Copy(&ok, out, &big, in, 1, 1.0f), E_NOTIMPL);
  EXPECT_EQ(GvAudio_Copy(&ok, out, &odd, in, 1, 0.5f), E_NOTIMPL);
  EXPECT_EQ(GvAudio_CopyChannels(&ok, out, &big, in, 1, map), E_NOTIMPL);
  EXPECT_EQ(GvAudio_GetCopyFunction(&big, &ok), nullptr);
  EXPECT_EQ(GvAudio_GetCopyChannelsFunction(&ok, &odd), nullptr);
  EXPECT_EQ(GvAudio_Copy(&big, out, &big, in, 0, 1.0f), S_OK);  // no format check
  EXPECT_EQ(GvAudio_Copy(&ok, out, &ok, in, -3, 0.5f), S_OK);
  EXPECT_EQ(GvAudio_CopyChannels(&ok, out, &ok, in, 0, map), S_OK);
  EXPECT_EQ(out[0], 7);
  EXPECT_EQ(out[1], 7);
}

TEST(ConvertEdges, CopyCountsFramesTimesSourceChannelsAndPassesTheGain) {
  WAVEFORMATEX wd = FormatOf(kTypes[I32], 2), ws = FormatOf(kTypes[I16], 2);
  const short in[6] = {1, 2, 3, 4, 5, 6};
  int out[7];
  std::fill(out, out + 7, 0x5A5A5A5A);
  ASSERT_EQ(GvAudio_Copy(&wd, out, &ws, in, 3, 0.5f), S_OK);
  EXPECT_EQ(out[5], 6 << 15);  // half of 6 << 16
  EXPECT_EQ(out[6], 0x5A5A5A5A);
}

TEST(ConvertEdges, CopyChannelsFollowsTheMap) {
  WAVEFORMATEX wd = FormatOf(kTypes[I16], 2), ws = FormatOf(kTypes[I16], 3);
  const short in[3 * 4] = {10, 11, 12, 20, 21, 22, 30, 31, 32, 40, 41, 42};
  const struct {
    long map[3];
    short want[8];
  } cases[] = {
      {{1, 0, -1}, {11, 10, 21, 20, 31, 30, 41, 40}},
      {{-1, 2, 0}, {12, -1, 22, -1, 32, -1, 42, -1}},  // 2 is not a destination channel
      {{0, 0, 0}, {12, -1, 22, -1, 32, -1, 42, -1}},   // later sources overwrite
  };
  FOR_EACH_CASE(cases) {
    short out[2 * 4];
    std::fill(out, out + 8, short(-1));
    ASSERT_EQ(GvAudio_CopyChannels(&wd, out, &ws, in, 4, c.map), S_OK);
    for (int k = 0; k < 8; ++k) EXPECT_EQ(out[k], c.want[k]) << "sample " << k;
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
