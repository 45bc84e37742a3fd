// Pools whose workers fail to start: the first failure ends the pool, a
// later one leaves it with the workers it has, and those still work.
#include <gtest/gtest.h>

#include <vector>

#include "containers/queue.h"
#include "support/cases.h"
#include "support/threads.h"

namespace {

int g_failAt;     // worker index whose step fails
int g_calls;      // steps seen so far
bool g_failQueue;  // the queue fails, else the thread

bool InitQueue(GVQUEUE *q) {
  return (g_failQueue && g_calls++ == g_failAt) ? false : gv::queue::Initialize(q);
}
HANDLE StartThread(LPTHREAD_START_ROUTINE routine, void *parameter, DWORD *id) {
  if (!g_failQueue && g_calls++ == g_failAt) return nullptr;
  return CreateThread(nullptr, 0, routine, parameter, 0, id);
}
const gv::qio::Platform kFailing = {InitQueue, StartThread};

DWORD CALLBACK Nothing(GVQUEUENODE *, DWORD) { return 0; }

TEST(QioInternal, WorkerStartFailures) {
  struct Case {
    bool queue;
    int failAt;
    HRESULT hr;
    int workers;
  } cases[] = {{true, 0, E_FAIL, 0},  {false, 0, E_FAIL, 0}, {true, 1, S_OK, 1},
               {false, 1, S_OK, 1},   {false, 3, S_OK, 3},   {true, 5, S_OK, 4}};
  FOR_EACH_CASE(cases) {
    g_failQueue = c.queue;
    g_failAt = c.failAt;
    g_calls = 0;
    GVQUEUE done{};
    ASSERT_TRUE(gv::queue::Initialize(&done));
    tGVQIO *qio = reinterpret_cast<tGVQIO *>(1);
    EXPECT_EQ(gv::qio::Create(&qio, &done, 4, 0, Nothing, kFailing), c.hr);
    if (c.hr != S_OK) {
      EXPECT_EQ(qio, nullptr);
    } else {
      ASSERT_NE(qio, nullptr);
      EXPECT_EQ(gv::qio::WorkerCount(qio), c.workers);
      // The index past the last live worker lands on that worker.
      GVQUEUENODE n{};
      gv::qio::Insert(qio, 3, &n);
      EXPECT_EQ(gv::queue::Remove(&done, 10000), &n);
      EXPECT_EQ(gv::qio::WorkerThreadId(qio, 3), gv::qio::WorkerThreadId(qio, c.workers - 1));
      gv::qio::Destroy(qio);
    }
    gv::queue::Delete(&done);
  }
}

// An operation still running when the wait runs out: Destroy waits on
// for it rather than freeing the pool under it, and its node still reaches
// the completion queue.
HANDLE g_gate;
DWORD CALLBACK Gated(GVQUEUENODE *, DWORD) { return WaitForSingleObject(g_gate, 30000); }

TEST(QioInternal, DestroyOutwaitsASlowOperation) {
  g_gate = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  GVQUEUE done{};
  ASSERT_TRUE(gv::queue::Initialize(&done));
  tGVQIO *qio = nullptr;
  ASSERT_EQ(gv::qio::Create(&qio, &done, 1, 0, Gated), S_OK);
  GVQUEUENODE n{};
  gv::qio::Insert(qio, 0, &n);
  auto destroy = [&] { gv::qio::Destroy(qio, 20); };
  std::vector<HANDLE> threads{gvtest::StartThread(destroy)};
  EXPECT_EQ(WaitForSingleObject(threads[0], 400), (DWORD)WAIT_TIMEOUT);
  SetEvent(g_gate);
  ASSERT_TRUE(gvtest::JoinAll(threads, 30000));
  EXPECT_EQ(gv::queue::Remove(&done, 0), &n);
  gv::queue::Delete(&done);
  CloseHandle(g_gate);
}

}  // namespace
