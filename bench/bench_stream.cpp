// The audio data path against the platform's own I/O: reading a cached
// 16-bit stereo file through a stream with a 16-bit and a float32 client
// against ReadFile, writing float32 client data into a new 16-bit file
// against WriteFile, and the peak finders against memcpy.
//
//   bench_stream [MIB]   (file size, 256 by default)
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench/bench_clock.h"
#include "bench/bench_support.h"
#include "gvtalc.h"

namespace {

constexpr DWORD kPiece = 0x20000;
constexpr DWORD kHeader = 44;


double Best(int runs, double (*f)(void *), void *arg) {
  double best = 1e30;
  for (int i = 0; i < runs; ++i) {
    const double t = f(arg);
    if (t < best) best = t;
  }
  return best;
}

struct Setup {
  std::string path, outPath;
  ULONGLONG bytes = 0, frames = 0;
  tGVAUDIOATTRIBS file{};
  std::vector<unsigned char> buffer;
};

double PlainRead(void *arg) {
  Setup &s = *static_cast<Setup *>(arg);
  HANDLE h = CreateFileA(s.path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                         nullptr);
  SetFilePointer(h, kHeader, nullptr, FILE_BEGIN);
  const double t0 = Seconds();
  DWORD got = 0;
  while (ReadFile(h, s.buffer.data(), kPiece, &got, nullptr) && got) {
  }
  const double t = Seconds() - t0;
  CloseHandle(h);
  return t;
}

double StreamRead(Setup &s, DWORD clientBits, DWORD clientFlags) {
  HGVAUDIOSTREAM st = nullptr;
  GvAudioStream_OpenFile(&st, s.path.c_str(), kHeader, DWORD(s.frames), DWORD(s.frames >> 32),
                         &s.file, clientBits, clientFlags, 0, GVAS_OPENREAD | GVAS_READONLY);
  if (!st) return 1e30;
  const DWORD frames = kPiece / GvAudioStream_GetMetric(st, GVAS_METRIC_CLIENTALIGN);
  const double t0 = Seconds();
  DWORD done = 0;
  ULONGLONG total = 0;
  while (GvAudioStream_Read(st, s.buffer.data(), frames, &done) == S_OK && done) total += done;
  const double t = Seconds() - t0;
  GvAudioStream_Close(st);
  if (total != s.frames) std::printf("  (read %llu of %llu frames)\n", total, s.frames);
  return t;
}
double StreamRead16(void *arg) { return StreamRead(*static_cast<Setup *>(arg), 16, 0); }
double StreamReadFloat(void *arg) {
  return StreamRead(*static_cast<Setup *>(arg), 32, GVAA_FLOAT32);
}

double PlainWrite(void *arg) {
  Setup &s = *static_cast<Setup *>(arg);
  HANDLE h = CreateFileA(s.outPath.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  const double t0 = Seconds();
  DWORD put = 0;
  WriteFile(h, s.buffer.data(), kHeader, &put, nullptr);
  for (ULONGLONG left = s.bytes; left; left -= put)
    if (!WriteFile(h, s.buffer.data(), DWORD(left < kPiece ? left : kPiece), &put, nullptr)) break;
  const double t = Seconds() - t0;
  CloseHandle(h);
  return t;
}

double StreamWriteFloat(void *arg) {
  Setup &s = *static_cast<Setup *>(arg);
  HGVAUDIOSTREAM st = nullptr;
  GvAudioStream_OpenFile(&st, s.outPath.c_str(), kHeader, 0, 0, &s.file, 32, GVAA_FLOAT32, 0,
                         GVAS_CREATE);
  if (!st) return 1e30;
  const DWORD frames = kPiece / 8;
  const double t0 = Seconds();
  DWORD done = 0;
  for (ULONGLONG left = s.frames; left; left -= done) {
    if (GvAudioStream_Write(st, s.buffer.data(), DWORD(left < frames ? left : frames), &done) !=
            S_OK || !done)
      break;
  }
  const double t = Seconds() - t0;
  GvAudioStream_Close(st);
  return t;
}

struct PeakSetup {
  std::vector<unsigned char> data, copy;
  WAVEFORMATEX wfx{};
};

double Memcpy(void *arg) {
  PeakSetup &p = *static_cast<PeakSetup *>(arg);
  const double t0 = Seconds();
  std::memcpy(p.copy.data(), p.data.data(), p.data.size());
  return Seconds() - t0;
}

double FindPeaks(void *arg) {
  PeakSetup &p = *static_cast<PeakSetup *>(arg);
  tGVCHANNELPEAK peaks[2];
  const double t0 = Seconds();
  GvAudio_FindPeaks(&p.wfx, 3, p.data.data(), int(p.data.size() / p.wfx.nBlockAlign), peaks);
  return Seconds() - t0;
}

void Peaks(const char *name, WORD tag, WORD bits) {
  PeakSetup p;
  p.data.resize(64u << 20);
  p.copy.resize(p.data.size());
  // Programme-like material: two tones under a slow swell with a little
  // noise, peaking near -1 dBFS, never at full scale.
  unsigned seed = 7;
  const size_t samples = p.data.size() / (bits / 8);
  for (size_t i = 0; i < samples; ++i) {
    const double t = double(i / 2) / 44100.0;
    const double swell = 0.55 + 0.3 * std::sin(t * 0.7);
    const double noise = double(int((seed = seed * 1664525u + 1013904223u) >> 16) - 32768) / 32768.0;
    const double x = swell * (0.7 * std::sin(t * 2764.6) + 0.3 * std::sin(t * 7011.0)) + 0.02 * noise;
    if (tag == WAVE_FORMAT_IEEE_FLOAT) {
      reinterpret_cast<float *>(p.data.data())[i] = float(x);
    } else {
      reinterpret_cast<short *>(p.data.data())[i] = short(x * 32767.0);
    }
  }
  p.wfx.wFormatTag = tag;
  p.wfx.nChannels = 2;
  p.wfx.wBitsPerSample = bits;
  p.wfx.nBlockAlign = WORD(2 * bits / 8);
  const double tm = Best(5, Memcpy, &p), tp = Best(5, FindPeaks, &p);
  const double mib = double(p.data.size()) / (1 << 20);
  std::printf("FindPeaks %-8s 64 MiB: %7.0f MiB/s read; memcpy %7.0f MiB/s copied (%7.0f MiB/s "
              "moved); ratio %.2f of memcpy's traffic\n",
              name, mib / tp, mib / tm, 2 * mib / tm, (mib / tp) / (2 * mib / tm));
}

}  // namespace

int main(int argc, char **argv) {
  const unsigned mib = argc > 1 ? unsigned(std::strtoul(argv[1], nullptr, 10)) : 256;
  Setup s;
  s.path = TempName("gvb");
  s.outPath = TempName("gvo");
  s.bytes = ULONGLONG(mib) << 20;
  s.frames = s.bytes / 4;
  GvAudio_InitAttribs(&s.file, sizeof s.file, 0, 0, 44100, 16, 2);
  s.buffer.resize(kPiece * 2);
  unsigned seed = 1;
  for (auto &b : s.buffer) b = static_cast<unsigned char>((seed = seed * 1664525u + 1013904223u) >> 24);

  // The source file: header, then the data; read once so it is cached.
  std::swap(s.path, s.outPath);
  PlainWrite(&s);
  std::swap(s.path, s.outPath);
  PlainRead(&s);

  const double mb = double(s.bytes) / (1 << 20);
  const double read = Best(3, PlainRead, &s);
  const double r16 = Best(3, StreamRead16, &s), rf = Best(3, StreamReadFloat, &s);
  std::printf("%u MiB 16-bit stereo file, cached:\n", mib);
  std::printf("  ReadFile, 128 KiB pieces:   %7.0f MiB/s\n", mb / read);
  std::printf("  stream, 16-bit client:      %7.0f MiB/s of file  (%.2fx ReadFile)\n", mb / r16,
              read / r16);
  std::printf("  stream, float32 client:     %7.0f MiB/s of file  (%.2fx ReadFile)\n", mb / rf,
              read / rf);
  const double write = Best(3, PlainWrite, &s), wf = Best(3, StreamWriteFloat, &s);
  std::printf("  WriteFile, 128 KiB pieces:  %7.0f MiB/s\n", mb / write);
  std::printf("  stream, float32 client into a 16-bit file: %7.0f MiB/s of file  (%.2fx WriteFile)\n",
              mb / wf, write / wf);
  DeleteFileA(s.path.c_str());
  DeleteFileA(s.outPath.c_str());

  Peaks("int16", WAVE_FORMAT_PCM, 16);
  Peaks("float32", WAVE_FORMAT_IEEE_FLOAT, 32);
  return 0;
}
