// Converter throughput: each converter against memcpy of the same buffers
// (64 MiB, memory traffic read + written) and against a straightforward
// per-sample loop of the same rule built with the same flags (128 KiB
// pieces, the audio stream's block size).
//
//   bench_convert [--quick]
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include "audio/convert_rules.h"
#include "bench/bench_clock.h"
#include "gvtalc.h"

namespace {

using namespace gv::audio;

const char *const kNames[8] = {"uint8", "int16", "int24", "int32",
                               "float32", "float64", "int24in32", "int8"};
const int kBytes[8] = {1, 2, 3, 4, 4, 8, 4, 1};

// The straightforward loop: one call of the scalar rule per sample.
template <class D, class S>
void WINAPI Plain(void *pDst, const void *pSrc, DWORD n, float gain) {
  u8 *d = static_cast<u8 *>(pDst);
  const u8 *s = static_cast<const u8 *>(pSrc);
  if (gain == 1.0f) {
    if constexpr (D::kCode == S::kCode) {
      for (DWORD i = 0; i < n; ++i) std::memcpy(d + i * D::kBytes, s + i * S::kBytes, D::kBytes);
    } else {
      for (DWORD i = 0; i < n; ++i) FastRule<D, S>::One(d + i * D::kBytes, s + i * S::kBytes);
    }
  } else {
    const GeneralRule<D, S> rule(gain);
    for (DWORD i = 0; i < n; ++i) rule.One(d + i * D::kBytes, s + i * S::kBytes);
  }
}

// The same loop with the compiler's vectorizer turned off, to show what
// the SIMD code gains over truly scalar code (GCC 12 at -O2 vectorizes
// some of the plain loops above on its own).
template <class D, class S>
__attribute__((optimize("no-tree-vectorize"))) void WINAPI Scalar(void *pDst, const void *pSrc,
                                                                  DWORD n, float gain) {
  u8 *d = static_cast<u8 *>(pDst);
  const u8 *s = static_cast<const u8 *>(pSrc);
  if (gain == 1.0f) {
    if constexpr (D::kCode == S::kCode) {
      for (DWORD i = 0; i < n; ++i) std::memcpy(d + i * D::kBytes, s + i * S::kBytes, D::kBytes);
    } else {
      for (DWORD i = 0; i < n; ++i) FastRule<D, S>::One(d + i * D::kBytes, s + i * S::kBytes);
    }
  } else {
    const GeneralRule<D, S> rule(gain);
    for (DWORD i = 0; i < n; ++i) rule.One(d + i * D::kBytes, s + i * S::kBytes);
  }
}

template <size_t... I>
constexpr std::array<GVCONVERTFUNC, 64> MakeScalar(std::index_sequence<I...>) {
  return {{&Scalar<SampleType<kComputableTypes[I / 8]>, SampleType<kComputableTypes[I % 8]>>...}};
}
constexpr auto kScalar = MakeScalar(std::make_index_sequence<64>{});

template <size_t... I>
constexpr std::array<GVCONVERTFUNC, 64> MakePlain(std::index_sequence<I...>) {
  return {{&Plain<SampleType<kComputableTypes[I / 8]>, SampleType<kComputableTypes[I % 8]>>...}};
}
constexpr auto kPlain = MakePlain(std::make_index_sequence<64>{});

WAVEFORMATEX FormatOf(int t) {
  WAVEFORMATEX w{};
  const WORD tags[8] = {WAVE_FORMAT_PCM, WAVE_FORMAT_PCM, WAVE_FORMAT_PCM, WAVE_FORMAT_PCM,
                        WAVE_FORMAT_IEEE_FLOAT, WAVE_FORMAT_IEEE_FLOAT,
                        GV_WAVE_FORMAT_UNPACKED, GV_WAVE_FORMAT_SIGNED};
  const WORD bits[8] = {8, 16, 24, 32, 32, 64, 32, 8};
  w.wFormatTag = tags[t];
  w.wBitsPerSample = bits[t];
  w.nChannels = 1;
  return w;
}

GVCONVERTFUNC Converter(int d, int s) {
  WAVEFORMATEX wd = FormatOf(d), ws = FormatOf(s);
  return GvAudio_GetCopyFunction(&wd, &ws);
}

// Source data that is in range for every type: floats in -1.2..1.2.
void FillSource(std::vector<u8> &buf, int type, size_t n) {
  std::mt19937 rng(1);
  if (type == 4) {
    for (size_t i = 0; i < n; ++i) {
      float f = float(int(rng() % 24001) - 12000) / 10000.0f;
      std::memcpy(&buf[i * 4], &f, 4);
    }
  } else if (type == 5) {
    for (size_t i = 0; i < n; ++i) {
      double f = double(int(rng() % 24001) - 12000) / 10000.0;
      std::memcpy(&buf[i * 8], &f, 8);
    }
  } else if (type == 6) {
    for (size_t i = 0; i < n; ++i) {
      std::int32_t v = std::int32_t(rng() << 8) >> 8;
      std::memcpy(&buf[i * 4], &v, 4);
    }
  } else {
    for (size_t i = 0; i < n * kBytes[type]; ++i) buf[i] = u8(rng());
  }
}

void LargeBuffers(bool quick) {
  const size_t kSide = quick ? (16u << 20) : (64u << 20);
  std::vector<u8> a(kSide), b(kSide);
  std::memset(a.data(), 1, kSide);
  std::memset(b.data(), 2, kSide);
  const int reps = quick ? 3 : 5;
  const double tCopy = Best(reps, [&] { std::memcpy(b.data(), a.data(), kSide); });
  const double copyRate = 2.0 * kSide / tCopy / 1e9;
  std::printf("%u MiB buffers: memcpy moves %.2f GB/s (read + written)\n\n",
              unsigned(kSide >> 20), copyRate);
  std::printf("%-22s %6s %9s %8s %7s\n", "pair (dst <- src)", "gain", "GB/s", "x memcpy", "target");
  struct Case {
    int d, s;
    float gain;
    double target;
  } cases[] = {{4, 1, 1.0f, 0.8}, {1, 4, 1.0f, 0.8}, {1, 4, 0.5f, 0.8}, {4, 3, 1.0f, 0.8},
               {3, 4, 1.0f, 0.8}, {4, 2, 1.0f, 0.5}, {2, 4, 1.0f, 0.5}, {4, 1, 0.5f, 0.0},
               {3, 4, 0.5f, 0.0}, {5, 1, 1.0f, 0.0}, {1, 0, 1.0f, 0.0}};
  for (const Case &c : cases) {
    const size_t n = kSide / std::max(kBytes[c.d], kBytes[c.s]);
    FillSource(a, c.s, n);
    GVCONVERTFUNC f = Converter(c.d, c.s);
    const double t = Best(reps, [&] { f(b.data(), a.data(), DWORD(n), c.gain); });
    const double rate = double(n) * (kBytes[c.d] + kBytes[c.s]) / t / 1e9;
    char target[16] = "-";
    if (c.target > 0) std::snprintf(target, sizeof target, ">= %.1f", c.target);
    std::printf("%-9s <- %-9s %6.2f %9.2f %8.2f %7s%s\n", kNames[c.d], kNames[c.s], c.gain, rate,
                rate / copyRate, target,
                c.target > 0 && rate / copyRate < c.target ? "  MISSED" : "");
  }
}

void Pieces(bool quick, const std::array<GVCONVERTFUNC, 64> &baseline, const char *title) {
  const size_t kPiece = 128u << 10;
  std::vector<u8> a(kPiece), b(kPiece);
  const int reps = quick ? 20 : 100;
  std::printf("\n128 KiB pieces: speed-up of the converter over %s (target >= 4)\n", title);
  for (float gain : {1.0f, 0.5f}) {
    std::printf("\ngain %.1f     ", gain);
    for (int s = 0; s < 8; ++s) std::printf("%10s", kNames[s]);
    std::printf("   <- source\n");
    double worst = 1e9;
    int worstD = 0, worstS = 0, below = 0;
    for (int d = 0; d < 8; ++d) {
      std::printf("%-12s", kNames[d]);
      for (int s = 0; s < 8; ++s) {
        const size_t n = kPiece / std::max(kBytes[d], kBytes[s]);
        FillSource(a, s, n);
        GVCONVERTFUNC f = Converter(d, s);
        GVCONVERTFUNC p = baseline[d * 8 + s];
        const double tf = Best(reps, [&] { f(b.data(), a.data(), DWORD(n), gain); });
        const double tp = Best(reps, [&] { p(b.data(), a.data(), DWORD(n), gain); });
        const double x = tp / tf;
        if (getenv("GV_BENCH_TRACE")) std::printf("[%g %g]", tf * 1e6, tp * 1e6);
        std::printf("%10.1f", x);
        if (gain == 1.0f && d == s) continue;
        if (x < 4.0) ++below;
        if (x < worst) worst = x, worstD = d, worstS = s;
      }
      std::printf("\n");
    }
    std::printf("lowest (byte copies excluded): %.1fx for %s <- %s; %d pairs below 4x\n", worst,
                kNames[worstD], kNames[worstS], below);
  }
}

}  // namespace

int main(int argc, char **argv) {
  const bool quick = argc > 1 && !std::strcmp(argv[1], "--quick");
  LargeBuffers(quick);
  Pieces(quick, kPlain, "the per-sample loop");
  Pieces(quick, kScalar, "the per-sample loop with the vectorizer off");
  return 0;
}
