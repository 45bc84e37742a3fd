// gvtool graph: processing graphs of the library's filters. make builds a
// chain from a WAVE source to a WAVE sink and saves it; show lists a saved
// graph's filters and connections; run loads one and runs it with progress.
#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "eq.h"
#include "wave.h"

namespace {

using gvtool::Error;
using gvtool::kDone;
using gvtool::kFailed;

const CLSID kTalc = GV_CLSID_TALC_INIT;
const IID kIidGraph = GV_IID_IGVGRAPHBUILDER_INIT;
const DWORD kPiece = 32768;  // frames per source buffer, as convert reads them

struct GraphArgs {
  std::string file, source, sink;
  std::vector<std::string> eq;
  double gainDb = 0;
  int bits = 0, channels = 0;
  unsigned rate = 0;
  bool isFloat = false, peaks = false, progress = false;
} args;

CLI::App *gMake, *gShow, *gRun;

struct FilterKind {
  CLSID clsid;
  const char *name;
};
const FilterKind kKinds[] = {
    {GV_CLSID_GVF_WAVESOURCE_INIT, "WAVE source"}, {GV_CLSID_GVF_WAVESINK_INIT, "WAVE sink"},
    {GV_CLSID_GVF_GAIN_INIT, "gain"},              {GV_CLSID_GVF_FORMAT_INIT, "format change"},
    {GV_CLSID_GVF_RESAMPLE_INIT, "resampler"},     {GV_CLSID_GVF_IIR_INIT, "IIR"},
    {GV_CLSID_GVF_PEAKWRITER_INIT, "peak writer"},
};

struct Com {
  HRESULT hr = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  ~Com() {
    if (SUCCEEDED(hr)) CoUninitialize();
  }
};

// Releases a COM pointer on scope exit.
template <class T>
struct Ref {
  T *p = nullptr;
  ~Ref() {
    if (p) p->Release();
  }
  T *operator->() const { return p; }
};

std::wstring Wide(const std::string &s) {
  const int n = MultiByteToWideChar(CP_ACP, 0, s.c_str(), -1, nullptr, 0);
  std::wstring w(size_t(n > 0 ? n : 1), L'\0');
  MultiByteToWideChar(CP_ACP, 0, s.c_str(), -1, &w[0], n);
  w.resize(w.size() - 1);
  return w;
}

std::string Narrow(const wchar_t *w) {
  const int n = WideCharToMultiByte(CP_ACP, 0, w, -1, nullptr, 0, nullptr, nullptr);
  std::string s(size_t(n > 0 ? n : 1), '\0');
  WideCharToMultiByte(CP_ACP, 0, w, -1, &s[0], n, nullptr, nullptr);
  s.resize(s.size() - 1);
  return s;
}

// Adds a filter fed by `*last`; false after an error line.
bool Append(IGVGraphBuilder *g, const CLSID &clsid, IGVFilter **last, IGVFilter **made) {
  HRESULT hr = g->AddFilter(clsid, made);
  if (SUCCEEDED(hr) && *last) hr = g->Connect(*last, 0, *made, 0);
  if (FAILED(hr)) {
    if (*made) (*made)->Release(), *made = nullptr;  // added, but not connected
    Error("cannot add a filter: %s", gvtool::HresultReason(hr).c_str());
    return false;
  }
  if (*last) (*last)->Release();
  *last = *made;
  return true;
}

// Saves the graph under a temporary name beside the target, then renames it.
int SaveGraph(IGVGraphBuilder *g, const std::string &path) {
  const size_t slash = path.find_last_of("\\/:");
  const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  char temp[MAX_PATH];
  if (!GetTempFileNameA(folder.c_str(), "gvt", 0, temp)) return gvtool::IoError(path, GetLastError());
  HANDLE h = CreateFileA(temp, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                         nullptr);
  if (h == INVALID_HANDLE_VALUE) {
    const DWORD e = GetLastError();
    DeleteFileA(temp);
    return gvtool::IoError(path, e);
  }
  ULARGE_INTEGER size{};
  g->GetSizeMax(&size);
  DWORD written = 0;
  const HRESULT hr = GvGraph_SaveToFile(g, h, &written);
  const DWORD e = GetLastError();
  CloseHandle(h);
  if (FAILED(hr) || written != size.QuadPart + 20) {
    DeleteFileA(temp);
    if (FAILED(hr)) Error("%s: %s", path.c_str(), gvtool::HresultReason(hr).c_str());
    return FAILED(hr) ? kFailed : gvtool::IoError(path, e);
  }
  if (!MoveFileExA(temp, path.c_str(), MOVEFILE_REPLACE_EXISTING)) {
    const DWORD m = GetLastError();
    DeleteFileA(temp);
    return gvtool::IoError(path, m);
  }
  return kDone;
}

int RunMake() {
  std::vector<gv::audio::iir::StageSettings> eqs(args.eq.size());
  for (size_t i = 0; i < eqs.size(); ++i)
    if (!gvtool::ParseEq(args.eq[i], &eqs[i]))
      return gvtool::UsageError("--eq %s: %s", args.eq[i].c_str(), gvtool::kEqUsage);
  if (args.isFloat && args.bits && args.bits != 32)
    return gvtool::UsageError("--float samples are 32-bit");
  gvtool::WaveFile wave;
  if (!gvtool::ProbeWave(args.source, &wave)) return kFailed;
  Com com;
  Ref<IGVGraphBuilder> g;
  HRESULT hr = CoCreateInstance(kTalc, nullptr, CLSCTX_INPROC_SERVER, kIidGraph,
                                reinterpret_cast<void **>(&g.p));
  if (FAILED(hr)) {
    Error("no graph builder: %s", gvtool::HresultReason(hr).c_str());
    return kFailed;
  }
  // Source buffers of kPiece frames: the streaming resampler then carries
  // its state across the same frames as convert's.
  const DWORD rate = wave.wfx.nSamplesPerSec;
  hr = g->SetBufferTime((ULONGLONG(kPiece) * 10000000 + rate - 1) / rate);
  if (FAILED(hr)) {
    Error("%s: buffers of %lu frames at %lu Hz are longer than a graph takes: %s",
          args.source.c_str(),
          static_cast<unsigned long>(kPiece), static_cast<unsigned long>(rate),
          gvtool::HresultReason(hr).c_str());
    return kFailed;
  }
  std::string name = args.file;
  const size_t slash = name.find_last_of("\\/:");
  if (slash != std::string::npos) name = name.substr(slash + 1);
  g->SetName(Wide(name).c_str());
  IGVFilter *last = nullptr, *f = nullptr;
  bool ok = Append(g.p, kKinds[0].clsid, &last, &f) &&
            SUCCEEDED(f->SetText(GVFK_FILE, Wide(args.source).c_str()));
  if (ok && args.gainDb != 0)
    ok = Append(g.p, kKinds[2].clsid, &last, &f) && SUCCEEDED(f->SetValue(GVFK_GAIN, args.gainDb));
  if (ok && args.channels)
    ok = Append(g.p, kKinds[3].clsid, &last, &f) &&
         SUCCEEDED(f->SetValue(GVFK_CHANNELS, args.channels));
  if (ok && args.rate)
    ok = Append(g.p, kKinds[4].clsid, &last, &f) && SUCCEEDED(f->SetValue(GVFK_RATE, args.rate));
  for (size_t i = 0; ok && i < eqs.size(); ++i)
    ok = Append(g.p, kKinds[5].clsid, &last, &f) &&
         SUCCEEDED(f->SetValue(GVFK_TYPE, eqs[i].type)) &&
         SUCCEEDED(f->SetValue(GVFK_FREQ, eqs[i].freq)) &&
         SUCCEEDED(f->SetValue(GVFK_GAIN, eqs[i].gainDb)) && SUCCEEDED(f->SetValue(GVFK_Q, eqs[i].q));
  if (ok && args.peaks)
    ok = Append(g.p, kKinds[6].clsid, &last, &f) && SUCCEEDED(f->SetText(GVFK_FILE, Wide(args.sink).c_str()));
  const int bits = args.bits ? args.bits
                   : args.isFloat || wave.wfx.wFormatTag == WAVE_FORMAT_IEEE_FLOAT ? 32
                                                                                  : wave.wfx.wBitsPerSample;
  // As convert: 32-bit output of a float input stays float.
  const bool isFloat = args.isFloat || (bits == 32 && wave.wfx.wFormatTag == WAVE_FORMAT_IEEE_FLOAT);
  if (ok)
    ok = Append(g.p, kKinds[1].clsid, &last, &f) &&
         SUCCEEDED(f->SetText(GVFK_FILE, Wide(args.sink).c_str())) &&
         SUCCEEDED(f->SetValue(GVFK_BITS, bits == 8 || bits == 16 || bits == 24 ? bits : 32)) &&
         SUCCEEDED(f->SetValue(GVFK_FLOAT, isFloat));
  if (last) last->Release();
  if (!ok) {
    Error("%s: not made", args.file.c_str());
    return kFailed;
  }
  const int rc = SaveGraph(g.p, args.file);
  if (rc == kDone)
    std::printf("%s: %lu filters from %s to %s\n", args.file.c_str(),
                static_cast<unsigned long>(g->GetFilterCount()), args.source.c_str(),
                args.sink.c_str());
  return rc;
}

// Loads the graph saved in `path` into *g; false after an error line.
bool LoadGraph(const std::string &path, IGVGraphBuilder **g) {
  HANDLE h = gvtool::OpenForReading(path);
  if (h == INVALID_HANDLE_VALUE) return false;
  const HRESULT hr = GvGraph_CreateFromFile(g, h);
  CloseHandle(h);
  if (hr == S_OK) return true;
  if (*g) (*g)->Release(), *g = nullptr;
  Error("%s: %s", path.c_str(),
        hr == S_FALSE ? "cut short: not a whole saved graph"
        : hr == E_OUTOFMEMORY ? "its length is past any graph"
        : hr == CLASS_E_CLASSNOTAVAILABLE ? "a filter of a class this library does not have"
        : hr == E_FAIL ? "damaged: not a graph this library wrote"
                       : gvtool::HresultReason(hr).c_str());
  return false;
}

void ShowFilter(DWORD index, IGVFilter *f) {
  CLSID clsid;
  f->GetClassID(&clsid);
  const char *kind = "unknown";
  for (const FilterKind &k : kKinds)
    if (IsEqualCLSID(k.clsid, clsid)) kind = k.name;
  std::printf("  %lu  %s", static_cast<unsigned long>(index + 1), kind);
  double x = 0;
  if (f->GetValue(GVFK_TYPE, &x) == S_OK)
    std::printf(" %s", x == GVIIR_LOWSHELF ? "low shelf" : x == GVIIR_HISHELF ? "high shelf" : "band");
  wchar_t text[MAX_PATH];
  if (f->GetText(GVFK_FILE, text, MAX_PATH) == S_OK) std::printf("  %s", Narrow(text).c_str());
  const struct {
    DWORD key;
    const char *format;
  } values[] = {{GVFK_FREQ, "  %g Hz"},       {GVFK_GAIN, "  %+g dB"}, {GVFK_Q, "  Q %g"},
                {GVFK_RATE, "  %.0f Hz"},     {GVFK_CHANNELS, "  channels %.0f"},
                {GVFK_BITS, "  %.0f-bit"}};
  for (const auto &v : values)
    if (f->GetValue(v.key, &x) == S_OK) std::printf(v.format, x);
  if (f->GetValue(GVFK_FLOAT, &x) == S_OK && x) std::printf(" float");
  std::printf("\n");
}

int RunShow() {
  Com com;
  Ref<IGVGraphBuilder> g;
  if (!LoadGraph(args.file, &g.p)) return kFailed;
  DWORD needed = 0;
  g->GetName(nullptr, 0, &needed);
  std::vector<wchar_t> name(needed);
  g->GetName(name.data(), needed, nullptr);
  std::printf("%s: graph \"%s\", buffers of %.4f s\n", args.file.c_str(), Narrow(name.data()).c_str(),
              double(g->GetBufferTime()) / 1e7);
  std::printf("filters:\n");
  for (DWORD i = 0; i < g->GetFilterCount(); ++i) {
    Ref<IGVFilter> f;
    g->GetFilter(i, &f.p);
    ShowFilter(i, f.p);
  }
  std::printf("connections:\n");
  for (DWORD i = 0; i < g->GetConnectionCount(); ++i) {
    tGVGRAPHCONNECTION c{};
    g->GetConnection(i, &c);
    std::printf("  %lu.%lu -> %lu.%lu\n", static_cast<unsigned long>(c.fromFilter + 1),
                static_cast<unsigned long>(c.fromPin), static_cast<unsigned long>(c.toFilter + 1),
                static_cast<unsigned long>(c.toPin));
  }
  return kDone;
}

int RunRun() {
  Com com;
  Ref<IGVGraphBuilder> g;
  if (!LoadGraph(args.file, &g.p)) return kFailed;
  LARGE_INTEGER t0, t1, hz;
  QueryPerformanceFrequency(&hz);
  QueryPerformanceCounter(&t0);
  HRESULT hr = g->Run();
  if (FAILED(hr)) {
    Error("%s: cannot run: %s", args.file.c_str(),
          hr == E_FAIL ? "not one chain from a WAVE source, or a file cannot be opened"
                       : gvtool::HresultReason(hr).c_str());
    return kFailed;
  }
  tGVGRAPHPROGRESS p{};
  g->Wait(0, &p);
  gvtool::Progress progress("graph " + args.file, p.framesTotal, args.progress);
  while ((hr = g->Wait(100, &p)) == S_FALSE) {
    if (gvtool::Interrupted()) {
      g->Stop();
      Error("%s: interrupted; nothing written", args.file.c_str());
      return kFailed;
    }
    progress.Update(p.framesDone);
  }
  progress.Update(p.framesDone);
  QueryPerformanceCounter(&t1);
  if (hr != S_OK) {
    Error("%s: the run failed, nothing written: %s", args.file.c_str(),
          gvtool::HresultReason(hr).c_str());
    return kFailed;
  }
  std::printf("%s: %llu frames through %lu filters in %.3f s\n", args.file.c_str(),
              static_cast<unsigned long long>(p.framesDone),
              static_cast<unsigned long>(g->GetFilterCount()),
              double(t1.QuadPart - t0.QuadPart) / double(hz.QuadPart));
  return kDone;
}

int RunGraph() {
  if (gMake->parsed()) return RunMake();
  if (gShow->parsed()) return RunShow();
  return RunRun();
}

gvtool::Runner Setup(CLI::App &cmd) {
  cmd.require_subcommand(1, 1);
  cmd.footer(
      "A graph is a chain of filters: a WAVE source, then gain, channel change,\n"
      "resampler and IIR stages as asked, an optional peak writer, and a WAVE sink.\n"
      "Its output is the same, byte for byte, as convert's steps one after another.\n"
      "The sink's file appears only when the run is complete.");
  gMake = cmd.add_subcommand("make", "Build a graph and save it to FILE.gvg");
  gMake->add_option("FILE", args.file, "Graph file to write")->required();
  gMake->add_option("--source", args.source, "WAVE file to read")->required();
  gMake->add_option("--sink", args.sink, "WAVE file to write")->required();
  gMake->add_option("--gain", args.gainDb, "Gain in dB, -200 to 200")
      ->check(CLI::Range(-200.0, 200.0))->option_text("DB");
  gMake->add_option("-c,--channels", args.channels, "1 sums the channels, 2 spreads mono")
      ->check(CLI::IsMember({1, 2}));
  gMake->add_option("--resample", args.rate, "New sample rate, 1000 to 768000")
      ->check(CLI::Range(1000u, 768000u))->option_text("RATE");
  gMake->add_option("--eq", args.eq, "IIR stage TYPE:FREQ:GAIN:Q (low, high or band; Hz, dB, Q)")
      ->option_text("TYPE:FREQ:GAIN:Q");
  gMake->add_flag("--peaks", args.peaks, "Also write the output's peak file");
  gMake->add_option("-b,--bits", args.bits, "Bits per sample of the output: 8, 16, 24 or 32")
      ->check(CLI::IsMember({8, 16, 24, 32}));
  gMake->add_flag("--float", args.isFloat, "32-bit float output");
  gShow = cmd.add_subcommand("show", "List a saved graph's filters and connections");
  gShow->add_option("FILE", args.file, "Graph file")->required();
  gRun = cmd.add_subcommand("run", "Load a saved graph and run it");
  gRun->add_option("FILE", args.file, "Graph file")->required();
  gRun->add_flag("--progress", args.progress, "Show progress on stderr (shown anyway on a "
                                              "terminal after a second)");
  return RunGraph;
}

const gvtool::Registration reg{"graph", "Make, show and run processing graphs.", Setup};

}  // namespace
