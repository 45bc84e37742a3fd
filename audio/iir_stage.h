// One IIR stage over a float stream: a low or high shelf (boost or cut by
// the sign of its gain) or a band, designed with the GvIIR_ routines for the
// stream's rate and run with its state carried from block to block. The
// graph's IIR filter and gvtool convert --eq both run this code.
#pragma once

#include <vector>

#include "audio/iir.h"

namespace gv::audio::iir {

// Stage types, as the graph's GVIIR_* values.
enum StageType { kLowShelf = 1, kHighShelf = 2, kBand = 3 };

// What a stage accepts.
constexpr double kStageMinFreq = 1.0, kStageMaxFreq = 384000.0;  // Hz
constexpr double kStageMinGain = -60.0, kStageMaxGain = 60.0;    // dB
constexpr double kStageMinQ = 0.1, kStageMaxQ = 100.0;

struct StageSettings {
  int type = kBand;
  double freq = 1000.0, gainDb = 0.0, q = 1.0;
};

// True when every value is in its range.
bool StageValid(const StageSettings &s);

class Stage {
 public:
  // Designs the coefficients for `rate` and clears the state; false for
  // settings out of range, a rate that is not positive or no channels.
  bool Start(const StageSettings &s, double rate, int channels);
  // Filters `frames` interleaved frames in place.
  void Process(float *samples, long frames);

 private:
  tGVIIRCOEFFS coeffs_{};
  Shape shape_ = Shape::Band;
  int channels_ = 0;
  std::vector<ChannelState> state_;
};

}  // namespace gv::audio::iir
