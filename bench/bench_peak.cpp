// Peak files against the platform's own I/O: building the peak file of a
// cached 16-bit stereo WAVE file against ReadFile of the same file in 1 MiB
// pieces, and the draw data of a one-hour stereo file for 1920 pixels
// against the time a plain read of that hour's samples takes.
//
//   bench_peak [MIB]   (WAVE file size, 256 by default)
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

constexpr DWORD kPiece = 1u << 20;
constexpr DWORD kHeader = 44;


// Programme-like 16-bit stereo material: two tones under a slow swell with a
// little noise, peaking near -1 dBFS, the channels slightly apart.
void Signal(short *out, size_t frames, uint64_t firstFrame, unsigned *seed) {
  static std::vector<float> table = [] {
    std::vector<float> t(4096);
    for (size_t i = 0; i < t.size(); ++i)
      t[i] = float(std::sin(double(i) * (6.283185307179586 / 4096)));
    return t;
  }();
  for (size_t i = 0; i < frames; ++i) {
    const uint64_t f = firstFrame + i;
    const float swell = 0.55f + 0.3f * table[(f >> 10) & 4095];
    const float tone = 0.7f * table[(f * 64) & 4095] + 0.3f * table[(f * 163) & 4095];
    const float noise =
        float(int((*seed = *seed * 1664525u + 1013904223u) >> 16) - 32768) / 32768.f;
    out[2 * i] = short((swell * tone + 0.02f * noise) * 32767.f);
    out[2 * i + 1] = short((swell * 0.9f * tone - 0.02f * noise) * 32767.f);
  }
}

void MakeWave(const std::string &path, uint64_t bytes) {
  HANDLE h = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  const DWORD data = DWORD(bytes);
  const DWORD head[11] = {0x46464952, 36 + data, 0x45564157, 0x20746D66, 16,  0x00020001,
                          44100,      44100 * 4, 0x00100004, 0x61746164, data};
  DWORD put = 0;
  WriteFile(h, head, kHeader, &put, nullptr);
  std::vector<short> piece(kPiece / 2);
  unsigned seed = 1;
  for (uint64_t done = 0; done < bytes; done += kPiece) {
    const DWORD n = DWORD(bytes - done < kPiece ? bytes - done : kPiece);
    Signal(piece.data(), n / 4, done / 4, &seed);
    WriteFile(h, piece.data(), n, &put, nullptr);
  }
  CloseHandle(h);
}

double PlainRead(const std::string &path, std::vector<unsigned char> &buffer) {
  HANDLE h =
      CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  const double t0 = Seconds();
  SetFilePointer(h, kHeader, nullptr, FILE_BEGIN);
  DWORD got = 0;
  while (ReadFile(h, buffer.data(), kPiece, &got, nullptr) && got) {
  }
  const double t = Seconds() - t0;
  CloseHandle(h);
  return t;
}

// Builds the peak file anew and finishes it (stamped, written back).
double BuildPeaks(const std::string &path, DWORD *elements) {
  tGVAUDIOPEAK *peak = nullptr;
  DWORD how = 0;
  const double t0 = Seconds();
  if (GvPeak_OpenDataFromWaveFile(&peak, path.c_str(), GVPEAK_REBUILD, &how) != S_OK) return 1e30;
  tGVPEAKHEADER h{};
  GvPeak_GetHeader(peak, &h);
  GvPeak_FreeEx(peak, FALSE);
  const double t = Seconds() - t0;
  *elements = DWORD((h.dwFramesLow + h.nFramesPerElement - 1) / h.nFramesPerElement);
  return t;
}

WAVEFORMATEX Stereo16() {
  WAVEFORMATEX wfx{};
  wfx.wFormatTag = WAVE_FORMAT_PCM;
  wfx.nChannels = 2;
  wfx.nSamplesPerSec = 44100;
  wfx.wBitsPerSample = 16;
  wfx.nBlockAlign = 4;
  wfx.nAvgBytesPerSec = 44100 * 4;
  return wfx;
}

// The build's share after the read: elements summarised from 1 MiB pieces
// already in memory and written to a temporary peak file.
double SummariseFromMemory(const std::string &source, unsigned mib) {
  std::vector<short> samples(kPiece / 2);
  unsigned seed = 3;
  Signal(samples.data(), kPiece / 4, 0, &seed);
  const WAVEFORMATEX wfx = Stereo16();
  tGVAUDIOPEAK *peak = nullptr;
  if (GvPeak_CreateEx(&peak, 2, TRUE, source.c_str(), nullptr) != 0) return 1e30;
  ULONGLONG offset = 0;
  const double t0 = Seconds();
  for (unsigned i = 0; i < mib; ++i)
    GvPeak_WritePeakDataExNew(peak, &wfx, samples.data(), kPiece / 4, &offset);
  const double t = Seconds() - t0;
  GvPeak_FreeEx(peak, TRUE);
  return t;
}

}  // namespace

int main(int argc, char **argv) {
  const unsigned mib = argc > 1 ? unsigned(std::strtoul(argv[1], nullptr, 10)) : 256;
  const std::string path = TempName("gvk");
  std::vector<unsigned char> buffer(kPiece);
  MakeWave(path, uint64_t(mib) << 20);
  PlainRead(path, buffer);  // cached from here on

  // Alternate the two so both see the same state of the machine.
  double read = 1e30, build = 1e30;
  DWORD elements = 0;
  for (int run = 0; run < 3; ++run) {
    const double r = PlainRead(path, buffer), b = BuildPeaks(path, &elements);
    read = r < read ? r : read;
    build = b < build ? b : build;
  }
  const double mb = double(mib);
  std::printf("%u MiB 16-bit stereo WAVE file, cached (best of 3):\n", mib);
  std::printf("  ReadFile, 1 MiB pieces:          %7.0f MiB/s\n", mb / read);
  std::printf("  peak file built (%lu elements): %7.0f MiB/s  (%.2fx ReadFile; target 0.80x)\n",
              static_cast<unsigned long>(elements), mb / build, read / build);
  double memory = 1e30;
  for (int run = 0; run < 3; ++run) {
    const double m = SummariseFromMemory(path, mib);
    memory = m < memory ? m : memory;
  }
  std::printf(
      "  of which summary and write from memory: %7.0f MiB/s (%.1f ms; the read %.1f ms, "
      "the build %.1f ms)\n",
      mb / memory, memory * 1e3, read * 1e3, build * 1e3);
  char peakName[MAX_PATH];
  GvPeak_CreateDirectPeakName(path.c_str(), peakName, MAX_PATH);
  DeleteFileA(peakName);

  // One hour of 44.1 kHz stereo: its elements written from generated
  // samples into a temporary peak file (the same summary a build makes).
  const uint64_t hourFrames = 3600ull * 44100, hourBytes = hourFrames * 4;
  tGVAUDIOPEAK *peak = nullptr;
  if (GvPeak_CreateEx(&peak, 2, TRUE, path.c_str(), nullptr) != 0) {
    std::printf("cannot create a peak file\n");
    return 1;
  }
  const WAVEFORMATEX wfx = Stereo16();
  const DWORD pieceFrames = kPiece / 4;
  std::vector<short> samples(size_t(pieceFrames) * 2);
  unsigned seed = 2;
  ULONGLONG offset = 0;
  for (uint64_t at = 0; at < hourFrames; at += pieceFrames) {
    const DWORD n = DWORD(hourFrames - at < pieceFrames ? hourFrames - at : pieceFrames);
    Signal(samples.data(), n, at, &seed);
    if (GvPeak_WritePeakDataExNew(peak, &wfx, samples.data(), n, &offset) != S_OK) {
      std::printf("cannot write the peak data\n");
      return 1;
    }
  }
  std::vector<short> out(1920 * 4);
  double draw = 1e30, firstDraw = 0;
  for (int run = 0; run < 10; ++run) {
    const double t0 = Seconds();
    const BOOL ok = GvPeak_GetDrawData(peak, 0, LONGLONG(hourFrames), out.data(), 1920);
    const double t = Seconds() - t0;
    if (!ok) {
      std::printf("GvPeak_GetDrawData failed\n");
      return 1;
    }
    if (!run) firstDraw = t;
    draw = t < draw ? t : draw;
  }
  GvPeak_FreeEx(peak, TRUE);
  DeleteFileA(path.c_str());
  // The hour's plain read at the rate measured above.
  const double hourRead = double(hourBytes) / (1 << 20) * (read / mb);
  std::printf("one hour of 44.1 kHz stereo (%llu frames, %.0f MB; %llu peak bytes):\n",
              static_cast<unsigned long long>(hourFrames), double(hourBytes) / 1e6,
              static_cast<unsigned long long>(offset + 64));
  std::printf("  plain read of the source at that rate: %8.1f ms\n", hourRead * 1e3);
  std::printf(
      "  GvPeak_GetDrawData, 1920 pixels:       %8.3f ms best of 10 (first %.3f ms); "
      "%.3f%% of the read (target at most 2%%)\n",
      draw * 1e3, firstDraw * 1e3, 100 * draw / hourRead);
  return 0;
}
