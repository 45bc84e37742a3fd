// Mutation stress of peak files through open and draw. Usage:
//   bench_peak_mutation [VARIANTS=100000] [SEED=0x9EA40001]
// Builds the peak file of a small stereo WAVE file, then for each variant
// damages its bytes with a fixed seed (bit flips, byte changes, insertions,
// deletions, truncation, odd values in header fields), writes them back and
// opens them read-only and for writing, draws when an open accepts, and
// opens the source's peak data, which must rebuild what open refused and
// then draw exactly what the undamaged file draws. An access violation or a
// variant that takes more than 10 s stops the run and names the variant.
// Reports opens accepted, draws produced, results that break those rules,
// the longest variant, the process's peak memory and the time taken.
#include <windows.h>

#include <psapi.h>  // after windows.h

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench/bench_support.h"
#include "gvtalc.h"
#include "tests/support/riff_mutation.h"

namespace {

using gvtest::riffmut::Rng;
using Bytes = gvtest::Bytes;

constexpr DWORD kFrames = 44100;  // one second of 16-bit stereo


void WriteFileBytes(const char *path, const Bytes &b) {
  HANDLE h = CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  DWORD put = 0;
  if (!b.empty()) WriteFile(h, b.data(), DWORD(b.size()), &put, nullptr);
  CloseHandle(h);
}

Bytes ReadFileBytes(const char *path) {
  HANDLE h = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  Bytes b(GetFileSize(h, nullptr));
  DWORD got = 0;
  if (!b.empty()) ReadFile(h, b.data(), DWORD(b.size()), &got, nullptr);
  CloseHandle(h);
  return b;
}

// Applies one to four random damages; a third of them put an odd value in a
// header field.
void Damage(Bytes &b, Rng &rng) {
  static const DWORD kOdd[] = {
      0,       1,           2,          3,          7,          8,          63,          64,
      65,      99,          100,        101,        255,        256,        4096,        0x10000,
      kFrames, kFrames + 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFFFFFFF8, GVPEAK_MAGIC};
  constexpr uint32_t kOddCount = sizeof kOdd / sizeof kOdd[0];
  // magic, version, data offset, stamp, bits, channels, frames per element,
  // frames summarised (low, high)
  static const size_t kFields[] = {0, 4, 8, 12, 16, 20, 24, 28, 32};
  for (int ops = 1 + int(rng.Below(4)); ops > 0; --ops) {
    const uint32_t n = uint32_t(b.size()), op = rng.Below(9);
    if (gvtest::riffmut::DamageBytes(b, rng, op)) continue;
    const size_t at = op < 8 ? kFields[rng.Below(9)] : rng.Below(n);
    gvtest::riffmut::PutWord(b, at, rng.Below(4) ? kOdd[rng.Below(kOddCount)] : rng.Next());
  }
}

struct View {
  ULONGLONG first;
  LONGLONG count;
  int pixels;
};
const View kViews[] = {{0, kFrames, 1},       {0, kFrames, 7},
                       {0, kFrames, 64},      {0, kFrames, 172},
                       {0, 4 * kFrames, 400}, {kFrames / 2, kFrames, 20},
                       {0, kFrames, 32768},   {~0ull - kFrames, kFrames, 3}};

// Every draw of every view (both channels, then each channel, then a channel
// the peak lacks); the values of the draws that failed stay as filled.
struct Draws {
  std::vector<short> values;
  std::vector<BOOL> ok;
};

Draws DrawAll(tGVAUDIOPEAK *peak, uint64_t *produced) {
  Draws d;
  std::vector<short> out(4 * 32768 + 4);
  for (const View &v : kViews) {
    for (int ch = -1; ch < 3; ++ch) {
      std::fill(out.begin(), out.end(), short(0x5A5A));
      const BOOL ok =
          ch < 0 ? GvPeak_GetDrawData(peak, v.first, v.count, out.data(), v.pixels)
                 : GvPeak_GetChanDrawData(peak, DWORD(ch), v.first, v.count, out.data(), v.pixels);
      *produced += ok != FALSE;
      d.ok.push_back(ok);
      d.values.insert(d.values.end(), out.begin(), out.begin() + (ch < 0 ? 4 : 2) * v.pixels);
    }
  }
  return d;
}

struct Stats {
  uint64_t variants = 0, accepted = 0, draws = 0, reused = 0, rebuilt = 0, unexpected = 0;
  std::string firstUnexpected;
  double longestMs = 0;
  uint64_t longestVariant = 0;
};

}  // namespace

int main(int argc, char **argv) {
  const unsigned long long variants = argc > 1 ? std::strtoull(argv[1], nullptr, 0) : 100000;
  const unsigned long long seed = argc > 2 ? std::strtoull(argv[2], nullptr, 0) : 0x9EA40001;
  GuardStressRun();

  // The source: one second of a stereo tone; it stays unchanged (its stamp
  // is what a peak file must carry to be accepted).
  char dir[MAX_PATH], source[MAX_PATH], peakName[MAX_PATH];
  GetTempPathA(MAX_PATH, dir);
  GetTempFileNameA(dir, "gvq", 0, source);
  Bytes wave(44 + kFrames * 4);
  const DWORD head[11] = {0x46464952, 36 + kFrames * 4, 0x45564157, 0x20746D66,
                          16,         0x00020001,       44100,      44100 * 4,
                          0x00100004, 0x61746164,       kFrames * 4};
  std::memcpy(wave.data(), head, 44);
  for (DWORD i = 0; i < 2 * kFrames; ++i) {
    const short v = short(((i * 7919u) % 60001u) - 30000);
    std::memcpy(&wave[44 + 2 * i], &v, 2);
  }
  WriteFileBytes(source, wave);
  GvPeak_CreateDirectPeakName(source, peakName, MAX_PATH);

  tGVAUDIOPEAK *peak = nullptr;
  DWORD how = 0;
  if (GvPeak_OpenDataFromWaveFile(&peak, source, 0, &how) != S_OK) {
    std::printf("cannot build the peak file of %s\n", source);
    return 1;
  }
  GvPeak_FreeEx(peak, FALSE);
  peak = nullptr;
  const Bytes base = ReadFileBytes(peakName);
  uint64_t ignored = 0;
  if (GvPeak_OpenExistingEx(&peak, 2, source, nullptr, kFrames, TRUE) != 0) {
    std::printf("the peak file just built is refused\n");
    return 1;
  }
  const Draws reference = DrawAll(peak, &ignored);
  GvPeak_FreeEx(peak, FALSE);
  peak = nullptr;

  LARGE_INTEGER freq;
  QueryPerformanceFrequency(&freq);
  Stats st;
  auto unexpected = [&](const char *what) {
    if (!st.unexpected++)
      st.firstUnexpected = "variant " + std::to_string(st.variants) + ": " + what;
  };
  Rng rng(seed);
  const ULONGLONG t0 = GetTickCount64();
  for (; st.variants < variants; ++st.variants) {
    Bytes bytes = base;
    Damage(bytes, rng);
    g_currentVariant = LONG64(st.variants);
    LARGE_INTEGER a, b;
    QueryPerformanceCounter(&a);
    g_stepStart = a.QuadPart;
    int accepted = 0;
    for (BOOL readOnly : {TRUE, FALSE}) {
      WriteFileBytes(peakName, bytes);
      if (GvPeak_OpenExistingEx(&peak, 2, source, nullptr, kFrames, readOnly) != 0) {
        if (peak) unexpected("a refused open handed out a record");
        continue;
      }
      ++accepted;
      tGVPEAKHEADER h{};
      GvPeak_GetHeader(peak, &h);
      if (h.dwMagic != GVPEAK_MAGIC || h.dwVersion > 100 || h.dwDataOffset < 64 ||
          h.nChannels != 2 || h.dwBitsPerValue != 16 || h.dwFramesLow != kFrames ||
          h.dwFramesHigh || !h.nFramesPerElement)
        unexpected("an open accepted a wrong header");
      DrawAll(peak, &st.draws);
      GvPeak_FreeEx(peak, FALSE);
      peak = nullptr;
    }
    st.accepted += accepted;
    if (accepted == 1) unexpected("read-only and writable opens disagree");
    WriteFileBytes(peakName, bytes);
    if (GvPeak_OpenDataFromWaveFile(&peak, source, 0, &how) != S_OK) {
      unexpected("the peak data of the source did not open");
    } else if (how & GVPEAK_REUSED) {
      ++st.reused;
      if (!accepted) unexpected("a file open refused was reused");
    } else {
      ++st.rebuilt;
      if (accepted) unexpected("a file open accepted was rebuilt");
      uint64_t produced = 0;
      const Draws d = DrawAll(peak, &produced);
      if (d.ok != reference.ok || d.values != reference.values)
        unexpected("a rebuilt file draws differently");
    }
    GvPeak_FreeEx(peak, FALSE);
    peak = nullptr;
    QueryPerformanceCounter(&b);
    g_stepStart = 0;
    const double ms = double(b.QuadPart - a.QuadPart) * 1000.0 / double(freq.QuadPart);
    if (ms > st.longestMs) st.longestMs = ms, st.longestVariant = st.variants;
  }
  g_currentVariant = -1;
  const ULONGLONG elapsed = GetTickCount64() - t0;
  DeleteFileA(peakName);
  DeleteFileA(source);

  PROCESS_MEMORY_COUNTERS pmc = {};
  pmc.cb = sizeof pmc;
  K32GetProcessMemoryInfo(GetCurrentProcess(), &pmc, sizeof pmc);
  std::printf("variants            %llu (seed 0x%llX), peak file of %u bytes\n",
              static_cast<unsigned long long>(st.variants), seed, unsigned(base.size()));
  std::printf("opens accepted      %llu of %llu (read-only and writable)\n",
              static_cast<unsigned long long>(st.accepted),
              static_cast<unsigned long long>(2 * st.variants));
  std::printf("draws produced      %llu\n", static_cast<unsigned long long>(st.draws));
  std::printf("open-data calls     %llu reused, %llu rebuilt\n",
              static_cast<unsigned long long>(st.reused),
              static_cast<unsigned long long>(st.rebuilt));
  std::printf("crashes, hangs      0, 0\n");
  std::printf("unexpected results  %llu %s\n", static_cast<unsigned long long>(st.unexpected),
              st.firstUnexpected.c_str());
  std::printf("longest variant     %.3f ms (variant %llu)\n", st.longestMs,
              static_cast<unsigned long long>(st.longestVariant));
  std::printf("peak working set    %lu KiB\n",
              static_cast<unsigned long>(pmc.PeakWorkingSetSize / 1024));
  std::printf("peak private bytes  %lu KiB\n",
              static_cast<unsigned long>(pmc.PeakPagefileUsage / 1024));
  std::printf("total time          %.1f s (%.1f us per variant)\n", elapsed / 1000.0,
              st.variants ? elapsed * 1000.0 / double(st.variants) : 0.0);
  return st.unexpected ? 1 : 0;
}
