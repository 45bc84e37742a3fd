// The list record (creation clamps, validity, fields, capacity), the editing
// calls (insertion, deletion, moving) and owned items with their release.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "support/cases.h"
#include "support/list_helpers.h"

namespace {

using gvtest::Contents;
using gvtest::MakeList;
using gvtest::Values;

TEST(ListCreate, ClampsCountAndGrowthSizesSlotsAndRefusesBadOptions) {
  const DWORD owned = GVLIST_OWNITEMS, heap = GVLIST_OWNITEMS | GVLIST_PRIVATEHEAP;
  const DWORD in = GVLIST_INLINE, safe = GVLIST_THREADSAFE;
  const struct { int itemSize, initial, growth; DWORD options, slotSize; LONG capacity, step;
                 HRESULT result = S_OK; } cases[] = {
      // Defaults; whole steps; both raised to 4; negatives read as defaults.
      {0, 0, 0, 0, 4, 16, 16},         {0, 20, 8, 0, 4, 24, 8},       {0, 1, 1, 0, 4, 4, 4},
      {0, -5, -5, 0, 4, 16, 16},       {0, 16, 100000, 0, 4, 66560, 66560},
      {0, 66561, 66560, 0, 4, 133120, 66560},  {123, 3, 5, 0, 4, 5, 5},  // size: inline only
      {1, 4, 4, in, 4, 4, 4},          {5, 4, 4, in, 8, 4, 4},        {8, 4, 4, in, 8, 4, 4},
      {513, 9, 4, in, 516, 12, 4}, {99, 4, 4, owned, 4, 4, 4}, {0, 4, 4, heap | safe, 4, 4, 4},
      {0, 0, 0, 0x01000100 | safe, 4, 16, 16},  // unknown bits are kept
      {4, 0, 0, in | owned, 0, 0, 0, E_FAIL},   {0, 0, 0, in, 0, 0, 0, E_FAIL},
      {0x7FFFFFF0, 66560, 66560, in, 0, 0, 0, E_OUTOFMEMORY},  // huge: refused, no crash
  };
  FOR_EACH_CASE(cases) {
    tGVLIST *list = reinterpret_cast<tGVLIST *>(0xdeadbeef);
    ASSERT_EQ(GvList_CreateEx(&list, c.itemSize, c.initial, c.growth, c.options, "x.cpp", 12),
              c.result);
    if (c.result != S_OK) {
      EXPECT_EQ(list, nullptr);
      continue;
    }
    EXPECT_EQ(std::make_tuple(list->slotSize, list->allocated, list->growth),
              std::make_tuple(c.slotSize, c.capacity, c.step));
    EXPECT_TRUE(Contents(list).empty());
    EXPECT_EQ(GvList_GetCreateOptions(list), c.options);
    EXPECT_EQ(list->ownerThread, GetCurrentThread());
    const bool own = (c.options & owned) != 0;
    EXPECT_EQ(std::make_tuple(list->itemAllocFlags, list->itemFreeFlags, list->itemHeap != nullptr),
              std::make_tuple(own ? 9u : 0u, own ? 1u : 0u, own && (c.options & heap) == heap));
    EXPECT_EQ(GvList_Destroy(list), S_OK);
  }
  EXPECT_EQ(GvList_CreateEx(nullptr, 4, 0, 0, 0, nullptr, 0), E_FAIL);
}

TEST(ListNullHandle, DestroyIsOkOtherCallsRefuse) {
  int index = 0x5a5a;
  char text[4] = "abc";
  EXPECT_EQ(GvList_Destroy(nullptr), S_OK);
  EXPECT_EQ(GvList_IsValidIndexSlow(nullptr, 0), FALSE);
  EXPECT_EQ(GvList_SetUserData(nullptr, 5) | GvList_GetUserData(nullptr), 0);
  EXPECT_EQ(GvList_GetCreateOptions(nullptr) | GvList_GetSortCriteria(nullptr), 0u);
  const HRESULT refused[] = {
      GvList_GrowAllocated(nullptr, 1), GvList_ShrinkAllocated(nullptr, 1),
      GvList_InsertList(nullptr, 0, &index, 1), GvList_DeleteList(nullptr, 0, 1, FALSE),
      GvList_MoveRange(nullptr, 0, 1, 1), GvList_Sort(nullptr, 1, nullptr),
      GvList_SortTo(nullptr, nullptr, 1, nullptr), GvList_ReAllocItem(nullptr, 0, 4)};
  FOR_EACH_CASE(refused) EXPECT_EQ(c, E_FAIL);
  EXPECT_EQ(GvList_FindSpecificItemRange(nullptr, 0, -1, nullptr), -1);
  EXPECT_EQ(GvList_FindItemRange(nullptr, 0, -1, nullptr, nullptr), -1);
  EXPECT_EQ(GvList_FindSortedItemRange(nullptr, nullptr, 0, -1, nullptr), -1);
  EXPECT_EQ(GvList_FindSortedInsertIndexRange(nullptr, nullptr, 0, -1, nullptr), -1);
  EXPECT_EQ(GvList_AllocItem(nullptr, nullptr, 4, -1, &index), E_FAIL);
  EXPECT_EQ(index, -1);
  EXPECT_EQ(GvList_AllocSize(nullptr, -1), 0u);
  EXPECT_EQ(GvList_GetFileAndLine(nullptr, text, sizeof text), -1);
  EXPECT_STREQ(text, "");
}

TEST(ListFields, IsListUserDataIndexesAndFileAndLine) {
  tGVLIST *list = MakeList({1, 2, 3});
  BYTE fake[76] = {}, signed_[76] = {};
  memcpy(signed_ + 36, "VORN", 4);
  const struct { const void *p; int size; BOOL is; } lists[] = {
      {list, 76, TRUE},     {list, 75, FALSE},    {list, 77, FALSE}, {nullptr, 76, FALSE},
      {(void *)16, 76, FALSE}, {fake, 76, FALSE}, {signed_, 76, TRUE}};
  FOR_EACH_CASE(lists) EXPECT_EQ(GvList_IsList(c.p, c.size), c.is);
  const struct { int index; BOOL valid; } indexes[] = {
      {-1, FALSE}, {0, TRUE}, {2, TRUE}, {3, FALSE}, {INT_MAX, FALSE}, {INT_MIN, FALSE}};
  FOR_EACH_CASE(indexes) EXPECT_EQ(GvList_IsValidIndexSlow(list, c.index), c.valid);
  EXPECT_EQ(GvList_SetUserData(list, -7), 0);
  EXPECT_EQ(GvList_SetUserData(list, 42), -7);
  EXPECT_EQ(GvList_GetUserData(list), 42);
  EXPECT_EQ(GvList_GetSortCriteria(list), 0u);
  char text[8] = "xxxxxxx";
  EXPECT_EQ(GvList_GetFileAndLine(list, text, 0), -1);
  EXPECT_EQ(text[0], 'x');
  EXPECT_EQ(GvList_GetFileAndLine(list, text, sizeof text), -1);
  EXPECT_EQ(std::string(text, 2), std::string("\0x", 2));
  GvList_Destroy(list);
}

Values Of(const std::string &letters) { return Values(letters.begin(), letters.end()); }

// On lists of letters ("abcde" unless given) that start at 8 slots, growth
// 4: growth ('g', by a) and shrinking ('s', by a) of the slot array,
// insertion ('i': at a, b items "ABC..."), deletion ('d': at a, b items; 'D'
// shrinks too) and moving ('m': from a to b, n items). Failures leave the
// list as it was.
TEST(ListEdit, CapacityInsertDeleteAndMove) {
  const HRESULT ok = S_OK, no = E_FAIL, oom = E_OUTOFMEMORY;
  const char *const e = "abcde", *const z = "";
  const struct { char op; int a, b, n; HRESULT result; const char *after; LONG capacity = 8;
                 const char *before = "abcde"; } cases[] = {
      // Whole growth steps (a step for 0 or less), never below the count or
      // past the free slots; a negative shrink means all free slots.
      {'g', 0, 0, 0, ok, z, 12, z}, {'g', -3, 0, 0, ok, z, 12, z}, {'g', 1, 0, 0, ok, z, 12, z},
      {'g', 4, 0, 0, ok, z, 12, z}, {'g', 5, 0, 0, ok, z, 16, z}, {'g', 9, 0, 0, ok, z, 20, z},
      {'s', -1, 0, 0, ok, z, 0, z}, {'s', 5, 0, 0, ok, z, 0, z}, {'s', 4, 0, 0, ok, z, 4, z},
      {'s', 3, 0, 0, ok, z, 4, z},   {'s', 0, 0, 0, ok, z, 8, z},   {'s', -1, 0, 0, ok, e},
      {'s', -1, 0, 0, ok, "ab", 4, "ab"}, {'s', 100, 0, 0, ok, "ab", 4, "ab"},
      {'g', INT_MAX, 0, 0, oom, e},
      {'i', 0, 1, 0, ok, "Aabcde"},    {'i', 1, 2, 0, ok, "aABbcde"},  {'i', 5, 1, 0, ok, "abcdeA"},
      {'i', -1, 1, 0, ok, "abcdeA"}, {'i', 6, 1, 0, ok, "abcdeA"}, {'i', 1000, 2, 0, ok, "abcdeAB"},
      {'i', INT_MIN, 1, 0, ok, "abcdeA"}, {'i', -1, 8, 0, ok, "ABCDEFGH", 8, z},
      // Growth only for the missing slots, in whole steps.
      {'i', -1, 5, 0, ok, "abcdefghABCDE", 16, "abcdefgh"},
      {'i', 1, 7, 0, ok, "aABCDEFGb", 12, "ab"},
      // Far fewer items than the huge counts claim: they must not be read.
      {'i', 0, -1, 0, no, e},          {'i', 0, 0, 0, ok, e},
      {'i', 0, 0x40000000, 0, oom, e}, {'i', 0, INT_MAX, 0, oom, e},
      {'d', 0, 1, 0, ok, "bcde"},      {'d', 1, 2, 0, ok, "ade"},      {'d', 3, 10, 0, ok, "abc"},
      {'d', 2, -1, 0, ok, "ab"},       {'d', 4, -1, 0, ok, "abcd"},    {'d', 5, 1, 0, no, e},
      {'d', -1, 1, 0, no, e},          {'d', 7, 0, 0, ok, e},          {'d', -9, 0, 0, ok, e},
      {'d', 9, -1, 0, ok, e},          {'d', -1, -1, 0, no, e},        {'d', 0, -1, 0, ok, z},
      {'d', 7, 0, 0, ok, z, 8, z}, {'d', -1, 1, 0, no, z, 8, z}, {'d', 0, 1, 0, no, z, 8, z},
      {'d', INT_MIN, -1, 0, no, e},    // "to the end" from far before is not empty
      // Shrinking needs more than one step free, and gives back whole steps.
      {'D', 4, -1, 0, ok, "abcd"},     {'D', 3, -1, 0, ok, "abc", 4},  {'D', 0, -1, 0, ok, z, 0},
      {'m', 0, 3, 2, ok, "cdeab"},     {'m', 3, 0, 2, ok, "deabc"},    {'m', 1, 2, 1, ok, "acbde"},
      {'m', 2, 1, 1, ok, "acbde"},     {'m', 0, 4, 1, ok, "bcdea"},    {'m', 4, 0, 1, ok, "eabcd"},
      {'m', 0, 1, 4, ok, "eabcd"},     {'m', 2, 2, 3, ok, e},          {'m', 1, 3, 0, ok, e},
      {'m', 0, 3, 3, no, e},           {'m', 4, 0, 2, no, e},          {'m', -1, 0, 1, no, e},
      {'m', 0, -1, 1, no, e},          {'m', 1, 3, -1, ok, "adebc"},   {'m', 3, 1, -1, ok, "adebc"},
      {'m', 0, 5, -1, ok, e},          {'m', 0, 6, -1, ok, e},         {'m', 0, 5, 1, no, e},
      // Negative indexes: an empty block or from == to succeeds as for any
      // index, a real block before the first item is refused.
      {'m', -2, -2, 1, ok, e},         {'m', -1, 0, 0, ok, e},         {'m', INT_MIN, 0, -1, no, e},
      {'m', INT_MIN, INT_MIN, -1, ok, e},
  };
  const Values items = Of("ABCDEFGHIJ");
  FOR_EACH_CASE(cases) {
    tGVLIST *list = MakeList(Of(c.before), 0, 8, 4);
    void *slots = list->slots;
    EXPECT_EQ(c.op == 'g'   ? GvList_GrowAllocated(list, c.a)
              : c.op == 's' ? GvList_ShrinkAllocated(list, c.a)
              : c.op == 'i' ? GvList_InsertList(list, c.a, items.data(), c.b)
              : c.op == 'm' ? GvList_MoveRange(list, c.a, c.b, c.n)
                            : GvList_DeleteList(list, c.a, c.b, c.op == 'D'),
              c.result);
    EXPECT_EQ(gvtest::Letters(list), c.after);  // free slots, new or vacated, are zero
    EXPECT_EQ(list->allocated, c.capacity);
    EXPECT_TRUE(SUCCEEDED(c.result) || list->slots == slots);
    GvList_Destroy(list);
  }
  tGVLIST *list = MakeList(Of("abc"));
  EXPECT_EQ(GvList_InsertList(list, 0, nullptr, 1), E_FAIL);
  EXPECT_EQ(GvList_InsertList(list, 0, nullptr, 0), S_OK);
  EXPECT_EQ(gvtest::Letters(list), "abc");
  // An emptied slot array grows again.
  ASSERT_EQ(GvList_DeleteList(list, 0, -1, TRUE) | GvList_ShrinkAllocated(list, -1), S_OK);
  EXPECT_EQ(GvList_AllocSize(list, -1), 76u);
  ASSERT_EQ(GvList_InsertList(list, 0, items.data(), 1), S_OK);
  EXPECT_EQ(gvtest::Letters(list) + std::to_string(list->allocated), "A16");
  GvList_Destroy(list);
}

// Blocks up to 512 bytes go through the stack, larger ones through a global
// block: both sides of that line must move alike.
TEST(ListMove, BlocksAroundTheScratchLimitMoveAlike) {
  const struct { int itemSize, count; } cases[] = {
      {4, 128}, {4, 129}, {8, 64}, {8, 65}, {12, 42}, {12, 43}, {12, 200}};
  FOR_EACH_CASE(cases) {
    const int total = 300, words = c.itemSize / 4, from = 7, to = 60;
    Values model(total * words);
    for (size_t k = 0; k < model.size(); ++k) model[k] = (DWORD)k * 2654435761u;
    tGVLIST *list = MakeList(model, GVLIST_INLINE, 0, 0, c.itemSize);
    const Values original = model;
    ASSERT_EQ(GvList_MoveRange(list, from, to, c.count), S_OK);
    // Model: take the block out, put it back at `to`.
    Values block(model.begin() + from * words, model.begin() + (from + c.count) * words);
    model.erase(model.begin() + from * words, model.begin() + (from + c.count) * words);
    model.insert(model.begin() + to * words, block.begin(), block.end());
    EXPECT_TRUE(Contents(list) == model);
    ASSERT_EQ(GvList_MoveRange(list, to, from, c.count), S_OK);  // and back again
    EXPECT_TRUE(Contents(list) == original);
    GvList_Destroy(list);
  }
}

// ---- Owned items ------------------------------------------------------------

// Busy blocks in a private heap, counted by walking it.
int BusyBlocks(HANDLE heap) {
  int busy = 0;
  PROCESS_HEAP_ENTRY entry;
  entry.lpData = nullptr;
  HeapLock(heap);
  while (HeapWalk(heap, &entry)) busy += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
  HeapUnlock(heap);
  return busy;
}

bool IsLiveGlobal(HGLOBAL h) { return GlobalFlags(h) != GMEM_INVALID_HANDLE && GlobalSize(h) != 0; }

// Each item's block, as many bytes as GvList_AllocSize reports for it.
std::vector<std::string> Items(tGVLIST *list) {
  std::vector<std::string> items;
  for (int i = 0; i < list->count; ++i)
    items.emplace_back((const char *)GVLIST_ITEM(list, i), GvList_AllocSize(list, i));
  return items;
}

TEST(ListOwnedItems, AllocResizeAndSizesForEveryKindOfOwnedList) {
  const DWORD kinds[] = {GVLIST_OWNITEMS, GVLIST_OWNITEMS | GVLIST_PRIVATEHEAP,
                         GVLIST_OWNITEMS | GVLIST_THREADSAFE,
                         GVLIST_OWNITEMS | GVLIST_PRIVATEHEAP | GVLIST_THREADSAFE};
  using S = std::string;
  FOR_EACH_CASE(kinds) {
    tGVLIST *list = MakeList({}, c, 4, 4);
    const struct { const char *contents; DWORD size; int index, at; } allocs[] = {
        {"first", 6, -1, 0}, {nullptr, 20, -1, 1}, {"zero", 5, 0, 0}, {"beyond", 7, 99, 3},
        {"mid", 4, 2, 2}};
    for (const auto &a : allocs) {
      int index = (int)0xdeadbeef;
      ASSERT_EQ(GvList_AllocItem(list, a.contents, a.size, a.index, &index), S_OK) << a.size;
      EXPECT_EQ(index, a.at) << a.size;
    }
    EXPECT_EQ(Items(list), (std::vector<S>{S("zero", 5), S("first", 6), S("mid", 4), S(20, '\0'),
                                           S("beyond", 7)}));
    // Record, slot array (8 slots) and items; any negative index means the whole.
    EXPECT_EQ(GvList_AllocSize(list, -1), 76u + 8 * 4 + 6 + 20 + 5 + 7 + 4);
    EXPECT_EQ(GvList_AllocSize(list, -7), 76u + 8 * 4 + 6 + 20 + 5 + 7 + 4);
    EXPECT_EQ(GvList_AllocSize(list, 5), 0u);
    if (c & GVLIST_PRIVATEHEAP) {
      EXPECT_EQ(BusyBlocks(list->itemHeap), 5);
    } else {  // every item its own locked moveable block
      HGLOBAL h = GlobalHandle(GVLIST_ITEM(list, 0));
      EXPECT_EQ(GlobalFlags(h) & GMEM_LOCKCOUNT, 1u);
      EXPECT_EQ(GlobalSize(h), 5u);
    }
    EXPECT_EQ(GvList_AllocItem(list, nullptr, 0, -1, nullptr), E_FAIL);
    // Resizing keeps the contents and zero-fills the growth.
    ASSERT_EQ(GvList_ReAllocItem(list, 0, 4000), S_OK);
    EXPECT_EQ(Items(list)[0], S("zero", 5) + S(3995, '\0'));
    ASSERT_EQ(GvList_ReAllocItem(list, 0, 2), S_OK);
    for (int index : {5, -1}) EXPECT_EQ(GvList_ReAllocItem(list, index, 8), E_FAIL);
    EXPECT_EQ(GvList_ReAllocItem(list, 0, 0), E_FAIL);
    EXPECT_EQ(Items(list), (std::vector<S>{"ze", S("first", 6), S("mid", 4), S(20, '\0'),
                                           S("beyond", 7)}));
    GvList_Destroy(list);
  }
}

TEST(ListOwnedItems, OnlyOwningListsAllocAndSizeTheirItems) {
  const DWORD kinds[] = {0ul, GVLIST_INLINE, GVLIST_PRIVATEHEAP};
  FOR_EACH_CASE(kinds) {
    tGVLIST *list = MakeList({0x01, 0x02, 0x03}, c, 4, 4, 12);
    int index = 12345;
    EXPECT_EQ(GvList_AllocItem(list, "abc", 4, -1, &index), E_FAIL);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(GvList_ReAllocItem(list, 0, 8), E_FAIL);
    // An inline item's size is its slot size whatever the index: nothing is read.
    DWORD item = (c & GVLIST_INLINE) ? 12 : 0;
    for (int i : {0, 1, 1000}) EXPECT_EQ(GvList_AllocSize(list, i), item) << i;
    EXPECT_EQ(GvList_AllocSize(list, -1), 76u + 4 * list->slotSize);
    GvList_Destroy(list);
  }
}

TEST(ListOwnedItems, DeleteAndDestroyFreeOwnedGlobalBlocksButNeverCallerValues) {
  tGVLIST *list = MakeList({}, GVLIST_OWNITEMS, 4, 4), *plain = MakeList({});
  std::vector<HGLOBAL> handles;
  for (int i = 0; i < 10; ++i) {
    ASSERT_EQ(GvList_AllocItem(list, &i, sizeof i, -1, nullptr), S_OK);
    handles.push_back(GlobalHandle(GVLIST_ITEM(list, i)));
  }
  ASSERT_EQ(GvList_InsertList(plain, -1, list->slots, 10), S_OK);
  HGLOBAL slotArray = GlobalHandle(list->slots);
  ASSERT_EQ(GvList_DeleteList(plain, 0, 3, TRUE), S_OK);
  ASSERT_EQ(GvList_Destroy(plain), S_OK);  // a plain list frees none of them
  for (int i = 0; i < 10; ++i) EXPECT_TRUE(IsLiveGlobal(handles[i])) << i;
  ASSERT_EQ(GvList_DeleteList(list, 2, 3, TRUE), S_OK);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(IsLiveGlobal(handles[i]), i < 2 || i >= 5) << i;
  EXPECT_EQ(*(int *)GVLIST_ITEM(list, 2), 5);
  EXPECT_EQ(GvList_AllocSize(list, -1), 76u + (DWORD)list->allocated * 4 + 7 * sizeof(int));
  ASSERT_EQ(GvList_Destroy(list), S_OK);
  for (int i = 0; i < 10; ++i) EXPECT_FALSE(IsLiveGlobal(handles[i])) << i;
  EXPECT_FALSE(IsLiveGlobal(slotArray));
}

TEST(ListOwnedItems, DeleteFreesPrivateHeapBlocksAndDestroyDropsTheHeap) {
  DWORD heapsBefore = GetProcessHeaps(0, nullptr);
  tGVLIST *list = MakeList({}, GVLIST_OWNITEMS | GVLIST_PRIVATEHEAP, 4, 4);
  EXPECT_EQ(GetProcessHeaps(0, nullptr), heapsBefore + 1);
  for (int i = 0; i < 12; ++i) ASSERT_EQ(GvList_AllocItem(list, nullptr, 64, -1, nullptr), S_OK);
  EXPECT_EQ(BusyBlocks(list->itemHeap), 12);
  ASSERT_EQ(GvList_DeleteList(list, 0, 5, FALSE), S_OK);
  EXPECT_EQ(BusyBlocks(list->itemHeap), 7);
  ASSERT_EQ(GvList_DeleteList(list, 3, -1, FALSE), S_OK);
  EXPECT_EQ(BusyBlocks(list->itemHeap), 3);
  ASSERT_EQ(GvList_Destroy(list), S_OK);
  EXPECT_EQ(GetProcessHeaps(0, nullptr), heapsBefore);
}

}  // namespace
