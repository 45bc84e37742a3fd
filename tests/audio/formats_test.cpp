// Format classification, repairs, comparisons, labels, attributes records
// and region intersection.
#include <gtest/gtest.h>

#include <cstring>

#include "gvtalc.h"

namespace {

WAVEFORMATEX Wfx(WORD tag, WORD bits, WORD channels = 2, DWORD rate = 44100) {
  WAVEFORMATEX w{};
  w.wFormatTag = tag;
  w.wBitsPerSample = bits;
  w.nChannels = channels;
  w.nSamplesPerSec = rate;
  w.nBlockAlign = WORD(channels * (bits / 8));
  w.nAvgBytesPerSec = rate * w.nBlockAlign;
  return w;
}

TEST(AudioFormats, ClassificationTableIsComplete) {
  const WORD tags[] = {WAVE_FORMAT_PCM, WAVE_FORMAT_IEEE_FLOAT, GV_WAVE_FORMAT_UNPACKED,
                       GV_WAVE_FORMAT_SIGNED, GV_WAVE_FORMAT_BIGENDIAN, 2, 0xFE03, 0xFFFE};
  const WORD widths[] = {0, 4, 8, 12, 16, 20, 24, 32, 48, 64};
  // Expected code per tag (rows) and width (columns); everything else is 0.
  const DWORD want[8][10] = {
      {0, 0, 0x10, 0, 0x11, 0, 0x12, 0x13, 0, 0},
      {0, 0, 0, 0, 0, 0, 0, 0x20, 0, 0x21},
      {0, 0, 0, 0, 0, 0, 0, 0x30, 0, 0},
      {0, 0, 0x31, 0, 0x11, 0, 0x12, 0x13, 0, 0},
      {0, 0, 0x10, 0, 0x40, 0, 0x41, 0x42, 0, 0},
      {0}, {0}, {0}};
  for (int t = 0; t < 8; ++t)
    for (int b = 0; b < 10; ++b) {
      SCOPED_TRACE(::testing::Message() << "tag " << tags[t] << " bits " << widths[b]);
      WAVEFORMATEX w = Wfx(tags[t], widths[b]);
      EXPECT_EQ(GvAudio_GetSampleType(&w), want[t][b]);
    }
}

TEST(AudioFormats, SampleTypeReadsOnlyTagAndBits) {
  WAVEFORMATEX w{};
  std::memset(&w, 0xFF, sizeof w);
  w.wFormatTag = WAVE_FORMAT_PCM;
  w.wBitsPerSample = 16;
  EXPECT_EQ(GvAudio_GetSampleType(&w), DWORD(GV_SAMPLE_INT16));
  EXPECT_EQ(GvAudio_GetSampleType(nullptr), DWORD(GV_SAMPLE_NONE));
}

TEST(AudioFormats, FixBadWfxRepairsOnlyTwentyBitPcm) {
  WAVEFORMATEX pcm20 = Wfx(WAVE_FORMAT_PCM, 20);
  pcm20.nBlockAlign = 6;
  EXPECT_EQ(GvAudio_FixBadWfx(&pcm20), TRUE);
  EXPECT_EQ(pcm20.wBitsPerSample, 24);
  EXPECT_EQ(pcm20.nBlockAlign, 6);  // nothing else is touched
  WAVEFORMATEX signed20 = Wfx(GV_WAVE_FORMAT_SIGNED, 20);
  EXPECT_EQ(GvAudio_FixBadWfx(&signed20), FALSE);
  EXPECT_EQ(signed20.wBitsPerSample, 20);
  WAVEFORMATEX pcm16 = Wfx(WAVE_FORMAT_PCM, 16);
  EXPECT_EQ(GvAudio_FixBadWfx(&pcm16), FALSE);
}

TEST(AudioFormats, IsEqualFormatComparesFourFieldsOnly) {
  WAVEFORMATEX a = Wfx(WAVE_FORMAT_PCM, 16), b = a;
  b.nBlockAlign = 99;
  b.nAvgBytesPerSec = 1;
  b.cbSize = 22;
  EXPECT_EQ(GvAudio_IsEqualFormat(&a, &b), TRUE);
  WAVEFORMATEX c = a;
  c.nChannels = 1;
  EXPECT_EQ(GvAudio_IsEqualFormat(&a, &c), FALSE);
  c = a;
  c.nSamplesPerSec = 48000;
  EXPECT_EQ(GvAudio_IsEqualFormat(&a, &c), FALSE);
  c = a;
  c.wFormatTag = GV_WAVE_FORMAT_SIGNED;
  EXPECT_EQ(GvAudio_IsEqualFormat(&a, &c), FALSE);
  c = a;
  c.wBitsPerSample = 24;
  EXPECT_EQ(GvAudio_IsEqualFormat(&a, &c), FALSE);
}

TEST(AudioFormats, NormalizeFactorIsFullScale) {
  const struct {
    int bits;
    double want;
  } cases[] = {{8, 128.0}, {16, 32768.0}, {24, 8388608.0}, {32, 2147483648.0},
               {0, 1.0}, {12, 1.0}, {64, 1.0}, {-8, 1.0}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.bits);
    EXPECT_EQ(GvAudio_GetNormalizeFactor(c.bits), c.want);
  }
}

TEST(AudioFormats, TagTextGivesFamilyLabels) {
  const struct {
    DWORD tag;
    const char *label;
  } cases[] = {{1, "PCM"}, {3, "PCM (float)"}, {0xFE00, "PCM (unpacked)"},
               {0xFE01, "PCM (signed)"}, {0xFE02, "PCM (big endian)"}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.label);
    char text[64];
    std::memset(text, 'x', sizeof text);
    EXPECT_EQ(GvAudio_GetTagText(c.tag, text, sizeof text), S_OK);
    EXPECT_STREQ(text, c.label);
  }
}

TEST(AudioFormats, TagTextCutsAndTerminates) {
  char text[8];
  std::memset(text, 'x', sizeof text);
  EXPECT_EQ(GvAudio_GetTagText(GV_WAVE_FORMAT_BIGENDIAN, text, 5), S_OK);
  EXPECT_STREQ(text, "PCM ");
  EXPECT_EQ(text[5], 'x');  // nothing beyond cchText
  EXPECT_EQ(GvAudio_GetTagText(1, nullptr, 10), S_OK);
  EXPECT_EQ(GvAudio_GetTagText(1, text, 0), S_OK);
}

TEST(AudioFormats, TagTextOfUnknownTagIsUnknown) {
  char text[32];
  std::memset(text, 'x', sizeof text);
  EXPECT_EQ(GvAudio_GetTagText(0xFE7F, text, sizeof text), E_FAIL);
  EXPECT_STREQ(text, "Unknown");
  EXPECT_EQ(GvAudio_GetTagText(0xFE7F, nullptr, 0), E_FAIL);
}

TEST(AudioFormats, InitAttribsComputesWidths) {
  const struct {
    DWORD flags, bits, channels, bytes;
  } cases[] = {{0, 8, 2, 1},          {GVAA_UNSIGNED8, 8, 1, 1}, {0, 16, 2, 2},
               {GVAA_PACKED24, 24, 2, 3}, {0, 24, 2, 4},         {0, 32, 6, 4},
               {0, 12, 2, 0},         {GVAA_FLOAT32, 0, 2, 4},   {GVAA_FLOAT64, 16, 2, 8},
               {0x30000, 16, 2, 0}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    tGVAUDIOATTRIBS a;
    std::memset(&a, 0xEE, sizeof a);
    EXPECT_EQ(GvAudio_InitAttribs(&a, sizeof a, 0x1234, cases[i].flags, 48000, cases[i].bits,
                                  cases[i].channels),
              S_OK);
    EXPECT_EQ(a.cbSize, 48u);
    EXPECT_EQ(a.dwUser, 0x1234u);
    EXPECT_EQ(a.dwFlags, cases[i].flags);
    EXPECT_EQ(a.nSamplesPerSec, 48000u);
    EXPECT_EQ(a.nChannels, cases[i].channels);
    EXPECT_EQ(a.nBitsPerSample, cases[i].bits);
    EXPECT_EQ(a.nBytesPerSample, cases[i].bytes);
    EXPECT_EQ(a.nBlockAlign, cases[i].bytes * cases[i].channels);
    for (DWORD w : a.dwReserved) EXPECT_EQ(w, 0u);
  }
}

TEST(AudioFormats, InitAttribsWithPartialSizeFillsLeadingWords) {
  DWORD words[13];
  for (DWORD &w : words) w = 0xDEADBEEF;
  tGVAUDIOATTRIBS *a = reinterpret_cast<tGVAUDIOATTRIBS *>(words);
  EXPECT_EQ(GvAudio_InitAttribs(a, 20, 7, GVAA_FLOAT32, 44100, 24, 2), S_OK);
  EXPECT_EQ(words[0], 20u);
  EXPECT_EQ(words[1], 7u);
  EXPECT_EQ(words[2], DWORD(GVAA_FLOAT32));
  EXPECT_EQ(words[3], 44100u);
  EXPECT_EQ(words[4], 2u);
  for (int i = 5; i < 13; ++i) EXPECT_EQ(words[i], 0xDEADBEEFu) << "word " << i;
  for (DWORD &w : words) w = 0xDEADBEEF;
  EXPECT_EQ(GvAudio_InitAttribs(a, 100, 7, 0, 44100, 16, 2), S_OK);
  EXPECT_EQ(words[0], 48u);
  EXPECT_EQ(words[12], 0xDEADBEEFu);
}

TEST(AudioFormats, RegionIntersection) {
  const struct {
    LONGLONG as, al, bs, bl;
    BOOL overlap;
    LONGLONG os, ol;
  } cases[] = {
      {0, 10, 10, 5, FALSE, 0, 0},  {10, 5, 0, 10, FALSE, 0, 0}, {0, 10, 5, 100, TRUE, 5, 5},
      {5, 2, 0, 10, TRUE, 5, 2},    {0, 10, 2, 3, TRUE, 2, 3},   {3, 4, 3, 9, TRUE, 3, 4},
      {0, 0, 0, 5, TRUE, 0, 0},  // an empty region at b's start counts as inside it    {-5, 10, 0, 3, TRUE, 0, 3},
      {0x100000000LL, 0x200000000LL, 0x2FFFFFFFFLL, 10, TRUE, 0x2FFFFFFFFLL, 1}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    tGVREGION64 a = {cases[i].as, cases[i].al}, b = {cases[i].bs, cases[i].bl};
    tGVREGION64 out = {-77, -77};
    EXPECT_EQ(GvIntersectRegionLongLong(&out, &a, &b), cases[i].overlap);
    if (cases[i].overlap) {
      EXPECT_EQ(out.start, cases[i].os);
      EXPECT_EQ(out.length, cases[i].ol);
    } else {
      EXPECT_EQ(out.start, -77);  // untouched
      EXPECT_EQ(out.length, -77);
    }
  }
}

}  // namespace

namespace {

TEST(AudioAttribsText, PcmFamilyTextIsBuiltByTheFormatter) {
  const struct {
    WORD tag, bits, channels;
    DWORD rate;
    const char *want;
  } cases[] = {{WAVE_FORMAT_PCM, 16, 2, 44100, "44,100 Hz, 16-bit, Stereo"},
               {WAVE_FORMAT_PCM, 8, 1, 8000, "8,000 Hz, 8-bit, Mono"},
               {WAVE_FORMAT_IEEE_FLOAT, 32, 6, 96000, "96,000 Hz, 32-bit, 6 Channels"},
               {GV_WAVE_FORMAT_BIGENDIAN, 24, 2, 500, "500 Hz, 24-bit, Stereo"}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    WAVEFORMATEX w = Wfx(cases[i].tag, cases[i].bits, cases[i].channels, cases[i].rate);
    char text[128];
    std::memset(text, 'x', sizeof text);
    EXPECT_EQ(GvAudio_GetAttribsText(&w, text, sizeof text), S_OK);
    EXPECT_STREQ(text, cases[i].want);
  }
}

TEST(AudioAttribsText, OddBlockAlignGoesToTheCompressionManager) {
  WAVEFORMATEX w = Wfx(WAVE_FORMAT_PCM, 16, 2);
  w.nBlockAlign = 6;
  char text[128];
  std::memset(text, 'x', sizeof text);
  const HRESULT hr = GvAudio_GetAttribsText(&w, text, sizeof text);
  // The manager's own text, or "Unknown" where it has none.
  if (hr == E_FAIL) EXPECT_STREQ(text, "Unknown");
  else EXPECT_EQ(hr, S_OK);
  EXPECT_EQ(std::strstr(text, "16-bit, Stereo"), nullptr);
}

TEST(AudioAttribsText, ManagerTextIsCutAndTerminated) {
  WAVEFORMATEX w = Wfx(0x7F01, 16, 2);
  char text[5];
  std::memset(text, 'x', sizeof text);
  const HRESULT hr = GvAudio_GetAttribsText(&w, text, 4);
  EXPECT_TRUE(hr == S_OK || (hr == E_FAIL && !std::strcmp(text, "Unk"))) << hr;
  EXPECT_EQ(text[3], 0);
  EXPECT_EQ(text[4], 'x');
  EXPECT_EQ(GvAudio_GetAttribsText(&w, nullptr, 0), hr);
  EXPECT_EQ(GvAudio_GetAttribsText(nullptr, text, 4), E_FAIL);
  EXPECT_STREQ(text, "Unk");
}

}  // namespace
