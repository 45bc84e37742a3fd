// The IIR stage: picks the design routine by type and the sign of the gain.
#include "audio/iir_stage.h"

namespace gv::audio::iir {

bool StageValid(const StageSettings &s) {
  return (s.type == kLowShelf || s.type == kHighShelf || s.type == kBand) &&
         s.freq >= kStageMinFreq && s.freq <= kStageMaxFreq && s.gainDb >= kStageMinGain &&
         s.gainDb <= kStageMaxGain && s.q >= kStageMinQ && s.q <= kStageMaxQ;
}

bool Stage::Start(const StageSettings &s, double rate, int channels) {
  channels_ = 0;
  if (!StageValid(s) || !(rate > 0.0) || channels < 1) return false;
  const tGVIIRREQUEST request{s.freq / rate, s.gainDb, s.q};
  const bool cut = s.gainDb < 0.0;
  coeffs_ = tGVIIRCOEFFS{};
  if (s.type == kLowShelf) {
    shape_ = cut ? Shape::LowShelfCut : Shape::LowShelfBoost;
    (cut ? GvIIR_FindLowShelfCutCoeffs : GvIIR_FindLowShelfBoostCoeffs)(&coeffs_, &request);
  } else if (s.type == kHighShelf) {
    shape_ = cut ? Shape::HiShelfCut : Shape::HiShelfBoost;
    (cut ? GvIIR_FindHiShelfCutCoeffs : GvIIR_FindHiShelfBoostCoeffs)(&coeffs_, &request);
  } else {
    shape_ = Shape::Band;
    GvIIR_FindBandPassCoeffs(&coeffs_, &request);
  }
  state_.assign(size_t(channels), ChannelState{});
  channels_ = channels;
  return true;
}

void Stage::Process(float *samples, long frames) {
  if (channels_) Run(coeffs_, shape_, samples, channels_, frames, state_);
}

}  // namespace gv::audio::iir
