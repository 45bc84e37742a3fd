// Linear and binary searches (range normalisation, probe sequence), the
// selection sort from the end, and sorted copying into another list.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "gvtalc.h"
#include "support/cases.h"

namespace {

using Values = std::vector<DWORD>;

// Items are key * 1000 + position: comparisons look at keys only, so a
// probe's position can be logged and the final order of equal keys shows
// exactly which swaps were made. Search keys are passed as key * 1000.
std::vector<int> g_probes;
long g_comparisons;
DWORD g_criteria;

int CALLBACK CompareKeys(DWORD criteria, const void *a, const void *b) {
  ++g_comparisons;
  g_criteria = criteria;
  g_probes.push_back((int)(INT_PTR)b % 1000);
  int x = (int)(INT_PTR)a / 1000, y = (int)(INT_PTR)b / 1000;
  return (x > y) - (x < y);
}

const void *Key(int key) { return (const void *)(INT_PTR)(key * 1000); }

tGVLIST *MakeList(const Values &values, DWORD options = 0) {
  tGVLIST *list = nullptr;
  if (GvList_CreateEx(&list, 0, 0, 0, options, nullptr, 0) != S_OK) return nullptr;
  if (!values.empty()) GvList_InsertList(list, -1, values.data(), (int)values.size());
  return list;
}

tGVLIST *MakeKeyed(const std::vector<int> &keys) {
  Values v;
  for (size_t i = 0; i < keys.size(); ++i) v.push_back((DWORD)(keys[i] * 1000 + (int)i));
  return MakeList(v);
}

Values Contents(tGVLIST *list) {
  return Values((DWORD *)list->slots, (DWORD *)list->slots + list->count);
}

TEST(ListSortedSearch, FollowsLowerMiddleProbeSequence) {
  const std::vector<int> dup = {1, 2, 2, 2, 3, 5, 5, 8}, five4(4, 5), five5(5, 5);
  // found: GvList_FindSortedItemRange; probes: positions compared, in order;
  // insertAt: GvList_FindSortedInsertIndexRange.
  const struct { std::vector<int> keys; int key, start, count, found; std::vector<int> probes;
                 int insertAt; } cases[] = {
      {dup, 2, 0, -1, 3, {3}, 3},            {dup, 5, 0, -1, 5, {3, 5}, 5},
      {dup, 8, 0, -1, 7, {3, 5, 6, 7}, 7},   {dup, 1, 0, -1, 0, {3, 1, 0}, 0},
      {dup, 4, 0, -1, -1, {3, 5, 4}, 5},     {dup, 6, 0, -1, -1, {3, 5, 6, 7}, 7},
      {dup, 0, 0, -1, -1, {3, 1, 0}, 0},     {dup, 9, 0, -1, -1, {3, 5, 6, 7}, 8},
      {dup, 2, 1, 3, 2, {2}, 2},             {dup, 5, 4, 100, 5, {5}, 5},
      {dup, 5, -7, 3, -1, {1, 2}, 3},        {five4, 5, 0, -1, 1, {1}, 1},
      {five5, 5, 0, -1, 2, {2}, 2},          {{3, 5}, 1, 0, -1, -1, {0}, 0},
      {{3, 5}, 4, 0, -1, -1, {0, 1}, 1},     {{3, 5}, 6, 0, -1, -1, {0, 1}, 2},
      {{10, 20, 30}, 20, 0, -1, 1, {1}, 1},  {{10, 20, 30}, 25, 0, -1, -1, {1, 2}, 2},
      {{10, 20, 30}, 35, 0, -1, -1, {1, 2}, 3}, {{10, 20, 30}, 5, 0, -1, -1, {1, 0}, 0},
      {{10}, 10, 0, -1, 0, {0}, 0},          {{10}, 11, 0, -1, -1, {0}, 1},
  };
  FOR_EACH_CASE(cases) {
    tGVLIST *list = MakeKeyed(c.keys);
    ASSERT_EQ(GvList_Sort(list, 0x1234, nullptr), S_OK);
    g_probes.clear();
    g_criteria = 0;
    EXPECT_EQ(GvList_FindSortedItemRange(list, Key(c.key), c.start, c.count, CompareKeys), c.found);
    EXPECT_EQ(g_probes, c.probes);
    EXPECT_EQ(g_criteria, 0x1234u);
    EXPECT_EQ(GvList_FindSortedInsertIndexRange(list, Key(c.key), c.start, c.count, CompareKeys),
              c.insertAt);
    GvList_Destroy(list);
  }
}

TEST(ListSortedSearch, EmptyRangesStartsBeyondTheEndAndNullComparison) {
  const struct { std::vector<int> keys; int start, count, found, insertAt; } cases[] = {
      {{}, 0, -1, -1, 0},        {{}, 1, -1, -1, -1},        {{}, -3, 5, -1, 0},
      {{1, 2, 3}, 3, -1, -1, 0}, {{1, 2, 3}, 4, -1, -1, -1}, {{1, 2, 3}, 1, 0, -1, 0},
  };
  FOR_EACH_CASE(cases) {
    tGVLIST *list = MakeKeyed(c.keys);
    g_probes.clear();
    EXPECT_EQ(GvList_FindSortedItemRange(list, Key(2), c.start, c.count, CompareKeys), c.found);
    EXPECT_EQ(GvList_FindSortedInsertIndexRange(list, Key(2), c.start, c.count, CompareKeys),
              c.insertAt);
    EXPECT_TRUE(g_probes.empty());
    GvList_Destroy(list);
  }
  tGVLIST *list = MakeKeyed({1, 2, 3});
  EXPECT_EQ(GvList_FindSortedItemRange(list, Key(2), 0, -1, nullptr), -1);
  EXPECT_EQ(GvList_FindSortedInsertIndexRange(list, Key(2), 0, -1, nullptr), -1);
  GvList_Destroy(list);
}

TEST(ListSpecificSearch, NormalisesRangeAndMatchesValues) {
  tGVLIST *list = MakeList({7, 3, 7, 9});
  const struct { int start, count; DWORD item; int expected; } cases[] = {
      {0, -1, 7, 0},  {1, -1, 7, 2},  {1, 1, 7, -1},  {-5, 1, 7, 0},   {2, 100, 9, 3},
      {3, 0, 9, -1},  {4, -1, 9, -1}, {5, 1, 9, -1},  {0, -1, 4, -1},  {0, -1, 0, -1},
      {1, -9, 9, 3},
  };
  FOR_EACH_CASE(cases) {
    EXPECT_EQ(GvList_FindSpecificItemRange(list, c.start, c.count, (void *)(INT_PTR)c.item),
              c.expected);
  }
  GvList_Destroy(list);
}

TEST(ListSpecificSearch, InlineComparesWholeSlotBytes) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 6, 0, 0, GVLIST_INLINE, nullptr, 0), S_OK);
  ASSERT_EQ(GvList_InsertList(list, -1, "abcdef\0\0abcdef\0Xabcdef\0\0", 3), S_OK);
  EXPECT_EQ(GvList_FindSpecificItemRange(list, 0, -1, "abcdef\0\0"), 0);
  EXPECT_EQ(GvList_FindSpecificItemRange(list, 1, -1, "abcdef\0\0"), 2);
  EXPECT_EQ(GvList_FindSpecificItemRange(list, 0, -1, "abcdef\0X"), 1);
  EXPECT_EQ(GvList_FindSpecificItemRange(list, 0, -1, "abcdeg\0\0"), -1);
  EXPECT_EQ(GvList_FindSpecificItemRange(list, 0, -1, nullptr), -1);
  GvList_Destroy(list);
}

const void *g_matchKey;
std::vector<const void *> g_matched;

int CALLBACK MatchEqual(const void *key, const void *item) {
  g_matchKey = key;
  g_matched.push_back(item);
  return key == item ? 0 : 1;
}

TEST(ListMatchSearch, CallsBackInOrderAndStopsAtFirstMatch) {
  tGVLIST *list = MakeList({4, 5, 6, 5});
  g_matched.clear();
  EXPECT_EQ(GvList_FindItemRange(list, 0, -1, (void *)5, MatchEqual), 1);
  EXPECT_EQ(g_matchKey, (void *)5);
  EXPECT_EQ(g_matched, (std::vector<const void *>{(void *)4, (void *)5}));
  g_matched.clear();
  EXPECT_EQ(GvList_FindItemRange(list, 2, -1, (void *)5, MatchEqual), 3);
  EXPECT_EQ(g_matched.size(), 2u);
  EXPECT_EQ(GvList_FindItemRange(list, 2, 1, (void *)5, MatchEqual), -1);
  EXPECT_EQ(GvList_FindItemRange(list, 4, -1, (void *)5, MatchEqual), -1);
  EXPECT_EQ(GvList_FindItemRange(list, 0, -1, (void *)5, nullptr), -1);
  GvList_Destroy(list);
  // Inline items are passed as slot pointers.
  ASSERT_EQ(GvList_CreateEx(&list, 8, 0, 0, GVLIST_INLINE, nullptr, 0), S_OK);
  ASSERT_EQ(GvList_InsertList(list, -1, "first...second..", 2), S_OK);
  g_matched.clear();
  EXPECT_EQ(GvList_FindItemRange(list, 0, -1, nullptr, MatchEqual), -1);
  EXPECT_EQ(g_matched, (std::vector<const void *>{list->slots, (BYTE *)list->slots + 8}));
  GvList_Destroy(list);
}

// Reference model of the sort's rules: repeatedly put the first of the
// largest keys of the unsorted front into the last unsorted place.
bool ByKey(DWORD a, DWORD b) { return a / 1000 < b / 1000; }

Values ModelSort(Values v) {
  for (size_t end = v.size(); end > 1; --end)
    std::iter_swap(std::max_element(v.begin(), v.begin() + end, ByKey), v.begin() + end - 1);
  return v;
}

TEST(ListSort, MakesHalfNSquaredComparisonsAndStoresCriteria) {
  for (int n : {0, 1, 2, 3, 10, 257}) {
    SCOPED_TRACE(n);
    Values v;
    for (int i = 0; i < n; ++i) v.push_back((DWORD)((i * 7919) % 101 * 1000 + i));
    tGVLIST *list = MakeList(v);
    g_comparisons = 0;
    g_criteria = 0;
    ASSERT_EQ(GvList_Sort(list, 77, CompareKeys), S_OK);
    EXPECT_EQ(g_comparisons, (long)n * (n - 1) / 2);
    EXPECT_EQ(g_criteria, n >= 2 ? 77u : 0u);
    EXPECT_EQ(GvList_GetSortCriteria(list), 77u);
    EXPECT_EQ(Contents(list), ModelSort(v));
    GvList_Destroy(list);
  }
  // Without a comparison nothing moves, but the criteria are stored.
  tGVLIST *list = MakeList({3000, 1000});
  ASSERT_EQ(GvList_Sort(list, 5, nullptr), S_OK);
  EXPECT_EQ(GvList_GetSortCriteria(list), 5u);
  EXPECT_EQ(Contents(list), (Values{3000, 1000}));
  GvList_Destroy(list);
}

// On random data with many equal keys the sort matches the model, and a
// sorted copy into a locked list is sorted and complete.
TEST(ListSort, OrderOfEqualKeysMatchesModelOnRandomData) {
  // Keys 2a 1 2b: pass one moves 2a (the first maximum) behind 2b's place.
  tGVLIST *list = MakeList({2000, 1001, 2002});
  ASSERT_EQ(GvList_Sort(list, 0, CompareKeys), S_OK);
  EXPECT_EQ(Contents(list), (Values{1001, 2002, 2000}));
  GvList_Destroy(list);
  std::mt19937 random(12345);
  for (int round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    int n = 1 + (int)(random() % 300);
    int distinct = 1 + (int)(random() % 6);  // many equal keys
    Values v;
    for (int i = 0; i < n; ++i) v.push_back((DWORD)((random() % distinct) * 1000 + i));
    list = MakeList(v);
    tGVLIST *copy = MakeList({}, GVLIST_THREADSAFE);
    ASSERT_EQ(GvList_SortTo(copy, list, 0, CompareKeys), S_OK);
    Values got = Contents(copy);
    EXPECT_TRUE(std::is_sorted(got.begin(), got.end(), ByKey));
    EXPECT_TRUE(std::is_permutation(got.begin(), got.end(), v.begin(), v.end()));
    ASSERT_EQ(GvList_Sort(list, 0, CompareKeys), S_OK);
    EXPECT_EQ(Contents(list), ModelSort(v));
    GvList_Destroy(list);
    GvList_Destroy(copy);
  }
}

int CALLBACK CompareFirstWord(DWORD, const void *a, const void *b) {
  DWORD x = *(const DWORD *)a, y = *(const DWORD *)b;
  return (x > y) - (x < y);
}

TEST(ListSort, InlineSlotsAreSwappedAndCopiedWhole) {
  tGVLIST *list = nullptr, *dest = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 10, 0, 0, GVLIST_INLINE, nullptr, 0), S_OK);
  ASSERT_EQ(GvList_CreateEx(&dest, 10, 0, 0, GVLIST_INLINE, nullptr, 0), S_OK);
  const DWORD items[] = {3, 0x33, 0x333, 1, 0x11, 0x111, 2, 0x22, 0x222};
  const DWORD sorted[] = {1, 0x11, 0x111, 2, 0x22, 0x222, 3, 0x33, 0x333};
  ASSERT_EQ(GvList_InsertList(list, -1, items, 3), S_OK);
  ASSERT_EQ(GvList_SortTo(dest, list, 0, CompareFirstWord), S_OK);
  ASSERT_EQ(dest->count, 3);
  EXPECT_EQ(memcmp(dest->slots, sorted, sizeof sorted), 0);
  ASSERT_EQ(GvList_Sort(list, 0, CompareFirstWord), S_OK);
  EXPECT_EQ(memcmp(list->slots, sorted, sizeof sorted), 0);
  GvList_Destroy(list);
  GvList_Destroy(dest);
}

TEST(ListSortTo, InsertsEachSourceItemAtItsSortedPlace) {
  // 3a 1 3b 2: 3b lands before 3a, met first by the insertion probes.
  tGVLIST *src = MakeList({3000, 1001, 3002, 2003}), *dest = MakeList({});
  ASSERT_EQ(GvList_SortTo(dest, src, 9, CompareKeys), S_OK);
  EXPECT_EQ(Contents(dest), (Values{1001, 2003, 3002, 3000}));
  EXPECT_EQ(GvList_GetSortCriteria(dest), 9u);
  EXPECT_EQ(GvList_GetSortCriteria(src), 0u);
  EXPECT_EQ(Contents(src), (Values{3000, 1001, 3002, 2003}));
  GvList_Destroy(src);
  GvList_Destroy(dest);
}

TEST(ListSortTo, RefusalsAndNullComparison) {
  tGVLIST *src = MakeList({2000, 1000}), *dest = MakeList({}), *wide = nullptr;
  ASSERT_EQ(GvList_CreateEx(&wide, 8, 0, 0, GVLIST_INLINE, nullptr, 0), S_OK);
  EXPECT_EQ(GvList_SortTo(dest, src, 4, nullptr), S_OK);
  EXPECT_EQ(dest->count, 0);
  EXPECT_EQ(GvList_GetSortCriteria(dest), 4u);
  EXPECT_EQ(GvList_SortTo(src, src, 4, CompareKeys), E_FAIL);
  EXPECT_EQ(GvList_SortTo(wide, src, 4, CompareKeys), E_FAIL);
  EXPECT_EQ(wide->count, 0);
  EXPECT_EQ(GvList_SortTo(dest, nullptr, 4, CompareKeys), E_FAIL);
  EXPECT_EQ(GvList_SortTo(nullptr, src, 4, CompareKeys), E_FAIL);
  GvList_Destroy(src);
  GvList_Destroy(dest);
  GvList_Destroy(wide);
}

}  // namespace
