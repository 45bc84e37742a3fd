// Format classification, repairs, comparisons, labels, attributes records
// and region intersection.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "audio/reference_model.h"
#include "gvtalc.h"
#include "support/cases.h"

namespace {

using audiotest::Wfx;

TEST(AudioFormats, ClassificationReadsOnlyTagAndBits) {
  const WORD widths[10] = {0, 4, 8, 12, 16, 20, 24, 32, 48, 64};
  const struct {
    WORD tag;
    DWORD want[10];  // per width; everything else is 0
  } cases[] = {{WAVE_FORMAT_PCM, {0, 0, 0x10, 0, 0x11, 0, 0x12, 0x13, 0, 0}},
               {WAVE_FORMAT_IEEE_FLOAT, {0, 0, 0, 0, 0, 0, 0, 0x20, 0, 0x21}},
               {GV_WAVE_FORMAT_UNPACKED, {0, 0, 0, 0, 0, 0, 0, 0x30, 0, 0}},
               {GV_WAVE_FORMAT_SIGNED, {0, 0, 0x31, 0, 0x11, 0, 0x12, 0x13, 0, 0}},
               {GV_WAVE_FORMAT_BIGENDIAN, {0, 0, 0x10, 0, 0x40, 0, 0x41, 0x42, 0, 0}},
               {2, {}}, {0xFE03, {}}, {0xFFFE, {}}};
  FOR_EACH_CASE(cases) {
    for (int b = 0; b < 10; ++b) {
      WAVEFORMATEX w;
      std::memset(&w, 0xFF, sizeof w);  // every other field is junk
      w.wFormatTag = c.tag;
      w.wBitsPerSample = widths[b];
      EXPECT_EQ(GvAudio_GetSampleType(&w), c.want[b]) << "bits " << widths[b];
    }
  }
  EXPECT_EQ(GvAudio_GetSampleType(nullptr), DWORD(GV_SAMPLE_NONE));
}

TEST(AudioFormats, FixBadWfxRepairsOnlyTwentyBitPcm) {
  WAVEFORMATEX pcm20 = Wfx(WAVE_FORMAT_PCM, 20, 2), signed20 = Wfx(GV_WAVE_FORMAT_SIGNED, 20),
               pcm16 = Wfx(WAVE_FORMAT_PCM, 16);
  EXPECT_EQ(GvAudio_FixBadWfx(&pcm20), TRUE);
  EXPECT_EQ(pcm20.wBitsPerSample, 24);
  EXPECT_EQ(pcm20.nBlockAlign, 4);  // nothing else is touched
  EXPECT_EQ(GvAudio_FixBadWfx(&signed20), FALSE);
  EXPECT_EQ(signed20.wBitsPerSample, 20);
  EXPECT_EQ(GvAudio_FixBadWfx(&pcm16), FALSE);
}

TEST(AudioFormats, IsEqualFormatComparesFourFieldsOnly) {
  const WAVEFORMATEX a = Wfx(WAVE_FORMAT_PCM, 16, 2);
  WAVEFORMATEX b = a;
  b.nBlockAlign = 99;
  b.nAvgBytesPerSec = 1;
  b.cbSize = 22;
  EXPECT_EQ(GvAudio_IsEqualFormat(&a, &b), TRUE);
  const WAVEFORMATEX unequal[] = {Wfx(WAVE_FORMAT_PCM, 16, 1), Wfx(WAVE_FORMAT_PCM, 16, 2, 48000),
                                  Wfx(GV_WAVE_FORMAT_SIGNED, 16, 2), Wfx(WAVE_FORMAT_PCM, 24, 2)};
  FOR_EACH_CASE(unequal) EXPECT_EQ(GvAudio_IsEqualFormat(&a, &c), FALSE);
}

TEST(AudioFormats, NormalizeFactorIsFullScale) {
  const struct {
    int bits;
    double want;
  } cases[] = {{8, 128.0}, {16, 32768.0}, {24, 8388608.0}, {32, 2147483648.0},
               {0, 1.0}, {12, 1.0}, {64, 1.0}, {-8, 1.0}};
  FOR_EACH_CASE(cases) EXPECT_EQ(GvAudio_GetNormalizeFactor(c.bits), c.want);
}

TEST(AudioFormats, TagTextGivesFamilyLabels) {
  const struct {
    DWORD tag;
    const char *label;
  } cases[] = {{1, "PCM"}, {3, "PCM (float)"}, {0xFE00, "PCM (unpacked)"},
               {0xFE01, "PCM (signed)"}, {0xFE02, "PCM (big endian)"}};
  FOR_EACH_CASE(cases) {
    char text[64];
    std::memset(text, 'x', sizeof text);
    EXPECT_EQ(GvAudio_GetTagText(c.tag, text, sizeof text), S_OK);
    EXPECT_STREQ(text, c.label);
  }
}

TEST(AudioFormats, TagTextCutsAndTerminatesAndUnknownTagsFail) {
  char text[8];
  std::memset(text, 'x', sizeof text);
  EXPECT_EQ(GvAudio_GetTagText(GV_WAVE_FORMAT_BIGENDIAN, text, 5), S_OK);
  EXPECT_STREQ(text, "PCM ");
  EXPECT_EQ(text[5], 'x');  // nothing beyond cchText
  EXPECT_EQ(GvAudio_GetTagText(1, nullptr, 10), S_OK);
  EXPECT_EQ(GvAudio_GetTagText(1, text, 0), S_OK);
  EXPECT_EQ(GvAudio_GetTagText(0xFE7F, text, sizeof text), E_FAIL);
  EXPECT_STREQ(text, "Unknown");
  EXPECT_EQ(GvAudio_GetTagText(0xFE7F, nullptr, 0), E_FAIL);
}

TEST(AudioFormats, InitAttribsFillsTheLeadingBytesAndComputesWidths) {
  const struct {
    DWORD cb, flags, bits, channels, bytes;
  } cases[] = {{48, 0, 8, 2, 1},          {48, GVAA_UNSIGNED8, 8, 1, 1}, {48, 0, 16, 2, 2},
               {48, GVAA_PACKED24, 24, 2, 3}, {48, 0, 24, 2, 4},       {48, 0, 32, 6, 4},
               {48, 0, 12, 2, 0},          {48, GVAA_FLOAT32, 0, 2, 4}, {48, GVAA_FLOAT64, 16, 2, 8},
               {48, 0x30000, 16, 2, 0},    {20, GVAA_FLOAT32, 24, 2, 4}, {100, 0, 16, 2, 2}};
  FOR_EACH_CASE(cases) {
    DWORD got[13];  // a word more than the record
    std::memset(got, 0xEE, sizeof got);
    EXPECT_EQ(GvAudio_InitAttribs(reinterpret_cast<tGVAUDIOATTRIBS *>(got), c.cb, 0x1234, c.flags,
                                  48000, c.bits, c.channels),
              S_OK);
    const DWORD filled = c.cb < 48 ? c.cb : 48;
    DWORD want[13] = {filled, 0x1234, c.flags, 48000, c.channels, c.bits, c.bytes,
                      c.bytes * c.channels};
    for (DWORD k = filled / 4; k < 13; ++k) want[k] = 0xEEEEEEEE;
    EXPECT_EQ(std::vector<DWORD>(got, got + 13), std::vector<DWORD>(want, want + 13));
  }
}

TEST(AudioFormats, RegionIntersection) {
  const struct {
    LONGLONG as, al, bs, bl;
    BOOL overlap;
    LONGLONG os, ol;
  } cases[] = {
      {0, 10, 10, 5, FALSE, 0, 0},  {10, 5, 0, 10, FALSE, 0, 0}, {0, 10, 5, 100, TRUE, 5, 5},
      {5, 2, 0, 10, TRUE, 5, 2},    {0, 10, 2, 3, TRUE, 2, 3},   {3, 4, 3, 9, TRUE, 3, 4},
      {0, 0, 0, 5, TRUE, 0, 0},  // an empty region at b's start counts as inside it
      {-5, 10, 0, 3, TRUE, 0, 3},
      {0x100000000LL, 0x200000000LL, 0x2FFFFFFFFLL, 10, TRUE, 0x2FFFFFFFFLL, 1}};
  FOR_EACH_CASE(cases) {
    const tGVREGION64 a = {c.as, c.al}, b = {c.bs, c.bl};
    tGVREGION64 out = {-77, -77};  // left alone when there is no overlap
    EXPECT_EQ(GvIntersectRegionLongLong(&out, &a, &b), c.overlap);
    EXPECT_EQ(out.start, c.overlap ? c.os : -77);
    EXPECT_EQ(out.length, c.overlap ? c.ol : -77);
  }
}

TEST(AudioAttribsText, PcmFamilyTextIsBuiltByTheFormatter) {
  const struct {
    WORD tag, bits, channels;
    DWORD rate;
    const char *want;
  } cases[] = {{WAVE_FORMAT_PCM, 16, 2, 44100, "44,100 Hz, 16-bit, Stereo"},
               {WAVE_FORMAT_PCM, 8, 1, 8000, "8,000 Hz, 8-bit, Mono"},
               {WAVE_FORMAT_IEEE_FLOAT, 32, 6, 96000, "96,000 Hz, 32-bit, 6 Channels"},
               {GV_WAVE_FORMAT_BIGENDIAN, 24, 2, 500, "500 Hz, 24-bit, Stereo"}};
  FOR_EACH_CASE(cases) {
    WAVEFORMATEX w = Wfx(c.tag, c.bits, c.channels, c.rate);
    char text[128];
    std::memset(text, 'x', sizeof text);
    EXPECT_EQ(GvAudio_GetAttribsText(&w, text, sizeof text), S_OK);
    EXPECT_STREQ(text, c.want);
  }
}

TEST(AudioAttribsText, OtherRecordsGoToTheCompressionManagerCutAndTerminated) {
  WAVEFORMATEX odd = Wfx(WAVE_FORMAT_PCM, 16, 2), other = Wfx(0x7F01, 16, 2);
  odd.nBlockAlign = 6;
  char text[128];
  std::memset(text, 'x', sizeof text);
  HRESULT hr = GvAudio_GetAttribsText(&odd, text, sizeof text);
  // The manager's own text, or "Unknown" where it has none.
  EXPECT_TRUE(hr == S_OK || (hr == E_FAIL && !std::strcmp(text, "Unknown"))) << hr;
  EXPECT_EQ(std::strstr(text, "16-bit, Stereo"), nullptr);
  std::memset(text, 'x', sizeof text);
  hr = GvAudio_GetAttribsText(&other, text, 4);
  EXPECT_TRUE(hr == S_OK || (hr == E_FAIL && !std::strcmp(text, "Unk"))) << hr;
  EXPECT_EQ(text[3], 0);
  EXPECT_EQ(text[4], 'x');
  EXPECT_EQ(GvAudio_GetAttribsText(&other, nullptr, 0), hr);
  EXPECT_EQ(GvAudio_GetAttribsText(nullptr, text, 4), E_FAIL);
  EXPECT_STREQ(text, "Unk");
}

}  // namespace
