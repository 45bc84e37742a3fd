// Peaks, silence and channel change through the exports: the finders against
// a plain model of the search on edge data and long random runs (which cross
// the blocks of the SSE2 paths), and exact bytes for silence and mixing.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "audio/reference_model.h"
#include "gvtalc.h"
#include "support/cases.h"

namespace {

using audiotest::Wfx;

// The search as the rules state it, one channel at a time, on values read
// as doubles. full: full-scale magnitude; floatRule: the float32 search.
tGVCHANNELPEAK Model(const std::vector<double> &v, int channels, int c, int clipRun, double full,
                     double scale, bool over24, bool floatRule) {
  double max = 0;
  int pos = 0, run = 0, clipped = 0;
  const int frames = int(v.size()) / channels;
  for (int k = 0; k < frames; ++k) {
    double a = std::fabs(v[size_t(k) * channels + c]);
    if (full > 1 && !over24 && a > full) a = full;  // an integer type's most negative value
    if (a >= max) max = a, pos = k;
    if (floatRule) {
      clipped |= a > 1.0;
      continue;
    }
    if (a < full) run = 0;
    if (over24 && a > full) {
      clipped = 1;
      break;
    }
    if (a >= full && ++run >= clipRun) {
      clipped = 1;
      break;
    }
  }
  if (floatRule) return {float(max), frames, clipped};
  return {float(max * scale), pos - run, clipped};
}

struct TypeCase {
  WORD tag, bits;
  double full, scale;
  bool over24, floatRule;
};
const TypeCase kTypes[] = {
    {WAVE_FORMAT_PCM, 16, 32767, 1 / 32768.0, false, false},
    {WAVE_FORMAT_PCM, 32, 2147483647.0, 1 / 2147483648.0, false, false},
    {GV_WAVE_FORMAT_UNPACKED, 32, 8388607, 1 / 8388608.0, true, false},
    {WAVE_FORMAT_IEEE_FLOAT, 32, 1.0, 1.0, false, true},
    {WAVE_FORMAT_IEEE_FLOAT, 64, 1.0, 1.0, false, false},
};

void Store(std::vector<unsigned char> &bytes, const TypeCase &t, size_t i, double x) {
  if (t.tag == WAVE_FORMAT_IEEE_FLOAT && t.bits == 32) {
    float f = float(x);
    std::memcpy(&bytes[i * 4], &f, 4);
  } else if (t.tag == WAVE_FORMAT_IEEE_FLOAT) {
    std::memcpy(&bytes[i * 8], &x, 8);
  } else if (t.bits == 16) {
    std::int16_t s = std::int16_t(x);
    std::memcpy(&bytes[i * 2], &s, 2);
  } else {
    std::int32_t s = std::int32_t(std::int64_t(x));
    std::memcpy(&bytes[i * 4], &s, 4);
  }
}

// Values mostly quiet, with full-scale runs, the most negative value, a
// 24-in-32 value past 24 bits and (for floats) values beyond 1.0.
std::vector<double> Signal(const TypeCase &t, size_t n, std::mt19937 &rng, int flavour) {
  std::vector<double> v(n);
  const double most = t.tag == WAVE_FORMAT_IEEE_FLOAT ? 1.0 : t.full;
  std::uniform_real_distribution<double> quiet(-0.6, 0.6);
  for (size_t i = 0; i < n; ++i) {
    double x = std::trunc(quiet(rng) * most);
    if (t.tag == WAVE_FORMAT_IEEE_FLOAT) x = quiet(rng);
    const unsigned r = rng() % 1000;
    if (flavour > 0 && r < 3) x = most;                       // full scale
    else if (flavour > 0 && r < 5) x = -most - (t.tag != WAVE_FORMAT_IEEE_FLOAT);  // most negative
    else if (flavour > 1 && r < 6 && t.over24) x = 8388608 + 5;
    else if (flavour > 1 && r < 6 && t.tag == WAVE_FORMAT_IEEE_FLOAT) x = 1.0001;
    v[i] = x;
  }
  if (flavour == 3) v.assign(n, 0.0);  // silence: every block has the same peak
  return v;
}

TEST(FindPeaks, FinderMatchesModelOnEveryTypeAndChannelCount) {
  std::mt19937 rng(7);
  FOR_EACH_CASE(kTypes) {
    const int bytes = c.bits / 8;
    for (int channels : {1, 2, 3, 4, 8}) {
      for (int flavour : {0, 1, 2, 3}) {
        for (int clipRun : {1, 3, 100000}) {
          SCOPED_TRACE(::testing::Message() << channels << " channels, flavour " << flavour
                                            << ", run " << clipRun);
          const int frames = 9000 + int(rng() % 50);
          const std::vector<double> v = Signal(c, size_t(frames) * channels, rng, flavour);
          std::vector<unsigned char> data(v.size() * bytes);
          for (size_t i = 0; i < v.size(); ++i) Store(data, c, i, v[i]);
          WAVEFORMATEX w = Wfx(c.tag, c.bits, WORD(channels));
          std::vector<tGVCHANNELPEAK> got(channels, {-1, -1, -1});
          ASSERT_EQ(GvAudio_FindPeaks(&w, clipRun, data.data(), frames, got.data()), S_OK);
          for (int ch = 0; ch < channels; ++ch) {
            // The model reads stored values back, so float32 rounding is shared.
            std::vector<double> stored(v.size());
            for (size_t i = 0; i < v.size(); ++i) {
              if (c.tag == WAVE_FORMAT_IEEE_FLOAT && c.bits == 32) stored[i] = float(v[i]);
              else stored[i] = v[i];
            }
            const tGVCHANNELPEAK want =
                Model(stored, channels, ch, clipRun, c.full, c.scale, c.over24, c.floatRule);
            EXPECT_EQ(got[ch].fPeak, want.fPeak) << "channel " << ch;
            EXPECT_EQ(got[ch].nPosition, want.nPosition) << "channel " << ch;
            EXPECT_EQ(got[ch].bClipped, want.bClipped) << "channel " << ch;
          }
        }
      }
    }
  }
}

TEST(FindPeaks, StatedCases) {
  const struct {
    WORD tag, bits;
    std::vector<double> samples;
    int clipRun;
    float peak;
    int position, clipped;
  } cases[] = {
      // The run stops the search: position is the frame before the run.
      {WAVE_FORMAT_PCM, 16, {100, -32768, -32768, 5}, 2, 32767 / 32768.0f, 0, 1},
      {WAVE_FORMAT_PCM, 16, {100, -32768, -32768, 5}, 3, 32767 / 32768.0f, 2, 0},
      // A trailing short run is still subtracted.
      {WAVE_FORMAT_PCM, 16, {5, 32767}, 3, 32767 / 32768.0f, 0, 0},
      {WAVE_FORMAT_IEEE_FLOAT, 32, {0.5, 1.0, -0.25}, 1, 1.0f, 3, 0},
      {WAVE_FORMAT_IEEE_FLOAT, 32, {0.5, 1.0001, -0.25}, 1, 1.0001f, 3, 1},
      {WAVE_FORMAT_IEEE_FLOAT, 64, {0.5, -1.0, 0.25}, 1, 1.0f, 0, 1},
      // 24-in-32 beyond 24 bits stops at once; the peak is that value.
      {GV_WAVE_FORMAT_UNPACKED, 32, {10, 8388609, 3}, 5, 8388609 / 8388608.0f, 1, 1},
      // No search for 8-bit and packed 24-bit data.
      {WAVE_FORMAT_PCM, 8, {0, 255, 1}, 1, 0.0f, 0, 0},
      {WAVE_FORMAT_PCM, 24, {0, 0, 0}, 1, 0.0f, 0, 0},
  };
  FOR_EACH_CASE(cases) {
    const TypeCase t{c.tag, c.bits, 0, 0, false, false};
    std::vector<unsigned char> data(c.samples.size() * (c.bits / 8), 0xFF);
    if (c.bits >= 16 && c.bits != 24)
      for (size_t i = 0; i < c.samples.size(); ++i) Store(data, t, i, c.samples[i]);
    WAVEFORMATEX w = Wfx(c.tag, c.bits, 1);
    tGVCHANNELPEAK got{-1, -1, -1};
    ASSERT_EQ(GvAudio_FindPeaks(&w, c.clipRun, data.data(), int(c.samples.size()), &got), S_OK);
    EXPECT_EQ(got.fPeak, c.peak);
    EXPECT_EQ(got.nPosition, c.position);
    EXPECT_EQ(got.bClipped, c.clipped);
  }
}

TEST(FindPeaks, ZeroFramesAndUnsupportedFormats) {
  WAVEFORMATEX w16 = Wfx(WAVE_FORMAT_PCM, 16, 1), be = Wfx(GV_WAVE_FORMAT_BIGENDIAN, 16, 1);
  tGVCHANNELPEAK peak{-1, -1, -1};
  short data[1] = {5};
  EXPECT_EQ(GvAudio_FindPeaks(&w16, 1, data, 0, &peak), S_OK);
  EXPECT_EQ(peak.nPosition, -1);  // untouched
  EXPECT_EQ(GvAudio_FindPeaks(&be, 1, data, 1, &peak), E_NOTIMPL);
  EXPECT_EQ(GvAudio_GetFindPeaksFunction(&be), nullptr);
  EXPECT_NE(GvAudio_GetFindPeaksFunction(&w16), nullptr);
}

TEST(FillSilence, WholeFramesAndOneChannel) {
  const struct {
    WORD tag, bits, channels;
    int channel;  // -1: whole frames
    HRESULT result;
    const char *bytes;  // 'x' untouched (0x5A), '0' zero, '8' 0x80
  } cases[] = {
      {WAVE_FORMAT_PCM, 8, 2, -1, S_OK, "8888x"},
      {GV_WAVE_FORMAT_SIGNED, 8, 2, -1, S_OK, "0000x"},
      {GV_WAVE_FORMAT_BIGENDIAN, 8, 2, -1, S_OK, "8888x"},
      {WAVE_FORMAT_PCM, 16, 1, -1, S_OK, "0000x"},
      {2, 16, 1, -1, E_FAIL, "xxxxx"},
      {WAVE_FORMAT_PCM, 8, 2, 1, S_OK, "x8x8x"},
      {GV_WAVE_FORMAT_UNPACKED, 8, 2, 0, S_OK, "8x8xx"},
      {GV_WAVE_FORMAT_SIGNED, 8, 2, 0, S_OK, "0x0xx"},
      {WAVE_FORMAT_PCM, 16, 2, 1, S_OK, "xx00xx00x"},
      {WAVE_FORMAT_PCM, 24, 2, 0, S_OK, "000xxx000xxxx"},
      {WAVE_FORMAT_IEEE_FLOAT, 32, 2, 1, S_OK, "xxxx0000xxxx0000x"},
      {WAVE_FORMAT_IEEE_FLOAT, 16, 2, 1, E_FAIL, "xxxxx"},
      {WAVE_FORMAT_PCM, 12, 2, 1, E_FAIL, "xxxxx"},
      {WAVE_FORMAT_PCM, 16, 2, 2, E_FAIL, "xxxxx"},
      {WAVE_FORMAT_PCM, 8, 1, 0, S_OK, "88xxx"},  // mono: the whole buffer
  };
  FOR_EACH_CASE(cases) {
    unsigned char buf[32];
    std::memset(buf, 0x5A, sizeof buf);
    WAVEFORMATEX w = Wfx(c.tag, c.bits, c.channels);
    const HRESULT hr = c.channel < 0 ? GvAudio_FillSilence(&w, buf, 2)
                                     : GvAudio_FillSilenceChannel(&w, buf, UINT(c.channel), 2);
    EXPECT_EQ(hr, c.result);
    for (size_t k = 0; c.bytes[k]; ++k)
      EXPECT_EQ(buf[k], c.bytes[k] == 'x' ? 0x5A : c.bytes[k] == '8' ? 0x80 : 0) << "byte " << k;
  }
}

TEST(ChannelChange, MixdownSumsAndSpreadRunsInPlace) {
  WAVEFORMATEX s16 = Wfx(WAVE_FORMAT_PCM, 16, 2), f32 = Wfx(WAVE_FORMAT_IEEE_FLOAT, 32, 3);
  const short stereo[6] = {30000, 10000, -30000, -10000, 100, -40};
  short mono[4] = {7, 7, 7, 7};
  EXPECT_EQ(GvAudio_ChannelChange(mono, 1, stereo, &s16, 3), S_OK);
  EXPECT_EQ(mono[0], 32767);  // the sum clipped, not the average
  EXPECT_EQ(mono[1], -32768);
  EXPECT_EQ(mono[2], 60);
  EXPECT_EQ(mono[3], 7);

  // Float sums are not clipped, and keep extended precision until stored.
  const float three[6] = {0.75f, 0.5f, 0.25f, 1e8f, 1.0f, -1e8f};
  float out[2] = {};
  EXPECT_EQ(GvAudio_ChannelChange(out, 1, three, &f32, 2), S_OK);
  EXPECT_EQ(out[0], 1.5f);
  EXPECT_EQ(out[1], 1.0f);

  // Mono to four channels in place.
  WAVEFORMATEX m16 = Wfx(WAVE_FORMAT_PCM, 16, 1);
  short buf[12] = {1, 2, 3};
  EXPECT_EQ(GvAudio_ChannelChange(buf, 4, buf, &m16, 3), S_OK);
  const short want[12] = {1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3};
  EXPECT_EQ(std::memcmp(buf, want, sizeof buf), 0);

  WAVEFORMATEX s8 = Wfx(WAVE_FORMAT_PCM, 8, 2);
  EXPECT_EQ(GvAudio_ChannelChange(mono, 1, stereo, &s8, 1), E_FAIL);  // no 8-bit mixdown
  EXPECT_EQ(GvAudio_ChannelChange(buf, 2, stereo, &f32, 1), E_FAIL);  // 3 -> 2
  EXPECT_EQ(GvAudio_ChannelChange(buf, 3, stereo, &s16, 1), E_FAIL);  // 2 -> 3
  EXPECT_EQ(GvAudio_ChannelChange(mono, 1, stereo, &s16, 0), S_OK);
}

}  // namespace
