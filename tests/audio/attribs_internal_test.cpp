// The attributes-record operations the audio stream uses (not exported).
#include <gtest/gtest.h>

#include <cstring>

#include "audio/convert.h"
#include "support/cases.h"

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
  FOR_EACH_CASE(cases) EXPECT_EQ(SampleTypeOfAttribs(Attr(c.flags, c.bits, 2)), c.type);
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
  FOR_EACH_CASE(cases) EXPECT_EQ(AttribsMatch(c.a, c.b), c.match);
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
  FOR_EACH_CASE(cases) {
    std::memset(buf, 0x5A, sizeof buf);
    FillSilence(c.a, buf, c.frames);
    for (size_t k = 0; k < sizeof buf; ++k)
      EXPECT_EQ(buf[k], k < c.bytes ? c.fill : 0x5A) << "byte " << k;
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

}  // namespace
