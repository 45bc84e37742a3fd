// The resampler's three methods on raw interleaved buffers, and the
// streaming method as a state object that filters can feed block by block.
#pragma once

#include <cstddef>
#include <cstdint>

#include "gvresample.h"

namespace gv::audio {

// Stereo float32 and 16-bit frames go through SSE2 unless forced to the
// scalar loop (for the tests that compare the two). Not for use while
// resampling runs.
void ForceResampleScalar(bool scalar);

// True for the types the linear methods read and write.
bool IsLinearType(DWORD type);

// Method 0 over whole frames of frameBytes bytes. S, D >= 1.
void RepeatFrames(void *dst, long D, const void *src, long S, size_t frameBytes);

// Method 1. Types without a linear rule leave dst as it was. S, D >= 1.
void LinearFrames(DWORD type, int channels, void *dst, long D, const void *src, long S);

// Frames the streaming method makes from S source frames at this state:
// the k >= 0 with pos + k * step < S - 1.
std::int64_t StreamFrameCount(double pos, double step, long S);

// Method 2 on `inst` (dStep set, 1..32 channels, S >= 1): writes at most
// dstCapacity frames, advances the state over all S frames and returns the
// frames written. False preconditions are the caller's to check
// (StreamUsable).
long StreamFrames(tGVRESAMPLEINSTANCE &inst, DWORD type, int channels, void *dst,
                  long dstCapacity, const void *src, long S);

// True when `inst` can stream `channels` channels: a positive finite step,
// a finite position, 1..32 channels.
bool StreamUsable(const tGVRESAMPLEINSTANCE &inst, int channels);

// One stream's resampler: the state of method 2 with its format, for
// callers that feed consecutive blocks (the graph's filters).
class StreamResampler {
 public:
  // False (and unusable) for a type without a linear rule, 0 or more than
  // 32 channels, or rates that are not positive.
  bool Start(DWORD type, int channels, double srcRate, double dstRate);
  // Frames the next Process of `srcFrames` frames will make.
  long OutputFrames(long srcFrames) const;
  // Consumes all srcFrames frames; writes at most dstCapacity frames to dst
  // (which may be src); returns the frames written (0 when not started).
  long Process(void *dst, long dstCapacity, const void *src, long srcFrames);

 private:
  tGVRESAMPLEINSTANCE inst_{};
  DWORD type_ = 0;
  int channels_ = 0;
};

}  // namespace gv::audio
