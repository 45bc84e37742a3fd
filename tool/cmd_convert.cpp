// gvtool convert: converts a raw sample file between two sample formats
// with a gain, in 128 KiB pieces.
#include <cstdio>
#include <cstdlib>
#include <cstring>
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
  std::fprintf(stderr, "convert: unknown format '%s' (uint8 int8 int16 int24 int32 int24in32 "
                       "float32 float64)\n", name);
  return false;
}

// convert IN OUT SRCFORMAT DSTFORMAT [GAIN] [CHANNELS] [RATE]
int Convert(int argc, char **argv) {
  if (argc < 5) {
    std::fprintf(stderr, "usage: convert IN OUT SRCFORMAT DSTFORMAT [GAIN] [CHANNELS] [RATE]\n");
    return 2;
  }
  const float gain = argc > 5 ? float(std::atof(argv[5])) : 1.0f;
  const int channels = argc > 6 ? std::atoi(argv[6]) : 1;
  const DWORD rate = argc > 7 ? DWORD(std::strtoul(argv[7], nullptr, 10)) : 44100;
  if (channels < 1 || channels > 64) {
    std::fprintf(stderr, "convert: channels must be 1..64\n");
    return 2;
  }
  WAVEFORMATEX src, dst;
  if (!ParseFormat(argv[3], WORD(channels), rate, src) ||
      !ParseFormat(argv[4], WORD(channels), rate, dst))
    return 2;
  char text[256];
  GvAudio_GetAttribsText(&src, text, sizeof text);
  std::printf("from: %s\n", text);
  GvAudio_GetAttribsText(&dst, text, sizeof text);
  std::printf("to:   %s\n", text);
  if (!GvAudio_GetCopyFunction(&dst, &src)) {
    std::fprintf(stderr, "convert: no converter from %s to %s\n", argv[3], argv[4]);
    return 1;
  }
  std::FILE *in = std::fopen(argv[1], "rb");
  if (!in) {
    std::fprintf(stderr, "convert: cannot open %s\n", argv[1]);
    return 1;
  }
  std::FILE *out = std::fopen(argv[2], "wb");
  if (!out) {
    std::fclose(in);
    std::fprintf(stderr, "convert: cannot create %s\n", argv[2]);
    return 1;
  }
  const size_t frames = 0x20000 / src.nBlockAlign;
  std::vector<unsigned char> inBuf(frames * src.nBlockAlign), outBuf(frames * dst.nBlockAlign);
  unsigned long long total = 0;
  int rc = 0;
  for (;;) {
    const size_t got = std::fread(inBuf.data(), src.nBlockAlign, frames, in);
    if (got == 0) break;
    GvAudio_Copy(&dst, outBuf.data(), &src, inBuf.data(), int(got), gain);
    if (std::fwrite(outBuf.data(), dst.nBlockAlign, got, out) != got) {
      std::fprintf(stderr, "convert: cannot write %s\n", argv[2]);
      rc = 1;
      break;
    }
    total += got;
  }
  std::fclose(in);
  if (std::fclose(out) != 0) rc = 1;
  std::printf("%llu frames converted at gain %g\n", total, double(gain));
  return rc;
}

const gvtool::Registration convertReg{
    "convert", "convert IN OUT SRCFORMAT DSTFORMAT [GAIN] [CHANNELS] [RATE]", Convert};

}  // namespace
