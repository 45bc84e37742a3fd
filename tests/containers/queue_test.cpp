// The queue through the DLL: links and event at the edges, refused calls,
// waiters woken by a flush or a deletion, and producers x consumers load.
#include <gtest/gtest.h>

#include <vector>

#include "gvqueue.h"
#include "support/cases.h"
#include "support/queue_load.h"

namespace {

struct LiveQueue {
  GVQUEUE q{};
  LiveQueue() { EXPECT_TRUE(GvQueueInitialize(&q)); }
  ~LiveQueue() { GvQueueDelete(&q); }
  GVQUEUENODE *self() { return reinterpret_cast<GVQUEUENODE *>(&q); }
};

bool EventSet(HANDLE event) { return WaitForSingleObject(event, 0) == WAIT_OBJECT_0; }

// Links and event through inserts (the refused ones change nothing),
// removals, a drain that finds the queue empty, and a second initialisation.
TEST(Queue, LinksAndEventFollowInsertAndRemove) {
  LiveQueue l;
  GVQUEUENODE a{7, nullptr, nullptr}, b{};
  EXPECT_EQ(l.q.first, l.self());
  EXPECT_EQ(l.q.last, l.self());
  EXPECT_FALSE(EventSet(l.q.event));
  // Refused: null, the queue itself, a node already last, one already first.
  GVQUEUENODE *inserts[] = {nullptr, l.self(), &a, &a, &b, &a};
  for (GVQUEUENODE *n : inserts) GvQueueInsert(&l.q, n);
  EXPECT_TRUE(EventSet(l.q.event));
  EXPECT_EQ(l.q.first, &a);
  EXPECT_EQ(l.q.last, &b);
  const GVQUEUENODE *links[] = {a.prev, a.next, b.prev, b.next};
  const GVQUEUENODE *expected[] = {l.self(), &b, &a, l.self()};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(links[i], expected[i]) << "link " << i;
  EXPECT_EQ(GvQueueRemove(&l.q, 0), &a);
  EXPECT_EQ(a.next, nullptr);
  EXPECT_EQ(a.prev, nullptr);
  EXPECT_EQ(b.prev, l.self());
  EXPECT_EQ(a.tag, 7u);
  EXPECT_EQ(GvQueueRemove(&l.q, INFINITE), &b);
  EXPECT_EQ(l.q.first, l.self());
  EXPECT_EQ(l.q.last, l.self());
  EXPECT_FALSE(GvQueueWait(&l.q, 0));
  EXPECT_FALSE(EventSet(l.q.event));  // a drain leaves no stale wake-up
  EXPECT_EQ(GvQueueRemove(&l.q, 0), nullptr);
  EXPECT_FALSE(EventSet(l.q.event));
  const HANDLE event = l.q.event;
  GvQueueInsert(&l.q, &a);
  EXPECT_TRUE(GvQueueInitialize(&l.q));  // live: only emptied
  EXPECT_EQ(l.q.event, event);
  EXPECT_EQ(GvQueueRemove(&l.q, 0), nullptr);
}

// The record is the clients' 40 bytes; what the library knows of each
// event is kept beside it, in a table that many live queues share. Queues
// that take each other's entries must still set and reset their events.
TEST(Queue, ManyQueuesKeepTheirEventsRight) {
  static_assert(sizeof(GVQUEUE) == 40, "the record clients allocate");
  std::vector<LiveQueue> queues(3000);
  std::vector<GVQUEUENODE> nodes(queues.size());
  for (int round = 0; round < 2; ++round) {
    for (size_t i = 0; i < queues.size(); ++i) GvQueueInsert(&queues[i].q, &nodes[i]);
    for (size_t i = 0; i < queues.size(); ++i) ASSERT_TRUE(EventSet(queues[i].q.event)) << i;
    for (size_t i = 0; i < queues.size(); ++i) {
      ASSERT_EQ(GvQueueRemove(&queues[i].q, 0), &nodes[i]);
      EXPECT_FALSE(GvQueueWait(&queues[i].q, 0));
    }
    for (size_t i = 0; i < queues.size(); ++i) ASSERT_FALSE(EventSet(queues[i].q.event)) << i;
  }
}

// Without a time-out nothing waits, and Wait does not even take the lock
// (another thread holds it here); with one, the whole time-out is waited.
TEST(Queue, EmptyQueueAnswersAtOnceWithoutTimeoutAndWaitsItsTimeoutOtherwise) {
  LiveQueue l;
  HANDLE held = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  HANDLE release = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  auto holder = [&] {
    EnterCriticalSection(&l.q.lock);
    SetEvent(held);
    WaitForSingleObject(release, 20000);
    LeaveCriticalSection(&l.q.lock);
  };
  struct Case {
    bool remove, locked;
    DWORD timeout, minMs, maxMs;
  } cases[] = {{true, false, 0, 0, 15},    {false, false, 0, 0, 15},  {false, true, 0, 0, 15},
               {true, false, 60, 50, 2000}, {false, false, 60, 50, 2000}};
  FOR_EACH_CASE(cases) {
    std::vector<HANDLE> threads;
    if (c.locked) {
      threads.push_back(gvtest::StartThread(holder));
      ASSERT_EQ(WaitForSingleObject(held, 10000), WAIT_OBJECT_0);
    }
    const DWORD t0 = GetTickCount();
    if (c.remove) EXPECT_EQ(GvQueueRemove(&l.q, c.timeout), nullptr);
    else EXPECT_FALSE(GvQueueWait(&l.q, c.timeout));
    const DWORD spent = GetTickCount() - t0;
    SetEvent(release);
    ASSERT_TRUE(gvtest::JoinAll(threads, 30000));
    EXPECT_GE(spent, c.minMs);
    EXPECT_LE(spent, c.maxMs);
  }
  GVQUEUENODE a{};
  GvQueueInsert(&l.q, &a);
  EXPECT_TRUE(GvQueueWait(&l.q, 0));
  EXPECT_EQ(GvQueueRemove(&l.q, 0), &a);  // Wait did not take it
  CloseHandle(held);
  CloseHandle(release);
}

TEST(Queue, NullAndDeadQueuesAreRefused) {
  GVQUEUE zeroed{}, deleted{};
  ASSERT_TRUE(GvQueueInitialize(&deleted));
  GvQueueDelete(&deleted);
  EXPECT_EQ(deleted.event, nullptr);
  GVQUEUE *cases[] = {nullptr, &zeroed, &deleted};
  FOR_EACH_CASE(cases) {
    GVQUEUENODE n{};
    GvQueueInsert(c, &n);
    EXPECT_EQ(n.next, nullptr);
    GvQueueFlush(c);
    EXPECT_EQ(GvQueueRemove(c, 50), nullptr);
    EXPECT_FALSE(GvQueueWait(c, 50));
    GvQueueDelete(c);
  }
  EXPECT_FALSE(GvQueueInitialize(nullptr));
  ASSERT_TRUE(GvQueueInitialize(&deleted));  // a deleted record lives again
  GvQueueDelete(&deleted);
}

// Waiters blocked in Remove and Wait all return nothing, well before their
// time-out, once another thread flushes or deletes the queue. Late comers
// find the flush's event still set, so the outcome does not hang on timing.
TEST(Queue, FlushAndDeleteWakeEveryWaiter) {
  const bool deleting[] = {false, true};
  FOR_EACH_CASE(deleting) {
    GVQUEUE q{};
    ASSERT_TRUE(GvQueueInitialize(&q));
    constexpr int kWaiters = 6;
    volatile LONG started = 0;
    HANDLE allStarted = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    LONG answers[kWaiters];
    DWORD spent[kWaiters];
    volatile LONG next = -1;
    auto waiter = [&] {
      const int i = (int)InterlockedIncrement(&next);
      if (InterlockedIncrement(&started) == kWaiters) SetEvent(allStarted);
      const DWORD t0 = GetTickCount();
      answers[i] = (i & 1) ? GvQueueWait(&q, 20000) : GvQueueRemove(&q, 20000) != nullptr;
      spent[i] = GetTickCount() - t0;
    };
    std::vector<HANDLE> threads;
    for (int i = 0; i < kWaiters; ++i) threads.push_back(gvtest::StartThread(waiter));
    ASSERT_EQ(WaitForSingleObject(allStarted, 10000), WAIT_OBJECT_0);
    if (c) GvQueueDelete(&q);
    else GvQueueFlush(&q);
    ASSERT_TRUE(gvtest::JoinAll(threads, 10000));
    for (int i = 0; i < kWaiters; ++i) {
      EXPECT_EQ(answers[i], 0) << "waiter " << i;
      EXPECT_LT(spent[i], 10000u) << "waiter " << i;
    }
    if (!c) {
      GVQUEUENODE a{};  // the next insert and removal bring back normal waits
      GvQueueInsert(&q, &a);
      EXPECT_EQ(GvQueueRemove(&q, 0), &a);
      const DWORD t0 = GetTickCount();
      EXPECT_EQ(GvQueueRemove(&q, 40), nullptr);
      EXPECT_GE(GetTickCount() - t0, 30u);
      GvQueueDelete(&q);
    }
    CloseHandle(allStarted);
  }
}

// Every node reaches exactly one consumer; each consumer sees each
// producer's nodes in the order they were inserted.
TEST(Queue, ProducersAndConsumersDeliverEveryNodeOnceInOrder) {
  constexpr int kNodes = 240000;  // per run, shared among the producers
  const int counts[] = {1, 2, 4};
  struct Case {
    int producers, consumers;
  } cases[9];
  for (int i = 0; i < 9; ++i) cases[i] = {counts[i / 3], counts[i % 3]};
  FOR_EACH_CASE(cases) {
    LiveQueue l;
    const gvtest::LoadReport r =
        gvtest::RunQueueLoad(&l.q, c.producers, c.consumers, kNodes / c.producers);
    ASSERT_TRUE(r.finished);
    EXPECT_EQ(r.delivered, kNodes);
    EXPECT_EQ(r.wrongCount, 0);
    EXPECT_EQ(r.outOfOrder, 0);
    EXPECT_EQ(r.stalls, 0);
    EXPECT_EQ(GvQueueRemove(&l.q, 0), nullptr);
  }
  EXPECT_TRUE(gvtest::ProcessHeapsValid());
}

}  // namespace
