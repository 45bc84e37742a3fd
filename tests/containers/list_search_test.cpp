// Linear and binary searches (range normalisation, probe sequence), the
// selection sort from the end, sorted copying, and inline lists' whole slots.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "support/cases.h"
#include "support/list_helpers.h"

namespace {

using gvtest::Contents;
using gvtest::MakeKeyed;
using gvtest::MakeList;
using gvtest::Values;

// Items are key * 1000 + position (MakeKeyed): comparisons look at keys only
// and log each probe's position. Search keys are passed as key * 1000.
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

TEST(ListSortedSearch, FollowsLowerMiddleProbeSequence) {
  const std::vector<int> dup = {1, 2, 2, 2, 3, 5, 5, 8}, five4(4, 5), five5(5, 5),
                         tens = {10, 20, 30};
  // found: GvList_FindSortedItemRange; probes: positions compared, in order;
  // insertAt: GvList_FindSortedInsertIndexRange.
  const struct { std::vector<int> keys; int key, start, count, found; std::vector<int> probes;
                 int insertAt; } cases[] = {
      {dup, 2, 0, -1, 3, {3}, 3}, {dup, 5, 0, -1, 5, {3, 5}, 5},
      {dup, 8, 0, -1, 7, {3, 5, 6, 7}, 7}, {dup, 1, 0, -1, 0, {3, 1, 0}, 0},
      {dup, 4, 0, -1, -1, {3, 5, 4}, 5}, {dup, 6, 0, -1, -1, {3, 5, 6, 7}, 7},
      {dup, 0, 0, -1, -1, {3, 1, 0}, 0}, {dup, 9, 0, -1, -1, {3, 5, 6, 7}, 8},
      {dup, 2, 1, 3, 2, {2}, 2}, {dup, 5, 4, 100, 5, {5}, 5}, {dup, 5, -7, 3, -1, {1, 2}, 3},
      {five4, 5, 0, -1, 1, {1}, 1}, {five5, 5, 0, -1, 2, {2}, 2}, {{3, 5}, 1, 0, -1, -1, {0}, 0},
      {{3, 5}, 4, 0, -1, -1, {0, 1}, 1}, {{3, 5}, 6, 0, -1, -1, {0, 1}, 2},
      {tens, 20, 0, -1, 1, {1}, 1}, {tens, 25, 0, -1, -1, {1, 2}, 2},
      {tens, 35, 0, -1, -1, {1, 2}, 3}, {tens, 5, 0, -1, -1, {1, 0}, 0},
      {{10}, 10, 0, -1, 0, {0}, 0}, {{10}, 11, 0, -1, -1, {0}, 1},
      // Empty ranges and starts at or beyond the end probe nothing.
      {{}, 2, 0, -1, -1, {}, 0}, {{}, 2, 1, -1, -1, {}, -1}, {{}, 2, -3, 5, -1, {}, 0},
      {{1, 2, 3}, 2, 3, -1, -1, {}, 0}, {{1, 2, 3}, 2, 4, -1, -1, {}, -1},
      {{1, 2, 3}, 2, 1, 0, -1, {}, 0},
  };
  FOR_EACH_CASE(cases) {
    tGVLIST *list = MakeKeyed(c.keys);
    ASSERT_EQ(GvList_Sort(list, 0x1234, nullptr), S_OK);
    g_probes.clear();
    g_criteria = 0;
    EXPECT_EQ(GvList_FindSortedItemRange(list, Key(c.key), c.start, c.count, CompareKeys), c.found);
    EXPECT_EQ(g_probes, c.probes);
    EXPECT_EQ(g_criteria, c.probes.empty() ? 0u : 0x1234u);
    EXPECT_EQ(GvList_FindSortedInsertIndexRange(list, Key(c.key), c.start, c.count, CompareKeys),
              c.insertAt);
    EXPECT_EQ(GvList_FindSortedItemRange(list, Key(c.key), c.start, c.count, nullptr), -1);
    EXPECT_EQ(GvList_FindSortedInsertIndexRange(list, Key(c.key), c.start, c.count, nullptr), -1);
    GvList_Destroy(list);
  }
}

const void *g_matchKey;
Values g_matched;  // the items the match callback saw

int CALLBACK MatchEqual(const void *key, const void *item) {
  g_matchKey = key;
  g_matched.push_back((DWORD)(UINT_PTR)item);
  return key == item ? 0 : 1;
}

TEST(ListLinearSearch, NormalisesRangeAndMatchesValuesOrCallsBackInOrder) {
  tGVLIST *list = MakeList({7, 3, 7, 9});
  const struct { int start, count; DWORD item; int expected; Values matched; } cases[] = {
      {0, -1, 7, 0, {7}}, {1, -1, 7, 2, {3, 7}}, {1, 1, 7, -1, {3}}, {-5, 1, 7, 0, {7}},
      {2, 100, 9, 3, {7, 9}}, {3, 0, 9, -1, {}}, {4, -1, 9, -1, {}}, {5, 1, 9, -1, {}},
      {0, -1, 4, -1, {7, 3, 7, 9}}, {0, -1, 0, -1, {7, 3, 7, 9}}, {1, -9, 9, 3, {3, 7, 9}},
  };
  FOR_EACH_CASE(cases) {
    const void *item = (void *)(INT_PTR)c.item;
    EXPECT_EQ(GvList_FindSpecificItemRange(list, c.start, c.count, item), c.expected);
    g_matched.clear();
    g_matchKey = nullptr;
    EXPECT_EQ(GvList_FindItemRange(list, c.start, c.count, item, MatchEqual), c.expected);
    EXPECT_EQ(g_matched, c.matched);
    EXPECT_EQ(g_matchKey, c.matched.empty() ? nullptr : item);
  }
  EXPECT_EQ(GvList_FindItemRange(list, 0, -1, (void *)7, nullptr), -1);
  GvList_Destroy(list);
}

int CALLBACK CompareFirstWord(DWORD, const void *a, const void *b) {
  DWORD x = *(const DWORD *)a, y = *(const DWORD *)b;
  return (x > y) - (x < y);
}

// Inline items are whole slots everywhere: copied, compared, handed to
// callbacks as slot pointers, swapped and copied by the sorts.
TEST(ListInline, EveryCallWorksOnWholeSlots) {
  tGVLIST *list = MakeList({}, GVLIST_INLINE, 0, 0, 6);
  ASSERT_EQ(list->slotSize, 8u);
  ASSERT_EQ(GvList_InsertList(list, -1, "abcdef\0\0abcdef\0\0", 2), S_OK);
  ASSERT_EQ(GvList_InsertList(list, 1, "abcdef\0X", 1), S_OK);
  EXPECT_EQ(memcmp(list->slots, "abcdef\0\0abcdef\0Xabcdef\0\0", 24), 0);
  EXPECT_EQ(GVLIST_ITEM(list, 1), (BYTE *)list->slots + 8);
  const struct { int from; const char *item; int at; } finds[] = {
      {0, "abcdef\0\0", 0}, {1, "abcdef\0\0", 2}, {0, "abcdef\0X", 1}, {0, "abcdeg\0\0", -1},
      {0, nullptr, -1}};
  FOR_EACH_CASE(finds) EXPECT_EQ(GvList_FindSpecificItemRange(list, c.from, -1, c.item), c.at);
  g_matched.clear();
  EXPECT_EQ(GvList_FindItemRange(list, 1, -1, nullptr, MatchEqual), -1);
  EXPECT_EQ(g_matched, (Values{(DWORD)(UINT_PTR)GVLIST_SLOT(list, 1),
                               (DWORD)(UINT_PTR)GVLIST_SLOT(list, 2)}));
  GvList_Destroy(list);
  const Values items = {3, 0x33, 1, 0x11, 2, 0x22}, sorted = {1, 0x11, 2, 0x22, 3, 0x33};
  list = MakeList(items, GVLIST_INLINE, 0, 0, 8);
  tGVLIST *dest = MakeList({}, GVLIST_INLINE, 0, 0, 8);
  ASSERT_EQ(GvList_SortTo(dest, list, 0, CompareFirstWord), S_OK);
  EXPECT_EQ(Contents(dest), sorted);
  ASSERT_EQ(GvList_Sort(list, 0, CompareFirstWord), S_OK);
  EXPECT_EQ(Contents(list), sorted);
  GvList_Destroy(list);
  GvList_Destroy(dest);
}

// Reference model of the sort's rules: repeatedly put the first of the
// largest keys of the unsorted front into the last unsorted place.
bool ByKey(DWORD a, DWORD b) { return a / 1000 < b / 1000; }

Values ModelSort(Values v) {
  for (size_t end = v.size(); end > 1; --end)
    std::iter_swap(std::max_element(v.begin(), v.begin() + end, ByKey), v.begin() + end - 1);
  return v;
}

// Sizes and numbers of distinct keys (few: many equal items); the sort makes
// n(n-1)/2 comparisons and leaves equal items as the model does, and a
// sorted copy into a locked list is sorted and complete.
TEST(ListSort, MatchesTheModelWithHalfNSquaredComparisons) {
  const struct { int n, distinct; } cases[] = {
      {0, 1}, {1, 1}, {2, 1}, {3, 2}, {10, 3}, {257, 101}, {300, 2}, {150, 6}, {64, 64}};
  FOR_EACH_CASE(cases) {
    std::mt19937 random(12345 + (unsigned)i);
    Values v;
    for (int k = 0; k < c.n; ++k) v.push_back((DWORD)((random() % c.distinct) * 1000 + k));
    tGVLIST *list = MakeList(v), *copy = MakeList({}, GVLIST_THREADSAFE);
    ASSERT_EQ(GvList_SortTo(copy, list, 0, CompareKeys), S_OK);
    Values got = Contents(copy);
    EXPECT_TRUE(std::is_sorted(got.begin(), got.end(), ByKey));
    EXPECT_TRUE(std::is_permutation(got.begin(), got.end(), v.begin(), v.end()));
    g_comparisons = 0;
    g_criteria = 0;
    ASSERT_EQ(GvList_Sort(list, 77, CompareKeys), S_OK);
    EXPECT_EQ(g_comparisons, (long)c.n * (c.n - 1) / 2);
    EXPECT_EQ(g_criteria, c.n >= 2 ? 77u : 0u);
    EXPECT_EQ(GvList_GetSortCriteria(list), 77u);
    EXPECT_EQ(Contents(list), ModelSort(v));
    GvList_Destroy(list);
    GvList_Destroy(copy);
  }
  // Keys 2a 1 2b: pass one moves 2a (the first maximum) behind 2b's place.
  tGVLIST *list = MakeList({2000, 1001, 2002});
  ASSERT_EQ(GvList_Sort(list, 0, CompareKeys), S_OK);
  EXPECT_EQ(Contents(list), (Values{1001, 2002, 2000}));
  // Without a comparison nothing moves, but the criteria are stored.
  ASSERT_EQ(GvList_Sort(list, 5, nullptr), S_OK);
  EXPECT_EQ(GvList_GetSortCriteria(list), 5u);
  EXPECT_EQ(Contents(list), (Values{1001, 2002, 2000}));
  GvList_Destroy(list);
}

TEST(ListSortTo, InsertsEachSourceItemAtItsSortedPlaceAndRefusesBadLists) {
  // 3a 1 3b 2: 3b lands before 3a, met first by the insertion probes.
  tGVLIST *src = MakeList({3000, 1001, 3002, 2003}), *dest = MakeList({});
  tGVLIST *wide = MakeList({}, GVLIST_INLINE, 0, 0, 8);
  ASSERT_EQ(GvList_SortTo(dest, src, 4, nullptr), S_OK);  // no comparison: criteria only
  EXPECT_EQ(dest->count, 0);
  EXPECT_EQ(GvList_GetSortCriteria(dest), 4u);
  ASSERT_EQ(GvList_SortTo(dest, src, 9, CompareKeys), S_OK);
  EXPECT_EQ(Contents(dest), (Values{1001, 2003, 3002, 3000}));
  EXPECT_EQ(GvList_GetSortCriteria(dest), 9u);
  EXPECT_EQ(GvList_GetSortCriteria(src), 0u);
  EXPECT_EQ(Contents(src), (Values{3000, 1001, 3002, 2003}));
  tGVLIST *const refused[][2] = {{src, src}, {wide, src}, {dest, nullptr}, {nullptr, src}};
  FOR_EACH_CASE(refused) EXPECT_EQ(GvList_SortTo(c[0], c[1], 4, CompareKeys), E_FAIL);
  EXPECT_EQ(wide->count, 0);
  EXPECT_EQ(GvList_GetSortCriteria(dest), 9u);
  for (tGVLIST *l : {src, dest, wide}) GvList_Destroy(l);
}

}  // namespace
