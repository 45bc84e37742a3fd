// Running graphs: output bytes against a model of the same steps done one
// after another, many small buffers kept in order, the peak writer's file,
// refusals, and stopping with no thread and no output left behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/cases.h"
#include "support/graph_helpers.h"

#include <tlhelp32.h>

namespace {

using namespace gvtest::graph;

const double kHalfDb = 20.0 * std::log10(0.5);

int ThreadCount() {
  HANDLE snap = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 t{};
  t.dwSize = sizeof t;
  int n = 0;
  for (BOOL ok = Thread32First(snap, &t); ok; ok = Thread32Next(snap, &t))
    if (t.th32OwnerProcessID == GetCurrentProcessId()) ++n;
  CloseHandle(snap);
  return n;
}

// source -> gain -> format change -> [peak writer ->] sink, loaded from
// bytes so that the buffer length can be small.
IGVGraphBuilder *Chain(const std::string &in, const std::string &out, double gainDb,
                       uint32_t channels, uint32_t quantiseBits, uint32_t sinkBits,
                       uint64_t bufferTime, bool peaks) {
  const uint32_t n = peaks ? 5 : 4;
  Bytes d = Head(L"run", bufferTime, FloatFormat(2, 44100), n);
  PutGuid(d, kSource), Put32(d, 1), PutText(d, Wide(in));
  PutGuid(d, kGain), Put32(d, 1), PutDouble(d, gainDb);
  PutGuid(d, kFormat), Put32(d, 1), Put32(d, channels), Put32(d, quantiseBits);
  if (peaks) PutGuid(d, kPeakWriter), Put32(d, 1), PutText(d, Wide(out));
  PutGuid(d, kSink), Put32(d, 1), PutText(d, Wide(out)), Put32(d, sinkBits), Put32(d, 0);
  Put32(d, n - 1), Put32(d, 0), Put32(d, 0);
  for (uint32_t i = 0; i + 1 < n; ++i) PutConnection(d, i, 0, i + 1, 0);
  IGVGraphBuilder *g = nullptr;
  if (LoadBytes(MemoryForm(d), &g) != S_OK && g) g->Release(), g = nullptr;
  return g;
}

class GraphRun : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(SUCCEEDED(com_.hr)); }
  ComScope com_;
  TempDir dir_;
};

int16_t Clip16(double v) { return int16_t(std::max(-32768.0, std::min(32767.0, v))); }

TEST_F(GraphRun, OutputEqualsTheStepsDoneOneAfterAnother) {
  const DWORD frames = 20011;  // not a whole number of buffers
  const std::vector<int16_t> in = Tone(frames, 2);
  ASSERT_TRUE(WriteAll(dir_ / "in.wav", Wave16(2, 8000, in)));
  // What each chain must give, sample by sample: 16-bit x is x / 32768 as
  // a float, halved exactly, and stored back truncated toward zero.
  std::vector<int16_t> half(in.size()), mono(frames), coarse(in.size());
  for (size_t i = 0; i < in.size(); ++i) half[i] = int16_t(std::trunc(in[i] / 2.0));
  for (size_t f = 0; f < frames; ++f) mono[f] = Clip16(std::trunc((in[2 * f] + in[2 * f + 1]) / 2.0));
  for (size_t i = 0; i < in.size(); ++i) coarse[i] = int16_t(int(std::trunc(in[i] / 256.0)) * 256);
  struct Case {
    const char *what;
    double gainDb;
    uint32_t channels, quantise;
    uint64_t bufferTime;
    WORD outChannels;
    const std::vector<int16_t> &expected;
  } const cases[] = {
      {"half gain, 0.3 s buffers", kHalfDb, 0, 0, 3000000, 2, half},
      {"half gain, 97-frame buffers", kHalfDb, 0, 0, 121250, 2, half},
      {"half gain, summed to mono", kHalfDb, 1, 0, 50000, 1, mono},
      {"rounded through 8 bits", 0.0, 0, 8, 250000, 2, coarse},
  };
  FOR_EACH_CASE(cases) {
    const std::string out = dir_ / "out.wav";
    IGVGraphBuilder *g = Chain(dir_ / "in.wav", out, c.gainDb, c.channels, c.quantise, 16,
                               c.bufferTime, false);
    ASSERT_NE(g, nullptr);
    ASSERT_EQ(g->Run(), S_OK);
    tGVGRAPHPROGRESS p{};
    EXPECT_EQ(g->Wait(30000, &p), S_OK);
    EXPECT_EQ(p.framesDone, frames);
    EXPECT_EQ(p.framesTotal, frames);
    EXPECT_EQ(Slurp(out), Wave16(c.outChannels, 8000, c.expected));
    EXPECT_EQ(g->Release(), 0u);
    DeleteFileA(out.c_str());
    EXPECT_EQ(dir_.Files().size(), 1u) << "only the input is left";
  }
}

// The resampler and the IIR stage done directly: the 16-bit samples as
// floats, one GvAudio_ResampleEx call per source buffer on one instance,
// (none at the same rate), then the designed coefficients run as gviir.h
// describes.
std::vector<float> ResampledAndFiltered(const std::vector<int16_t> &in, WORD channels,
                                        DWORD rate, DWORD newRate, DWORD piece, int type,
                                        double freq, double gainDb) {
  std::vector<float> x(in.size()), y;
  for (size_t i = 0; i < in.size(); ++i) x[i] = float(in[i] / 32768.0);
  if (newRate == rate) y = x;
  const WAVEFORMATEX wfx = FloatFormat(channels, rate);
  tGVRESAMPLEINSTANCE inst{};
  DWORD flags = GVRESAMPLE_STREAM | GVRESAMPLE_RESET;
  for (size_t at = 0; newRate != rate && at < x.size(); at += size_t(piece) * channels) {
    const long n = long(std::min<size_t>(piece, (x.size() - at) / channels));
    inst.dStep = double(rate) / newRate;
    const long made = GvAudio_ResampleFrames(&inst, n);
    std::vector<float> out(size_t(made + 1) * channels);
    const long got = GvAudio_ResampleEx(&wfx, newRate, out.data(), made, &x[at], n, &inst, flags);
    y.insert(y.end(), out.begin(), out.begin() + got * channels);
    flags = GVRESAMPLE_STREAM;
  }
  const tGVIIRREQUEST request{freq / newRate, gainDb, 2.0};
  tGVIIRCOEFFS k{};
  (type == GVIIR_BAND ? GvIIR_FindBandPassCoeffs : GvIIR_FindLowShelfCutCoeffs)(&k, &request);
  const double *c = k.c;
  for (WORD ch = 0; ch < channels; ++ch) {
    double h[2][4] = {};  // per pass: s[n-1], s[n-2], u[n-1], u[n-2]
    for (size_t i = ch; i < y.size(); i += channels) {
      double u = y[i];
      for (auto &p : h) {
        const double v = type == GVIIR_BAND ? u - p[3] : u;
        const double s = c[4] * v + c[2] * p[0] - c[3] * p[1];
        p[1] = p[0], p[0] = s, p[3] = p[2], p[2] = u;
        u = type == GVIIR_BAND ? c[6] * u + c[7] * s : c[6] * u + c[7] * (u - s);
      }
      y[i] = float(u);
    }
  }
  return y;
}

TEST_F(GraphRun, ResamplerAndIirEqualTheStepsDoneDirectly) {
  const DWORD frames = 30011;
  const std::vector<int16_t> in = Tone(frames, 2);
  ASSERT_TRUE(WriteAll(dir_ / "in.wav", Wave16(2, 44100, in)));
  struct Case {
    DWORD newRate;
    uint64_t bufferTime;  // 100 ns units; DWORD(44100 * t / 1e7) frames
    int type;
    double freq, gainDb;
  } const cases[] = {
      {48000, 3000000, GVIIR_BAND, 3000, 9},     // 13230-frame buffers
      {48000, 22000, GVIIR_BAND, 3000, -12},     // 97 frames
      {22050, 50000, GVIIR_LOWSHELF, 200, -20},  // 220 frames, downward
      {8000, 2300, GVIIR_BAND, 1000, 6},         // 10 frames: some make one output frame
      {44100, 100000, GVIIR_LOWSHELF, 500, -6},  // the rate unchanged
  };
  FOR_EACH_CASE(cases) {
    const std::string out = dir_ / "out.wav";
    Bytes d = Head(L"dsp", c.bufferTime, FloatFormat(2, 44100), 4);
    PutGuid(d, kSource), Put32(d, 1), PutText(d, Wide(dir_ / "in.wav"));
    PutGuid(d, kResampler), Put32(d, 1), Put32(d, c.newRate);
    PutGuid(d, kIir), Put32(d, 1), Put32(d, uint32_t(c.type));
    PutDouble(d, c.freq), PutDouble(d, c.gainDb), PutDouble(d, 2.0);
    PutGuid(d, kSink), Put32(d, 1), PutText(d, Wide(out)), Put32(d, 32), Put32(d, 1);
    Put32(d, 3), Put32(d, 0), Put32(d, 0);
    for (uint32_t i = 0; i < 3; ++i) PutConnection(d, i, 0, i + 1, 0);
    IGVGraphBuilder *g = nullptr;
    ASSERT_EQ(LoadBytes(MemoryForm(d), &g), S_OK);
    ASSERT_EQ(g->Run(), S_OK);
    EXPECT_EQ(g->Wait(30000, nullptr), S_OK);
    EXPECT_EQ(g->Release(), 0u);
    const DWORD piece = DWORD(44100 * c.bufferTime / 10000000);
    const std::vector<float> expected =
        ResampledAndFiltered(in, 2, 44100, c.newRate, piece, c.type, c.freq, c.gainDb);
    const Bytes file = Slurp(out);
    ASSERT_EQ(file.size(), 44 + expected.size() * 4);
    EXPECT_EQ(std::memcmp(file.data() + 44, expected.data(), expected.size() * 4), 0);
    WAVEFORMATEX wfx{};
    std::memcpy(&wfx, file.data() + 20, 16);
    EXPECT_EQ(wfx.nSamplesPerSec, c.newRate);
    DeleteFileA(out.c_str());
  }
}

TEST_F(GraphRun, PeakWriterLeavesAValidPeakFileOfTheOutput) {
  const DWORD frames = 9000;
  ASSERT_TRUE(WriteAll(dir_ / "in.wav", Wave16(2, 8000, Tone(frames, 2))));
  const std::string out = dir_ / "out.wav";
  IGVGraphBuilder *g = Chain(dir_ / "in.wav", out, 0.0, 0, 0, 16, 130000, true);
  ASSERT_NE(g, nullptr);
  ASSERT_EQ(g->Run(), S_OK);
  EXPECT_EQ(g->Wait(30000, nullptr), S_OK);
  g->Release();
  tGVAUDIOPEAK *peak = nullptr;
  ASSERT_EQ(GvPeak_OpenExistingEx(&peak, 2, out.c_str(), nullptr, frames, TRUE), 0)
      << "stamped with the finished output's date and all frames summarised";
  // The peaks of the whole file, as the peak files' own builder makes them.
  tGVAUDIOPEAK *built = nullptr;
  DeleteFileA((dir_ / "in.gvk").c_str());
  ASSERT_EQ(GvPeak_OpenDataFromWaveFile(&built, (dir_ / "in.wav").c_str(), GVPEAK_REBUILD, nullptr),
            S_OK);
  std::vector<short> a(4 * 64), b(4 * 64);
  EXPECT_TRUE(GvPeak_GetDrawData(peak, 0, frames, a.data(), 4));
  EXPECT_TRUE(GvPeak_GetDrawData(built, 0, frames, b.data(), 4));
  EXPECT_EQ(a, b);
  GvPeak_FreeEx(peak, FALSE);
  GvPeak_FreeEx(built, TRUE);
}

TEST_F(GraphRun, RefusesWhatIsNotOneChain) {
  ASSERT_TRUE(WriteAll(dir_ / "in.wav", Wave16(1, 8000, Tone(100, 1))));
  struct Case {
    const char *what;
    int build;
  } const cases[] = {{"no filters", 0}, {"a filter outside the chain", 1},
                     {"a missing input file", 2}, {"float samples of 16 bits", 3},
                     {"two sources", 4}};
  FOR_EACH_CASE(cases) {
    IGVGraphBuilder *g = NewGraph();
    if (c.build) {
      IGVFilter *src = Add(g, kSource), *sink = Add(g, kSink);
      src->SetText(GVFK_FILE, Wide(c.build == 2 ? dir_ / "none.wav" : dir_ / "in.wav").c_str());
      sink->SetText(GVFK_FILE, Wide(dir_ / "out.wav").c_str());
      if (c.build == 3) sink->SetValue(GVFK_FLOAT, 1);
      g->Connect(src, 0, sink, 0);
      if (c.build == 1) Add(g, kGain);
      if (c.build == 4) Add(g, kSource)->SetText(GVFK_FILE, Wide(dir_ / "in.wav").c_str());
    }
    EXPECT_EQ(g->Run(), E_FAIL);
    EXPECT_EQ(g->Wait(0, nullptr), S_OK) << "no run";
    EXPECT_EQ(g->Release(), 0u);
    EXPECT_EQ(dir_.Files(), std::vector<std::string>{"in.wav"});
  }
}

TEST_F(GraphRun, StoppingLeavesNoThreadAndNoOutput) {
  const DWORD frames = 400000;
  ASSERT_TRUE(WriteAll(dir_ / "in.wav", Wave16(2, 44100, Tone(frames, 2))));
  const Bytes oldPeaks(200, 0x5A);  // a peak file of an earlier output
  ASSERT_TRUE(WriteAll(dir_ / "out.gvk", oldPeaks));
  const int threadsBefore = ThreadCount();
  const std::string out = dir_ / "out.wav";
  IGVGraphBuilder *g = Chain(dir_ / "in.wav", out, -1.0, 0, 0, 24, 5000, true);
  ASSERT_NE(g, nullptr);
  ASSERT_EQ(g->Run(), S_OK);
  EXPECT_EQ(g->Run(), E_ACCESSDENIED);
  EXPECT_EQ(g->AddFilter(kGain, nullptr), E_ACCESSDENIED);
  IGVFilter *gain = nullptr;
  g->GetFilter(1, &gain);
  EXPECT_EQ(gain->SetValue(GVFK_GAIN, 3.0), E_ACCESSDENIED);
  gain->Release();
  tGVGRAPHPROGRESS p{};
  EXPECT_EQ(g->Wait(0, &p), S_FALSE) << "400000 frames in 22-frame buffers take a while";
  EXPECT_EQ(g->Stop(), S_OK);
  EXPECT_EQ(g->Wait(INFINITE, &p), E_ABORT);
  EXPECT_LT(p.framesDone, frames);
  EXPECT_EQ(ThreadCount(), threadsBefore);
  std::vector<std::string> left = dir_.Files();
  std::sort(left.begin(), left.end());
  EXPECT_EQ(left, (std::vector<std::string>{"in.wav", "out.gvk"}))
      << "neither the output, a new peak file, nor a temporary file";
  EXPECT_EQ(Slurp(dir_ / "out.gvk"), oldPeaks) << "the old peak file as it was";
  EXPECT_EQ(g->Stop(), S_FALSE);
  // It runs again to the end afterwards.
  ASSERT_EQ(g->Run(), S_OK);
  EXPECT_EQ(g->Wait(INFINITE, &p), S_OK);
  EXPECT_EQ(p.framesDone, frames);
  EXPECT_EQ(g->Release(), 0u);
  EXPECT_EQ(Slurp(out).size(), 44u + frames * 6);
  tGVAUDIOPEAK *peak = nullptr;
  EXPECT_EQ(GvPeak_OpenExistingEx(&peak, 2, out.c_str(), nullptr, frames, TRUE), 0)
      << "the old peak file replaced by the complete run's";
  GvPeak_FreeEx(peak, FALSE);
}

}  // namespace
