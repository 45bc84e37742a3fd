// Two-pole filter design (the GvIIR_ routines) and the filter those
// coefficients describe, run over float frames as gviir.h documents.
#pragma once

#include <vector>

#include "gviir.h"

namespace gv::audio::iir {

// Working frequencies are limited to this range.
constexpr double kMinFreq = 0.0003, kMaxFreq = 0.49;

// The high-frequency gain curve at x (clamped first), as an amplitude.
double HighFrequencyGain(double x);

// The band routine's bandwidth correction k(w, dQ).
double BandWidthFactor(double w, double q);

// The band routine's design (GvIIR_FindBandPassCoeffs without the checks).
void DesignBand(tGVIIRCOEFFS &out, const tGVIIRREQUEST &in);

// Which routine made a coefficient record: it decides how a pass forms its
// output.
enum class Shape { LowShelfCut, LowShelfBoost, HiShelfBoost, HiShelfCut, Band };

// The filter state of one channel: per pass s[n-1], s[n-2], u[n-1], u[n-2].
struct ChannelState {
  double pass[2][4] = {};
};

// Runs both passes over `frames` interleaved float frames in place;
// `state` holds one entry per channel and carries over between calls.
void Run(const tGVIIRCOEFFS &coeffs, Shape shape, float *samples, int channels, long frames,
         std::vector<ChannelState> &state);

// The magnitude of the whole filter (both passes) at frequency x (fraction
// of the sample rate), from its transfer function.
double Magnitude(const tGVIIRCOEFFS &coeffs, Shape shape, double x);

}  // namespace gv::audio::iir
