// The graph builder: a name, a buffer length, the buffers' format, a list of
// filters and the connections between their pins; saved and loaded in the
// order its persistent data lays down, and run as one chain.
#include "graph/builder.h"

#include <cstring>
#include <cwchar>
#include <new>
#include <string>
#include <vector>

#include "graph/filter.h"
#include "graph/run.h"
#include "graph/stream_io.h"
#include "include/gvgraph.h"

namespace gv::graph {

namespace {

const IID kIidGraphBuilder = GV_IID_IGVGRAPHBUILDER_INIT;
constexpr uint32_t kLayoutVersion = 1;
constexpr uint64_t kNewBufferTime = 3000000;  // 0.3 s
// The longest: 32768 frames (gvtool's buffers) at 1000 Hz.
constexpr uint64_t kMinBufferTime = 1000, kMaxBufferTime = 327680000;
constexpr uint32_t kConnectionKind = 1, kConnectionBytes = 16;
constexpr ULONG kFormatBytes = 18;

WAVEFORMATEX NewFormat() {
  WAVEFORMATEX f{};
  f.wFormatTag = WAVE_FORMAT_IEEE_FLOAT;
  f.nChannels = 2;
  f.nSamplesPerSec = 44100;
  f.wBitsPerSample = 32;
  f.nBlockAlign = 8;
  f.nAvgBytesPerSec = 44100 * 8;
  return f;
}

bool FormatAccepted(const WAVEFORMATEX &f) {
  return f.wFormatTag == WAVE_FORMAT_IEEE_FLOAT && f.wBitsPerSample == 32 && f.cbSize == 0 &&
         f.nChannels >= 1 && f.nSamplesPerSec >= 1 && f.nBlockAlign == 4u * f.nChannels &&
         f.nAvgBytesPerSec == f.nSamplesPerSec * f.nBlockAlign;
}

// Filters with the references the list holds.
struct FilterList {
  std::vector<Filter *> items;
  FilterList() = default;
  FilterList(const FilterList &) = delete;
  FilterList &operator=(const FilterList &) = delete;
  ~FilterList() {
    for (Filter *f : items) f->Release();
  }
};

class GraphBuilder final : public IGVGraphBuilder {
 public:
  GraphBuilder(IUnknown *outer, ReleasedCallback released)
      : outer_(outer), released_(released), format_(NewFormat()) {}
  ~GraphBuilder() { EndRun(run_); }

  STDMETHODIMP QueryInterface(REFIID iid, void **result) override {
    if (!result) return E_INVALIDARG;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, kIidGraphBuilder)) {
      *result = static_cast<IGVGraphBuilder *>(this);
      AddRef();
      return S_OK;
    }
    *result = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ULONG(InterlockedIncrement(&refs_)); }
  STDMETHODIMP_(ULONG) Release() override {
    const LONG n = InterlockedDecrement(&refs_);
    if (n != 0) return ULONG(n);
    if (released_) released_();
    delete this;
    return 0;
  }

  STDMETHODIMP GetClassID(CLSID *clsid) override {
    if (!clsid) return E_INVALIDARG;
    *clsid = TalcClassId();
    return S_OK;
  }

  STDMETHODIMP IsDirty() override {
    if (dirty_) return S_OK;
    for (Filter *f : filters_.items)
      if (f->IsDirty() == S_OK) return S_OK;
    return S_FALSE;
  }

  STDMETHODIMP GetSizeMax(ULARGE_INTEGER *size) override {
    if (!size) return E_INVALIDARG;
    uint64_t n = 4 + TextSize(name_) + 8 + kFormatBytes + 12 + 12;
    for (Filter *f : filters_.items) n += 16 + f->DataSize();
    n += uint64_t(connections_.size()) * (4 + TextSize(L"") + 4 + kConnectionBytes);
    size->QuadPart = n;
    return S_OK;
  }

  STDMETHODIMP Save(IStream *s, BOOL clearDirty) override {
    if (!s) return E_INVALIDARG;
    HRESULT hr = WriteU32(s, kLayoutVersion);
    if (SUCCEEDED(hr)) hr = WriteText(s, name_);
    if (SUCCEEDED(hr)) hr = WriteU64(s, bufferTime_);
    if (SUCCEEDED(hr)) hr = WriteBytes(s, &format_, kFormatBytes);
    if (SUCCEEDED(hr)) hr = WriteWords(s, uint32_t(filters_.items.size()));
    for (size_t i = 0; i < filters_.items.size() && SUCCEEDED(hr); ++i) {
      CLSID clsid;
      filters_.items[i]->GetClassID(&clsid);
      hr = WriteBytes(s, &clsid, sizeof clsid);
      if (SUCCEEDED(hr)) hr = filters_.items[i]->Save(s, clearDirty);
    }
    if (SUCCEEDED(hr)) hr = WriteWords(s, uint32_t(connections_.size()));
    for (size_t i = 0; i < connections_.size() && SUCCEEDED(hr); ++i) {
      hr = WriteU32(s, kConnectionKind);
      if (SUCCEEDED(hr)) hr = WriteText(s, L"");
      if (SUCCEEDED(hr)) hr = WriteU32(s, kConnectionBytes);
      if (SUCCEEDED(hr)) hr = WriteBytes(s, &connections_[i], kConnectionBytes);
    }
    if (SUCCEEDED(hr) && clearDirty) dirty_ = false;
    return hr;
  }

  STDMETHODIMP Load(IStream *s) override {
    if (!s) return E_INVALIDARG;
    if (run_) return E_ACCESSDENIED;
    try {
      return LoadFrom(s);
    } catch (const std::bad_alloc &) {
      return E_OUTOFMEMORY;
    }
  }

  STDMETHODIMP SetName(LPCWSTR name) override {
    if (!name || std::wcslen(name) > GVGRAPH_MAXNAME) return E_INVALIDARG;
    if (run_) return E_ACCESSDENIED;
    try {
      name_ = name;
    } catch (const std::bad_alloc &) {
      return E_OUTOFMEMORY;
    }
    dirty_ = true;
    return S_OK;
  }

  STDMETHODIMP GetName(LPWSTR name, DWORD chars, DWORD *needed) override {
    if (needed) *needed = DWORD(name_.size() + 1);
    if (!name || chars < name_.size() + 1) return E_INVALIDARG;
    std::wmemcpy(name, name_.c_str(), name_.size() + 1);
    return S_OK;
  }

  STDMETHODIMP SetFormat(const WAVEFORMATEX *format) override {
    if (!format) return E_INVALIDARG;
    WAVEFORMATEX f{};
    std::memcpy(&f, format, kFormatBytes);
    if (!FormatAccepted(f)) return E_INVALIDARG;
    if (run_) return E_ACCESSDENIED;
    format_ = f;
    dirty_ = true;
    return S_OK;
  }

  STDMETHODIMP GetFormat(WAVEFORMATEX *format) override {
    if (!format) return E_INVALIDARG;
    *format = format_;
    return S_OK;
  }

  STDMETHODIMP SetBufferTime(ULONGLONG time) override {
    if (time < kMinBufferTime || time > kMaxBufferTime) return E_INVALIDARG;
    if (run_) return E_ACCESSDENIED;
    bufferTime_ = time;
    dirty_ = true;
    return S_OK;
  }

  STDMETHODIMP_(ULONGLONG) GetBufferTime() override { return bufferTime_; }

  STDMETHODIMP AddFilter(REFCLSID clsid, IGVFilter **filter) override {
    if (filter) *filter = nullptr;
    if (run_) return E_ACCESSDENIED;
    if (filters_.items.size() >= GVGRAPH_MAXFILTERS) return E_FAIL;
    HRESULT hr = E_FAIL;
    Filter *f = MakeFilter(clsid, &hr);
    if (!f) return hr;
    try {
      filters_.items.push_back(f);
    } catch (const std::bad_alloc &) {
      f->Release();
      return E_OUTOFMEMORY;
    }
    dirty_ = true;
    if (filter) {
      f->AddRef();
      *filter = f;
    }
    return S_OK;
  }

  STDMETHODIMP RemoveFilter(IGVFilter *filter) override {
    const DWORD index = IndexOf(filter);
    if (index == kNone) return E_INVALIDARG;
    if (run_) return E_ACCESSDENIED;
    // Its connections go; the others' indexes past it move down by one.
    std::vector<tGVGRAPHCONNECTION> kept;
    for (tGVGRAPHCONNECTION c : connections_) {
      if (c.fromFilter == index || c.toFilter == index) continue;
      if (c.fromFilter > index) --c.fromFilter;
      if (c.toFilter > index) --c.toFilter;
      kept.push_back(c);
    }
    connections_.swap(kept);
    filters_.items[index]->Release();
    filters_.items.erase(filters_.items.begin() + index);
    dirty_ = true;
    return S_OK;
  }

  STDMETHODIMP_(DWORD) GetFilterCount() override { return DWORD(filters_.items.size()); }

  STDMETHODIMP GetFilter(DWORD index, IGVFilter **filter) override {
    if (!filter) return E_INVALIDARG;
    *filter = nullptr;
    if (index >= filters_.items.size()) return E_INVALIDARG;
    filters_.items[index]->AddRef();
    *filter = filters_.items[index];
    return S_OK;
  }

  STDMETHODIMP Connect(IGVFilter *from, DWORD fromPin, IGVFilter *to, DWORD toPin) override {
    const tGVGRAPHCONNECTION c{IndexOf(from), fromPin, IndexOf(to), toPin};
    if (!Connectable(filters_.items, connections_, c)) return E_INVALIDARG;
    if (run_) return E_ACCESSDENIED;
    try {
      connections_.push_back(c);
    } catch (const std::bad_alloc &) {
      return E_OUTOFMEMORY;
    }
    dirty_ = true;
    return S_OK;
  }

  STDMETHODIMP Disconnect(IGVFilter *from, DWORD fromPin) override {
    const DWORD index = IndexOf(from);
    if (index == kNone) return E_INVALIDARG;
    if (run_) return E_ACCESSDENIED;
    for (size_t i = 0; i < connections_.size(); ++i) {
      if (connections_[i].fromFilter == index && connections_[i].fromPin == fromPin) {
        connections_.erase(connections_.begin() + i);
        dirty_ = true;
        return S_OK;
      }
    }
    return S_FALSE;
  }

  STDMETHODIMP_(DWORD) GetConnectionCount() override { return DWORD(connections_.size()); }

  STDMETHODIMP GetConnection(DWORD index, tGVGRAPHCONNECTION *connection) override {
    if (!connection || index >= connections_.size()) return E_INVALIDARG;
    *connection = connections_[index];
    return S_OK;
  }

  STDMETHODIMP Run() override {
    if (run_) {
      if (WaitRun(*run_, 0, nullptr) == S_FALSE) return E_ACCESSDENIED;
      Retire();
    }
    std::vector<Filter *> chain;
    try {
      if (!Chain(&chain)) return E_FAIL;
      lastResult_ = S_OK;
      return StartRun(chain, bufferTime_, &run_);
    } catch (const std::bad_alloc &) {
      return E_OUTOFMEMORY;
    }
  }

  STDMETHODIMP Wait(DWORD milliseconds, tGVGRAPHPROGRESS *progress) override {
    if (progress) *progress = lastProgress_;
    if (!run_) return lastResult_;
    const HRESULT hr = WaitRun(*run_, milliseconds, progress);
    if (hr != S_FALSE) Retire();
    return hr;
  }

  STDMETHODIMP Stop() override {
    if (!run_) return S_FALSE;
    StopRun(*run_);
    Retire();
    return S_OK;
  }

 private:
  static constexpr DWORD kNone = 0xFFFFFFFF;

  DWORD IndexOf(IGVFilter *filter) const {
    for (size_t i = 0; i < filters_.items.size(); ++i)
      if (filter && static_cast<IGVFilter *>(filters_.items[i]) == filter) return DWORD(i);
    return kNone;
  }

  static bool Connectable(const std::vector<Filter *> &filters,
                          const std::vector<tGVGRAPHCONNECTION> &existing,
                          const tGVGRAPHCONNECTION &c) {
    if (c.fromFilter >= filters.size() || c.toFilter >= filters.size() ||
        c.fromFilter == c.toFilter || c.fromPin >= filters[c.fromFilter]->Outputs() ||
        c.toPin >= filters[c.toFilter]->Inputs())
      return false;
    for (const tGVGRAPHCONNECTION &e : existing)
      if ((e.fromFilter == c.fromFilter && e.fromPin == c.fromPin) ||
          (e.toFilter == c.toFilter && e.toPin == c.toPin))
        return false;
    return true;
  }

  static HRESULT WriteWords(IStream *s, uint32_t count) {
    HRESULT hr = WriteU32(s, count);
    if (SUCCEEDED(hr)) hr = WriteU32(s, 0);
    if (SUCCEEDED(hr)) hr = WriteU32(s, 0);
    return hr;
  }

  static HRESULT ReadWords(IStream *s, uint32_t *count) {
    uint32_t w[3];
    HRESULT hr = ReadBytes(s, w, sizeof w);
    if (FAILED(hr)) return hr;
    *count = w[0];
    return S_OK;
  }

  HRESULT LoadFrom(IStream *s) {
    uint32_t version = 0, count = 0;
    HRESULT hr = ReadU32(s, &version);
    if (FAILED(hr)) return hr;
    if (version != kLayoutVersion) return E_FAIL;
    std::wstring name;
    hr = ReadText(s, GVGRAPH_MAXNAME, &name);
    if (FAILED(hr)) return hr;
    uint64_t bufferTime = 0;
    hr = ReadU64(s, &bufferTime);
    if (FAILED(hr)) return hr;
    if (bufferTime < kMinBufferTime || bufferTime > kMaxBufferTime) return E_FAIL;
    WAVEFORMATEX format{};
    hr = ReadBytes(s, &format, kFormatBytes);
    if (FAILED(hr)) return hr;
    if (!FormatAccepted(format)) return E_FAIL;
    hr = ReadWords(s, &count);
    if (FAILED(hr)) return hr;
    if (count > GVGRAPH_MAXFILTERS) return E_FAIL;
    FilterList filters;
    filters.items.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
      CLSID clsid;
      hr = ReadBytes(s, &clsid, sizeof clsid);
      if (FAILED(hr)) return hr;
      Filter *f = MakeFilter(clsid, &hr);
      if (!f) return hr;
      filters.items.push_back(f);
      hr = f->Load(s);
      if (FAILED(hr)) return hr;
    }
    hr = ReadWords(s, &count);
    if (FAILED(hr)) return hr;
    // Each pin takes one connection at most.
    if (count > filters.items.size()) return E_FAIL;
    std::vector<tGVGRAPHCONNECTION> connections;
    for (uint32_t i = 0; i < count; ++i) {
      uint32_t kind = 0, size = 0;
      std::wstring label;
      tGVGRAPHCONNECTION c{};
      hr = ReadU32(s, &kind);
      if (SUCCEEDED(hr)) hr = kind == kConnectionKind ? ReadText(s, GVGRAPH_MAXNAME, &label) : E_FAIL;
      if (SUCCEEDED(hr)) hr = ReadU32(s, &size);
      if (SUCCEEDED(hr)) hr = size == kConnectionBytes ? ReadBytes(s, &c, kConnectionBytes) : E_FAIL;
      if (FAILED(hr)) return hr;
      if (!Connectable(filters.items, connections, c)) return E_FAIL;
      connections.push_back(c);
    }
    name_.swap(name);
    bufferTime_ = bufferTime;
    format_ = format;
    filters_.items.swap(filters.items);
    connections_.swap(connections);
    dirty_ = false;
    return S_OK;
  }

  // Every filter in one chain from the one without inputs.
  bool Chain(std::vector<Filter *> *chain) const {
    const size_t n = filters_.items.size();
    if (n == 0 || connections_.size() != n - 1) return false;
    DWORD head = kNone;
    for (size_t i = 0; i < n; ++i) {
      if (filters_.items[i]->Inputs() != 0) continue;
      if (head != kNone) return false;
      head = DWORD(i);
    }
    for (DWORD at = head; at != kNone;) {
      if (chain->size() == n) return false;
      chain->push_back(filters_.items[at]);
      DWORD next = kNone;
      for (const tGVGRAPHCONNECTION &c : connections_)
        if (c.fromFilter == at) next = c.toFilter;
      at = next;
    }
    return chain->size() == n;
  }

  void Retire() {
    tGVGRAPHPROGRESS p{};
    lastResult_ = WaitRun(*run_, INFINITE, &p);
    lastProgress_ = p;
    EndRun(run_);
    run_ = nullptr;
  }

  LONG refs_ = 0;
  IUnknown *outer_;  // kept, not used
  ReleasedCallback released_;
  std::wstring name_;
  uint64_t bufferTime_ = kNewBufferTime;
  WAVEFORMATEX format_;
  FilterList filters_;
  std::vector<tGVGRAPHCONNECTION> connections_;
  bool dirty_ = false;
  graph::Run *run_ = nullptr;
  HRESULT lastResult_ = S_OK;
  tGVGRAPHPROGRESS lastProgress_{};
};

}  // namespace

HRESULT CreateGraphBuilder(IUnknown *outer, REFIID iid, void **result, ReleasedCallback released) {
  GraphBuilder *g = nullptr;
  try {
    g = new (std::nothrow) GraphBuilder(outer, released);
  } catch (const std::bad_alloc &) {
    g = nullptr;
  }
  if (!g) {
    *result = nullptr;
    return E_OUTOFMEMORY;
  }
  const HRESULT hr = g->QueryInterface(iid, result);
  if (FAILED(hr)) delete g;
  return hr;
}

}  // namespace gv::graph
