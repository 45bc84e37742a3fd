// Load runs over the queue and queued-I/O pools, shared by the tests and
// the queue benchmark: every node counts its deliveries, and each consumer
// checks that it sees each producer's (or worker's) nodes in their order.
#pragma once

#include <windows.h>

#include <vector>

#include "gvqueue.h"
#include "threads.h"

namespace gvtest {

struct LoadNode {
  GVQUEUENODE link;
  int source;  // producer, or worker the node was given to
  int seq;     // its place in its source's sequence
  volatile LONG deliveries;
};

struct LoadReport {
  long long delivered = 0;  // removals
  long long wrongCount = 0;  // nodes not delivered exactly once
  long long outOfOrder = 0;  // a source's node after a later one of it
  long long stalls = 0;      // waits that ran out with nodes still to come
  bool finished = false;     // all threads done within the limit
  double seconds = 0;        // from the start until the last node was taken
};

inline double Now() {
  LARGE_INTEGER f, c;
  QueryPerformanceFrequency(&f);
  QueryPerformanceCounter(&c);
  return double(c.QuadPart) / double(f.QuadPart);
}

// Checks what a consumer took: seq rises within each source.
struct OrderCheck {
  std::vector<int> last;
  long long wrong = 0;
  explicit OrderCheck(int sources) : last(sources, -1) {}
  void See(const LoadNode *n) {
    if (n->seq <= last[n->source]) ++wrong;
    last[n->source] = n->seq;
  }
};

constexpr DWORD kLoadWaitMs = 5000;

// A removal that came back empty after its whole wait while nodes were still
// on their way: a lost wake-up.
inline bool Stalled(DWORD startTick, bool more) {
  return more && GetTickCount() - startTick >= kLoadWaitMs;
}

inline void CountDeliveries(const std::vector<LoadNode> &nodes, LoadReport &r) {
  for (const LoadNode &n : nodes) r.wrongCount += n.deliveries != 1;
}

// `producers` threads insert perProducer nodes each into q while `consumers`
// threads remove them; q must be live and empty.
inline LoadReport RunQueueLoad(GVQUEUE *q, int producers, int consumers, int perProducer,
                               DWORD limitMs = 60000) {
  std::vector<LoadNode> nodes(size_t(producers) * perProducer);
  for (int p = 0; p < producers; ++p)
    for (int s = 0; s < perProducer; ++s) nodes[size_t(p) * perProducer + s] = {{}, p, s, 0};
  const long long total = (long long)nodes.size();
  HANDLE go = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  volatile LONG taken = 0, nextProducer = -1;
  std::vector<long long> wrongOrder(consumers, 0);
  volatile LONG stalls = 0;
  volatile LONG nextConsumer = -1;
  auto produce = [&] {
    const int p = (int)InterlockedIncrement(&nextProducer);
    WaitForSingleObject(go, limitMs);
    for (int s = 0; s < perProducer; ++s) GvQueueInsert(q, &nodes[size_t(p) * perProducer + s].link);
  };
  auto consume = [&] {
    const int c = (int)InterlockedIncrement(&nextConsumer);
    OrderCheck order(producers);
    WaitForSingleObject(go, limitMs);
    const DWORD start = GetTickCount();
    // The consumer that takes the last node flushes to wake the others.
    while (taken < total && GetTickCount() - start < limitMs) {
      const DWORD t = GetTickCount();
      auto *n = reinterpret_cast<LoadNode *>(GvQueueRemove(q, kLoadWaitMs));
      if (!n) {
        if (Stalled(t, taken < total)) InterlockedIncrement(&stalls);
        continue;
      }
      InterlockedIncrement(&n->deliveries);
      if (InterlockedIncrement(&taken) == total) GvQueueFlush(q);
      order.See(n);
    }
    wrongOrder[c] = order.wrong;
  };
  std::vector<HANDLE> threads;
  for (int i = 0; i < consumers; ++i) threads.push_back(StartThread(consume));
  for (int i = 0; i < producers; ++i) threads.push_back(StartThread(produce));
  const double t0 = Now();
  SetEvent(go);
  LoadReport r;
  // Consumers give up after limitMs plus one wait: only a thread stuck in
  // the queue's lock outlives this.
  r.finished = JoinAll(threads, limitMs + 15000);
  r.seconds = Now() - t0;
  CloseHandle(go);
  if (!r.finished) return r;
  r.delivered = taken;
  r.stalls = stalls;
  for (long long w : wrongOrder) r.outOfOrder += w;
  CountDeliveries(nodes, r);
  return r;
}

// One producer thread gives `count` nodes to a pool of `workers` (node i to
// worker i % workers) running `proc`; this thread collects them from the
// completion queue in finishing order. seq counts within each worker.
inline LoadReport RunPoolLoad(int workers, int count, GVQIOPROC proc, DWORD limitMs = 60000) {
  LoadReport r;
  GVQUEUE done{};
  if (!GvQueueInitialize(&done)) return r;
  tGVQIO *qio = nullptr;
  if (GvQio_Create(&qio, &done, workers, 0, proc) != S_OK) {
    GvQueueDelete(&done);
    return r;
  }
  std::vector<LoadNode> nodes(count);
  for (int i = 0; i < count; ++i) nodes[i] = {{}, i % workers, i / workers, 0};
  auto produce = [&] {
    for (int i = 0; i < count; ++i) GvQio_InsertOperation(qio, i % workers, &nodes[i].link);
  };
  OrderCheck order(workers);
  const double t0 = Now();
  std::vector<HANDLE> threads{StartThread(produce)};
  const DWORD start = GetTickCount();
  while (r.delivered < count && GetTickCount() - start < limitMs) {
    const DWORD t = GetTickCount();
    auto *n = reinterpret_cast<LoadNode *>(GvQueueRemove(&done, kLoadWaitMs));
    if (!n) {
      r.stalls += Stalled(t, true);
      continue;
    }
    ++n->deliveries;
    ++r.delivered;
    order.See(n);
  }
  r.seconds = Now() - t0;
  r.finished = JoinAll(threads, 5000) && r.delivered == count;
  GvQio_Destroy(qio);
  GvQueueDelete(&done);
  r.outOfOrder = order.wrong;
  CountDeliveries(nodes, r);
  return r;
}

}  // namespace gvtest
