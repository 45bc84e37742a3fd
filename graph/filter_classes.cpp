// The filter classes by class identifier.
#include <new>

#include "graph/filters.h"

namespace gv::graph {

namespace {

struct FilterClass {
  CLSID clsid;
  Filter *(*make)();
};

const FilterClass kClasses[] = {
    {GV_CLSID_GVF_WAVESOURCE_INIT, NewWaveSource}, {GV_CLSID_GVF_WAVESINK_INIT, NewWaveSink},
    {GV_CLSID_GVF_GAIN_INIT, NewGain},             {GV_CLSID_GVF_FORMAT_INIT, NewFormatChange},
    {GV_CLSID_GVF_RESAMPLE_INIT, NewResampler},    {GV_CLSID_GVF_IIR_INIT, NewIir},
    {GV_CLSID_GVF_PEAKWRITER_INIT, NewPeakWriter},
};

}  // namespace

Filter *MakeFilter(const CLSID &clsid, HRESULT *hr) {
  for (const FilterClass &c : kClasses) {
    if (!IsEqualCLSID(c.clsid, clsid)) continue;
    Filter *f = nullptr;
    try {
      f = c.make();
    } catch (const std::bad_alloc &) {
      f = nullptr;
    }
    *hr = f ? S_OK : E_OUTOFMEMORY;
    return f;
  }
  *hr = CLASS_E_CLASSNOTAVAILABLE;
  return nullptr;
}

}  // namespace gv::graph
