// Linear and binary searches over a range of a list.
#include <cstring>

#include "containers/list.h"

using gv::list::Access;
using gv::list::ItemValue;

namespace {

// Normalises (start, count) to a range inside the list; false when empty.
bool NormaliseRange(const tGVLIST *l, int *start, int *count) {
  if (*start < 0) *start = 0;
  if (*start >= l->count) return false;
  if (*count < 0 || *count > l->count - *start) *count = l->count - *start;
  return *count > 0;
}

// Binary search of `size` (>= 1) items from `first`. Each probe sits at the
// middle of the range when its size is odd and at the lower middle when it
// is even; clients depend on which of several equal items is found, so the
// probe sequence is kept exactly. Returns the equal item the probes meet, or
// -1; *insertAt gets the index before that item, or after the last item
// found smaller.
int Probe(const tGVLIST *l, const void *key, int first, int size, GVLISTSORTPROC compare,
          int *insertAt) {
  while (size > 1) {
    int half = size / 2;
    int probe = first + ((size & 1) ? half : half - 1);
    int order = compare(l->sortCriteria, key, ItemValue(l, probe));
    if (order == 0) {
      *insertAt = probe;
      return probe;
    }
    if (order < 0) {
      size = (size & 1) ? half : half - 1;
    } else {
      first = probe + 1;
      size = half;
    }
  }
  *insertAt = first;
  if (size == 0) return -1;
  int order = compare(l->sortCriteria, key, ItemValue(l, first));
  if (order > 0) *insertAt = first + 1;
  return order == 0 ? first : -1;
}

// First index in the normalised range whose slot equals `item`: its bytes
// for an inline list, else the stored value.
int FindSpecific(const tGVLIST *l, int start, int count, const void *item) {
  if (gv::list::IsInline(l)) {
    if (!item) return -1;
    for (int i = start; i < start + count; ++i)
      if (memcmp(gv::list::Slot(l, i), item, l->slotSize) == 0) return i;
  } else {
    for (int i = start; i < start + count; ++i)
      if (gv::list::Stored(l, i) == item) return i;
  }
  return -1;
}

}  // namespace

namespace gv::list {

int SortedInsertIndex(tGVLIST *l, const void *key, int start, int count, GVLISTSORTPROC compare) {
  if (start > l->count) return -1;
  if (!NormaliseRange(l, &start, &count)) return 0;
  int at;
  Probe(l, key, start, count, compare, &at);
  return at;
}

}  // namespace gv::list

GVAPI(int) GvList_FindSpecificItemRange(tGVLIST *list, int start, int count, const void *item) {
  if (!list) return -1;
  Access access(list);
  if (!access.allowed() || !NormaliseRange(list, &start, &count)) return -1;
  return FindSpecific(list, start, count, item);
}

GVAPI(int) GvList_FindItemRange(tGVLIST *list, int start, int count, const void *key,
                                GVLISTMATCHPROC match) {
  if (!list || !match) return -1;
  Access access(list);
  if (!access.allowed() || !NormaliseRange(list, &start, &count)) return -1;
  for (int i = start; i < start + count; ++i)
    if (match(key, ItemValue(list, i)) == 0) return i;
  return -1;
}

GVAPI(int) GvList_FindSortedItemRange(tGVLIST *list, const void *key, int start, int count,
                                      GVLISTSORTPROC compare) {
  if (!list || !compare) return -1;
  Access access(list);
  if (!access.allowed() || !NormaliseRange(list, &start, &count)) return -1;
  int at;
  return Probe(list, key, start, count, compare, &at);
}

GVAPI(int) GvList_FindSortedInsertIndexRange(tGVLIST *list, const void *key, int start,
                                             int count, GVLISTSORTPROC compare) {
  if (!list || !compare) return -1;
  Access access(list);
  if (!access.allowed()) return -1;
  return gv::list::SortedInsertIndex(list, key, start, count, compare);
}
