// gvtool tone: makes example audio, a stereo 16-bit sine sweep, as a raw
// sample file or as a WAVE file written with the library's RIFF writes
// ("fmt ", a LIST INFO with a name, "data"; the RIFF size patched last).
#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <string>
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

struct ToneArgs {
  std::string path;
  double seconds = 1.0;
  int rate = 44100;
} tone;

int RunTone() {
  std::vector<short> samples = Sweep(tone.seconds, DWORD(tone.rate));
  const char *path = tone.path.c_str();
  HANDLE file = CreateFileA(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return gvtool::IoError(tone.path, GetLastError());
  const size_t n = tone.path.size();
  const bool wave = n > 4 && lstrcmpiA(path + n - 4, ".wav") == 0;
  bool ok;
  if (wave) {
    ok = WriteWave(file, samples, DWORD(tone.rate));
  } else {
    DWORD bytes = 0, want = static_cast<DWORD>(samples.size() * sizeof(short));
    ok = WriteFile(file, samples.data(), want, &bytes, nullptr) && bytes == want;
  }
  const DWORD error = ok ? 0 : GetLastError();
  CloseHandle(file);
  if (!ok) {
    DeleteFileA(path);  // never leave a half-written file behind
    return gvtool::IoError(tone.path, error);
  }
  std::printf("%s: %.2f s of 16-bit stereo at %d Hz%s\n", path, tone.seconds, tone.rate,
              wave ? " (WAVE)" : " (raw)");
  return gvtool::kDone;
}

gvtool::Runner SetupTone(CLI::App &cmd) {
  cmd.add_option("FILE", tone.path, "Output; a name ending in .wav gets a WAVE file, others raw "
                                    "16-bit stereo samples")
      ->required();
  cmd.add_option("-s,--seconds", tone.seconds, "Length in seconds, 0.001 to 600 (default 1)")
      ->check(CLI::Number)->check(CLI::Range(0.001, 600.0))
      ->option_text("SECONDS");
  cmd.add_option("-r,--rate", tone.rate, "Sample rate in Hz, 1000 to 384000 (default 44100)")
      ->check(CLI::Number)->check(CLI::Range(1000, 384000))
      ->option_text("HZ");
  return RunTone;
}

const gvtool::Registration toneReg{
    "tone", "Example audio: a 16-bit stereo sine sweep, raw or WAVE.", SetupTone};

}  // namespace
