#include "eq.h"

#include <cstdio>

namespace gvtool {

const char kEqUsage[] =
    "expected TYPE:FREQ:GAIN:Q with TYPE low, high or band, FREQ 1..384000 Hz, GAIN -60..60 dB, "
    "Q 0.1..100";

bool ParseEq(const std::string &text, gv::audio::iir::StageSettings *s) {
  namespace iir = gv::audio::iir;
  const size_t colon = text.find(':');
  if (colon == std::string::npos) return false;
  const std::string type = text.substr(0, colon);
  s->type = type == "low" ? iir::kLowShelf : type == "high" ? iir::kHighShelf
            : type == "band" ? iir::kBand : 0;
  char tail = 0;
  return std::sscanf(text.c_str() + colon + 1, "%lf:%lf:%lf%c", &s->freq, &s->gainDb, &s->q,
                     &tail) == 3 &&
         iir::StageValid(*s);
}

}  // namespace gvtool
