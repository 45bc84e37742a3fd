// What the processor offers beyond SSE2, asked once, and the attribute that
// compiles a function for AVX2 (called only when HasAvx2() is true).
#pragma once

#define GV_AVX2 __attribute__((target("avx2")))
#define GV_FORCEINLINE inline __attribute__((always_inline))

namespace gv::audio {

// Whether the processor and the system support AVX2.
bool HasAvx2();

}  // namespace gv::audio
