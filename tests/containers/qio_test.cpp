// Queued-I/O pools through the DLL: clamped arguments, which worker runs a
// node, the stop tag, destruction with work pending, and load.
#include <gtest/gtest.h>

#include <vector>

#include "gvqueue.h"
#include "support/cases.h"
#include "support/queue_load.h"

namespace {

// What the operation saw, kept in the node.
struct Probe {
  GVQUEUENODE link;
  DWORD thread;
  int priority;
  int runs;
};

DWORD CALLBACK Record(GVQUEUENODE *node, DWORD reserved) {
  auto *p = reinterpret_cast<Probe *>(node);
  p->thread = GetCurrentThreadId();
  p->priority = GetThreadPriority(GetCurrentThread());
  p->runs += 1 + int(reserved);  // reserved is always 0
  return 0xDEAD;                  // ignored
}

DWORD CALLBACK Nothing(GVQUEUENODE *, DWORD) { return 0; }

struct Pool {
  GVQUEUE done{};
  tGVQIO *qio = nullptr;
  Pool(int workers, int priority, GVQIOPROC proc = Record) {
    EXPECT_TRUE(GvQueueInitialize(&done));
    EXPECT_EQ(GvQio_Create(&qio, &done, workers, priority, proc), S_OK);
  }
  ~Pool() {
    if (qio) GvQio_Destroy(qio);
    GvQueueDelete(&done);
  }
  Probe *Run(int index, Probe &p) {
    EXPECT_TRUE(GvQio_InsertOperation(qio, index, &p.link));
    return reinterpret_cast<Probe *>(GvQueueRemove(&done, 10000));
  }
};

TEST(Qio, CreateClampsWorkersAndPriority) {
  struct Case {
    int workers, priority, count, runPriority;
  } cases[] = {{9, 40, 4, THREAD_PRIORITY_TIME_CRITICAL},
               {0, -40, 1, THREAD_PRIORITY_IDLE},
               {-5, 1, 1, 1},
               {2, -2, 2, -2},
               {4, 0, 4, 0}};
  FOR_EACH_CASE(cases) {
    Pool pool(c.workers, c.priority);
    ASSERT_EQ(GvQio_GetWorkerCount(pool.qio), c.count);
    for (int k = 0; k < c.count; ++k) {
      Probe p{};
      ASSERT_EQ(pool.Run(k, p), &p) << "worker " << k;
      EXPECT_EQ(p.priority, c.runPriority) << "worker " << k;
      EXPECT_EQ(p.runs, 1);
      EXPECT_NE(p.thread, GetCurrentThreadId());
    }
  }
}

TEST(Qio, BadArgumentsGiveDefinedAnswers) {
  GVQUEUE done{};
  ASSERT_TRUE(GvQueueInitialize(&done));
  struct Case {
    bool completion, proc;
  } cases[] = {{false, true}, {true, false}};
  FOR_EACH_CASE(cases) {
    auto *qio = reinterpret_cast<tGVQIO *>(0x1234);  // cleared first
    EXPECT_EQ(GvQio_Create(&qio, c.completion ? &done : nullptr, 1, 0, c.proc ? Record : nullptr),
              E_INVALIDARG);
    EXPECT_EQ(qio, nullptr);
  }
  EXPECT_EQ(GvQio_Create(nullptr, &done, 1, 0, Record), E_INVALIDARG);
  GVQUEUENODE n{};
  EXPECT_FALSE(GvQio_InsertOperation(nullptr, 0, &n));
  EXPECT_EQ(GvQio_GetWorkerCount(nullptr), 0);
  EXPECT_EQ(GvQio_Destroy(nullptr), 0);
  GvQueueDelete(&done);
}

TEST(Qio, WorkerIndexIsClamped) {
  Pool pool(2, 0);
  Probe first{}, second{};
  pool.Run(0, first);
  pool.Run(1, second);
  ASSERT_NE(first.thread, second.thread);
  struct Case {
    int index;
    int worker;
  } cases[] = {{-3, 0}, {INT_MIN, 0}, {0, 0}, {1, 1}, {2, 1}, {10, 1}, {INT_MAX, 1}};
  FOR_EACH_CASE(cases) {
    Probe p{};
    ASSERT_EQ(pool.Run(c.index, p), &p);
    EXPECT_EQ(p.thread, c.worker ? second.thread : first.thread);
  }
  EXPECT_FALSE(GvQio_InsertOperation(pool.qio, 0, nullptr));
}

// A caller's stop node ends its worker and goes nowhere; the work before it
// is done, the work given after it never is, and Destroy still ends.
TEST(Qio, StopTagEndsItsWorkerAndNeverReachesCompletion) {
  Pool pool(2, 0);
  Probe before{}, after{}, other{};
  GVQUEUENODE stop{GVQIO_STOPTAG, nullptr, nullptr};
  GvQio_InsertOperation(pool.qio, 1, &before.link);
  GvQio_InsertOperation(pool.qio, 1, &stop);
  GvQio_InsertOperation(pool.qio, 1, &after.link);
  GvQio_InsertOperation(pool.qio, 0, &other.link);
  std::vector<GVQUEUENODE *> got;
  for (GVQUEUENODE *n; got.size() < 2 && (n = GvQueueRemove(&pool.done, 10000));) got.push_back(n);
  ASSERT_EQ(got.size(), 2u);
  EXPECT_EQ(GvQio_Destroy(pool.qio), 0);
  pool.qio = nullptr;
  EXPECT_EQ(GvQueueRemove(&pool.done, 0), nullptr);
  EXPECT_EQ(before.runs, 1);
  EXPECT_EQ(other.runs, 1);
  EXPECT_EQ(after.runs, 0);
  EXPECT_EQ(stop.next, nullptr);  // taken off its queue by the worker
}

// The operations wait behind a gate, so Destroy finds every node still
// queued; it must not return before it has carried them all out.
HANDLE g_gate;
DWORD CALLBACK Gated(GVQUEUENODE *node, DWORD) {
  WaitForSingleObject(g_gate, 20000);
  ++reinterpret_cast<gvtest::LoadNode *>(node)->deliveries;  // counts runs here
  return 0;
}

TEST(Qio, DestroyCarriesOutPendingWorkFirst) {
  constexpr int kWorkers = 3, kNodes = 1500;
  g_gate = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  Pool pool(kWorkers, 0, Gated);
  std::vector<gvtest::LoadNode> nodes(kNodes);
  for (int i = 0; i < kNodes; ++i) {
    nodes[i] = {{}, i % kWorkers, i / kWorkers, 0};
    GvQio_InsertOperation(pool.qio, i % kWorkers, &nodes[i].link);
  }
  int result = -1;
  auto destroy = [&] { result = GvQio_Destroy(pool.qio); };
  std::vector<HANDLE> threads{gvtest::StartThread(destroy)};
  EXPECT_EQ(WaitForSingleObject(threads[0], 300), (DWORD)WAIT_TIMEOUT);
  SetEvent(g_gate);
  ASSERT_TRUE(gvtest::JoinAll(threads, 30000));
  pool.qio = nullptr;
  EXPECT_EQ(result, 0);
  gvtest::LoadReport r;
  gvtest::OrderCheck order(kWorkers);
  for (GVQUEUENODE *n; (n = GvQueueRemove(&pool.done, 0)); ++r.delivered) {
    ASSERT_NE(n->tag, GVQIO_STOPTAG);
    order.See(reinterpret_cast<gvtest::LoadNode *>(n));
  }
  gvtest::CountDeliveries(nodes, r);
  EXPECT_EQ(r.delivered, kNodes);
  EXPECT_EQ(order.wrong, 0);
  EXPECT_EQ(r.wrongCount, 0);
  CloseHandle(g_gate);
}

// Nodes leave in finishing order; one worker's nodes keep their order.
TEST(Qio, LoadThroughPoolsKeepsEachWorkersOrder) {
  const int workers[] = {1, 2, 4};
  FOR_EACH_CASE(workers) {
    const gvtest::LoadReport r = gvtest::RunPoolLoad(c, 200000, Nothing);
    ASSERT_TRUE(r.finished);
    EXPECT_EQ(r.delivered, 200000);
    EXPECT_EQ(r.wrongCount, 0);
    EXPECT_EQ(r.outOfOrder, 0);
    EXPECT_EQ(r.stalls, 0);
  }
  EXPECT_TRUE(gvtest::ProcessHeapsValid());
}

}  // namespace
