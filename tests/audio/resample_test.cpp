// The resampler through its exports: the Bresenham orders of repetition, the
// positions of linear interpolation, truncation and clipping of the write,
// the streaming method against one call over the joined buffers (random
// block sizes, both directions, in place), and bad arguments that must not
// write outside the destination.
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
using I16 = std::vector<std::int16_t>;

const WAVEFORMATEX kMono16 = Wfx(WAVE_FORMAT_PCM, 16, 1, 44100);

// A destination of `frames` frames followed by guard bytes that no call may
// touch.
template <class T> struct Guarded {
  std::vector<T> buf;
  size_t n;
  explicit Guarded(size_t frames, T fill = T(0x5A)) : buf(frames + 16, fill), n(frames) {}
  T *data() { return buf.data(); }
  std::vector<T> Out() const { return std::vector<T>(buf.begin(), buf.begin() + long(n)); }
  bool GuardIntact(T fill = T(0x5A)) const {
    for (size_t i = n; i < buf.size(); ++i)
      if (buf[i] != fill) return false;
    return true;
  }
};

long Call(const WAVEFORMATEX &w, DWORD rate, void *dst, long d, const void *src, long s,
          DWORD flags, tGVRESAMPLEINSTANCE *inst = nullptr) {
  tGVRESAMPLEINSTANCE own{};
  return GvAudio_ResampleEx(&w, rate, dst, d, src, s, inst ? inst : &own, flags);
}

// Source frame k of a mono 16-bit buffer holds k * 100, so outputs name the
// frames they came from.
struct RepeatCase {
  long s, d;
  I16 expected;  // source frame of each output frame, times 100
};
const RepeatCase kRepeatCases[] = {
    {2, 4, {0, 0, 100, 100}},          // frames 3, 2, 1, 0 get source 1, 1, 0, 0
    {4, 2, {100, 300}},                // err 2: frames 1 and 3
    {3, 5, {0, 0, 100, 100, 200}},
    {5, 3, {0, 200, 400}},
    {3, 3, {0, 100, 200}},
    {1, 3, {0, 0, 0}},
    {3, 1, {100}},
    {7, 2, {100, 500}},
    {2, 7, {0, 0, 0, 0, 0, 100, 100}},
};

TEST(Resample, RepetitionOrders) {
  FOR_EACH_CASE(kRepeatCases) {
    I16 src(size_t(c.s));
    for (long k = 0; k < c.s; ++k) src[size_t(k)] = std::int16_t(k * 100);
    Guarded<std::int16_t> dst(size_t(c.d));
    EXPECT_EQ(Call(kMono16, 1, dst.data(), c.d, src.data(), c.s, GVRESAMPLE_REPEAT), c.d);
    EXPECT_EQ(dst.Out(), c.expected);
    EXPECT_TRUE(dst.GuardIntact());
    // In place gives the same frames.
    I16 inplace(size_t(std::max(c.s, c.d)) + 4, 0x5A);
    std::copy(src.begin(), src.end(), inplace.begin());
    Call(kMono16, 1, inplace.data(), c.d, inplace.data(), c.s, GVRESAMPLE_REPEAT);
    EXPECT_EQ(I16(inplace.begin(), inplace.begin() + c.d), c.expected);
  }
}

// Repetition moves the bytes of any known width, big-endian and int8 too.
TEST(Resample, RepetitionCopiesBytesOfEveryWidth) {
  const WAVEFORMATEX formats[] = {Wfx(GV_WAVE_FORMAT_BIGENDIAN, 24, 2), Wfx(GV_WAVE_FORMAT_SIGNED, 8, 3),
                                  Wfx(WAVE_FORMAT_IEEE_FLOAT, 64, 1)};
  FOR_EACH_CASE(formats) {
    const size_t fb = c.nBlockAlign;
    std::vector<unsigned char> src(2 * fb), dst(4 * fb + 8, 0xEE);
    for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<unsigned char>(i + 1);
    Call(c, 1, dst.data(), 4, src.data(), 2, GVRESAMPLE_REPEAT);
    for (size_t f = 0; f < 4; ++f)
      EXPECT_EQ(std::memcmp(&dst[f * fb], &src[(f < 2 ? 0 : 1) * fb], fb), 0) << f;
    EXPECT_EQ(dst[4 * fb], 0xEE);
  }
}

struct LinearCase {
  WAVEFORMATEX wfx;
  I16 src;  // 16-bit samples, or bytes for 8-bit formats
  long d;
  I16 expected;
};
const LinearCase kLinearCases[] = {
    // S = 3, D = 5: positions 0, 0.5, 1, 1.5, 2
    {kMono16, {0, 1000, -1000}, 5, {0, 500, 1000, 0, -1000}},
    // downward: step 2, frames 0, 2, 4
    {kMono16, {10, 20, 30, 40, 50}, 3, {10, 30, 50}},
    // truncation toward zero, never floor
    {kMono16, {0, 1}, 3, {0, 0, 1}},
    {kMono16, {0, -1}, 3, {0, 0, -1}},
    {kMono16, {-32768, 32767}, 3, {-32768, 0, 32767}},  // -0.5 / 32768 truncates to 0
    // D = 1 gives source frame 0; S = 1 gives it everywhere
    {kMono16, {7, 9, 11}, 1, {7}},
    {kMono16, {-3}, 4, {-3, -3, -3, -3}},
    // step 0.5 upward from the last frame down
    {kMono16, {0, 300, 600, 900}, 7, {0, 150, 300, 450, 600, 750, 900}},
};

TEST(Resample, LinearPositions) {
  FOR_EACH_CASE(kLinearCases) {
    Guarded<std::int16_t> dst(size_t(c.d));
    EXPECT_EQ(Call(c.wfx, 1, dst.data(), c.d, c.src.data(), long(c.src.size()), GVRESAMPLE_LINEAR), c.d);
    EXPECT_EQ(dst.Out(), c.expected);
    EXPECT_TRUE(dst.GuardIntact());
  }
}

// 8-bit unsigned halves: (0x00 + 0x01) / 2 is -127.5 -> -127 -> 0x01.
// 24-in-32 values beyond 24 bits read large and clip on the write.
TEST(Resample, LinearWritesClipPerType) {
  const unsigned char u8src[] = {0x00, 0x01, 0x80, 0x81};
  unsigned char u8dst[7] = {};
  std::memset(u8dst, 0xEE, sizeof u8dst);
  Call(Wfx(WAVE_FORMAT_PCM, 8), 1, u8dst, 7, u8src, 4, GVRESAMPLE_LINEAR);
  const unsigned char u8want[] = {0x00, 0x01, 0x01, 0x41, 0x80, 0x80, 0x81};
  EXPECT_EQ(std::memcmp(u8dst, u8want, 7), 0);

  const std::int32_t big[] = {0x7FFFFFFF, INT32_MIN, 0x00400000};
  std::int32_t out[3] = {};
  Call(Wfx(GV_WAVE_FORMAT_UNPACKED, 32), 1, out, 3, big, 3, GVRESAMPLE_LINEAR);
  EXPECT_EQ(out[0], 0x7FFFFF);
  EXPECT_EQ(out[1], -0x800000);
  EXPECT_EQ(out[2], 0x400000);

  const float fsrc[] = {3.0f, -5.0f};
  float fdst[3] = {};
  Call(Wfx(WAVE_FORMAT_IEEE_FLOAT, 32), 1, fdst, 3, fsrc, 2, GVRESAMPLE_LINEAR);
  EXPECT_EQ(fdst[0], 3.0f);  // floats unclipped
  EXPECT_EQ(fdst[1], -1.0f);
  EXPECT_EQ(fdst[2], -5.0f);
}

TEST(Resample, FlagsResetAndUnknownMethods) {
  tGVRESAMPLEINSTANCE inst;
  std::memset(&inst, 0x11, sizeof inst);
  std::int16_t src[4] = {1, 2, 3, 4}, dst[8] = {};
  // An unknown method returns the source frames and writes nothing.
  EXPECT_EQ(GvAudio_ResampleEx(&kMono16, 48000, dst, 8, src, 4, &inst, 7), 4);
  for (std::int16_t v : dst) EXPECT_EQ(v, 0);
  EXPECT_DOUBLE_EQ(inst.dStep, 44100.0 / 48000.0);
  EXPECT_EQ(inst.dLast[0], inst.dLast[1]);  // the rest untouched
  // Reset with methods 0 and 1 leaves a zero step.
  GvAudio_ResampleEx(&kMono16, 48000, dst, 8, src, 4, &inst, GVRESAMPLE_RESET | GVRESAMPLE_LINEAR);
  const tGVRESAMPLEINSTANCE zero{};
  EXPECT_EQ(std::memcmp(&inst, &zero, sizeof inst), 0);
  // Reset with method 2 keeps the step it computed.
  GvAudio_ResampleEx(&kMono16, 22050, dst, 8, src, 4, &inst, GVRESAMPLE_RESET | GVRESAMPLE_STREAM);
  EXPECT_EQ(inst.dStep, 2.0);
  EXPECT_EQ(sizeof(tGVRESAMPLEINSTANCE), 272u);
}

TEST(Resample, ResampleIsLinearAndAlwaysZero) {
  std::int16_t src[3] = {0, 1000, -1000}, dst[5] = {};
  EXPECT_EQ(GvAudio_Resample(&kMono16, dst, 5, src, 3), 0);
  EXPECT_EQ(I16(dst, dst + 5), (I16{0, 500, 1000, 0, -1000}));
  const WAVEFORMATEX alaw = Wfx(6, 8);  // A-law
  EXPECT_EQ(GvAudio_Resample(&alaw, dst, 5, src, 3), 0);
  EXPECT_EQ(GvAudio_Resample(&kMono16, dst, 5, src, 0), 0);
  EXPECT_EQ(GvAudio_Resample(nullptr, dst, 5, src, 3), 0);
}

// Method 2 at step 0.5: positions 0, 0.5, ... 2.5 in the first buffer
// (below S - 1 = 3), then -1 (dLast itself) and on in the next.
TEST(Resample, StreamPositionsAcrossCalls) {
  tGVRESAMPLEINSTANCE inst{};
  const std::int16_t a[4] = {0, 100, 200, 300}, b[2] = {500, 700};
  std::int16_t out[16] = {};
  EXPECT_EQ(GvAudio_ResampleEx(&kMono16, 88200, out, 16, a, 4, &inst, GVRESAMPLE_RESET | GVRESAMPLE_STREAM), 6);
  EXPECT_EQ(I16(out, out + 6), (I16{0, 50, 100, 150, 200, 250}));
  EXPECT_EQ(inst.dPos, -1.0);
  EXPECT_EQ(inst.dLast[0], 300.0 / 32768);
  EXPECT_EQ(GvAudio_ResampleFrames(&inst, 2), 4);
  EXPECT_EQ(GvAudio_ResampleEx(&kMono16, 88200, out, 16, b, 2, &inst, GVRESAMPLE_STREAM), 4);
  EXPECT_EQ(I16(out, out + 4), (I16{300, 400, 500, 600}));
}

// A destination smaller than the output gets what fits; the stream's
// timing goes on as if all had been written.
TEST(Resample, StreamStopsAtTheDestinationsSize) {
  std::int16_t src[8] = {0, 10, 20, 30, 40, 50, 60, 70};
  tGVRESAMPLEINSTANCE full{}, cut{};
  Guarded<std::int16_t> a(14), b(5);
  EXPECT_EQ(GvAudio_ResampleEx(&kMono16, 88200, a.data(), 14, src, 8, &full, GVRESAMPLE_RESET | GVRESAMPLE_STREAM), 14);
  EXPECT_EQ(GvAudio_ResampleEx(&kMono16, 88200, b.data(), 5, src, 8, &cut, GVRESAMPLE_RESET | GVRESAMPLE_STREAM), 5);
  EXPECT_TRUE(b.GuardIntact());
  EXPECT_EQ(b.Out(), I16(a.buf.begin(), a.buf.begin() + 5));
  EXPECT_EQ(std::memcmp(&full, &cut, sizeof full), 0);
}

// ---- Streaming against one call over the joined buffers ----------------

struct StreamCase {
  WAVEFORMATEX wfx;
  DWORD from, to;
  bool inPlace;
};
const StreamCase kStreamCases[] = {
    {Wfx(WAVE_FORMAT_IEEE_FLOAT, 32, 2, 44100), 44100, 48000, false},
    {Wfx(WAVE_FORMAT_IEEE_FLOAT, 32, 2, 48000), 48000, 44100, false},
    {Wfx(WAVE_FORMAT_PCM, 16, 2, 44100), 44100, 48000, true},
    {Wfx(WAVE_FORMAT_PCM, 16, 2, 48000), 48000, 44100, true},
    {Wfx(WAVE_FORMAT_PCM, 24, 3, 8000), 8000, 22050, true},
    {Wfx(WAVE_FORMAT_IEEE_FLOAT, 64, 1, 96000), 96000, 8000, true},
    {Wfx(WAVE_FORMAT_PCM, 8, 1, 11025), 11025, 11025, false},
    {Wfx(WAVE_FORMAT_IEEE_FLOAT, 32, 32, 44100), 44100, 32000, true},
};

// Samples of frame k, channel ch, as doubles of full scale 1.0 in the
// format's bytes.
std::vector<unsigned char> Signal(const WAVEFORMATEX &w, long frames, std::mt19937 &rng) {
  const int bytes = w.wBitsPerSample / 8;
  std::vector<unsigned char> data(size_t(frames) * w.nBlockAlign);
  std::uniform_int_distribution<int> byte(0, 255);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  for (size_t i = 0; i < data.size() / bytes; ++i) {
    unsigned char *p = &data[i * bytes];
    if (w.wFormatTag == WAVE_FORMAT_IEEE_FLOAT && bytes == 4) {
      const float x = float(unit(rng));
      std::memcpy(p, &x, 4);
    } else if (w.wFormatTag == WAVE_FORMAT_IEEE_FLOAT) {
      const double x = unit(rng);
      std::memcpy(p, &x, 8);
    } else {
      for (int b = 0; b < bytes; ++b) p[b] = static_cast<unsigned char>(byte(rng));
    }
  }
  return data;
}

double SampleAt(const WAVEFORMATEX &w, const unsigned char *p) {
  const int bytes = w.wBitsPerSample / 8;
  if (w.wFormatTag == WAVE_FORMAT_IEEE_FLOAT) {
    if (bytes == 4) return audiotest::Load<float>(p);
    return audiotest::Load<double>(p);
  }
  if (bytes == 1) return double(int(p[0]) - 128);
  std::int32_t v = 0;
  std::memcpy(&v, p, size_t(bytes));
  return double(v << (32 - 8 * bytes) >> (32 - 8 * bytes));
}

TEST(Resample, StreamingEqualsOneCallOverTheJoinedBuffers) {
  std::mt19937 rng(1234);
  FOR_EACH_CASE(kStreamCases) {
    const long total = 20000;
    const auto src = Signal(c.wfx, total, rng);
    const size_t fb = c.wfx.nBlockAlign;
    const long maxOut = long(double(total) * c.to / c.from) + 16;
    std::vector<unsigned char> whole(size_t(maxOut) * fb);
    tGVRESAMPLEINSTANCE one{};
    const long made = GvAudio_ResampleEx(&c.wfx, c.to, whole.data(), maxOut, src.data(), total, &one,
                                         GVRESAMPLE_RESET | GVRESAMPLE_STREAM);
    ASSERT_GT(made, total * double(c.to) / c.from - 3);

    std::vector<unsigned char> joined;
    tGVRESAMPLEINSTANCE inst{};
    std::uniform_int_distribution<long> size(1, 700);
    DWORD flags = GVRESAMPLE_RESET | GVRESAMPLE_STREAM;
    for (long at = 0; at < total;) {
      const long n = std::min(size(rng), total - at);
      const long room = long(double(n) * c.to / c.from) + 3;
      std::vector<unsigned char> block(size_t(std::max(n, room)) * fb + 8, 0xC3);
      std::memcpy(block.data(), &src[size_t(at) * fb], size_t(n) * fb);
      const void *in = c.inPlace ? block.data() : &src[size_t(at) * fb];
      const long expect = GvAudio_ResampleFrames(&inst, n);
      const long got = GvAudio_ResampleEx(&c.wfx, c.to, block.data(), room, in, n, &inst, flags);
      flags = GVRESAMPLE_STREAM;
      ASSERT_EQ(got, at == 0 ? got : expect);
      ASSERT_LE(got, room);
      EXPECT_EQ(block[block.size() - 1], 0xC3);
      joined.insert(joined.end(), block.begin(), block.begin() + long(size_t(got) * fb));
      at += n;
    }
    ASSERT_NEAR(double(joined.size() / fb), double(made), 1.0);
    const size_t frames = std::min(joined.size() / fb, size_t(made));
    const double tolerance = c.wfx.wFormatTag == WAVE_FORMAT_IEEE_FLOAT ? 1e-6 : 1.0;
    const int bytes = c.wfx.wBitsPerSample / 8;
    size_t bad = 0;
    for (size_t i = 0; i < frames * fb / bytes; ++i)
      if (std::fabs(SampleAt(c.wfx, &joined[i * bytes]) - SampleAt(c.wfx, &whole[i * bytes])) > tolerance)
        ++bad;
    EXPECT_EQ(bad, 0u);
  }
}

// ---- Bad input, and types without a write -------------------------------

TEST(Resample, BadArgumentsWriteNothing) {
  std::int16_t src[4] = {1, 2, 3, 4};
  WAVEFORMATEX wide = Wfx(WAVE_FORMAT_PCM, 16, 33), none = Wfx(WAVE_FORMAT_PCM, 16, 0),
               odd = kMono16, weird = Wfx(WAVE_FORMAT_PCM, 12, 1),
               int8 = Wfx(GV_WAVE_FORMAT_SIGNED, 8), be16 = Wfx(GV_WAVE_FORMAT_BIGENDIAN, 16);
  odd.nBlockAlign = 1;  // less than a sample
  struct Bad {
    const WAVEFORMATEX *wfx;
    long d, s;
    DWORD method;
    long result;
  };
  const Bad cases[] = {
      {nullptr, 4, 4, GVRESAMPLE_LINEAR, 0}, {&kMono16, 0, 4, GVRESAMPLE_LINEAR, 0},
      {&kMono16, 4, 0, GVRESAMPLE_REPEAT, 0}, {&kMono16, -5, 4, GVRESAMPLE_STREAM, 0},
      {&odd, 4, 4, GVRESAMPLE_REPEAT, 0},     {&odd, 4, 4, GVRESAMPLE_STREAM, 0},
      {&wide, 1, 1, GVRESAMPLE_STREAM, 0},    {&none, 4, 4, GVRESAMPLE_STREAM, 0},
      {&none, 4, 4, GVRESAMPLE_LINEAR, 4},    {&weird, 4, 4, GVRESAMPLE_LINEAR, 4},
      {&weird, 4, 4, GVRESAMPLE_STREAM, 0},
      // the linear methods have no write for these: counted, not written
      {&int8, 5, 3, GVRESAMPLE_LINEAR, 5},    {&be16, 5, 3, GVRESAMPLE_LINEAR, 5},
      {&int8, 5, 3, GVRESAMPLE_STREAM, 3},
  };
  FOR_EACH_CASE(cases) {
    std::vector<std::int16_t> dst(40 * 33, 0x5A5A);
    tGVRESAMPLEINSTANCE inst{};
    EXPECT_EQ(GvAudio_ResampleEx(c.wfx, 48000, dst.data(), c.d, src, c.s, &inst,
                                 GVRESAMPLE_RESET | c.method), c.result);
    for (std::int16_t v : dst) ASSERT_EQ(v, 0x5A5A);
    // a counted stream still moves on: 3 frames of step 0.91875 past 3 source frames
    EXPECT_NEAR(inst.dPos, c.result && c.method == GVRESAMPLE_STREAM ? 3 * 0.91875 - 3 : 0.0, 1e-12);
  }
  EXPECT_EQ(GvAudio_ResampleEx(&kMono16, 48000, nullptr, 4, src, 4, nullptr, GVRESAMPLE_STREAM), 0);
  EXPECT_EQ(GvAudio_ResampleFrames(nullptr, 4), 0);
}

// Zero and huge rates: a step that is not a positive finite number makes
// method 2 give nothing.
TEST(Resample, StreamRefusesUnusableSteps) {
  std::int16_t src[4] = {1, 2, 3, 4}, dst[8] = {};
  WAVEFORMATEX zeroRate = kMono16;
  zeroRate.nSamplesPerSec = 0;
  tGVRESAMPLEINSTANCE inst{};
  EXPECT_EQ(GvAudio_ResampleEx(&kMono16, 0, dst, 8, src, 4, &inst, GVRESAMPLE_RESET | GVRESAMPLE_STREAM), 0);
  EXPECT_EQ(GvAudio_ResampleEx(&zeroRate, 48000, dst, 8, src, 4, &inst, GVRESAMPLE_RESET | GVRESAMPLE_STREAM), 0);
  for (std::int16_t v : dst) EXPECT_EQ(v, 0);
  // Rate 1 to 4e9: a vast output, of which only the destination's size is written.
  Guarded<std::int16_t> big(64);
  EXPECT_EQ(GvAudio_ResampleEx(&kMono16, 0xFFFFFFFF, big.data(), 64, src, 4, &inst,
                               GVRESAMPLE_RESET | GVRESAMPLE_STREAM), 64);
  EXPECT_TRUE(big.GuardIntact());
}

}  // namespace
