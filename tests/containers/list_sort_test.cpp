// Selection sort from the end, and sorted copying into another list.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "gvtalc.h"

namespace {

// Items are key * 1000 + identity: comparisons look at keys only, so the
// final order of equal keys shows exactly which swaps were made.
long g_comparisons;
DWORD g_criteria;

int CALLBACK CompareKeys(DWORD criteria, const void *a, const void *b) {
  ++g_comparisons;
  g_criteria = criteria;
  int x = (int)(INT_PTR)a / 1000, y = (int)(INT_PTR)b / 1000;
  return (x > y) - (x < y);
}

tGVLIST *MakeList(const std::vector<DWORD> &values) {
  tGVLIST *list = nullptr;
  if (GvList_CreateEx(&list, 0, 0, 0, 0, nullptr, 0) != S_OK) return nullptr;
  if (!values.empty()) GvList_InsertList(list, -1, values.data(), (int)values.size());
  return list;
}

std::vector<DWORD> Contents(tGVLIST *list) {
  std::vector<DWORD> out;
  for (LONG i = 0; i < list->count; ++i) out.push_back((DWORD)(INT_PTR)GVLIST_ITEM(list, i));
  return out;
}

// Reference model of the sort's rules: repeatedly put the first of the
// largest keys of the unsorted front into the last unsorted place.
std::vector<DWORD> ModelSort(std::vector<DWORD> v) {
  auto byKey = [](DWORD a, DWORD b) { return a / 1000 < b / 1000; };
  for (size_t end = v.size(); end > 1; --end) {
    auto largest = std::max_element(v.begin(), v.begin() + end, byKey);  // first of equals
    std::iter_swap(largest, v.begin() + end - 1);
  }
  return v;
}

TEST(ListSort, MakesHalfNSquaredComparisons) {
  for (int n : {0, 1, 2, 3, 10, 257}) {
    SCOPED_TRACE(n);
    std::vector<DWORD> v;
    for (int i = 0; i < n; ++i) v.push_back((DWORD)((i * 7919) % 101 * 1000 + i % 1000));
    tGVLIST *list = MakeList(v);
    g_comparisons = 0;
    ASSERT_EQ(GvList_Sort(list, 77, CompareKeys), S_OK);
    EXPECT_EQ(g_comparisons, (long)n * (n - 1) / 2);
    if (n >= 2) {
      EXPECT_EQ(g_criteria, 77u);
    }
    GvList_Destroy(list);
  }
}

TEST(ListSort, OrderOfEqualKeysMatchesModelOnRandomData) {
  std::mt19937 random(12345);
  for (int round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    int n = 1 + (int)(random() % 120);
    int distinct = 1 + (int)(random() % 6);  // many equal keys
    std::vector<DWORD> v;
    for (int i = 0; i < n; ++i) v.push_back((DWORD)((random() % distinct) * 1000 + i));
    tGVLIST *list = MakeList(v);
    ASSERT_EQ(GvList_Sort(list, 0, CompareKeys), S_OK);
    EXPECT_EQ(Contents(list), ModelSort(v));
    GvList_Destroy(list);
  }
}

TEST(ListSort, SmallCaseOfEqualMaxima) {
  // Keys 2a 1 2b: pass one moves 2a (the first maximum) behind 2b's place.
  tGVLIST *list = MakeList({2000, 1001, 2002});
  ASSERT_EQ(GvList_Sort(list, 0, CompareKeys), S_OK);
  EXPECT_EQ(Contents(list), (std::vector<DWORD>{1001, 2002, 2000}));
  GvList_Destroy(list);
}

TEST(ListSort, StoresCriteriaEvenWhenNothingIsSorted) {
  tGVLIST *list = MakeList({3000, 1000});
  ASSERT_EQ(GvList_Sort(list, 5, nullptr), S_OK);
  EXPECT_EQ(GvList_GetSortCriteria(list), 5u);
  EXPECT_EQ(Contents(list), (std::vector<DWORD>{3000, 1000}));
  tGVLIST *single = MakeList({4000});
  g_comparisons = 0;
  ASSERT_EQ(GvList_Sort(single, 6, CompareKeys), S_OK);
  EXPECT_EQ(GvList_GetSortCriteria(single), 6u);
  EXPECT_EQ(g_comparisons, 0);
  GvList_Destroy(list);
  GvList_Destroy(single);
}

int CALLBACK CompareFirstWord(DWORD, const void *a, const void *b) {
  DWORD x = *(const DWORD *)a, y = *(const DWORD *)b;
  return (x > y) - (x < y);
}

TEST(ListSort, InlineSlotsAreSwappedWhole) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 10, 0, 0, GVLIST_INLINE, nullptr, 0), S_OK);
  const DWORD items[] = {3, 0x33, 0x333, 1, 0x11, 0x111, 2, 0x22, 0x222};
  ASSERT_EQ(GvList_InsertList(list, -1, items, 3), S_OK);
  ASSERT_EQ(GvList_Sort(list, 0, CompareFirstWord), S_OK);
  const DWORD sorted[] = {1, 0x11, 0x111, 2, 0x22, 0x222, 3, 0x33, 0x333};
  EXPECT_EQ(memcmp(list->slots, sorted, sizeof sorted), 0);
  GvList_Destroy(list);
}

TEST(ListSortTo, InsertsEachSourceItemAtItsSortedPlace) {
  // 3a 1 3b 2: 3b lands before 3a, met first by the insertion probes.
  tGVLIST *src = MakeList({3000, 1001, 3002, 2003});
  tGVLIST *dest = MakeList({});
  ASSERT_EQ(GvList_SortTo(dest, src, 9, CompareKeys), S_OK);
  EXPECT_EQ(Contents(dest), (std::vector<DWORD>{1001, 2003, 3002, 3000}));
  EXPECT_EQ(GvList_GetSortCriteria(dest), 9u);
  EXPECT_EQ(GvList_GetSortCriteria(src), 0u);
  EXPECT_EQ(Contents(src), (std::vector<DWORD>{3000, 1001, 3002, 2003}));
  GvList_Destroy(src);
  GvList_Destroy(dest);
}

TEST(ListSortTo, LargeRandomCopyIsSortedAndComplete) {
  std::mt19937 random(7);
  std::vector<DWORD> v;
  for (int i = 0; i < 500; ++i) v.push_back((DWORD)((random() % 50) * 1000 + i));
  tGVLIST *src = MakeList(v);
  tGVLIST *dest = nullptr;
  ASSERT_EQ(GvList_CreateEx(&dest, 0, 0, 0, GVLIST_THREADSAFE, nullptr, 0), S_OK);
  ASSERT_EQ(GvList_SortTo(dest, src, 0, CompareKeys), S_OK);
  std::vector<DWORD> got = Contents(dest);
  EXPECT_TRUE(std::is_sorted(got.begin(), got.end(),
                             [](DWORD a, DWORD b) { return a / 1000 < b / 1000; }));
  std::sort(got.begin(), got.end());
  std::sort(v.begin(), v.end());
  EXPECT_EQ(got, v);
  GvList_Destroy(src);
  GvList_Destroy(dest);
}

TEST(ListSortTo, InlineSourceCopiesSlotBytes) {
  tGVLIST *src = nullptr, *dest = nullptr;
  ASSERT_EQ(GvList_CreateEx(&src, 8, 0, 0, GVLIST_INLINE, nullptr, 0), S_OK);
  ASSERT_EQ(GvList_CreateEx(&dest, 8, 0, 0, GVLIST_INLINE, nullptr, 0), S_OK);
  const DWORD items[] = {2, 0xB, 1, 0xA};
  ASSERT_EQ(GvList_InsertList(src, -1, items, 2), S_OK);
  ASSERT_EQ(GvList_SortTo(dest, src, 0, CompareFirstWord), S_OK);
  const DWORD sorted[] = {1, 0xA, 2, 0xB};
  ASSERT_EQ(dest->count, 2);
  EXPECT_EQ(memcmp(dest->slots, sorted, sizeof sorted), 0);
  GvList_Destroy(src);
  GvList_Destroy(dest);
}

TEST(ListSortTo, RefusalsAndNullComparison) {
  tGVLIST *src = MakeList({2000, 1000});
  tGVLIST *dest = MakeList({});
  tGVLIST *wide = nullptr;
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
