// Owned items: allocation, resizing, sizes, and release on delete and destroy.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "gvtalc.h"

namespace {

// Busy blocks in a private heap, counted by walking it.
int BusyBlocks(HANDLE heap) {
  int busy = 0;
  PROCESS_HEAP_ENTRY entry;
  entry.lpData = nullptr;
  HeapLock(heap);
  while (HeapWalk(heap, &entry))
    if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) ++busy;
  HeapUnlock(heap);
  return busy;
}

bool IsLiveGlobal(HGLOBAL h) { return GlobalFlags(h) != GMEM_INVALID_HANDLE && GlobalSize(h) != 0; }

tGVLIST *Make(DWORD options, int itemSize = 0) {
  tGVLIST *list = nullptr;
  EXPECT_EQ(GvList_CreateEx(&list, itemSize, 4, 4, options, nullptr, 0), S_OK);
  return list;
}

TEST(ListOwnedItems, AllocResizeAndSizesForEveryKindOfOwnedList) {
  for (DWORD options : {GVLIST_OWNITEMS, GVLIST_OWNITEMS | GVLIST_PRIVATEHEAP,
                        GVLIST_OWNITEMS | GVLIST_THREADSAFE,
                        GVLIST_OWNITEMS | GVLIST_PRIVATEHEAP | GVLIST_THREADSAFE}) {
    SCOPED_TRACE(options);
    tGVLIST *list = Make(options);
    const struct { const char *contents; DWORD size; int index, expected; } cases[] = {
        {"first", 6, -1, 0}, {nullptr, 20, -1, 1}, {"zero", 5, 0, 0},
        {"beyond", 7, 99, 3}, {"mid", 4, 2, 2},
    };
    for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
      SCOPED_TRACE(i);
      int index = (int)0xdeadbeef;
      ASSERT_EQ(GvList_AllocItem(list, cases[i].contents, cases[i].size, cases[i].index, &index),
                S_OK);
      EXPECT_EQ(index, cases[i].expected);
      EXPECT_EQ(GvList_AllocSize(list, index), cases[i].size);
    }
    ASSERT_EQ(list->count, 5);
    EXPECT_STREQ((char *)GVLIST_ITEM(list, 0), "zero");
    EXPECT_STREQ((char *)GVLIST_ITEM(list, 1), "first");
    EXPECT_STREQ((char *)GVLIST_ITEM(list, 2), "mid");
    EXPECT_STREQ((char *)GVLIST_ITEM(list, 4), "beyond");
    const BYTE *blank = (const BYTE *)GVLIST_ITEM(list, 3);
    for (int b = 0; b < 20; ++b) EXPECT_EQ(blank[b], 0) << b;
    // Record, slot array (8 slots) and items.
    EXPECT_EQ(GvList_AllocSize(list, -1), 76u + 8 * 4 + 6 + 20 + 5 + 7 + 4);
    EXPECT_EQ(GvList_AllocSize(list, -7), 76u + 8 * 4 + 6 + 20 + 5 + 7 + 4);
    EXPECT_EQ(GvList_AllocSize(list, 5), 0u);
    // Without a private heap every item is its own locked moveable block.
    if (!(options & GVLIST_PRIVATEHEAP)) {
      HGLOBAL h = GlobalHandle(GVLIST_ITEM(list, 0));
      ASSERT_NE(h, nullptr);
      EXPECT_EQ(GlobalFlags(h) & GMEM_LOCKCOUNT, 1u);
      EXPECT_EQ(GlobalSize(h), 5u);
    } else {
      EXPECT_EQ(BusyBlocks(list->itemHeap), 5);
    }
    EXPECT_EQ(GvList_AllocItem(list, nullptr, 0, -1, nullptr), E_FAIL);
    // Resizing keeps the contents and zero-fills the growth.
    ASSERT_EQ(GvList_ReAllocItem(list, 0, 4000), S_OK);
    EXPECT_EQ(GvList_AllocSize(list, 0), 4000u);
    const BYTE *p = (const BYTE *)GVLIST_ITEM(list, 0);
    EXPECT_STREQ((const char *)p, "zero");
    int nonZero = 0;
    for (int b = 5; b < 4000; ++b) nonZero += p[b] != 0;
    EXPECT_EQ(nonZero, 0);
    ASSERT_EQ(GvList_ReAllocItem(list, 0, 2), S_OK);
    EXPECT_EQ(GvList_AllocSize(list, 0), 2u);
    EXPECT_EQ(memcmp(GVLIST_ITEM(list, 0), "ze", 2), 0);
    EXPECT_STREQ((char *)GVLIST_ITEM(list, 1), "first");
    EXPECT_EQ(GvList_ReAllocItem(list, 5, 8), E_FAIL);
    EXPECT_EQ(GvList_ReAllocItem(list, -1, 8), E_FAIL);
    EXPECT_EQ(GvList_ReAllocItem(list, 0, 0), E_FAIL);
    EXPECT_EQ(GvList_AllocSize(list, 0), 2u);
    GvList_Destroy(list);
  }
}

TEST(ListOwnedItems, AllocItemRefusedUnlessListOwnsItems) {
  for (DWORD options : {0ul, GVLIST_INLINE, GVLIST_PRIVATEHEAP}) {
    SCOPED_TRACE(options);
    tGVLIST *list = Make(options, 4);
    int index = 12345;
    EXPECT_EQ(GvList_AllocItem(list, "abc", 4, -1, &index), E_FAIL);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(list->count, 0);
    EXPECT_EQ(GvList_ReAllocItem(list, 0, 8), E_FAIL);
    GvList_Destroy(list);
  }
}

TEST(ListOwnedItems, AllocSizeOfInlineAndPlainLists) {
  tGVLIST *inlineList = Make(GVLIST_INLINE, 10), *plain = Make(0);
  BYTE item[12] = {1};
  ASSERT_EQ(GvList_InsertList(inlineList, -1, item, 1), S_OK);
  ASSERT_EQ(GvList_InsertList(plain, -1, item, 1), S_OK);
  EXPECT_EQ(GvList_AllocSize(inlineList, 0), 12u);
  // An inline item's size is its slot size whatever the index: nothing is read.
  EXPECT_EQ(GvList_AllocSize(inlineList, 1), 12u);
  EXPECT_EQ(GvList_AllocSize(inlineList, 1000), 12u);
  EXPECT_EQ(GvList_AllocSize(inlineList, -1), 76u + 4 * 12);
  EXPECT_EQ(GvList_AllocSize(plain, 0), 0u);
  EXPECT_EQ(GvList_AllocSize(plain, -1), 76u + 4 * 4);
  GvList_Destroy(inlineList);
  GvList_Destroy(plain);
}

TEST(ListOwnedItems, DeleteAndDestroyFreeEveryGlobalBlock) {
  tGVLIST *list = Make(GVLIST_OWNITEMS);
  std::vector<HGLOBAL> handles;
  for (int i = 0; i < 10; ++i) {
    ASSERT_EQ(GvList_AllocItem(list, &i, sizeof i, -1, nullptr), S_OK);
    handles.push_back(GlobalHandle(GVLIST_ITEM(list, i)));
  }
  HGLOBAL slotArray = GlobalHandle(list->slots);
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
  tGVLIST *list = Make(GVLIST_OWNITEMS | GVLIST_PRIVATEHEAP);
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

TEST(ListOwnedItems, PlainListNeverFreesCallerValues) {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 16);
  void *p = GlobalLock(h);
  tGVLIST *list = Make(0);
  ASSERT_EQ(GvList_InsertList(list, -1, &p, 1), S_OK);
  ASSERT_EQ(GvList_DeleteList(list, 0, 1, FALSE), S_OK);
  ASSERT_EQ(GvList_InsertList(list, -1, &p, 1), S_OK);
  ASSERT_EQ(GvList_Destroy(list), S_OK);
  EXPECT_TRUE(IsLiveGlobal(h));
  GlobalUnlock(h);
  GlobalFree(h);
}

}  // namespace
