// Mutation stress of saved graphs through GvGraph_CreateFromMem. Usage:
//   bench_graph_mutation [VARIANTS=100000] [SEED=0x6A0F0001]
// Saves a graph holding every filter class (a chain with a label on one
// connection, a filter outside it) and a new empty graph, then for each
// variant damages one of them with a fixed seed (bit flips, byte changes,
// insertions, deletions, truncation, odd values in its length and count
// words) and makes a graph of it in a moveable global block, as a caller
// hands one over, with a size of 0 (the block bounds it) and with the
// block's size. A graph that loads must save bytes that load again and
// save the same, and every graph (also one whose Load failed, which the
// call leaves to the caller) must release to 0. An access violation or
// a variant that takes more than 10 s stops the run and names it. Reports
// what loaded, results that break those rules, the longest variant, and
// the private bytes before and after (a leak shows as growth).
#include <windows.h>

#include <psapi.h>  // after windows.h

#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/bench_support.h"
#include "tests/support/graph_helpers.h"
#include "tests/support/riff_mutation.h"

namespace {

using namespace gvtest::graph;
using gvtest::riffmut::Rng;

// A graph of every class: source -> gain -> format -> resampler -> IIR ->
// peak writer -> sink, and a gain outside the chain.
Bytes FullGraph() {
  IGVGraphBuilder *g = NewGraph();
  if (!g) return Bytes();
  g->SetName(L"Stress chain");
  const CLSID chain[] = {kSource, kGain, kFormat, kResampler, kIir, kPeakWriter, kSink};
  IGVFilter *last = nullptr;
  for (const CLSID &c : chain) {
    IGVFilter *f = Add(g, c);
    if (last) g->Connect(last, 0, f, 0);
    last = f;
  }
  Add(g, kGain)->SetValue(GVFK_GAIN, -6);
  IGVFilter *f = nullptr;
  for (DWORD i = 0; g->GetFilter(i, &f) == S_OK; ++i, f->Release()) {
    f->SetText(GVFK_FILE, L"C:\\audio\\take.wav");
    f->SetValue(GVFK_RATE, 48000), f->SetValue(GVFK_TYPE, GVIIR_HISHELF);
    f->SetValue(GVFK_CHANNELS, 1), f->SetValue(GVFK_BITS, 24);
  }
  const Bytes b = SaveBytes(g);
  g->Release();
  return b;
}

Bytes EmptyGraph() {
  IGVGraphBuilder *g = NewGraph();
  const Bytes b = g ? SaveBytes(g) : Bytes();
  if (g) g->Release();
  return b;
}

// One to four damages; a third of them put an odd value in a word: the
// memory form's length, the layout version, the name's length, or any
// offset (the filters' text lengths, the counts and connection words).
void Damage(Bytes &b, Rng &rng) {
  static const DWORD kOdd[] = {0,          1,          2,          3,          4,
                               15,         16,         17,         63,         64,
                               65,         0x7FFF,     0x10000,    0x7FFFFFFF, 0x80000000,
                               0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFF0, 0x00100001};
  constexpr uint32_t kOddCount = sizeof kOdd / sizeof kOdd[0];
  static const size_t kFields[] = {0, 20, 24};
  for (int ops = 1 + int(rng.Below(4)); ops > 0; --ops) {
    const uint32_t n = uint32_t(b.size()), op = rng.Below(9);
    if (gvtest::riffmut::DamageBytes(b, rng, op)) continue;
    if (!n) continue;
    const size_t at = op < 7 ? kFields[rng.Below(3)] : rng.Below(n);
    gvtest::riffmut::PutWord(b, at, rng.Below(4) ? kOdd[rng.Below(kOddCount)] : rng.Next());
  }
}

// GvGraph_CreateFromMem on the bytes in a moveable global block of their
// own size (at least 4 bytes, the rest zero).
HRESULT Load(const Bytes &b, DWORD size, IGVGraphBuilder **g) {
  const size_t bytes = b.size() < 4 ? 4 : b.size();
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
  BYTE *p = static_cast<BYTE *>(GlobalLock(h));
  if (!b.empty()) std::memcpy(p, b.data(), b.size());
  const HRESULT hr = GvGraph_CreateFromMem(g, p, size);
  GlobalUnlock(h);
  GlobalFree(h);
  return hr;
}

SIZE_T PrivateBytes() {
  PROCESS_MEMORY_COUNTERS pmc = {};
  pmc.cb = sizeof pmc;
  K32GetProcessMemoryInfo(GetCurrentProcess(), &pmc, sizeof pmc);
  return pmc.PagefileUsage;
}

}  // namespace

int main(int argc, char **argv) {
  const unsigned long long variants = argc > 1 ? std::strtoull(argv[1], nullptr, 0) : 100000;
  const unsigned long long seed = argc > 2 ? std::strtoull(argv[2], nullptr, 0) : 0x6A0F0001;
  ComScope com;
  GuardStressRun();
  const Bytes bases[] = {FullGraph(), EmptyGraph()};
  if (bases[0].empty() || bases[1].empty()) {
    std::printf("cannot save the graphs to damage\n");
    return 1;
  }
  uint64_t loaded = 0, refused = 0, unexpected = 0;
  std::string firstUnexpected;
  auto wrong = [&](uint64_t v, const char *what) {
    if (!unexpected++) firstUnexpected = "variant " + std::to_string(v) + ": " + what;
  };
  LARGE_INTEGER freq;
  QueryPerformanceFrequency(&freq);
  double longestMs = 0;
  uint64_t longestVariant = 0;
  Rng rng(seed);
  // A warm-up pass first, so that the library's one-time allocations (COM,
  // the class factory) are not counted as growth.
  for (int i = 0; i < 100; ++i) {
    IGVGraphBuilder *g = nullptr;
    Load(bases[i % 2], 0, &g);
    if (g) g->Release();
  }
  const SIZE_T memBefore = PrivateBytes();
  const ULONGLONG t0 = GetTickCount64();
  for (uint64_t v = 0; v < variants; ++v) {
    Bytes b = bases[rng.Below(8) ? 0 : 1];
    Damage(b, rng);
    g_currentVariant = LONG64(v);
    LARGE_INTEGER a, e;
    QueryPerformanceCounter(&a);
    g_stepStart = a.QuadPart;
    for (DWORD size : {DWORD(0), DWORD(b.size())}) {
      IGVGraphBuilder *g = nullptr;
      const HRESULT hr = Load(b, size, &g);
      if (hr == S_OK && g) {
        ++loaded;
        const Bytes again = SaveBytes(g);
        IGVGraphBuilder *g2 = nullptr;
        if (Load(again, 0, &g2) != S_OK || !g2 || SaveBytes(g2) != again)
          wrong(v, "what a loaded graph saves does not read back the same");
        if (g2 && g2->Release() != 0) wrong(v, "a graph read back is still referenced");
      } else if (!FAILED(hr)) {
        wrong(v, "neither S_OK nor a failure");
      } else {
        ++refused;  // a graph whose Load failed may be handed out: released below
      }
      if (g && g->Release() != 0) wrong(v, "a graph is still referenced after its release");
    }
    QueryPerformanceCounter(&e);
    g_stepStart = 0;
    const double ms = double(e.QuadPart - a.QuadPart) * 1000.0 / double(freq.QuadPart);
    if (ms > longestMs) longestMs = ms, longestVariant = v;
  }
  g_currentVariant = -1;
  const double seconds = double(GetTickCount64() - t0) / 1000.0;
  const SIZE_T memAfter = PrivateBytes();
  std::printf("variants            %llu (seed 0x%llX), saved graphs of %u and %u bytes\n", variants,
              seed, unsigned(bases[0].size()), unsigned(bases[1].size()));
  std::printf("loads               %llu loaded, %llu refused (size 0 and the block's size)\n",
              static_cast<unsigned long long>(loaded), static_cast<unsigned long long>(refused));
  std::printf("crashes, hangs      0, 0\n");
  std::printf("unexpected results  %llu %s\n", static_cast<unsigned long long>(unexpected),
              firstUnexpected.c_str());
  std::printf("longest variant     %.3f ms (variant %llu)\n", longestMs,
              static_cast<unsigned long long>(longestVariant));
  std::printf("private bytes       %lu KiB before, %lu KiB after\n",
              static_cast<unsigned long>(memBefore / 1024), static_cast<unsigned long>(memAfter / 1024));
  std::printf("time                %.1f s\n", seconds);
  return unexpected ? 1 : 0;
}
