// The resampler's internals: the SSE2 stereo loops give the scalar loops'
// bytes (random data with full-scale, NaN and infinite samples), and the
// StreamResampler object that filters feed block by block.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "audio/resample.h"
#include "support/cases.h"

namespace {

using gv::audio::ForceResampleScalar;
using Bytes = std::vector<unsigned char>;

Bytes Random(DWORD type, long frames, std::mt19937 &rng) {
  Bytes b(size_t(frames) * 2 * (type == GV_SAMPLE_INT16 ? 2 : 4));
  std::uniform_int_distribution<int> byte(0, 255);
  for (auto &x : b) x = static_cast<unsigned char>(byte(rng));
  if (type == GV_SAMPLE_FLOAT32) {
    const float specials[] = {1.0f, -1.0f, 3e38f, -3e38f, std::numeric_limits<float>::infinity(),
                              std::numeric_limits<float>::quiet_NaN(), 0.0f, 1e-40f};
    std::uniform_real_distribution<float> unit(-1.5f, 1.5f);
    for (size_t i = 0; i < b.size() / 4; ++i) {
      const float x = i % 97 < 8 ? specials[i % 97] : unit(rng);
      std::memcpy(&b[i * 4], &x, 4);
    }
  } else {
    for (size_t i = 0; i < b.size() / 2; i += 41) b[i * 2 + 1] = i % 2 ? 0x80 : 0x7F;  // near full scale
  }
  return b;
}

struct Case {
  DWORD type;
  long s, d;
  int method;  // 1 or 2
  bool inPlace;
};
const Case kCases[] = {
    {GV_SAMPLE_FLOAT32, 4410, 4800, 1, false}, {GV_SAMPLE_FLOAT32, 4800, 4410, 1, true},
    {GV_SAMPLE_INT16, 4410, 4800, 1, true},    {GV_SAMPLE_INT16, 4800, 4410, 1, false},
    {GV_SAMPLE_FLOAT32, 4410, 4800, 2, true},  {GV_SAMPLE_FLOAT32, 4800, 4410, 2, false},
    {GV_SAMPLE_INT16, 4410, 4800, 2, false},   {GV_SAMPLE_INT16, 4800, 4410, 2, true},
    {GV_SAMPLE_INT16, 3, 1000, 2, false},      {GV_SAMPLE_FLOAT32, 1000, 3, 1, false},
};

Bytes Resample(const Case &c, const Bytes &src, bool scalar) {
  ForceResampleScalar(scalar);
  const size_t fb = src.size() / size_t(c.s);
  Bytes out(size_t(std::max(c.s, c.d) + 4) * fb, 0xEE);
  std::memcpy(out.data(), src.data(), src.size());
  const void *in = c.inPlace ? out.data() : src.data();
  if (c.method == 1) {
    gv::audio::LinearFrames(c.type, 2, out.data(), c.d, in, c.s);
  } else {
    tGVRESAMPLEINSTANCE inst{};
    inst.dStep = double(c.s) / c.d;
    // two blocks, so the second starts between the buffers
    const long half = c.s / 2;
    long made = gv::audio::StreamFrames(inst, c.type, 2, out.data(), c.d, in, half);
    Bytes rest(src.begin() + long(size_t(half) * fb), src.end());
    made += gv::audio::StreamFrames(inst, c.type, 2, out.data() + size_t(made) * fb, c.d, rest.data(), c.s - half);
    out.resize(size_t(made) * fb);
  }
  ForceResampleScalar(false);
  return out;
}

TEST(ResampleSimd, StereoLoopsGiveTheScalarBytes) {
  std::mt19937 rng(77);
  FOR_EACH_CASE(kCases) {
    const Bytes src = Random(c.type, c.s, rng);
    const Bytes vector = Resample(c, src, false), scalar = Resample(c, src, true);
    ASSERT_EQ(vector.size(), scalar.size());
    EXPECT_EQ(std::memcmp(vector.data(), scalar.data(), vector.size()), 0);
  }
}

TEST(StreamResampler, BlocksGiveTheFramesOfOneCall) {
  gv::audio::StreamResampler one, blocks;
  ASSERT_TRUE(one.Start(GV_SAMPLE_FLOAT32, 3, 44100, 48000));
  ASSERT_TRUE(blocks.Start(GV_SAMPLE_FLOAT32, 3, 44100, 48000));
  std::vector<float> src(3 * 10000);
  for (size_t i = 0; i < src.size(); ++i) src[i] = float(std::sin(i * 0.01));
  std::vector<float> whole(3 * 11000), joined;
  const long made = one.Process(whole.data(), 11000, src.data(), 10000);
  EXPECT_EQ(made, 10884);  // k = 0 .. 10883: positions k * 0.91875 below 9999
  for (long at = 0, n = 1; at < 10000; at += n, n = n * 3 % 1013 + 1) {
    n = std::min(n, 10000 - at);
    std::vector<float> block(src.begin() + at * 3, src.begin() + (at + n) * 3);
    const long want = blocks.OutputFrames(n);
    block.resize(size_t(std::max(n, want)) * 3);
    EXPECT_EQ(blocks.Process(block.data(), want, block.data(), n), want);
    joined.insert(joined.end(), block.begin(), block.begin() + want * 3);
  }
  ASSERT_EQ(joined.size(), size_t(made) * 3);
  for (size_t i = 0; i < joined.size(); ++i) ASSERT_NEAR(joined[i], whole[i], 1e-6) << i;
}

TEST(StreamResampler, RefusesWhatItCannotStream) {
  const struct {
    DWORD type;
    int channels;
    double from, to;
  } cases[] = {{GV_SAMPLE_INT8, 2, 44100, 48000}, {GV_SAMPLE_INT16, 0, 44100, 48000},
               {GV_SAMPLE_INT16, 33, 44100, 48000}, {GV_SAMPLE_INT16, 2, 0, 48000},
               {GV_SAMPLE_INT16, 2, 44100, -1}, {GV_SAMPLE_INT16BE, 2, 44100, 48000}};
  FOR_EACH_CASE(cases) {
    gv::audio::StreamResampler r;
    EXPECT_FALSE(r.Start(c.type, c.channels, c.from, c.to));
    std::int16_t buf[8] = {};
    EXPECT_EQ(r.Process(buf, 4, buf, 2), 0);
    EXPECT_EQ(r.OutputFrames(100), 0);
  }
}

}  // namespace
