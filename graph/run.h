// Running a chain of filters: buffers are queue nodes that a pool of
// queued-I/O workers carries from filter to filter, each filter's work on
// one worker so that its buffers stay in order.
#pragma once

#include <vector>

#include "graph/filter.h"

namespace gv::graph {

class Run;

// Starts the chain (its head a source, each filter feeding the next) with
// buffers of `bufferTime` 100 ns units. On success *run is running; on
// failure every filter already started has been finished as incomplete.
HRESULT StartRun(const std::vector<Filter *> &chain, uint64_t bufferTime, Run **run);

// S_FALSE while running, else the run's result; `progress` may be null.
HRESULT WaitRun(Run &run, DWORD milliseconds, tGVGRAPHPROGRESS *progress);

// Asks the run to stop and waits until its threads are gone.
void StopRun(Run &run);

// Frees a run, stopping it first when it still runs.
void EndRun(Run *run);

}  // namespace gv::graph
