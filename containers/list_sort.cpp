// Sorting in place and sorted copying into another list.
#include "containers/list.h"

using gv::list::Access;
using gv::list::ItemValue;

namespace {

void SwapSlots(tGVLIST *l, LONG a, LONG b) {
  auto *x = reinterpret_cast<DWORD *>(gv::list::Slot(l, a));
  auto *y = reinterpret_cast<DWORD *>(gv::list::Slot(l, b));
  for (DWORD i = 0; i < l->slotSize / 4; ++i) {
    DWORD t = x[i];
    x[i] = y[i];
    y[i] = t;
  }
}

// Selection sort building the sorted run from the end: each pass moves the
// first of the largest items into the last unsorted slot. Clients see the
// resulting order of equal items and the comparison count, so both stay.
void SelectionSort(tGVLIST *l, GVLISTSORTPROC compare) {
  for (LONG last = l->count - 1; last > 0; --last) {
    LONG largest = 0;
    for (LONG i = 1; i <= last; ++i)
      if (compare(l->sortCriteria, ItemValue(l, i), ItemValue(l, largest)) > 0) largest = i;
    if (largest != last) SwapSlots(l, largest, last);
  }
}

}  // namespace

GVAPI(HRESULT) GvList_Sort(tGVLIST *list, DWORD criteria, GVLISTSORTPROC compare) {
  if (!list) return E_FAIL;
  Access access(list);
  if (!access.allowed()) return E_FAIL;
  list->sortCriteria = criteria;
  if (compare && list->count >= 2) SelectionSort(list, compare);
  return S_OK;
}

GVAPI(HRESULT) GvList_SortTo(tGVLIST *dest, tGVLIST *src, DWORD criteria,
                             GVLISTSORTPROC compare) {
  if (!dest || !src || dest == src) return E_FAIL;
  Access source(src);
  if (!source.allowed()) return E_FAIL;
  {
    Access target(dest);
    if (!target.allowed()) return E_FAIL;
    if (dest->slotSize != src->slotSize) return E_FAIL;
    dest->sortCriteria = criteria;
  }
  if (!compare) return S_OK;
  for (LONG i = 0; i < src->count; ++i) {
    const void *key = ItemValue(src, i);
    int at = GvList_FindSortedInsertIndexRange(dest, key, 0, -1, compare);
    // Insertion failures are not reported; the copy goes on with the rest.
    GvList_InsertList(dest, at, gv::list::Slot(src, i), 1);
  }
  return S_OK;
}
