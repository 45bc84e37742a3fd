// Lists used from several threads: the locked list under mixed load, and the
// unlocked list's acceptance of calls from any thread.
#include <gtest/gtest.h>

#include <process.h>

#include <algorithm>
#include <vector>

#include "gvtalc.h"

namespace {

int CALLBACK CompareValues(DWORD, const void *a, const void *b) {
  UINT_PTR x = (UINT_PTR)a, y = (UINT_PTR)b;
  return (x > y) - (x < y);
}

constexpr int kThreads = 4;
constexpr int kRounds = 13000;  // 4 threads x 13000 rounds x 4 calls = 208,000 calls

struct Worker {
  tGVLIST *list;
  int thread;
  HANDLE start;
  long calls;
  long failures;
};

DWORD Value(int round, int thread) { return ((DWORD)round << 2) | (DWORD)thread; }

// Each round inserts this thread's value for the round at its sorted place
// and finds it again; odd rounds also delete the previous round's value.
// Compound steps hold the list's own (re-entrant) lock so that the index
// found is still right when it is used.
unsigned __stdcall Work(void *arg) {
  Worker *w = static_cast<Worker *>(arg);
  WaitForSingleObject(w->start, 30000);
  for (int round = 0; round < kRounds; ++round) {
    DWORD v = Value(round, w->thread);
    EnterCriticalSection(&w->list->lock);
    int at = GvList_FindSortedInsertIndexRange(w->list, (void *)(UINT_PTR)v, 0, -1, CompareValues);
    if (at < 0 || GvList_InsertList(w->list, at, &v, 1) != S_OK) ++w->failures;
    LeaveCriticalSection(&w->list->lock);
    if (GvList_FindSortedItemRange(w->list, (void *)(UINT_PTR)v, 0, -1, CompareValues) < 0)
      ++w->failures;
    w->calls += 3;
    if (round & 1) {
      DWORD old = Value(round - 1, w->thread);
      EnterCriticalSection(&w->list->lock);
      int found = GvList_FindSortedItemRange(w->list, (void *)(UINT_PTR)old, 0, -1, CompareValues);
      if (found < 0 || GvList_DeleteList(w->list, found, 1, TRUE) != S_OK) ++w->failures;
      LeaveCriticalSection(&w->list->lock);
      w->calls += 2;
    }
    if (round % 1024 == 0) {
      // A linear search of the whole list now and then, under load.
      if (GvList_FindSpecificItemRange(w->list, 0, -1, (void *)(UINT_PTR)v) < 0) ++w->failures;
      ++w->calls;
    }
  }
  return 0;
}

TEST(ListThreads, FourThreadsMixedCallsEndWithExactContents) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 0, 0, 64, GVLIST_THREADSAFE, nullptr, 0), S_OK);
  HANDLE start = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  Worker workers[kThreads];
  HANDLE threads[kThreads];
  for (int t = 0; t < kThreads; ++t) {
    workers[t] = {list, t, start, 0, 0};
    threads[t] = (HANDLE)_beginthreadex(nullptr, 0, Work, &workers[t], 0, nullptr);
    ASSERT_NE(threads[t], nullptr);
  }
  SetEvent(start);
  ASSERT_EQ(WaitForMultipleObjects(kThreads, threads, TRUE, 60000), WAIT_OBJECT_0);
  long calls = 0;
  for (int t = 0; t < kThreads; ++t) {
    CloseHandle(threads[t]);
    EXPECT_EQ(workers[t].failures, 0) << t;
    calls += workers[t].calls;
  }
  CloseHandle(start);
  EXPECT_GE(calls, 200000);

  std::vector<DWORD> expected;
  for (int round = 1; round < kRounds; round += 2)
    for (int t = 0; t < kThreads; ++t) expected.push_back(Value(round, t));
  std::sort(expected.begin(), expected.end());
  std::vector<DWORD> got((DWORD *)list->slots, (DWORD *)list->slots + list->count);
  EXPECT_EQ(got.size(), expected.size());
  EXPECT_TRUE(got == expected);
  EXPECT_EQ(list->allocated % 64, 0);
  EXPECT_LE(list->count, list->allocated);
  EXPECT_EQ(GvList_Destroy(list), S_OK);
}

struct Call {
  tGVLIST *list;
  HRESULT inserted;
  int found;
};

unsigned __stdcall InsertFromOtherThread(void *arg) {
  Call *c = static_cast<Call *>(arg);
  DWORD v = 77;
  c->inserted = GvList_InsertList(c->list, -1, &v, 1);
  c->found = GvList_FindSpecificItemRange(c->list, 0, -1, (void *)77);
  return 0;
}

// Unlocked lists compare thread pseudo-handles, which are the same in every
// thread: a call from another thread is served.
TEST(ListThreads, UnlockedListServesCallsFromAnotherThread) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 0, 0, 0, 0, nullptr, 0), S_OK);
  Call call = {list, E_UNEXPECTED, -2};
  HANDLE thread = (HANDLE)_beginthreadex(nullptr, 0, InsertFromOtherThread, &call, 0, nullptr);
  ASSERT_NE(thread, nullptr);
  ASSERT_EQ(WaitForSingleObject(thread, 10000), WAIT_OBJECT_0);
  CloseHandle(thread);
  EXPECT_EQ(call.inserted, S_OK);
  EXPECT_EQ(call.found, 0);
  EXPECT_EQ(GvList_Destroy(list), S_OK);
}

// The lock is held across callbacks: another thread's call waits until the
// callback returns.
struct Blocker {
  tGVLIST *list;
  HANDLE inCallback, release;
};
Blocker g_blocker;

int CALLBACK HoldInCallback(const void *, const void *) {
  SetEvent(g_blocker.inCallback);
  WaitForSingleObject(g_blocker.release, 10000);
  return 0;
}

unsigned __stdcall SearchWithBlockingCallback(void *) {
  GvList_FindItemRange(g_blocker.list, 0, -1, nullptr, HoldInCallback);
  return 0;
}

unsigned __stdcall InsertOne(void *) {
  DWORD v = 5;
  GvList_InsertList(g_blocker.list, -1, &v, 1);
  return 0;
}

TEST(ListThreads, LockIsHeldAcrossCallbacks) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 0, 0, 0, GVLIST_THREADSAFE, nullptr, 0), S_OK);
  DWORD v = 1;
  ASSERT_EQ(GvList_InsertList(list, -1, &v, 1), S_OK);
  g_blocker = {list, CreateEventA(nullptr, TRUE, FALSE, nullptr),
               CreateEventA(nullptr, TRUE, FALSE, nullptr)};
  HANDLE searcher = (HANDLE)_beginthreadex(nullptr, 0, SearchWithBlockingCallback, nullptr, 0, nullptr);
  ASSERT_EQ(WaitForSingleObject(g_blocker.inCallback, 10000), WAIT_OBJECT_0);
  HANDLE inserter = (HANDLE)_beginthreadex(nullptr, 0, InsertOne, nullptr, 0, nullptr);
  // While the callback runs the insertion cannot finish.
  EXPECT_EQ(WaitForSingleObject(inserter, 200), (DWORD)WAIT_TIMEOUT);
  EXPECT_EQ(list->count, 1);
  SetEvent(g_blocker.release);
  HANDLE both[2] = {searcher, inserter};
  ASSERT_EQ(WaitForMultipleObjects(2, both, TRUE, 10000), WAIT_OBJECT_0);
  EXPECT_EQ(list->count, 2);
  for (HANDLE h : {searcher, inserter, g_blocker.inCallback, g_blocker.release}) CloseHandle(h);
  GvList_Destroy(list);
}

}  // namespace
