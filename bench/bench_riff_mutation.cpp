// Mutation stress of the riff_ searches. Usage:
//   bench_riff_mutation [VARIANTS=100000] [SEED=0x5EED0001]
// Damages a valid WAVE file (fmt, LIST INFO, data) with a fixed seed and runs
// every search from the start with budgets on each variant, then the WAVE
// probes and an audio stream over it, with the damage and the result checks
// that the tests use. Reports crashes (an access
// violation or a search that does not end within 10 s stops the run and
// names the variant), results outside the documented set, the longest single
// search, and the process's peak memory.
#include <windows.h>
#include <psapi.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/bench_support.h"
#include "gvtalc.h"
#include "tests/support/riff_mutation.h"

namespace {

namespace riffmut = gvtest::riffmut;

struct Stats {
  uint64_t variants = 0;
  uint64_t searches = 0;  // timed search calls
  uint64_t found = 0;     // searches that found what they looked for
  uint64_t unexpected = 0;
  uint64_t streams = 0;  // variants the WAVE probe accepted and a stream read
  std::string firstUnexpected;
  double longestSearchMs = 0;
  uint64_t longestVariant = 0;
};

Stats Run(HANDLE file, const char *probePath, uint64_t seed, uint64_t count) {
  Stats st;
  LARGE_INTEGER freq;
  QueryPerformanceFrequency(&freq);
  const double ticksPerMs = static_cast<double>(freq.QuadPart) / 1000.0;
  // Times one search and keeps the watchdog informed.
  auto timed = [&](auto search) {
    LARGE_INTEGER a, b;
    QueryPerformanceCounter(&a);
    g_stepStart = a.QuadPart;
    const auto result = search();
    QueryPerformanceCounter(&b);
    g_stepStart = 0;
    const double ms = static_cast<double>(b.QuadPart - a.QuadPart) / ticksPerMs;
    if (ms > st.longestSearchMs) st.longestSearchMs = ms, st.longestVariant = st.variants;
    ++st.searches;
    return result;
  };
  riffmut::Rng rng(seed);
  const gvtest::Bytes base = riffmut::BaseWave();
  for (; st.variants < count; ++st.variants) {
    gvtest::Bytes bytes = base;
    riffmut::Mutate(bytes, rng);
    g_currentVariant = static_cast<LONG64>(st.variants);
    gvtest::Rewrite(file, bytes);
    const riffmut::Outcome out = riffmut::CheckSearches(file, timed);
    st.found += out.found;
    if (!out.unexpected.empty() && !st.unexpected++)
      st.firstUnexpected = "variant " + std::to_string(st.variants) + ": " + out.unexpected;
    // The WAVE probes and a stream over the same bytes (written to a file of
    // their own, so not timed with the searches).
    const std::string streamed = riffmut::CheckStream(probePath, bytes, &st.streams);
    if (!streamed.empty() && !st.unexpected++)
      st.firstUnexpected = "variant " + std::to_string(st.variants) + ": " + streamed;
  }
  g_currentVariant = -1;
  return st;
}

}  // namespace

int main(int argc, char **argv) {
  unsigned long long variants = argc > 1 ? std::strtoull(argv[1], nullptr, 0) : 100000;
  unsigned long long seed = argc > 2 ? std::strtoull(argv[2], nullptr, 0) : 0x5EED0001;
  GuardStressRun();

  char dir[MAX_PATH], path[MAX_PATH];
  GetTempPathA(MAX_PATH, dir);
  GetTempFileNameA(dir, "gvm", 0, path);
  HANDLE file = CreateFileA(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    std::printf("cannot create %s\n", path);
    return 1;
  }

  char probePath[MAX_PATH];
  GetTempFileNameA(dir, "gvp", 0, probePath);

  ULONGLONG t0 = GetTickCount64();
  Stats st = Run(file, probePath, seed, variants);
  ULONGLONG elapsed = GetTickCount64() - t0;
  CloseHandle(file);
  DeleteFileA(probePath);

  PROCESS_MEMORY_COUNTERS pmc = {};
  pmc.cb = sizeof pmc;
  K32GetProcessMemoryInfo(GetCurrentProcess(), &pmc, sizeof pmc);

  std::printf("variants            %llu (seed 0x%llX)\n", static_cast<unsigned long long>(st.variants),
              seed);
  std::printf("searches            %llu (%llu found)\n", static_cast<unsigned long long>(st.searches),
              static_cast<unsigned long long>(st.found));
  std::printf("streams read        %llu\n", static_cast<unsigned long long>(st.streams));
  std::printf("crashes             0\n");
  std::printf("unexpected results  %llu %s\n", static_cast<unsigned long long>(st.unexpected),
              st.firstUnexpected.c_str());
  std::printf("longest search      %.3f ms (variant %llu)\n", st.longestSearchMs,
              static_cast<unsigned long long>(st.longestVariant));
  std::printf("peak working set    %lu KiB\n", static_cast<unsigned long>(pmc.PeakWorkingSetSize / 1024));
  std::printf("peak private bytes  %lu KiB\n", static_cast<unsigned long>(pmc.PeakPagefileUsage / 1024));
  std::printf("total time          %.1f s (%.1f us per variant)\n", elapsed / 1000.0,
              st.variants ? elapsed * 1000.0 / static_cast<double>(st.variants) : 0.0);
  return st.unexpected ? 1 : 0;
}
