// The benchmarks' clock: seconds from the performance counter.
#pragma once

#include <windows.h>

#include <algorithm>

inline double Seconds() {
  static const LARGE_INTEGER frequency = [] {
    LARGE_INTEGER f;
    QueryPerformanceFrequency(&f);
    return f;
  }();
  LARGE_INTEGER now;
  QueryPerformanceCounter(&now);
  return static_cast<double>(now.QuadPart) / static_cast<double>(frequency.QuadPart);
}

// The best (shortest) time of `runs` runs of f().
template <class F> double Best(int runs, F f) {
  double best = 1e30;
  for (int i = 0; i < runs; ++i) {
    const double t0 = Seconds();
    f();
    best = std::min(best, Seconds() - t0);
  }
  return best;
}
