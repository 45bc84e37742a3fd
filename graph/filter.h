// The filters' common body: the COM object, values described by a table of
// fields (which also gives their persistent data), and the calls a run
// makes on them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "include/gvgraph.h"

namespace gv::graph {

// One buffer of audio between filters: interleaved 32-bit float frames.
struct Audio {
  std::vector<float> samples;
  DWORD frames = 0;
  DWORD channels = 0;
  DWORD rate = 0;
  float *data() { return samples.data(); }
  void Reserve(DWORD frameCount, DWORD channelCount) {
    const size_t need = size_t(frameCount) * channelCount;
    if (samples.size() < need) samples.resize(need);
  }
};

// What flows out of a filter: its channels and rate; a source also says
// how many frames it holds.
struct Flow {
  DWORD channels = 0;
  DWORD rate = 0;
  uint64_t frames = 0;
};

enum class FieldKind { Text, Word, Real };

// A value of a filter class, in the order of its persistent data.
struct Field {
  DWORD key;
  FieldKind kind;
  double min, max, initial;
  std::vector<double> allowed;  // empty: any value in min..max
};

class Filter : public IGVFilter {
 public:
  Filter(const CLSID &clsid, std::vector<Field> fields, DWORD inputs, DWORD outputs);
  virtual ~Filter() = default;

  STDMETHODIMP QueryInterface(REFIID iid, void **result) override;
  STDMETHODIMP_(ULONG) AddRef() override;
  STDMETHODIMP_(ULONG) Release() override;
  STDMETHODIMP GetClassID(CLSID *clsid) override;
  STDMETHODIMP IsDirty() override;
  STDMETHODIMP Load(IStream *stream) override;
  STDMETHODIMP Save(IStream *stream, BOOL clearDirty) override;
  STDMETHODIMP GetSizeMax(ULARGE_INTEGER *size) override;
  STDMETHODIMP GetPins(DWORD *inputs, DWORD *outputs) override;
  STDMETHODIMP SetValue(DWORD key, double value) override;
  STDMETHODIMP GetValue(DWORD key, double *value) override;
  STDMETHODIMP SetText(DWORD key, LPCWSTR text) override;
  STDMETHODIMP GetText(DWORD key, LPWSTR text, DWORD chars) override;

  DWORD Inputs() const { return inputs_; }
  DWORD Outputs() const { return outputs_; }
  uint64_t DataSize() const;
  // While a run uses the filter its values cannot change.
  void SetRunning(bool running) { running_ = running; }

  // A run: Start is given what flows in (for a source, nothing) and sets
  // what flows out; Process works on each buffer in order (a source fills
  // it, 0 frames at the end); Finish ends the run, complete or not, and
  // says whether what it leaves behind is whole.
  virtual HRESULT Start(Flow *flow) = 0;
  virtual HRESULT Process(Audio &audio) = 0;
  virtual HRESULT Finish(bool complete) {
    (void)complete;
    return S_OK;
  }

 protected:
  double Number(DWORD key) const;
  const std::wstring &Text() const { return text_; }

 private:
  const Field *Find(DWORD key) const;
  bool Valid(const Field &f, double v) const;

  LONG refs_ = 1;
  CLSID clsid_;
  std::vector<Field> fields_;
  std::vector<double> numbers_;  // one per field; texts keep 0
  std::wstring text_;            // the one text field's value
  DWORD inputs_, outputs_;
  bool dirty_ = false, running_ = false;
};

// A new filter of `clsid` with one reference; null for an unknown class.
// *hr tells which: CLASS_E_CLASSNOTAVAILABLE or E_OUTOFMEMORY.
Filter *MakeFilter(const CLSID &clsid, HRESULT *hr);


// Narrow text for the file functions (the system code page).
std::string Narrow(const std::wstring &text);

// The folder a file name is in, for temporary files beside it ("." for a
// bare name), so that renaming them over it stays on one volume.
std::string FolderOf(const std::string &path);

}  // namespace gv::graph
