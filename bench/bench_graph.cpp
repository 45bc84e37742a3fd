// A graph source -> resampler (44.1 -> 48 kHz) -> IIR band -> 16-bit sink
// over a cached 16-bit stereo WAVE file, against the same work done by hand
// in one thread (audio streams, one GvAudio_ResampleEx call per buffer, the
// same IIR stage code) in the same run, taking turns; best of five wall
// times each, with the processor time of a run, and the two outputs' sample
// bytes compared.
//   bench_graph [MIB] [BUFFER_SECONDS]   (default 256 MiB, the graph's 0.3 s)
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "audio/iir_stage.h"
#include "bench/bench_clock.h"
#include "bench/bench_support.h"
#include "tests/support/graph_helpers.h"

namespace {

using namespace gvtest::graph;

constexpr DWORD kRate = 44100, kNewRate = 48000, kHeader = 44;
constexpr int kRuns = 5;
uint64_t g_bufferTime = 3000000;  // 100 ns units; the graph's default, 0.3 s
DWORD g_piece = DWORD(kRate * g_bufferTime / 10000000);

gv::audio::iir::StageSettings Band() {
  gv::audio::iir::StageSettings s;
  s.type = gv::audio::iir::kBand, s.freq = 3000, s.gainDb = 6, s.q = 2;
  return s;
}

// A 16-bit stereo file of about `mib` MiB, written piece by piece.
bool MakeInput(const std::string &path, DWORD mib) {
  const DWORD frames = DWORD(uint64_t(mib) << 20) / 4;
  Bytes head = Wave16(2, kRate, {});
  const DWORD data = frames * 4, riff = 36 + data;
  std::memcpy(&head[4], &riff, 4);
  std::memcpy(&head[40], &data, 4);
  HANDLE h = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (h == INVALID_HANDLE_VALUE) return false;
  DWORD put = 0;
  bool ok = WriteFile(h, head.data(), kHeader, &put, nullptr) != 0;
  const std::vector<int16_t> tone = Tone(1 << 20, 2);  // 4 MiB, repeated
  for (DWORD done = 0; ok && done < frames; done += 1 << 20) {
    const DWORD n = std::min<DWORD>(frames - done, 1 << 20);
    ok = WriteFile(h, tone.data(), n * 4, &put, nullptr) && put == n * 4;
  }
  CloseHandle(h);
  return ok;
}

// Reads the whole file so that both runs find it in the cache.
void Warm(const std::string &path) {
  HANDLE h = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                         nullptr);
  std::vector<char> b(1 << 22);
  DWORD got = 0;
  while (ReadFile(h, b.data(), DWORD(b.size()), &got, nullptr) && got) {
  }
  CloseHandle(h);
}

bool ByGraph(const std::string &in, const std::string &out) {
  IGVGraphBuilder *g = NewGraph();
  if (!g) return false;
  IGVFilter *f[4] = {Add(g, kSource), Add(g, kResampler), Add(g, kIir), Add(g, kSink)};
  const gv::audio::iir::StageSettings s = Band();
  bool ok = f[0] && f[1] && f[2] && f[3] && f[0]->SetText(GVFK_FILE, Wide(in).c_str()) == S_OK &&
            f[1]->SetValue(GVFK_RATE, kNewRate) == S_OK &&
            f[2]->SetValue(GVFK_TYPE, s.type) == S_OK && f[2]->SetValue(GVFK_FREQ, s.freq) == S_OK &&
            f[2]->SetValue(GVFK_GAIN, s.gainDb) == S_OK && f[2]->SetValue(GVFK_Q, s.q) == S_OK &&
            f[3]->SetText(GVFK_FILE, Wide(out).c_str()) == S_OK &&
            g->SetBufferTime(g_bufferTime) == S_OK;
  for (int i = 0; ok && i < 3; ++i) ok = g->Connect(f[i], 0, f[i + 1], 0) == S_OK;
  ok = ok && g->Run() == S_OK && g->Wait(INFINITE, nullptr) == S_OK;
  g->Release();
  return ok;
}

// The same steps in this thread; the output's data without its headers.
bool ByHand(const std::string &in, const std::string &out) {
  tGVWAVEINFO info{};
  info.cbSize = sizeof info;
  WAVEFORMATEX *w = GvGetFileWfxEx(in.c_str(), &info);
  if (!w) return false;
  std::free(w);
  tGVAUDIOATTRIBS inAttr, outAttr;
  GvAudio_InitAttribs(&inAttr, sizeof inAttr, 0, 0, kRate, 16, 2);
  GvAudio_InitAttribs(&outAttr, sizeof outAttr, 0, 0, kNewRate, 16, 2);
  HGVAUDIOSTREAM src = nullptr, dst = nullptr;
  const DWORD frames = DWORD(info.nFrames);
  if (GvAudioStream_OpenFile(&src, in.c_str(), DWORD(info.nDataOffset), frames, 0, &inAttr, 32,
                             GVAA_FLOAT32, GVAS_VIEW_NONE, GVAS_OPENREAD | GVAS_READONLY) != S_OK)
    return false;
  bool ok = GvAudioStream_OpenFile(&dst, out.c_str(), kHeader, 0, 0, &outAttr, 32, GVAA_FLOAT32,
                                   GVAS_VIEW_NONE, GVAS_CREATE) == S_OK;
  const WAVEFORMATEX wfx = FloatFormat(2, kRate);
  tGVRESAMPLEINSTANCE inst{};
  DWORD flags = GVRESAMPLE_STREAM | GVRESAMPLE_RESET;
  gv::audio::iir::Stage stage;
  stage.Start(Band(), kNewRate, 2);
  std::vector<float> a(size_t(g_piece) * 2), b;
  for (DWORD done = 0; ok && done < frames;) {
    DWORD got = 0, put = 0;
    ok = GvAudioStream_Read(src, a.data(), std::min(g_piece, frames - done), &got) == S_OK && got;
    if (!ok) break;
    inst.dStep = double(kRate) / kNewRate;
    const long made = GvAudio_ResampleFrames(&inst, long(got));
    b.resize(size_t(made + 1) * 2);
    const long n = GvAudio_ResampleEx(&wfx, kNewRate, b.data(), made, a.data(), long(got), &inst,
                                      flags);
    flags = GVRESAMPLE_STREAM;
    stage.Process(b.data(), n);
    ok = GvAudioStream_Write(dst, b.data(), DWORD(n), &put) == S_OK && put == DWORD(n);
    done += got;
  }
  GvAudioStream_Close(src);
  if (dst) GvAudioStream_Close(dst);
  return ok;
}

// The bytes after the 44-byte headers are the same.
bool SameSamples(const std::string &x, const std::string &y) {
  HANDLE a = CreateFileA(x.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  HANDLE b = CreateFileA(y.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  bool same = GetFileSize(a, nullptr) == GetFileSize(b, nullptr);
  SetFilePointer(a, kHeader, nullptr, FILE_BEGIN), SetFilePointer(b, kHeader, nullptr, FILE_BEGIN);
  std::vector<char> p(1 << 20), q(1 << 20);
  DWORD n = 0, m = 0;
  while (same && ReadFile(a, p.data(), DWORD(p.size()), &n, nullptr) &&
         ReadFile(b, q.data(), DWORD(q.size()), &m, nullptr) && (n || m))
    same = n == m && std::memcmp(p.data(), q.data(), n) == 0;
  CloseHandle(a), CloseHandle(b);
  return same;
}

// User and kernel time of the whole process so far, in seconds.
double CpuSeconds() {
  FILETIME c, e, k, u;
  GetProcessTimes(GetCurrentProcess(), &c, &e, &k, &u);
  return (double(ULARGE_INTEGER{{k.dwLowDateTime, k.dwHighDateTime}}.QuadPart) +
          double(ULARGE_INTEGER{{u.dwLowDateTime, u.dwHighDateTime}}.QuadPart)) / 1e7;
}

}  // namespace

int main(int argc, char **argv) {
  const DWORD mib = argc > 1 ? DWORD(std::max(1, std::atoi(argv[1]))) : 256;
  if (argc > 2) g_bufferTime = uint64_t(std::atof(argv[2]) * 1e7), g_piece = DWORD(kRate * g_bufferTime / 10000000);
  ComScope com;
  const std::string in = TempName("gvb"), byGraph = TempName("gvb"), byHand = TempName("gvb");
  if (!MakeInput(in, mib)) {
    std::printf("cannot write %s\n", in.c_str());
    return 1;
  }
  Warm(in);
  SYSTEM_INFO si;
  GetSystemInfo(&si);
  std::printf("%lu MiB of 16-bit stereo at 44.1 kHz -> 48 kHz, IIR band 3 kHz +6 dB Q 2, 16-bit "
              "out; %lu processors; best of 5\n",
              static_cast<unsigned long>(mib), static_cast<unsigned long>(si.dwNumberOfProcessors));
  double tHand = 1e30, tGraph = 1e30, cHand = 0, cGraph = 0;
  bool ok = true;
  for (int i = 0; i < kRuns && ok; ++i) {
    // Both start without their old output, so neither pays for removing it.
    DeleteFileA(byHand.c_str()), DeleteFileA(byGraph.c_str());
    double t0 = Seconds(), c0 = CpuSeconds();
    ok = ByHand(in, byHand);
    tHand = std::min(tHand, Seconds() - t0), cHand += CpuSeconds() - c0;
    t0 = Seconds(), c0 = CpuSeconds();
    ok = ok && ByGraph(in, byGraph);
    tGraph = std::min(tGraph, Seconds() - t0), cGraph += CpuSeconds() - c0;
  }
  const bool same = ok && SameSamples(byHand, byGraph);
  const double frames = double(uint64_t(mib) << 20) / 4;
  std::printf("  by hand, one thread  %7.3f s  %6.1f M frames/s  (%.3f s of processor time a run)\n",
              tHand, frames / tHand / 1e6, cHand / kRuns);
  std::printf("  graph                %7.3f s  %6.1f M frames/s  (%.3f s of processor time a run)  "
              "%.2fx\n", tGraph, frames / tGraph / 1e6, cGraph / kRuns, tHand / tGraph);
  std::printf("  outputs %s\n", !ok ? "NOT MADE" : same ? "equal" : "DIFFER");
  DeleteFileA(in.c_str()), DeleteFileA(byGraph.c_str()), DeleteFileA(byHand.c_str());
  return ok && same ? 0 : 1;
}
