// Queue figures: one producer and one consumer through a queue, and one
// producer through a one-worker pool to the completion queue, five runs of
// 1,000,000 nodes each with their spread; then pools of 1, 2 and 4 workers
// with an operation that does nothing. Every run checks that each node came
// out exactly once and in its source's order.
#include <algorithm>
#include <cstdio>
#include <vector>

#include "gvtalc.h"
#include "tests/support/queue_load.h"

namespace {

constexpr int kNodes = 1000000;
constexpr int kRuns = 5;

DWORD CALLBACK Nothing(GVQUEUENODE *, DWORD) { return 0; }

bool Sound(const gvtest::LoadReport &r) {
  return r.finished && r.delivered == kNodes && !r.wrongCount && !r.outOfOrder && !r.stalls;
}

// Runs `run` kRuns times and prints each rate, then the lowest, the median
// and the spread (highest less lowest, against the median).
template <class Run>
bool Series(const char *what, Run run) {
  std::vector<double> rates;
  std::printf("%s, %d nodes:", what, kNodes);
  for (int i = 0; i < kRuns; ++i) {
    const gvtest::LoadReport r = run();
    if (!Sound(r)) {
      std::printf(" FAILED (delivered %lld, wrong count %lld, out of order %lld)\n", r.delivered,
                  r.wrongCount, r.outOfOrder);
      return false;
    }
    rates.push_back(kNodes / r.seconds);
    std::printf(" %.2f", rates.back() / 1e6);
    std::fflush(stdout);
  }
  std::sort(rates.begin(), rates.end());
  const double median = rates[kRuns / 2];
  std::printf(" M nodes/s\n  lowest %.2f, median %.2f, highest %.2f M nodes/s, spread %.0f%%\n",
              rates.front() / 1e6, median / 1e6, rates.back() / 1e6,
              100 * (rates.back() - rates.front()) / median);
  return true;
}

}  // namespace

int main() {
  bool ok = Series("1 producer, 1 consumer through a queue", [] {
    GVQUEUE q{};
    GvQueueInitialize(&q);
    const gvtest::LoadReport r = gvtest::RunQueueLoad(&q, 1, 1, kNodes);
    GvQueueDelete(&q);
    return r;
  });
  ok = ok && Series("1 producer through a 1-worker pool to its completion queue",
                    [] { return gvtest::RunPoolLoad(1, kNodes, Nothing); });
  for (int workers : {1, 2, 4}) {
    if (!ok) break;
    const gvtest::LoadReport r = gvtest::RunPoolLoad(workers, kNodes, Nothing);
    ok = Sound(r);
    std::printf("pool of %d worker%s, operation doing nothing, %d nodes collected: %.2f M nodes/s%s\n",
                workers, workers == 1 ? "" : "s", kNodes, kNodes / r.seconds / 1e6,
                ok ? "" : " FAILED");
  }
  return ok ? 0 : 1;
}
