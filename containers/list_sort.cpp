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

namespace gv::list {

void SortInto(tGVLIST *dest, tGVLIST *src, GVLISTSORTPROC compare) {
  // Each call on dest takes dest's lock while src's is held, so two threads
  // copying two locked lists into each other in opposite directions can
  // deadlock; the header says so.
  for (LONG i = 0; i < src->count; ++i) {
    int at = GvList_FindSortedInsertIndexRange(dest, ItemValue(src, i), 0, -1, compare);
    // Insertion failures are not reported; the copy goes on with the rest.
    GvList_InsertList(dest, at, Slot(src, i), 1);
  }
}

}  // namespace gv::list

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
  if (compare) gv::list::SortInto(dest, src, compare);
  return S_OK;
}
