// The list record (creation clamps, validity, fields, capacity) and the
// editing calls: insertion, deletion and moving of item ranges.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "gvtalc.h"
#include "support/cases.h"

namespace {

using Values = std::vector<DWORD>;

tGVLIST *Plain(const Values &values, int initial = 16, int growth = 16) {
  tGVLIST *list = nullptr;
  if (GvList_CreateEx(&list, 0, initial, growth, 0, nullptr, 0) != S_OK) return nullptr;
  if (!values.empty()) GvList_InsertList(list, -1, values.data(), (int)values.size());
  return list;
}

Values Contents(tGVLIST *list) {
  return Values((DWORD *)list->slots, (DWORD *)list->slots + list->count);
}

// Letters make moved blocks easy to read in failure messages.
std::string Letters(tGVLIST *list) {
  std::string s;
  for (DWORD v : Contents(list)) s += (char)v;
  return s;
}

TEST(ListCreate, ClampsCountAndGrowthAndSizesSlots) {
  static_assert(sizeof(tGVLIST) == 76, "record size");
  const struct { int itemSize, initialCount, growth; DWORD options, slotSize; LONG capacity, step; }
      cases[] = {
          // Defaults; capacity in whole steps; both raised to 4; negatives read as defaults.
          {0, 0, 0, 0, 4, 16, 16}, {0, 20, 8, 0, 4, 24, 8}, {0, 1, 1, 0, 4, 4, 4},
          {0, -5, -5, 0, 4, 16, 16},
          // Growth clamped; two steps; item size ignored unless inline.
          {0, 16, 100000, 0, 4, 66560, 66560}, {0, 66561, 66560, 0, 4, 133120, 66560},
          {123, 3, 5, 0, 4, 5, 5},
          {1, 4, 4, GVLIST_INLINE, 4, 4, 4},       {5, 4, 4, GVLIST_INLINE, 8, 4, 4},
          {8, 4, 4, GVLIST_INLINE, 8, 4, 4},       {513, 9, 4, GVLIST_INLINE, 516, 12, 4},
          {99, 4, 4, GVLIST_OWNITEMS, 4, 4, 4},
          {0, 4, 4, GVLIST_OWNITEMS | GVLIST_PRIVATEHEAP | GVLIST_THREADSAFE, 4, 4, 4},
          {0, 0, 0, 0x01000100 | GVLIST_THREADSAFE, 4, 16, 16},  // unknown bits are kept
      };
  FOR_EACH_CASE(cases) {
    tGVLIST *list = reinterpret_cast<tGVLIST *>(0xdeadbeef);
    ASSERT_EQ(GvList_CreateEx(&list, c.itemSize, c.initialCount, c.growth, c.options, "x.cpp", 12),
              S_OK);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(memcmp(&list->signature, "VORN", 4), 0);
    EXPECT_EQ(list->slotSize, c.slotSize);
    EXPECT_EQ(list->allocated, c.capacity);
    EXPECT_EQ(list->growth, c.step);
    EXPECT_EQ(list->count, 0);
    EXPECT_EQ(GvList_GetCreateOptions(list), c.options);
    EXPECT_EQ(GlobalSize(GlobalHandle(list->slots)), c.capacity * c.slotSize);
    EXPECT_EQ(list->ownerThread, GetCurrentThread());
    bool owned = (c.options & GVLIST_OWNITEMS) != 0;
    EXPECT_EQ(list->itemAllocFlags, owned ? 9u : 0u);
    EXPECT_EQ(list->itemFreeFlags, owned ? 1u : 0u);
    EXPECT_EQ(list->itemHeap != nullptr, owned && (c.options & GVLIST_PRIVATEHEAP) != 0);
    EXPECT_EQ(GvList_Destroy(list), S_OK);
  }
}

TEST(ListCreate, RefusalsClearTheHandle) {
  const struct { int itemSize, initial, growth; DWORD options; HRESULT result; } cases[] = {
      {4, 0, 0, 0x6, E_FAIL},                                        // inline and owned
      {0, 0, 0, GVLIST_INLINE, E_FAIL},                              // inline of size 0
      {0x7FFFFFF0, 66560, 66560, GVLIST_INLINE, E_OUTOFMEMORY}};     // huge, not a crash
  FOR_EACH_CASE(cases) {
    tGVLIST *list = reinterpret_cast<tGVLIST *>(0xdeadbeef);
    EXPECT_EQ(GvList_CreateEx(&list, c.itemSize, c.initial, c.growth, c.options, nullptr, 0),
              c.result);
    EXPECT_EQ(list, nullptr);
  }
  EXPECT_EQ(GvList_CreateEx(nullptr, 4, 0, 0, 0, nullptr, 0), E_FAIL);
}

TEST(ListNullHandle, DestroyIsOkOtherCallsRefuse) {
  int index = 0x5a5a;
  char text[4] = "abc";
  EXPECT_EQ(GvList_Destroy(nullptr), S_OK);
  EXPECT_EQ(GvList_IsValidIndexSlow(nullptr, 0), FALSE);
  EXPECT_EQ(GvList_SetUserData(nullptr, 5), 0);
  EXPECT_EQ(GvList_GetUserData(nullptr), 0);
  EXPECT_EQ(GvList_GetCreateOptions(nullptr), 0u);
  EXPECT_EQ(GvList_GetSortCriteria(nullptr), 0u);
  EXPECT_EQ(GvList_GrowAllocated(nullptr, 1), E_FAIL);
  EXPECT_EQ(GvList_ShrinkAllocated(nullptr, 1), E_FAIL);
  EXPECT_EQ(GvList_InsertList(nullptr, 0, &index, 1), E_FAIL);
  EXPECT_EQ(GvList_DeleteList(nullptr, 0, 1, FALSE), E_FAIL);
  EXPECT_EQ(GvList_MoveRange(nullptr, 0, 1, 1), E_FAIL);
  EXPECT_EQ(GvList_FindSpecificItemRange(nullptr, 0, -1, nullptr), -1);
  EXPECT_EQ(GvList_FindItemRange(nullptr, 0, -1, nullptr, nullptr), -1);
  EXPECT_EQ(GvList_FindSortedItemRange(nullptr, nullptr, 0, -1, nullptr), -1);
  EXPECT_EQ(GvList_FindSortedInsertIndexRange(nullptr, nullptr, 0, -1, nullptr), -1);
  EXPECT_EQ(GvList_Sort(nullptr, 1, nullptr), E_FAIL);
  EXPECT_EQ(GvList_SortTo(nullptr, nullptr, 1, nullptr), E_FAIL);
  EXPECT_EQ(GvList_AllocItem(nullptr, nullptr, 4, -1, &index), E_FAIL);
  EXPECT_EQ(index, -1);
  EXPECT_EQ(GvList_ReAllocItem(nullptr, 0, 4), E_FAIL);
  EXPECT_EQ(GvList_AllocSize(nullptr, -1), 0u);
  EXPECT_EQ(GvList_GetFileAndLine(nullptr, text, sizeof text), -1);
  EXPECT_STREQ(text, "");
}

TEST(ListFields, IsListUserDataIndexesAndFileAndLine) {
  tGVLIST *list = Plain({});
  EXPECT_EQ(GvList_IsList(list, 76), TRUE);
  EXPECT_EQ(GvList_IsList(list, 75), FALSE);
  EXPECT_EQ(GvList_IsList(list, 77), FALSE);
  EXPECT_EQ(GvList_IsList(nullptr, 76), FALSE);
  EXPECT_EQ(GvList_IsList(reinterpret_cast<void *>(16), 76), FALSE);
  BYTE fake[76] = {};
  EXPECT_EQ(GvList_IsList(fake, 76), FALSE);
  memcpy(fake + 36, "VORN", 4);
  EXPECT_EQ(GvList_IsList(fake, 76), TRUE);
  EXPECT_EQ(GvList_GetUserData(list), 0);
  EXPECT_EQ(GvList_SetUserData(list, -7), 0);
  EXPECT_EQ(GvList_SetUserData(list, 42), -7);
  EXPECT_EQ(GvList_GetUserData(list), 42);
  EXPECT_EQ(GvList_GetSortCriteria(list), 0u);
  char text[8];
  memset(text, 'x', sizeof text);
  EXPECT_EQ(GvList_GetFileAndLine(list, text, sizeof text), -1);
  EXPECT_EQ(text[0], '\0');
  EXPECT_EQ(text[1], 'x');
  EXPECT_EQ(GvList_GetFileAndLine(list, text, 0), -1);
  EXPECT_FALSE(GvList_IsValidIndexSlow(list, 0));
  DWORD values[3] = {1, 2, 3};
  ASSERT_EQ(GvList_InsertList(list, -1, values, 3), S_OK);
  const struct { int index; BOOL valid; } cases[] = {
      {-1, FALSE}, {0, TRUE}, {2, TRUE}, {3, FALSE}, {0x7FFFFFFF, FALSE}, {(int)0x80000000, FALSE}};
  FOR_EACH_CASE(cases) EXPECT_EQ(GvList_IsValidIndexSlow(list, c.index), c.valid);
  GvList_Destroy(list);
}

TEST(ListCapacity, ChangesInWholeGrowthStepsNeverBelowCount) {
  // The list starts at 32 slots, growth 8, holding `count` items.
  const struct { int count, request; bool grow; LONG capacity; } cases[] = {
      {0, 0, true, 40},     {0, -3, true, 40},    {0, 1, true, 40},    {0, 8, true, 40},
      {0, 9, true, 48},     {0, 17, true, 56},    {10, -1, false, 16}, {10, 22, false, 16},
      {10, 16, false, 16},  {10, 15, false, 16},  {10, 7, false, 24},  {10, 1, false, 24},
      {10, 0, false, 32},   {30, -1, false, 32},  {0, -1, false, 0},   {10, 100, false, 16},
  };
  FOR_EACH_CASE(cases) {
    Values v(c.count);
    for (int k = 0; k < c.count; ++k) v[k] = k;
    tGVLIST *list = Plain(v, 32, 8);
    ASSERT_EQ(list->allocated, 32);
    EXPECT_EQ(c.grow ? GvList_GrowAllocated(list, c.request)
                     : GvList_ShrinkAllocated(list, c.request), S_OK);
    EXPECT_EQ(list->allocated, c.capacity);
    EXPECT_EQ(list->slots ? (DWORD)GlobalSize(GlobalHandle(list->slots)) : 0, c.capacity * 4u);
    EXPECT_EQ(Contents(list), v);
    // New slots read as zero.
    for (LONG s = c.count; s < list->allocated; ++s) EXPECT_EQ(((int *)list->slots)[s], 0);
    GvList_Destroy(list);
  }
}

TEST(ListCapacity, EmptiedArrayGrowsAgainAndHugeGrowthLeavesTheList) {
  tGVLIST *list = Plain({}, 4, 4);
  ASSERT_EQ(GvList_ShrinkAllocated(list, -1), S_OK);
  EXPECT_EQ(list->allocated, 0);
  EXPECT_EQ(GvList_AllocSize(list, -1), 76u);
  DWORD v = 7;
  ASSERT_EQ(GvList_InsertList(list, 0, &v, 1), S_OK);
  EXPECT_EQ(list->allocated, 4);
  EXPECT_EQ(GVLIST_ITEM(list, 0), (void *)7);
  void *slots = list->slots;
  EXPECT_EQ(GvList_GrowAllocated(list, 0x7FFFFFFF), E_OUTOFMEMORY);
  EXPECT_EQ(list->allocated, 4);
  EXPECT_EQ(list->slots, slots);
  GvList_Destroy(list);
}

TEST(ListInsert, PlacesItemsAtClampedIndex) {
  const struct { int index; Values items, expected; } cases[] = {
      {0, {9}, {9, 1, 2, 3}},   {1, {9, 8}, {1, 9, 8, 2, 3}},       {3, {9}, {1, 2, 3, 9}},
      {-1, {9}, {1, 2, 3, 9}},  {4, {9}, {1, 2, 3, 9}},             {1000, {9, 8}, {1, 2, 3, 9, 8}},
      {(int)0x80000000, {9}, {1, 2, 3, 9}},
  };
  FOR_EACH_CASE(cases) {
    tGVLIST *list = Plain({1, 2, 3});
    ASSERT_EQ(GvList_InsertList(list, c.index, c.items.data(), (int)c.items.size()), S_OK);
    EXPECT_EQ(Contents(list), c.expected);
    GvList_Destroy(list);
  }
}

TEST(ListInsert, GrowsOnlyWhenFullByWholeStepsBeforeCopying) {
  tGVLIST *list = Plain({}, 4, 4);
  Values four = {1, 2, 3, 4}, five = {5, 6, 7, 8, 9}, seven(7, 0xAA);
  ASSERT_EQ(GvList_InsertList(list, -1, four.data(), 4), S_OK);
  EXPECT_EQ(list->allocated, 4);
  ASSERT_EQ(GvList_InsertList(list, -1, five.data(), 5), S_OK);
  EXPECT_EQ(list->allocated, 12);
  ASSERT_EQ(GvList_InsertList(list, 0, five.data(), 1), S_OK);
  EXPECT_EQ(list->allocated, 12);
  EXPECT_EQ(Contents(list), (Values{5, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
  GvList_Destroy(list);
  // More items than free slots: 2 free, 5 missing -> two steps of 4.
  list = Plain({1, 2}, 4, 4);
  ASSERT_EQ(GvList_InsertList(list, 1, seven.data(), 7), S_OK);
  EXPECT_EQ(list->allocated, 12);
  EXPECT_GE(GlobalSize(GlobalHandle(list->slots)), (SIZE_T)list->count * 4);
  EXPECT_EQ(Contents(list), (Values{1, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 2}));
  GvList_Destroy(list);
}

TEST(ListInsert, RefusalsLeaveTheListUnchanged) {
  tGVLIST *list = Plain({1, 2, 3}, 4, 4);
  void *slots = list->slots;
  DWORD v = 5;  // far fewer items than the huge counts claim: they must not be read
  EXPECT_EQ(GvList_InsertList(list, 0, &v, -1), E_FAIL);
  EXPECT_EQ(GvList_InsertList(list, 0, nullptr, 1), E_FAIL);
  EXPECT_EQ(GvList_InsertList(list, 0, nullptr, 0), S_OK);
  EXPECT_EQ(GvList_InsertList(list, 0, &v, 0x40000000), E_OUTOFMEMORY);
  EXPECT_EQ(GvList_InsertList(list, 0, &v, 0x7FFFFFFF), E_OUTOFMEMORY);
  EXPECT_EQ(list->slots, slots);
  EXPECT_EQ(list->allocated, 4);
  EXPECT_EQ(Contents(list), (Values{1, 2, 3}));
  GvList_Destroy(list);
}

TEST(ListInsert, InlineItemsAreCopiedWholeSlots) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 6, 4, 4, GVLIST_INLINE, nullptr, 0), S_OK);
  ASSERT_EQ(list->slotSize, 8u);
  ASSERT_EQ(GvList_InsertList(list, -1, "abcdefghABCDEFGH", 2), S_OK);
  ASSERT_EQ(GvList_InsertList(list, 1, "zzzzzzzz", 1), S_OK);
  EXPECT_EQ(memcmp(list->slots, "abcdefghzzzzzzzzABCDEFGH", 24), 0);
  EXPECT_EQ(GVLIST_ITEM(list, 1), (BYTE *)list->slots + 8);
  GvList_Destroy(list);
}

TEST(ListDelete, RangesAndResults) {
  const Values all = {1, 2, 3, 4, 5};
  const struct { Values before; int index, count; HRESULT result; Values expected; } cases[] = {
      {all, 0, 1, S_OK, {2, 3, 4, 5}}, {all, 1, 2, S_OK, {1, 4, 5}}, {all, 3, 10, S_OK, {1, 2, 3}},
      {all, 2, -1, S_OK, {1, 2}},      {all, 4, -1, S_OK, {1, 2, 3, 4}}, {all, 5, 1, E_FAIL, all},
      {all, -1, 1, E_FAIL, all},       {all, 7, 0, S_OK, all},     {all, -9, 0, S_OK, all},
      {all, 9, -1, S_OK, all},         {all, -1, -1, E_FAIL, all}, {all, 0, -1, S_OK, {}},
      {{}, 7, 0, S_OK, {}},            {{}, -1, 1, E_FAIL, {}},    {{}, 0, 1, E_FAIL, {}},
      {all, INT_MIN, -1, E_FAIL, all},  // "to the end" from far before the start is not empty
  };
  FOR_EACH_CASE(cases) {
    tGVLIST *list = Plain(c.before);
    EXPECT_EQ(GvList_DeleteList(list, c.index, c.count, FALSE), c.result);
    EXPECT_EQ(Contents(list), c.expected);
    // Vacated slots are zero again.
    for (LONG s = list->count; s < list->allocated; ++s) EXPECT_EQ(((DWORD *)list->slots)[s], 0u);
    GvList_Destroy(list);
  }
}

TEST(ListDelete, ShrinksOnlyWhenAskedAndMoreThanOneStepIsFree) {
  const struct { int keep; BOOL shrink; LONG capacity; } cases[] = {
      {20, TRUE, 24}, {19, TRUE, 24}, {16, TRUE, 16}, {15, TRUE, 16}, {7, TRUE, 8},
      {0, TRUE, 0},   {15, FALSE, 32},
  };
  FOR_EACH_CASE(cases) {
    Values v(24);
    for (DWORD k = 0; k < 24; ++k) v[k] = k;
    tGVLIST *list = Plain(v, 32, 8);
    ASSERT_EQ(list->allocated, 32);
    ASSERT_EQ(GvList_DeleteList(list, c.keep, -1, c.shrink), S_OK);
    EXPECT_EQ(list->allocated, c.capacity);
    EXPECT_EQ(list->count, c.keep);
    GvList_Destroy(list);
  }
}

TEST(ListMove, KeepsOrderInsideAndOutsideTheBlock) {
  const struct { int from, to, count; HRESULT result; const char *expected; } cases[] = {
      {0, 3, 2, S_OK, "cdeab"},    {3, 0, 2, S_OK, "deabc"},    {1, 2, 1, S_OK, "acbde"},
      {2, 1, 1, S_OK, "acbde"},    {0, 4, 1, S_OK, "bcdea"},    {4, 0, 1, S_OK, "eabcd"},
      {0, 1, 4, S_OK, "eabcd"},    {2, 2, 3, S_OK, "abcde"},    {1, 3, 0, S_OK, "abcde"},
      {0, 3, 3, E_FAIL, "abcde"},  {4, 0, 2, E_FAIL, "abcde"},  {-1, 0, 1, E_FAIL, "abcde"},
      {0, -1, 1, E_FAIL, "abcde"}, {1, 3, -1, S_OK, "adebc"},   {3, 1, -1, S_OK, "adebc"},
      {0, 5, -1, S_OK, "abcde"},   {0, 6, -1, S_OK, "abcde"},   {0, 5, 1, E_FAIL, "abcde"},
      // Negative indexes: an empty block or from == to succeeds as for any index,
      // a real block before the first item is refused.
      {-2, -2, 1, S_OK, "abcde"},  {-1, 0, 0, S_OK, "abcde"},   {INT_MIN, INT_MIN, -1, S_OK, "abcde"},
      {INT_MIN, 0, -1, E_FAIL, "abcde"},
  };
  FOR_EACH_CASE(cases) {
    tGVLIST *list = Plain({'a', 'b', 'c', 'd', 'e'});
    EXPECT_EQ(GvList_MoveRange(list, c.from, c.to, c.count), c.result);
    EXPECT_EQ(Letters(list), c.expected);
    GvList_Destroy(list);
  }
}

// Blocks up to 512 bytes use the stack, larger ones a global block: both
// sides of that line must move the same way.
TEST(ListMove, BlocksAroundScratchLimitMoveAlike) {
  for (int itemSize : {4, 8, 12}) {
    for (int count : {42, 43, 64, 128, 129, 200}) {
      SCOPED_TRACE(testing::Message() << itemSize << " x " << count);
      tGVLIST *list = nullptr;
      ASSERT_EQ(GvList_CreateEx(&list, itemSize, 0, 0, GVLIST_INLINE, nullptr, 0), S_OK);
      const int total = 300, words = itemSize / 4, from = 7, to = 60;
      Values model(total * words);
      for (size_t k = 0; k < model.size(); ++k) model[k] = (DWORD)k * 2654435761u;
      ASSERT_EQ(GvList_InsertList(list, -1, model.data(), total), S_OK);
      const Values original = model;
      ASSERT_EQ(GvList_MoveRange(list, from, to, count), S_OK);
      // Model: take the block out, put it back at `to`.
      Values block(model.begin() + from * words, model.begin() + (from + count) * words);
      model.erase(model.begin() + from * words, model.begin() + (from + count) * words);
      model.insert(model.begin() + to * words, block.begin(), block.end());
      EXPECT_EQ(memcmp(list->slots, model.data(), model.size() * 4), 0);
      ASSERT_EQ(GvList_MoveRange(list, to, from, count), S_OK);  // and back again
      EXPECT_EQ(memcmp(list->slots, original.data(), original.size() * 4), 0);
      GvList_Destroy(list);
    }
  }
}

}  // namespace
