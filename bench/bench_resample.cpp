// The resampler from 44.1 to 48 kHz, stereo float32 and 16-bit: output
// frames per second of each method, one call over the whole buffer against
// the streaming method in blocks (4096 frames unless given), and memcpy of the output bytes
// in the same run for scale.
//   bench_resample [SECONDS_OF_AUDIO]   (default 60)
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "bench/bench_clock.h"
#include "gvtalc.h"

namespace {

WAVEFORMATEX Format(WORD tag, WORD bits) {
  WAVEFORMATEX w{};
  w.wFormatTag = tag, w.wBitsPerSample = bits, w.nChannels = 2, w.nSamplesPerSec = 44100;
  w.nBlockAlign = WORD(2 * bits / 8), w.nAvgBytesPerSec = 44100 * w.nBlockAlign;
  return w;
}

}  // namespace

int main(int argc, char **argv) {
  const long seconds = argc > 1 ? std::max(1L, std::atol(argv[1])) : 60;
  const long S = 44100 * seconds, D = long((long long)S * 48000 / 44100);
  const long kBlock = argc > 2 ? std::max(64L, std::atol(argv[2])) : 4096;
  std::printf("44,100 -> 48,000 Hz, stereo, %ld s (%ld -> %ld frames), best of 5\n", seconds, S, D);
  const struct {
    const char *name;
    WAVEFORMATEX wfx;
  } types[] = {{"float32", Format(WAVE_FORMAT_IEEE_FLOAT, 32)}, {"int16", Format(WAVE_FORMAT_PCM, 16)}};
  for (const auto &t : types) {
    const size_t fb = t.wfx.nBlockAlign;
    std::vector<unsigned char> src(size_t(S) * fb), dst(size_t(D + 16) * fb), copy(dst.size());
    for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<unsigned char>(i * 2654435761u >> 24);
    if (t.wfx.wFormatTag == WAVE_FORMAT_IEEE_FLOAT)
      for (size_t i = 0; i < src.size() / 4; ++i) {
        const float x = float((i * 7919 % 2001) - 1000) / 1000.0f;
        std::memcpy(&src[i * 4], &x, 4);
      }
    const double tCopy = Best(5, [&] { std::memcpy(copy.data(), dst.data(), size_t(D) * fb); });
    auto report = [&](const char *what, double secs, long frames) {
      std::printf("  %-7s %-30s %8.1f M frames/s  %6.3fx memcpy's speed on the output bytes\n", t.name,
                  what, frames / secs / 1e6, tCopy / secs);
    };
    tGVRESAMPLEINSTANCE inst{};
    long made = 0;
    const double t0 = Best(5, [&] {
      GvAudio_ResampleEx(&t.wfx, 48000, dst.data(), D, src.data(), S, &inst, GVRESAMPLE_RESET | GVRESAMPLE_REPEAT);
    });
    report("repetition, one call", t0, D);
    const double t1 = Best(5, [&] {
      GvAudio_ResampleEx(&t.wfx, 48000, dst.data(), D, src.data(), S, &inst, GVRESAMPLE_RESET | GVRESAMPLE_LINEAR);
    });
    report("linear, one call", t1, D);
    const double t2 = Best(5, [&] {
      made = GvAudio_ResampleEx(&t.wfx, 48000, dst.data(), D + 16, src.data(), S, &inst,
                                GVRESAMPLE_RESET | GVRESAMPLE_STREAM);
    });
    report("streaming, one call", t2, made);
    long streamed = 0;
    const double t3 = Best(5, [&] {
      streamed = 0;
      DWORD flags = GVRESAMPLE_RESET | GVRESAMPLE_STREAM;
      for (long at = 0; at < S; at += kBlock) {
        const long n = std::min(kBlock, S - at);
        streamed += GvAudio_ResampleEx(&t.wfx, 48000, &dst[size_t(streamed) * fb], D + 16 - streamed,
                                       &src[size_t(at) * fb], n, &inst, flags);
        flags = GVRESAMPLE_STREAM;
      }
    });
    char what[48];
    std::snprintf(what, sizeof what, "streaming, %ld-frame blocks", kBlock);
    report(what, t3, streamed);
    std::printf("  %-7s memcpy of the output: %.1f M frames/s; blocks against one call: %.3fx\n", t.name,
                D / tCopy / 1e6, t2 / t3);
  }
  return 0;
}
