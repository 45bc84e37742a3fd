// Linear and binary searches: range normalisation and the probe sequence.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "gvtalc.h"

namespace {

// Items are key * 1000 + position, so a probe's position can be logged while
// the comparison looks at keys only.
std::vector<int> g_probes;
DWORD g_criteriaSeen;

int CALLBACK CompareKeyWithItem(DWORD criteria, const void *key, const void *item) {
  g_criteriaSeen = criteria;
  int k = (int)(INT_PTR)key, v = (int)(INT_PTR)item;
  g_probes.push_back(v % 1000);
  return (k > v / 1000) - (k < v / 1000);
}

tGVLIST *MakeKeyed(const std::vector<int> &keys) {
  tGVLIST *list = nullptr;
  if (GvList_CreateEx(&list, 0, 0, 0, 0, nullptr, 0) != S_OK) return nullptr;
  for (size_t i = 0; i < keys.size(); ++i) {
    DWORD v = (DWORD)(keys[i] * 1000 + (int)i);
    GvList_InsertList(list, -1, &v, 1);
  }
  return list;
}

struct ProbeCase {
  std::vector<int> keys;
  int key, start, count;
  int found;                  // GvList_FindSortedItemRange
  std::vector<int> probes;    // positions compared, in order
  int insertAt;               // GvList_FindSortedInsertIndexRange
};

const std::vector<int> kDup = {1, 2, 2, 2, 3, 5, 5, 8};

const ProbeCase kProbeCases[] = {
    {kDup, 2, 0, -1, 3, {3}, 3},
    {kDup, 5, 0, -1, 5, {3, 5}, 5},
    {kDup, 8, 0, -1, 7, {3, 5, 6, 7}, 7},
    {kDup, 1, 0, -1, 0, {3, 1, 0}, 0},
    {kDup, 4, 0, -1, -1, {3, 5, 4}, 5},
    {kDup, 6, 0, -1, -1, {3, 5, 6, 7}, 7},
    {kDup, 0, 0, -1, -1, {3, 1, 0}, 0},
    {kDup, 9, 0, -1, -1, {3, 5, 6, 7}, 8},
    {kDup, 2, 1, 3, 2, {2}, 2},
    {kDup, 5, 4, 100, 5, {5}, 5},
    {kDup, 5, -7, 3, -1, {1, 2}, 3},
    {{5, 5, 5, 5}, 5, 0, -1, 1, {1}, 1},
    {{5, 5, 5, 5, 5}, 5, 0, -1, 2, {2}, 2},
    {{3, 5}, 1, 0, -1, -1, {0}, 0},
    {{3, 5}, 4, 0, -1, -1, {0, 1}, 1},
    {{3, 5}, 6, 0, -1, -1, {0, 1}, 2},
    {{10, 20, 30}, 20, 0, -1, 1, {1}, 1},
    {{10, 20, 30}, 25, 0, -1, -1, {1, 2}, 2},
    {{10, 20, 30}, 35, 0, -1, -1, {1, 2}, 3},
    {{10, 20, 30}, 5, 0, -1, -1, {1, 0}, 0},
    {{10}, 10, 0, -1, 0, {0}, 0},
    {{10}, 11, 0, -1, -1, {0}, 1},
};

TEST(ListSortedSearch, FollowsLowerMiddleProbeSequence) {
  for (size_t i = 0; i < sizeof kProbeCases / sizeof kProbeCases[0]; ++i) {
    const ProbeCase &c = kProbeCases[i];
    SCOPED_TRACE(i);
    tGVLIST *list = MakeKeyed(c.keys);
    ASSERT_EQ(GvList_Sort(list, 0x1234, nullptr), S_OK);
    g_probes.clear();
    g_criteriaSeen = 0;
    EXPECT_EQ(GvList_FindSortedItemRange(list, (void *)(INT_PTR)c.key, c.start, c.count,
                                         CompareKeyWithItem),
              c.found);
    EXPECT_EQ(g_probes, c.probes);
    EXPECT_EQ(g_criteriaSeen, 0x1234u);
    g_probes.clear();
    EXPECT_EQ(GvList_FindSortedInsertIndexRange(list, (void *)(INT_PTR)c.key, c.start, c.count,
                                                CompareKeyWithItem),
              c.insertAt);
    GvList_Destroy(list);
  }
}

TEST(ListSortedSearch, EmptyRangesAndStartsBeyondTheEnd) {
  const struct { std::vector<int> keys; int start, count, found, insertAt; } cases[] = {
      {{}, 0, -1, -1, 0},       {{}, 1, -1, -1, -1},      {{}, -3, 5, -1, 0},
      {{1, 2, 3}, 3, -1, -1, 0}, {{1, 2, 3}, 4, -1, -1, -1}, {{1, 2, 3}, 1, 0, -1, 0},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    tGVLIST *list = MakeKeyed(cases[i].keys);
    g_probes.clear();
    EXPECT_EQ(GvList_FindSortedItemRange(list, (void *)2, cases[i].start, cases[i].count,
                                         CompareKeyWithItem),
              cases[i].found);
    EXPECT_EQ(GvList_FindSortedInsertIndexRange(list, (void *)2, cases[i].start, cases[i].count,
                                                CompareKeyWithItem),
              cases[i].insertAt);
    EXPECT_TRUE(g_probes.empty());
    GvList_Destroy(list);
  }
}

TEST(ListSortedSearch, NullComparisonFindsNothing) {
  tGVLIST *list = MakeKeyed({1, 2, 3});
  EXPECT_EQ(GvList_FindSortedItemRange(list, (void *)2, 0, -1, nullptr), -1);
  EXPECT_EQ(GvList_FindSortedInsertIndexRange(list, (void *)2, 0, -1, nullptr), -1);
  GvList_Destroy(list);
}

TEST(ListSpecificSearch, NormalisesRangeAndMatchesValues) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 0, 0, 0, 0, nullptr, 0), S_OK);
  DWORD values[] = {7, 3, 7, 9};
  ASSERT_EQ(GvList_InsertList(list, -1, values, 4), S_OK);
  const struct { int start, count; DWORD item; int expected; } cases[] = {
      {0, -1, 7, 0},  {1, -1, 7, 2},  {1, 1, 7, -1},  {-5, 1, 7, 0},   {2, 100, 9, 3},
      {3, 0, 9, -1},  {4, -1, 9, -1}, {5, 1, 9, -1},  {0, -1, 4, -1},  {0, -1, 0, -1},
      {1, -9, 9, 3},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(GvList_FindSpecificItemRange(list, cases[i].start, cases[i].count,
                                           (void *)(INT_PTR)cases[i].item),
              cases[i].expected);
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

struct MatchLog {
  const void *key;
  std::vector<const void *> items;
};
MatchLog g_match;

int CALLBACK MatchEqual(const void *key, const void *item) {
  g_match.key = key;
  g_match.items.push_back(item);
  return key == item ? 0 : 1;
}

TEST(ListMatchSearch, CallsBackInOrderAndStopsAtFirstMatch) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 0, 0, 0, 0, nullptr, 0), S_OK);
  DWORD values[] = {4, 5, 6, 5};
  ASSERT_EQ(GvList_InsertList(list, -1, values, 4), S_OK);
  g_match = {};
  EXPECT_EQ(GvList_FindItemRange(list, 0, -1, (void *)5, MatchEqual), 1);
  EXPECT_EQ(g_match.key, (void *)5);
  EXPECT_EQ(g_match.items, (std::vector<const void *>{(void *)4, (void *)5}));
  g_match = {};
  EXPECT_EQ(GvList_FindItemRange(list, 2, -1, (void *)5, MatchEqual), 3);
  EXPECT_EQ(g_match.items.size(), 2u);
  g_match = {};
  EXPECT_EQ(GvList_FindItemRange(list, 2, 1, (void *)5, MatchEqual), -1);
  EXPECT_EQ(GvList_FindItemRange(list, 4, -1, (void *)5, MatchEqual), -1);
  EXPECT_EQ(GvList_FindItemRange(list, 0, -1, (void *)5, nullptr), -1);
  GvList_Destroy(list);
}

TEST(ListMatchSearch, InlineItemsArePassedAsSlotPointers) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 8, 0, 0, GVLIST_INLINE, nullptr, 0), S_OK);
  ASSERT_EQ(GvList_InsertList(list, -1, "first...second..", 2), S_OK);
  g_match = {};
  EXPECT_EQ(GvList_FindItemRange(list, 0, -1, nullptr, MatchEqual), -1);
  ASSERT_EQ(g_match.items.size(), 2u);
  EXPECT_EQ(g_match.items[0], list->slots);
  EXPECT_EQ(g_match.items[1], (BYTE *)list->slots + 8);
  GvList_Destroy(list);
}

}  // namespace
