// The list record: creation clamps, kinds, validity, fields, capacity.
#include <gtest/gtest.h>

#include <cstring>

#include "gvtalc.h"

namespace {

struct CreateCase {
  int itemSize, initialCount, growth;
  DWORD options;
  DWORD slotSize;
  LONG capacity, step;
};

const CreateCase kCreateCases[] = {
    {0, 0, 0, 0, 4, 16, 16},                           // defaults
    {0, 20, 8, 0, 4, 24, 8},                           // capacity in whole steps
    {0, 1, 1, 0, 4, 4, 4},                             // both raised to 4
    {0, -5, -5, 0, 4, 16, 16},                         // negatives read as defaults
    {0, 16, 100000, 0, 4, 66560, 66560},               // growth clamped
    {0, 66561, 66560, 0, 4, 133120, 66560},            // two steps
    {123, 3, 5, 0, 4, 5, 5},                           // item size ignored unless inline
    {1, 4, 4, GVLIST_INLINE, 4, 4, 4},
    {5, 4, 4, GVLIST_INLINE, 8, 4, 4},
    {8, 4, 4, GVLIST_INLINE, 8, 4, 4},
    {513, 9, 4, GVLIST_INLINE, 516, 12, 4},
    {99, 4, 4, GVLIST_OWNITEMS, 4, 4, 4},
    {0, 4, 4, GVLIST_OWNITEMS | GVLIST_PRIVATEHEAP | GVLIST_THREADSAFE, 4, 4, 4},
};

TEST(ListCreate, ClampsCountAndGrowthAndSizesSlots) {
  for (size_t i = 0; i < sizeof kCreateCases / sizeof kCreateCases[0]; ++i) {
    const CreateCase &c = kCreateCases[i];
    SCOPED_TRACE(i);
    tGVLIST *list = reinterpret_cast<tGVLIST *>(0xdeadbeef);
    ASSERT_EQ(GvList_CreateEx(&list, c.itemSize, c.initialCount, c.growth, c.options, nullptr, 0),
              S_OK);
    ASSERT_NE(list, nullptr);
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

TEST(ListCreate, RecordIsSeventySixBytesWithSignature) {
  EXPECT_EQ(sizeof(tGVLIST), 76u);
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 0, 0, 0, 0, nullptr, 0), S_OK);
  EXPECT_EQ(memcmp(&list->signature, "VORN", 4), 0);
  GvList_Destroy(list);
}

TEST(ListCreate, RefusesInlineOwnedAndClearsHandle) {
  tGVLIST *list = reinterpret_cast<tGVLIST *>(0xdeadbeef);
  EXPECT_EQ(GvList_CreateEx(&list, 4, 0, 0, 0x6, nullptr, 0), E_FAIL);
  EXPECT_EQ(list, nullptr);
  list = reinterpret_cast<tGVLIST *>(0xdeadbeef);
  EXPECT_EQ(GvList_CreateEx(&list, 0, 0, 0, GVLIST_INLINE, nullptr, 0), E_FAIL);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(GvList_CreateEx(nullptr, 4, 0, 0, 0, nullptr, 0), E_FAIL);
}

TEST(ListCreate, HugeInlineArrayIsOutOfMemoryNotACrash) {
  tGVLIST *list = reinterpret_cast<tGVLIST *>(0xdeadbeef);
  EXPECT_EQ(GvList_CreateEx(&list, 0x7FFFFFF0, 66560, 66560, GVLIST_INLINE, nullptr, 0),
            E_OUTOFMEMORY);
  EXPECT_EQ(list, nullptr);
}

TEST(ListCreate, UnknownOptionBitsAreKept) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 0, 0, 0, 0x01000100 | GVLIST_THREADSAFE, "x.cpp", 12), S_OK);
  EXPECT_EQ(GvList_GetCreateOptions(list), 0x01000100u | GVLIST_THREADSAFE);
  GvList_Destroy(list);
}

TEST(ListIsList, DemandsExactSizeReadableMemoryAndSignature) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 0, 0, 0, 0, nullptr, 0), S_OK);
  EXPECT_EQ(GvList_IsList(list, 76), TRUE);
  EXPECT_EQ(GvList_IsList(list, 75), FALSE);
  EXPECT_EQ(GvList_IsList(list, 77), FALSE);
  EXPECT_EQ(GvList_IsList(nullptr, 76), FALSE);
  EXPECT_EQ(GvList_IsList(reinterpret_cast<void *>(16), 76), FALSE);
  BYTE fake[76] = {};
  EXPECT_EQ(GvList_IsList(fake, 76), FALSE);
  memcpy(fake + 36, "VORN", 4);
  EXPECT_EQ(GvList_IsList(fake, 76), TRUE);
  GvList_Destroy(list);
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

TEST(ListFields, UserDataExchangesAndCriteriaStartAtZero) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 0, 0, 0, 0, "file.cpp", 99), S_OK);
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
  GvList_Destroy(list);
}

TEST(ListFields, ValidIndexIsZeroToCountMinusOne) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 0, 0, 0, 0, nullptr, 0), S_OK);
  EXPECT_FALSE(GvList_IsValidIndexSlow(list, 0));
  DWORD values[3] = {1, 2, 3};
  ASSERT_EQ(GvList_InsertList(list, -1, values, 3), S_OK);
  const struct { int index; BOOL valid; } cases[] = {
      {-1, FALSE}, {0, TRUE}, {2, TRUE}, {3, FALSE}, {0x7FFFFFFF, FALSE}, {(int)0x80000000, FALSE}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(GvList_IsValidIndexSlow(list, cases[i].index), cases[i].valid);
  }
  GvList_Destroy(list);
}

struct CapacityCase {
  int count;      // items present
  int request;    // argument
  bool grow;
  LONG capacity;  // afterwards; the list starts at 32 slots, growth 8
};

const CapacityCase kCapacityCases[] = {
    {0, 0, true, 40},     {0, -3, true, 40},    {0, 1, true, 40},    {0, 8, true, 40},
    {0, 9, true, 48},     {0, 17, true, 56},    {10, -1, false, 16}, {10, 22, false, 16},
    {10, 16, false, 16},  {10, 15, false, 16},  {10, 7, false, 24},  {10, 1, false, 24},
    {10, 0, false, 32},   {30, -1, false, 32},  {0, -1, false, 0},   {10, 100, false, 16},
};

TEST(ListCapacity, ChangesInWholeGrowthStepsNeverBelowCount) {
  for (size_t i = 0; i < sizeof kCapacityCases / sizeof kCapacityCases[0]; ++i) {
    const CapacityCase &c = kCapacityCases[i];
    SCOPED_TRACE(i);
    tGVLIST *list = nullptr;
    ASSERT_EQ(GvList_CreateEx(&list, 0, 32, 8, 0, nullptr, 0), S_OK);
    for (int v = 0; v < c.count; ++v) ASSERT_EQ(GvList_InsertList(list, -1, &v, 1), S_OK);
    ASSERT_EQ(list->allocated, 32);
    HRESULT hr = c.grow ? GvList_GrowAllocated(list, c.request)
                        : GvList_ShrinkAllocated(list, c.request);
    EXPECT_EQ(hr, S_OK);
    EXPECT_EQ(list->allocated, c.capacity);
    EXPECT_EQ(list->count, c.count);
    DWORD bytes = list->slots ? (DWORD)GlobalSize(GlobalHandle(list->slots)) : 0;
    EXPECT_EQ(bytes, (DWORD)c.capacity * 4);
    for (int v = 0; v < c.count; ++v) EXPECT_EQ(((int *)list->slots)[v], v);
    // New slots read as zero.
    for (LONG s = c.count; s < list->allocated; ++s) EXPECT_EQ(((int *)list->slots)[s], 0);
    GvList_Destroy(list);
  }
}

TEST(ListCapacity, EmptiedArrayGrowsAgainOnInsert) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 0, 4, 4, 0, nullptr, 0), S_OK);
  ASSERT_EQ(GvList_ShrinkAllocated(list, -1), S_OK);
  EXPECT_EQ(list->allocated, 0);
  EXPECT_EQ(GvList_AllocSize(list, -1), 76u);
  DWORD v = 7;
  ASSERT_EQ(GvList_InsertList(list, 0, &v, 1), S_OK);
  EXPECT_EQ(list->allocated, 4);
  EXPECT_EQ(GVLIST_ITEM(list, 0), (void *)7);
  GvList_Destroy(list);
}

TEST(ListCapacity, HugeGrowthIsOutOfMemoryAndLeavesList) {
  tGVLIST *list = nullptr;
  ASSERT_EQ(GvList_CreateEx(&list, 0, 4, 4, 0, nullptr, 0), S_OK);
  void *slots = list->slots;
  EXPECT_EQ(GvList_GrowAllocated(list, 0x7FFFFFFF), E_OUTOFMEMORY);
  EXPECT_EQ(list->allocated, 4);
  EXPECT_EQ(list->slots, slots);
  GvList_Destroy(list);
}

}  // namespace
