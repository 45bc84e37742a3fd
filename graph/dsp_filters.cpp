// Filters that reshape the signal over time: the resampler (streaming
// interpolation) and the IIR stage, both carrying their state from one
// buffer to the next.
#include <new>

#include "audio/iir_stage.h"
#include "audio/resample.h"
#include "graph/filters.h"
#include "include/gvsamples.h"

namespace gv::graph {

namespace {

const CLSID kResample = GV_CLSID_GVF_RESAMPLE_INIT;
const CLSID kIir = GV_CLSID_GVF_IIR_INIT;

namespace iir = audio::iir;
static_assert(iir::kLowShelf == GVIIR_LOWSHELF && iir::kHighShelf == GVIIR_HISHELF &&
                  iir::kBand == GVIIR_BAND,
              "stage types are the graph's values");

class Resampler final : public Filter {
 public:
  Resampler() : Filter(kResample, {{GVFK_RATE, FieldKind::Word, 1000, 768000, 44100, {}}}, 1, 1) {}

  HRESULT Start(Flow *flow) override {
    rate_ = DWORD(Number(GVFK_RATE));
    same_ = rate_ == flow->rate;
    if (!same_ && !resampler_.Start(GV_SAMPLE_FLOAT32, int(flow->channels), flow->rate, rate_))
      return E_FAIL;
    flow->rate = rate_;
    return S_OK;
  }

  HRESULT Process(Audio &audio) override {
    audio.rate = rate_;
    if (same_ || !audio.frames) return S_OK;
    const long made = resampler_.OutputFrames(long(audio.frames));
    spare_.Reserve(DWORD(made), audio.channels);
    audio.frames = DWORD(resampler_.Process(spare_.data(), made, audio.data(), long(audio.frames)));
    audio.samples.swap(spare_.samples);
    return S_OK;
  }

 private:
  audio::StreamResampler resampler_;
  DWORD rate_ = 0;
  bool same_ = true;
  Audio spare_;
};

class Iir final : public Filter {
 public:
  Iir()
      : Filter(kIir,
               {{GVFK_TYPE, FieldKind::Word, 1, 3, GVIIR_BAND, {}},
                {GVFK_FREQ, FieldKind::Real, iir::kStageMinFreq, iir::kStageMaxFreq, 1000, {}},
                {GVFK_GAIN, FieldKind::Real, iir::kStageMinGain, iir::kStageMaxGain, 0, {}},
                {GVFK_Q, FieldKind::Real, iir::kStageMinQ, iir::kStageMaxQ, 1, {}}},
               1, 1) {}

  HRESULT Start(Flow *flow) override {
    iir::StageSettings s;
    s.type = int(Number(GVFK_TYPE));
    s.freq = Number(GVFK_FREQ);
    s.gainDb = Number(GVFK_GAIN);
    s.q = Number(GVFK_Q);
    return stage_.Start(s, flow->rate, int(flow->channels)) ? S_OK : E_FAIL;
  }

  HRESULT Process(Audio &audio) override {
    stage_.Process(audio.data(), long(audio.frames));
    return S_OK;
  }

 private:
  iir::Stage stage_;
};

}  // namespace

Filter *NewResampler() { return new (std::nothrow) Resampler; }
Filter *NewIir() { return new (std::nothrow) Iir; }

}  // namespace gv::graph
