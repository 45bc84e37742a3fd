// --eq TYPE:FREQ:GAIN:Q, read the same way by convert and graph make into
// the settings of the IIR stage both run.
#pragma once

#include <string>

#include "audio/iir_stage.h"

namespace gvtool {

// TYPE low, high or band; FREQ in Hz, GAIN in dB, Q. False for text of
// another shape or a value out of the stage's ranges.
bool ParseEq(const std::string &text, gv::audio::iir::StageSettings *settings);

// What to tell the user when ParseEq fails.
extern const char kEqUsage[];

}  // namespace gvtool
