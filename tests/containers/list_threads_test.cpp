// Lists used from several threads: the locked list under mixed load, its
// lock held across callbacks, and unlocked lists serving any thread.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/list_helpers.h"
#include "support/threads.h"

namespace {

int CALLBACK CompareValues(DWORD, const void *a, const void *b) {
  UINT_PTR x = (UINT_PTR)a, y = (UINT_PTR)b;
  return (x > y) - (x < y);
}

constexpr int kThreads = 4;
// Three calls a round plus two every odd round: 4 threads x 13000 rounds x 4
// calls on average = 208,000 calls, and a linear search every 1024 rounds.
constexpr int kRounds = 13000;
DWORD Value(int round, int thread) { return ((DWORD)round << 2) | (DWORD)thread; }
const void *Key(DWORD v) { return (const void *)(UINT_PTR)v; }

TEST(ListThreads, FourThreadsMixedCallsEndWithExactContents) {
  tGVLIST *list = gvtest::MakeList({}, GVLIST_THREADSAFE, 0, 64);
  HANDLE start = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  long failures[kThreads] = {};
  // Each round inserts this thread's value for the round at its sorted place
  // and finds it again; odd rounds also delete the previous round's value.
  // Compound steps hold the list's own (re-entrant) lock so that the index
  // found is still right when it is used.
  LONG nextThread = -1;
  auto work = [&] {
    const int t = (int)InterlockedIncrement(&nextThread);
    WaitForSingleObject(start, 30000);
    for (int round = 0; round < kRounds; ++round) {
      DWORD v = Value(round, t);
      EnterCriticalSection(&list->lock);
      int at = GvList_FindSortedInsertIndexRange(list, Key(v), 0, -1, CompareValues);
      failures[t] += at < 0 || GvList_InsertList(list, at, &v, 1) != S_OK;
      LeaveCriticalSection(&list->lock);
      failures[t] += GvList_FindSortedItemRange(list, Key(v), 0, -1, CompareValues) < 0;
      if (round & 1) {
        EnterCriticalSection(&list->lock);
        DWORD old = Value(round - 1, t);
        int found = GvList_FindSortedItemRange(list, Key(old), 0, -1, CompareValues);
        failures[t] += found < 0 || GvList_DeleteList(list, found, 1, TRUE) != S_OK;
        LeaveCriticalSection(&list->lock);
      }
      if (round % 1024 == 0) failures[t] += GvList_FindSpecificItemRange(list, 0, -1, Key(v)) < 0;
    }
  };
  HANDLE threads[kThreads];
  for (HANDLE &t : threads) t = gvtest::StartThread(work);
  for (HANDLE h : threads) ASSERT_NE(h, nullptr);
  SetEvent(start);
  ASSERT_EQ(WaitForMultipleObjects(kThreads, threads, TRUE, 60000), WAIT_OBJECT_0);
  for (int t = 0; t < kThreads; ++t) {
    CloseHandle(threads[t]);
    EXPECT_EQ(failures[t], 0) << t;
  }
  CloseHandle(start);
  gvtest::Values expected;
  for (int round = 1; round < kRounds; round += 2)
    for (int t = 0; t < kThreads; ++t) expected.push_back(Value(round, t));
  std::sort(expected.begin(), expected.end());
  EXPECT_TRUE(gvtest::Contents(list) == expected);
  EXPECT_EQ(list->allocated % 64, 0);
  EXPECT_EQ(GvList_Destroy(list), S_OK);
}

HANDLE g_inCallback, g_release;

int CALLBACK HoldInCallback(const void *, const void *) {
  SetEvent(g_inCallback);
  WaitForSingleObject(g_release, 10000);
  return 0;
}

// The lock is held across callbacks: another thread's call waits until the
// callback returns. An unlocked list compares thread pseudo-handles, which
// are the same in every thread, so it serves that thread's calls too.
TEST(ListThreads, LockIsHeldAcrossCallbacksAndUnlockedListsServeAnyThread) {
  tGVLIST *list = gvtest::MakeList({1}, GVLIST_THREADSAFE), *unlocked = gvtest::MakeList({});
  DWORD five = 5;
  HRESULT inserted = E_UNEXPECTED;
  int found = -2;
  g_inCallback = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  g_release = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  auto search = [&] { GvList_FindItemRange(list, 0, -1, nullptr, HoldInCallback); };
  auto insert = [&] {
    GvList_InsertList(list, -1, &five, 1);
    inserted = GvList_InsertList(unlocked, -1, &five, 1);
    found = GvList_FindSpecificItemRange(unlocked, 0, -1, (void *)5);
  };
  HANDLE searcher = gvtest::StartThread(search);
  ASSERT_EQ(WaitForSingleObject(g_inCallback, 10000), WAIT_OBJECT_0);
  HANDLE inserter = gvtest::StartThread(insert);
  // While the callback runs the insertion cannot finish.
  EXPECT_EQ(WaitForSingleObject(inserter, 200), (DWORD)WAIT_TIMEOUT);
  EXPECT_EQ(list->count, 1);
  SetEvent(g_release);
  HANDLE both[2] = {searcher, inserter};
  ASSERT_EQ(WaitForMultipleObjects(2, both, TRUE, 10000), WAIT_OBJECT_0);
  EXPECT_EQ(list->count, 2);
  EXPECT_EQ(inserted, S_OK);
  EXPECT_EQ(found, 0);
  for (HANDLE h : {searcher, inserter, g_inCallback, g_release}) CloseHandle(h);
  for (tGVLIST *l : {list, unlocked}) EXPECT_EQ(GvList_Destroy(l), S_OK);
}

}  // namespace
