// Insertion, deletion and moving of item ranges.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "gvtalc.h"

namespace {

tGVLIST *MakePlain(const std::vector<DWORD> &values, int initial = 16, int growth = 16) {
  tGVLIST *list = nullptr;
  if (GvList_CreateEx(&list, 0, initial, growth, 0, nullptr, 0) != S_OK) return nullptr;
  if (!values.empty()) GvList_InsertList(list, -1, values.data(), (int)values.size());
  return list;
}

std::vector<DWORD> Contents(tGVLIST *list) {
  std::vector<DWORD> out;
  for (LONG i = 0; i < list->count; ++i) out.push_back(*(DWORD *)GVLIST_SLOT(list, i));
  return out;
}

// Letters make moved blocks easy to read in failure messages.
std::string Letters(tGVLIST *list) {
  std::string s;
  for (DWORD v : Contents(list)) s += (char)v;
  return s;
}

tGVLIST *MakeLetters(const char *text) {
  std::vector<DWORD> v;
  for (const char *p = text; *p; ++p) v.push_back((BYTE)*p);
  return MakePlain(v);
}

struct InsertCase {
  int index;
  std::vector<DWORD> items;
  std::vector<DWORD> expected;
};

TEST(ListInsert, PlacesItemsAtClampedIndex) {
  const InsertCase cases[] = {
      {0, {9}, {9, 1, 2, 3}},          {1, {9, 8}, {1, 9, 8, 2, 3}},
      {3, {9}, {1, 2, 3, 9}},          {-1, {9}, {1, 2, 3, 9}},
      {4, {9}, {1, 2, 3, 9}},          {1000, {9, 8}, {1, 2, 3, 9, 8}},
      {(int)0x80000000, {9}, {1, 2, 3, 9}},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    tGVLIST *list = MakePlain({1, 2, 3});
    ASSERT_EQ(GvList_InsertList(list, cases[i].index, cases[i].items.data(),
                                (int)cases[i].items.size()),
              S_OK);
    EXPECT_EQ(Contents(list), cases[i].expected);
    GvList_Destroy(list);
  }
}

TEST(ListInsert, GrowsFullListByInsertedCountInWholeSteps) {
  tGVLIST *list = MakePlain({}, 4, 4);
  std::vector<DWORD> four = {1, 2, 3, 4}, five = {5, 6, 7, 8, 9};
  ASSERT_EQ(GvList_InsertList(list, -1, four.data(), 4), S_OK);
  EXPECT_EQ(list->allocated, 4);
  ASSERT_EQ(GvList_InsertList(list, -1, five.data(), 5), S_OK);
  EXPECT_EQ(list->allocated, 12);
  ASSERT_EQ(GvList_InsertList(list, 0, five.data(), 1), S_OK);
  EXPECT_EQ(list->allocated, 12);
  EXPECT_EQ(Contents(list), (std::vector<DWORD>{5, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
  GvList_Destroy(list);
}

TEST(ListInsert, MoreItemsThanFreeSlotsGrowsFirstAndStaysInBounds) {
  tGVLIST *list = MakePlain({1, 2}, 4, 4);  // 2 free slots
  std::vector<DWORD> items(7, 0xAA);
  ASSERT_EQ(GvList_InsertList(list, 1, items.data(), 7), S_OK);
  EXPECT_EQ(list->count, 9);
  EXPECT_EQ(list->allocated, 12);  // 5 missing slots -> two steps of 4
  EXPECT_GE(GlobalSize(GlobalHandle(list->slots)), (SIZE_T)list->count * 4);
  EXPECT_EQ(Contents(list), (std::vector<DWORD>{1, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 2}));
  GvList_Destroy(list);
}

TEST(ListInsert, RefusesBadArgumentsWithoutChange) {
  tGVLIST *list = MakePlain({1, 2, 3});
  DWORD v = 5;
  EXPECT_EQ(GvList_InsertList(list, 0, &v, -1), E_FAIL);
  EXPECT_EQ(GvList_InsertList(list, 0, nullptr, 1), E_FAIL);
  EXPECT_EQ(GvList_InsertList(list, 0, nullptr, 0), S_OK);
  EXPECT_EQ(Contents(list), (std::vector<DWORD>{1, 2, 3}));
  GvList_Destroy(list);
}

TEST(ListInsert, ImpossibleGrowthFailsBeforeReadingItems) {
  tGVLIST *list = MakePlain({1, 2, 3}, 4, 4);
  void *slots = list->slots;
  DWORD one = 9;  // far fewer items than claimed: they must not be read
  EXPECT_EQ(GvList_InsertList(list, 0, &one, 0x40000000), E_OUTOFMEMORY);
  EXPECT_EQ(GvList_InsertList(list, 0, &one, 0x7FFFFFFF), E_OUTOFMEMORY);
  EXPECT_EQ(list->slots, slots);
  EXPECT_EQ(list->allocated, 4);
  EXPECT_EQ(Contents(list), (std::vector<DWORD>{1, 2, 3}));
  GvList_Destroy(list);
}

TEST(ListInsert, InlineItemsAreCopiedWholeSlots) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 6, 4, 4, GVLIST_INLINE, nullptr, 0), S_OK);
  ASSERT_EQ(list->slotSize, 8u);
  const char items[] = "abcdefghABCDEFGH";
  ASSERT_EQ(GvList_InsertList(list, -1, items, 2), S_OK);
  ASSERT_EQ(GvList_InsertList(list, 1, "zzzzzzzz", 1), S_OK);
  EXPECT_EQ(memcmp(list->slots, "abcdefghzzzzzzzzABCDEFGH", 24), 0);
  EXPECT_EQ(GVLIST_ITEM(list, 1), (BYTE *)list->slots + 8);
  GvList_Destroy(list);
}

struct DeleteCase {
  int index, count;
  HRESULT result;
  std::vector<DWORD> expected;
};

TEST(ListDelete, RangesAndResults) {
  const DeleteCase cases[] = {
      {0, 1, S_OK, {2, 3, 4, 5}},        {1, 2, S_OK, {1, 4, 5}},
      {3, 10, S_OK, {1, 2, 3}},          {2, -1, S_OK, {1, 2}},
      {4, -1, S_OK, {1, 2, 3, 4}},       {5, 1, E_FAIL, {1, 2, 3, 4, 5}},
      {-1, 1, E_FAIL, {1, 2, 3, 4, 5}},  {7, 0, S_OK, {1, 2, 3, 4, 5}},
      {-9, 0, S_OK, {1, 2, 3, 4, 5}},    {9, -1, S_OK, {1, 2, 3, 4, 5}},
      {-1, -1, E_FAIL, {1, 2, 3, 4, 5}}, {0, -1, S_OK, {}},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    tGVLIST *list = MakePlain({1, 2, 3, 4, 5});
    EXPECT_EQ(GvList_DeleteList(list, cases[i].index, cases[i].count, FALSE), cases[i].result);
    EXPECT_EQ(Contents(list), cases[i].expected);
    // Vacated slots are zero again.
    for (LONG s = list->count; s < list->allocated; ++s) EXPECT_EQ(((DWORD *)list->slots)[s], 0u);
    GvList_Destroy(list);
  }
}

TEST(ListDelete, EmptyListAcceptsEmptyDeletionOnly) {
  tGVLIST *list = MakePlain({});
  EXPECT_EQ(GvList_DeleteList(list, 7, 0, FALSE), S_OK);
  EXPECT_EQ(GvList_DeleteList(list, -1, 1, FALSE), E_FAIL);
  EXPECT_EQ(GvList_DeleteList(list, 0, 1, FALSE), E_FAIL);
  GvList_Destroy(list);
}

TEST(ListDelete, ShrinksOnlyWhenAskedAndMoreThanOneStepIsFree) {
  const struct { int keep; BOOL shrink; LONG capacity; } cases[] = {
      {20, TRUE, 24}, {19, TRUE, 24}, {16, TRUE, 16}, {15, TRUE, 16}, {7, TRUE, 8},
      {0, TRUE, 0},   {15, FALSE, 32},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    std::vector<DWORD> v(24);
    for (DWORD k = 0; k < 24; ++k) v[k] = k;
    tGVLIST *list = MakePlain(v, 32, 8);
    ASSERT_EQ(list->allocated, 32);
    ASSERT_EQ(GvList_DeleteList(list, cases[i].keep, -1, cases[i].shrink), S_OK);
    EXPECT_EQ(list->allocated, cases[i].capacity);
    EXPECT_EQ(list->count, cases[i].keep);
    GvList_Destroy(list);
  }
}

struct MoveCase {
  int from, to, count;
  HRESULT result;
  const char *expected;
};

TEST(ListMove, KeepsOrderInsideAndOutsideTheBlock) {
  const MoveCase cases[] = {
      {0, 3, 2, S_OK, "cdeab"},    {3, 0, 2, S_OK, "deabc"},    {1, 2, 1, S_OK, "acbde"},
      {2, 1, 1, S_OK, "acbde"},    {0, 4, 1, S_OK, "bcdea"},    {4, 0, 1, S_OK, "eabcd"},
      {0, 1, 4, S_OK, "eabcd"},    {2, 2, 3, S_OK, "abcde"},    {1, 3, 0, S_OK, "abcde"},
      {0, 3, 3, E_FAIL, "abcde"},  {4, 0, 2, E_FAIL, "abcde"},  {-1, 0, 1, E_FAIL, "abcde"},
      {0, -1, 1, E_FAIL, "abcde"}, {1, 3, -1, S_OK, "adebc"},   {3, 1, -1, S_OK, "adebc"},
      {0, 5, -1, S_OK, "abcde"},   {0, 6, -1, S_OK, "abcde"},   {0, 5, 1, E_FAIL, "abcde"},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    tGVLIST *list = MakeLetters("abcde");
    EXPECT_EQ(GvList_MoveRange(list, cases[i].from, cases[i].to, cases[i].count), cases[i].result);
    EXPECT_EQ(Letters(list), cases[i].expected);
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
      const int total = 300, words = itemSize / 4;
      std::vector<DWORD> model(total * words);
      for (size_t k = 0; k < model.size(); ++k) model[k] = (DWORD)k * 2654435761u;
      ASSERT_EQ(GvList_InsertList(list, -1, model.data(), total), S_OK);
      const int from = 7, to = 60;
      ASSERT_EQ(GvList_MoveRange(list, from, to, count), S_OK);
      // Model: take the block out, put it back at `to`.
      std::vector<DWORD> block(model.begin() + from * words, model.begin() + (from + count) * words);
      model.erase(model.begin() + from * words, model.begin() + (from + count) * words);
      model.insert(model.begin() + to * words, block.begin(), block.end());
      EXPECT_EQ(memcmp(list->slots, model.data(), model.size() * 4), 0);
      ASSERT_EQ(GvList_MoveRange(list, to, from, count), S_OK);
      GvList_Destroy(list);
    }
  }
}

}  // namespace
