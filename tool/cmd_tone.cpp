// gvtool tone: makes example audio, a stereo 16-bit sine sweep, as a raw
// sample file or as a WAVE file written with the library's RIFF writes
// ("fmt ", a LIST INFO with a name, "data"; the RIFF size patched last).
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "commands.h"
#include "gvtalc.h"

namespace {

std::vector<short> Sweep(double seconds, DWORD rate) {
  const size_t frames = static_cast<size_t>(seconds * rate);
  std::vector<short> samples(frames * 2);
  const double pi = 3.14159265358979323846;
  double phase = 0.0;
  for (size_t i = 0; i < frames; ++i) {
    double hz = 110.0 + 770.0 * static_cast<double>(i) / static_cast<double>(frames);
    phase += 2.0 * pi * hz / rate;
    double v = 0.5 * std::sin(phase);
    samples[2 * i] = static_cast<short>(v * 32767.0);
    samples[2 * i + 1] = static_cast<short>(-v * 32767.0);
  }
  return samples;
}

bool WriteWave(HANDLE file, const std::vector<short> &samples, DWORD rate) {
  WAVEFORMATEX wfx = {};
  wfx.wFormatTag = WAVE_FORMAT_PCM;
  wfx.nChannels = 2;
  wfx.nSamplesPerSec = rate;
  wfx.wBitsPerSample = 16;
  wfx.nBlockAlign = 4;
  wfx.nAvgBytesPerSec = rate * 4;
  static const char kName[] = "gvtool sweep";
  const DWORD dataBytes = static_cast<DWORD>(samples.size() * sizeof(short));
  DWORD written = 0, total = 4;  // the form type
  if (riff_WriteFileID(file, GVRIFF_FOURCC('W', 'A', 'V', 'E'), 0) != 0) return false;
  if (riff_WriteChunk(file, GVRIFF_FOURCC('f', 'm', 't', ' '), &wfx, 16, &written) != 0)
    return false;
  total += written;
  DWORD nameChunk = 8 + sizeof kName + (sizeof kName & 1);
  if (riff_WriteListHeader(file, GVRIFF_FOURCC('I', 'N', 'F', 'O'), 4 + nameChunk) != 0 ||
      riff_WriteChunk(file, GVRIFF_FOURCC('I', 'N', 'A', 'M'), kName, sizeof kName, &written) != 0)
    return false;
  total += 12 + written;
  if (riff_WriteChunk(file, GVRIFF_FOURCC('d', 'a', 't', 'a'), samples.data(), dataBytes,
                      &written) != 0)
    return false;
  total += written;
  return riff_SetRIFFSize(file, total) == 0;
}

// tone FILE [SECONDS] [RATE]: FILE ending in .wav gets a WAVE file.
int Tone(int argc, char **argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: tone FILE [SECONDS] [RATE]\n");
    return 2;
  }
  double seconds = argc > 2 ? std::atof(argv[2]) : 1.0;
  DWORD rate = argc > 3 ? static_cast<DWORD>(std::atol(argv[3])) : 44100;
  if (seconds <= 0 || seconds > 600 || rate < 1000 || rate > 384000) {
    std::fprintf(stderr, "tone: SECONDS must be in (0, 600], RATE in [1000, 384000]\n");
    return 2;
  }
  std::vector<short> samples = Sweep(seconds, rate);
  HANDLE file = CreateFileA(argv[1], GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    std::fprintf(stderr, "tone: cannot create %s\n", argv[1]);
    return 1;
  }
  size_t n = std::strlen(argv[1]);
  bool wave = n > 4 && lstrcmpiA(argv[1] + n - 4, ".wav") == 0;
  bool ok;
  if (wave) {
    ok = WriteWave(file, samples, rate);
  } else {
    DWORD bytes = 0, want = static_cast<DWORD>(samples.size() * sizeof(short));
    ok = WriteFile(file, samples.data(), want, &bytes, nullptr) && bytes == want;
  }
  CloseHandle(file);
  if (!ok) {
    DeleteFileA(argv[1]);  // never leave a half-written file behind
    std::fprintf(stderr, "tone: writing %s failed\n", argv[1]);
    return 1;
  }
  std::printf("%s: %.2f s of 16-bit stereo at %lu Hz%s\n", argv[1], seconds,
              static_cast<unsigned long>(rate), wave ? " (WAVE)" : " (raw)");
  return 0;
}

const gvtool::Registration toneReg{"tone", "tone FILE [SECONDS] [RATE]     example sweep (.wav: WAVE)",
                                   Tone};

}  // namespace
