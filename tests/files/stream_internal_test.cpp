// The choices a stream makes at open, which no export shows: its converters,
// whether it needs a conversion buffer, and the scaled-float gains it keeps.
#include <gtest/gtest.h>

#include <string>

#include "audio/convert.h"
#include "files/stream.h"
#include "support/cases.h"

namespace {

tGVAUDIOATTRIBS Attr(DWORD flags, DWORD bits, DWORD channels) {
  tGVAUDIOATTRIBS a;
  GvAudio_InitAttribs(&a, sizeof a, 0, flags, 48000, bits, channels);
  return a;
}

TEST(StreamOpen, ConvertersBufferAndGainsFollowTheTwoFormats) {
  const DWORD kScaled = GVAA_FLOAT32 | GVAA_SCALEDFLOAT;
  const struct {
    tGVAUDIOATTRIBS file;
    DWORD clientBits, clientFlags;
    DWORD clientType, piece;  // frames per conversion piece, 0: no buffer
    double readGain;          // 1.0: no gain pointer
  } cases[] = {
      {Attr(0, 16, 2), 0, 0, GV_SAMPLE_INT16, 0, 1.0},
      {Attr(0, 16, 2), 32, GVAA_FLOAT32, GV_SAMPLE_FLOAT32, 0x20000 / 4, 1.0},
      {Attr(GVAA_UNSIGNED8, 8, 1), 16, 0, GV_SAMPLE_INT16, 0x20000, 1.0},
      // Scaled float clients of another width keep the ratio of full scales.
      {Attr(0, 16, 2), 24, kScaled, GV_SAMPLE_FLOAT32, 0x20000 / 4, 8388608.0 / 32768.0},
      {Attr(0, 16, 2), 16, kScaled, GV_SAMPLE_FLOAT32, 0x20000 / 4, 1.0},
      // Client bits 0 with the scaled flag stay 0: the gain is 1.0 / 32768.
      {Attr(0, 16, 2), 0, kScaled, GV_SAMPLE_FLOAT32, 0x20000 / 4, 1.0 / 32768.0},
      // Two float kinds match: no conversion buffer.
      {Attr(GVAA_FLOAT32, 32, 2), 16, kScaled, GV_SAMPLE_FLOAT32, 0, 32768.0 / 2147483648.0},
  };
  char dir[MAX_PATH], path[MAX_PATH];
  GetTempPathA(MAX_PATH, dir);
  GetTempFileNameA(dir, "gvi", 0, path);
  FOR_EACH_CASE(cases) {
    HGVAUDIOSTREAM h = nullptr;
    ASSERT_EQ(GvAudioStream_OpenFile(&h, path, 0, 0, 0, &c.file, c.clientBits, c.clientFlags, 0,
                                     GVAS_CREATE),
              S_OK);
    const gv::stream::Stream &s = *gv::stream::FromHandle(h);
    EXPECT_EQ(gv::audio::SampleTypeOfAttribs(s.client), c.clientType);
    EXPECT_EQ(s.readConvert, gv::audio::GetConverterForAttribs(s.client, s.file));
    EXPECT_EQ(s.writeConvert, gv::audio::GetConverterForAttribs(s.file, s.client));
    EXPECT_EQ(s.framesPerPiece, c.piece);
    EXPECT_EQ(s.convBuffer != nullptr, c.piece != 0);
    EXPECT_DOUBLE_EQ(s.readGain, c.readGain);
    EXPECT_DOUBLE_EQ(s.readGain * s.writeGain, 1.0);
    EXPECT_EQ(s.readGainPtr != nullptr, c.readGain != 1.0);
    GvAudioStream_Close(h);
  }
  DeleteFileA(path);
}

}  // namespace
