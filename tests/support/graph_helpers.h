// Graphs for the tests and the graph benchmarks: making one through COM,
// the bytes of saved graphs built from their parts, and WAVE files.
// No test framework here: bench_graph uses these too.
#pragma once

#include <windows.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "gvtalc.h"

namespace gvtest::graph {

using Bytes = std::vector<BYTE>;

const CLSID kClsidTalc = GV_CLSID_TALC_INIT;
const IID kIidGraph = GV_IID_IGVGRAPHBUILDER_INIT;
const CLSID kSource = GV_CLSID_GVF_WAVESOURCE_INIT;
const CLSID kSink = GV_CLSID_GVF_WAVESINK_INIT;
const CLSID kGain = GV_CLSID_GVF_GAIN_INIT;
const CLSID kFormat = GV_CLSID_GVF_FORMAT_INIT;
const CLSID kPeakWriter = GV_CLSID_GVF_PEAKWRITER_INIT;
const CLSID kResampler = GV_CLSID_GVF_RESAMPLE_INIT;
const CLSID kIir = GV_CLSID_GVF_IIR_INIT;

// COM for the calling thread while it lives.
struct ComScope {
  HRESULT hr = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  ~ComScope() {
    if (SUCCEEDED(hr)) CoUninitialize();
  }
};

inline IGVGraphBuilder *NewGraph() {
  IGVGraphBuilder *g = nullptr;
  CoCreateInstance(kClsidTalc, nullptr, CLSCTX_INPROC_SERVER, kIidGraph,
                   reinterpret_cast<void **>(&g));
  return g;
}

// Adds a filter and returns it (the graph keeps its own reference).
inline IGVFilter *Add(IGVGraphBuilder *g, const CLSID &clsid) {
  IGVFilter *f = nullptr;
  if (FAILED(g->AddFilter(clsid, &f))) return nullptr;
  f->Release();
  return f;
}

// The memory form of a graph as bytes.
inline Bytes SaveBytes(IGVGraphBuilder *g) {
  void *block = nullptr;
  DWORD size = 0;
  if (GvGraph_SaveToMem(g, &block, &size) != S_OK) return Bytes();
  Bytes b(static_cast<BYTE *>(block), static_cast<BYTE *>(block) + size);
  HGLOBAL h = GlobalHandle(block);
  GlobalUnlock(h);
  GlobalFree(h);
  return b;
}

// A graph from memory-form bytes, handed over in a moveable global block as
// the library hands its own out; the result and the graph (may be null).
inline HRESULT LoadBytes(const Bytes &b, IGVGraphBuilder **g) {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, b.size() ? b.size() : 1);
  void *p = GlobalLock(h);
  if (!b.empty()) std::memcpy(p, b.data(), b.size());
  const HRESULT hr = GvGraph_CreateFromMem(g, p, 0);
  GlobalUnlock(h);
  GlobalFree(h);
  return hr;
}

// ---- Persistent data from its parts ----

inline void Put(Bytes &b, const void *p, size_t n) {
  b.insert(b.end(), static_cast<const BYTE *>(p), static_cast<const BYTE *>(p) + n);
}
inline void Put32(Bytes &b, uint32_t v) { Put(b, &v, 4); }
inline void Put64(Bytes &b, uint64_t v) { Put(b, &v, 8); }
inline void PutDouble(Bytes &b, double v) { Put(b, &v, 8); }
inline void PutText(Bytes &b, const std::wstring &t) {
  Put32(b, uint32_t(2 * (t.size() + 1)));
  Put(b, t.c_str(), 2 * (t.size() + 1));
}
inline void PutGuid(Bytes &b, const GUID &g) { Put(b, &g, 16); }

inline WAVEFORMATEX FloatFormat(WORD channels, DWORD rate) {
  WAVEFORMATEX f{};
  f.wFormatTag = WAVE_FORMAT_IEEE_FLOAT;
  f.nChannels = channels;
  f.nSamplesPerSec = rate;
  f.wBitsPerSample = 32;
  f.nBlockAlign = WORD(4 * channels);
  f.nAvgBytesPerSec = rate * f.nBlockAlign;
  return f;
}

// Items 1 to 5 of a graph's data.
inline Bytes Head(const std::wstring &name, uint64_t bufferTime, const WAVEFORMATEX &format,
                  uint32_t filters) {
  Bytes b;
  Put32(b, 1);
  PutText(b, name);
  Put64(b, bufferTime);
  Put(b, &format, 18);
  Put32(b, filters), Put32(b, 0), Put32(b, 0);
  return b;
}

inline void PutConnection(Bytes &b, uint32_t from, uint32_t fromPin, uint32_t to, uint32_t toPin) {
  Put32(b, 1);
  PutText(b, L"");
  Put32(b, 16);
  Put32(b, from), Put32(b, fromPin), Put32(b, to), Put32(b, toPin);
}

// The memory form: length, the library's class, then `data`.
inline Bytes MemoryForm(const Bytes &data) {
  Bytes b;
  Put32(b, uint32_t(16 + data.size()));
  PutGuid(b, kClsidTalc);
  Put(b, data.data(), data.size());
  return b;
}

// ---- WAVE files ----

inline Bytes Slurp(const std::string &path) {
  std::ifstream f(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(f), {});
}

// A canonical 44-byte-header PCM WAVE file of 16-bit samples.
inline Bytes Wave16(WORD channels, DWORD rate, const std::vector<int16_t> &samples) {
  const DWORD data = DWORD(samples.size() * 2), align = channels * 2u;
  Bytes b;
  Put(b, "RIFF", 4), Put32(b, 36 + data), Put(b, "WAVEfmt ", 8), Put32(b, 16);
  const WORD tag = WAVE_FORMAT_PCM, bits = 16, blockAlign = WORD(align);
  Put(b, &tag, 2), Put(b, &channels, 2), Put32(b, rate), Put32(b, rate * align);
  Put(b, &blockAlign, 2), Put(b, &bits, 2), Put(b, "data", 4), Put32(b, data);
  Put(b, samples.data(), data);
  return b;
}

// `frames` frames of a tone with some noise on every channel, the same on
// every run.
inline std::vector<int16_t> Tone(DWORD frames, WORD channels) {
  std::vector<int16_t> s(size_t(frames) * channels);
  uint32_t seed = 12345;
  for (size_t i = 0; i < s.size(); ++i) {
    seed = seed * 1664525u + 1013904223u;
    const double v = 20000.0 * std::sin(double(i / channels) * 0.031 * (1 + i % channels)) +
                     double(int(seed >> 20) - 2048);
    s[i] = int16_t(v);
  }
  return s;
}

inline bool WriteAll(const std::string &path, const Bytes &b) {
  std::ofstream f(path, std::ios::binary);
  f.write(reinterpret_cast<const char *>(b.data()), std::streamsize(b.size()));
  return bool(f);
}

// A folder of its own under the temporary folder, removed with its files.
class TempDir {
 public:
  TempDir() {
    char base[MAX_PATH];
    GetTempPathA(MAX_PATH, base);
    for (unsigned n = GetTickCount() & 0xFFFF;; ++n) {
      path_ = std::string(base) + "gvgraph" + std::to_string(n);
      if (CreateDirectoryA(path_.c_str(), nullptr)) break;
    }
  }
  ~TempDir() {
    for (const std::string &f : Files()) DeleteFileA((path_ + "\\" + f).c_str());
    RemoveDirectoryA(path_.c_str());
  }
  std::string operator/(const std::string &name) const { return path_ + "\\" + name; }
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    WIN32_FIND_DATAA d;
    HANDLE h = FindFirstFileA((path_ + "\\*").c_str(), &d);
    if (h == INVALID_HANDLE_VALUE) return names;
    do {
      if (!(d.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) names.push_back(d.cFileName);
    } while (FindNextFileA(h, &d));
    FindClose(h);
    return names;
  }

 private:
  std::string path_;
};

inline std::wstring Wide(const std::string &s) { return std::wstring(s.begin(), s.end()); }

}  // namespace gvtest::graph
