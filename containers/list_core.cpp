// The list record: creation, destruction, validity and its plain fields.
#include <cstdlib>

#include "containers/list.h"
#include "kernel/gmem.h"

using gv::list::Access;

namespace {

constexpr int kDefaultCount = 16;
constexpr int kMinCount = 4;
constexpr int kDefaultGrowth = 16;
constexpr int kMinGrowth = 4;
constexpr int kMaxGrowth = 0x10400;

void FreeRecord(tGVLIST *l) {
  if (gv::list::OwnsItems(l)) {
    if (l->itemHeap) {
      // The private heap goes whole; its blocks need no one-by-one release.
      HeapDestroy(l->itemHeap);
      l->itemHeap = nullptr;
      if (l->slots) ZeroMemory(l->slots, static_cast<SIZE_T>(l->count) * l->slotSize);
    } else if (!(l->options & GVLIST_PRIVATEHEAP)) {
      for (LONG i = 0; i < l->count; ++i) {
        gv::list::FreeBlock(l, gv::list::Stored(l, i));
        gv::list::Store(l, i, nullptr);
      }
    }
  }
  gv::GlobalFreePtr(l->slots);
  l->slots = nullptr;
  l->signature = 0;
}

}  // namespace

namespace gv::list {

HRESULT Create(tGVLIST **list, int itemSize, int initialCount, int growth, DWORD options) {
  auto *l = static_cast<tGVLIST *>(calloc(1, sizeof(tGVLIST)));
  if (!l) return E_OUTOFMEMORY;
  l->signature = GVLIST_SIGNATURE;
  l->slotSize = (options & GVLIST_INLINE)
                    ? static_cast<DWORD>((static_cast<int64_t>(itemSize) + 3) & ~int64_t{3})
                    : 4;

  if (initialCount <= 0) initialCount = kDefaultCount;
  if (initialCount < kMinCount) initialCount = kMinCount;
  if (growth <= 0) growth = kDefaultGrowth;
  if (growth < kMinGrowth) growth = kMinGrowth;
  if (growth > kMaxGrowth) growth = kMaxGrowth;
  l->growth = growth;

  int64_t capacity = RoundToGrowth(l, initialCount);
  if (capacity * l->slotSize > kMaxSlotBytes) {
    free(l);
    return E_OUTOFMEMORY;
  }
  l->slots = gv::GlobalAllocPtr(GMEM_MOVEABLE | GMEM_ZEROINIT,
                               static_cast<SIZE_T>(capacity * l->slotSize));
  if (!l->slots) {
    free(l);
    return E_OUTOFMEMORY;
  }

  if (options & GVLIST_THREADSAFE) InitializeCriticalSection(&l->lock);
  l->options = options;
  l->ownerThread = GetCurrentThread();
  l->allocated = static_cast<LONG>(capacity);

  if (options & GVLIST_OWNITEMS) {
    l->itemAllocFlags = HEAP_NO_SERIALIZE | HEAP_ZERO_MEMORY;
    l->itemFreeFlags = HEAP_NO_SERIALIZE;
    if (options & GVLIST_PRIVATEHEAP) {
      l->itemHeap = HeapCreate(HEAP_NO_SERIALIZE, 4096, 0);
      if (!l->itemHeap) {
        GvList_Destroy(l);
        return E_OUTOFMEMORY;
      }
    }
  }
  *list = l;
  return S_OK;
}

}  // namespace gv::list

GVAPI(HRESULT) GvList_CreateEx(tGVLIST **list, int itemSize, int initialCount, int growth,
                               DWORD options, LPCSTR, int) {
  if (!list) return E_FAIL;
  *list = nullptr;
  if ((options & GVLIST_INLINE) && (options & GVLIST_OWNITEMS)) return E_FAIL;
  if ((options & GVLIST_INLINE) && itemSize < 1) return E_FAIL;
  return gv::list::Create(list, itemSize, initialCount, growth, options);
}

GVAPI(HRESULT) GvList_Destroy(tGVLIST *list) {
  if (!list) return S_OK;
  {
    Access access(list);
    if (!access.allowed()) return E_FAIL;
    FreeRecord(list);
  }
  if (list->options & GVLIST_THREADSAFE) DeleteCriticalSection(&list->lock);
  free(list);
  return S_OK;
}

GVAPI(BOOL) GvList_IsList(const void *list, int size) {
  if (size != GVLIST_RECORD_SIZE) return FALSE;
  if (IsBadReadPtr(list, GVLIST_RECORD_SIZE)) return FALSE;
  return static_cast<const tGVLIST *>(list)->signature == GVLIST_SIGNATURE;
}

GVAPI(BOOL) GvList_IsValidIndexSlow(tGVLIST *list, int index) {
  if (!list) return FALSE;
  Access access(list);
  if (!access.allowed()) return FALSE;
  return index >= 0 && index <= list->count - 1;
}

GVAPI(LONG) GvList_SetUserData(tGVLIST *list, LONG value) {
  if (!list) return 0;
  Access access(list);
  if (!access.allowed()) return 0;
  return InterlockedExchange(&list->userData, value);
}

GVAPI(LONG) GvList_GetUserData(tGVLIST *list) {
  if (!list) return 0;
  Access access(list);
  if (!access.allowed()) return 0;
  return list->userData;
}

GVAPI(DWORD) GvList_GetCreateOptions(tGVLIST *list) {
  if (!list) return 0;
  Access access(list);
  if (!access.allowed()) return 0;
  return list->options;
}

GVAPI(DWORD) GvList_GetSortCriteria(tGVLIST *list) {
  if (!list) return 0;
  Access access(list);
  if (!access.allowed()) return 0;
  return list->sortCriteria;
}

// Creation records no source position, so there is never one to report.
GVAPI(int) GvList_GetFileAndLine(tGVLIST *, LPSTR buffer, int size) {
  if (buffer && size >= 1) buffer[0] = '\0';
  return -1;
}
