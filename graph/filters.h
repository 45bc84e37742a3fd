// The filter classes the graph can make; each returns a new filter with one
// reference, or null when it cannot be allocated.
#pragma once

#include "graph/filter.h"

namespace gv::graph {

Filter *NewWaveSource();
Filter *NewWaveSink();
Filter *NewGain();
Filter *NewFormatChange();
Filter *NewResampler();
Filter *NewIir();
Filter *NewPeakWriter();

}  // namespace gv::graph
