// gvtool convert-raw: converts a headerless sample file between two sample
// formats with a gain, in 128 KiB pieces, through GvAudio_Copy.
#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "commands.h"
#include "gvtalc.h"

namespace {

struct NamedFormat {
  const char *name;
  WORD tag, bits;
};

const NamedFormat kFormats[] = {
    {"uint8", WAVE_FORMAT_PCM, 8},           {"int8", GV_WAVE_FORMAT_SIGNED, 8},
    {"int16", WAVE_FORMAT_PCM, 16},          {"int24", WAVE_FORMAT_PCM, 24},
    {"int32", WAVE_FORMAT_PCM, 32},          {"int24in32", GV_WAVE_FORMAT_UNPACKED, 32},
    {"float32", WAVE_FORMAT_IEEE_FLOAT, 32}, {"float64", WAVE_FORMAT_IEEE_FLOAT, 64},
    {"int16be", GV_WAVE_FORMAT_BIGENDIAN, 16}};

bool ParseFormat(const char *name, WORD channels, DWORD rate, WAVEFORMATEX &w) {
  for (const NamedFormat &f : kFormats) {
    if (std::strcmp(f.name, name)) continue;
    w = WAVEFORMATEX{};
    w.wFormatTag = f.tag;
    w.wBitsPerSample = f.bits;
    w.nChannels = channels;
    w.nSamplesPerSec = rate;
    w.nBlockAlign = WORD(channels * (f.bits / 8));
    w.nAvgBytesPerSec = rate * w.nBlockAlign;
    return true;
  }
  return false;
}

const char kFormatNames[] = "uint8 int8 int16 int24 int32 int24in32 float32 float64 int16be";

struct RawArgs {
  std::string in, out, from, to;
  double gainDb = 0;
  int channels = 1, rate = 44100;
} raw;

int RunConvertRaw() {
  WAVEFORMATEX src, dst;
  if (!ParseFormat(raw.from.c_str(), WORD(raw.channels), DWORD(raw.rate), src))
    return gvtool::UsageError("unknown format '%s' (%s)", raw.from.c_str(), kFormatNames);
  if (!ParseFormat(raw.to.c_str(), WORD(raw.channels), DWORD(raw.rate), dst))
    return gvtool::UsageError("unknown format '%s' (%s)", raw.to.c_str(), kFormatNames);
  if (!GvAudio_GetCopyFunction(&dst, &src)) {
    gvtool::Error("no converter from %s to %s", raw.from.c_str(), raw.to.c_str());
    return gvtool::kFailed;
  }
  const float gain = float(std::pow(10.0, raw.gainDb / 20.0));
  char text[256];
  GvAudio_GetAttribsText(&src, text, sizeof text);
  std::printf("from: %s\n", text);
  GvAudio_GetAttribsText(&dst, text, sizeof text);
  std::printf("to:   %s\n", text);
  HANDLE in = gvtool::OpenForReading(raw.in);
  if (in == INVALID_HANDLE_VALUE) return gvtool::kFailed;
  HANDLE out = CreateFileA(raw.out.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
  if (out == INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    CloseHandle(in);
    return gvtool::IoError(raw.out, error);
  }
  const DWORD frames = 0x20000 / src.nBlockAlign;
  std::vector<unsigned char> inBuf(frames * src.nBlockAlign), outBuf(frames * dst.nBlockAlign);
  unsigned long long total = 0;
  DWORD error = 0;
  const std::string *failed = nullptr;
  for (;;) {
    DWORD got = 0;
    if (!ReadFile(in, inBuf.data(), DWORD(inBuf.size()), &got, nullptr)) {
      error = GetLastError(), failed = &raw.in;
      break;
    }
    got /= src.nBlockAlign;  // a partial last frame is dropped
    if (got == 0) break;
    GvAudio_Copy(&dst, outBuf.data(), &src, inBuf.data(), int(got), gain);
    DWORD put = 0, want = got * dst.nBlockAlign;
    if (!WriteFile(out, outBuf.data(), want, &put, nullptr) || put != want) {
      error = GetLastError(), failed = &raw.out;
      break;
    }
    total += got;
  }
  CloseHandle(in);
  CloseHandle(out);
  if (failed) {
    DeleteFileA(raw.out.c_str());  // never leave a half-written file behind
    return gvtool::IoError(*failed, error);
  }
  std::printf("%llu frames converted at %+.2f dB\n", total, raw.gainDb);
  return gvtool::kDone;
}

gvtool::Runner SetupConvertRaw(CLI::App &cmd) {
  cmd.footer(std::string("Formats: ") + kFormatNames +
             ".\nThe files have no header: use 'convert' for WAVE files.");
  cmd.add_option("IN", raw.in, "Headerless input samples")->required();
  cmd.add_option("OUT", raw.out, "Output samples (replaced)")->required();
  cmd.add_option("-f,--from", raw.from, "Sample format of IN")->required();
  cmd.add_option("-t,--to", raw.to, "Sample format of OUT")->required();
  cmd.add_option("--gain", raw.gainDb, "Gain in dB, -200 to 200 (default 0)")
      ->check(CLI::Number)->check(CLI::Range(-200.0, 200.0))
      ->option_text("DB");
  cmd.add_option("-c,--channels", raw.channels, "Interleaved channels, 1 to 64 (default 1)")
      ->check(CLI::Number)->check(CLI::Range(1, 64))
      ->option_text("N");
  cmd.add_option("-r,--rate", raw.rate, "Sample rate in Hz, for the text only (default 44100)")
      ->check(CLI::Number)->check(CLI::Range(1, 1000000))
      ->option_text("HZ");
  return RunConvertRaw;
}

const gvtool::Registration convertRawReg{
    "convert-raw", "Convert headerless sample data between sample formats.", SetupConvertRaw};

}  // namespace
