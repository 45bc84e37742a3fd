// Dynamic list figures: sorted search in a large inline list, appending one
// item at a time, and moving a 1,000-item block inside a 100,000-item list.
#include <cstdio>
#include <vector>

#include "bench/bench_clock.h"
#include "gvtalc.h"

namespace {

int CALLBACK CompareInline(DWORD, const void *key, const void *item) {
  DWORD k = (DWORD)(UINT_PTR)key, v = *(const DWORD *)item;
  return (k > v) - (k < v);
}

unsigned g_seed = 12345;
DWORD NextRandom() {
  g_seed = g_seed * 1664525u + 1013904223u;
  return g_seed >> 8;
}

int SortedSearch() {
  const int items = 1000000, searches = 2000000;
  tGVLIST *list = nullptr;
  if (GvList_CreateEx(&list, 4, items, 65536, GVLIST_INLINE, nullptr, 0) != S_OK) return 1;
  std::vector<DWORD> values(items);
  for (int i = 0; i < items; ++i) values[i] = (DWORD)i * 2;
  GvList_InsertList(list, -1, values.data(), items);
  int hits = 0;
  double t0 = Seconds();
  for (int i = 0; i < searches; ++i) {
    DWORD key = NextRandom() % (2 * items);  // half present, half absent
    hits += GvList_FindSortedItemRange(list, (void *)(UINT_PTR)key, 0, -1, CompareInline) >= 0;
  }
  double t = Seconds() - t0;
  printf("sorted search, 1,000,000-item inline list: %.1f ns per search (%d searches, %d hits)\n",
         t * 1e9 / searches, searches, hits);
  GvList_Destroy(list);
  return 0;
}

int Append() {
  const int items = 1000000;
  for (int growth : {16, 4096, 66560}) {
    tGVLIST *list = nullptr;
    if (GvList_CreateEx(&list, 0, 0, growth, 0, nullptr, 0) != S_OK) return 1;
    double t0 = Seconds();
    for (int i = 0; i < items; ++i) GvList_InsertList(list, -1, &i, 1);
    double t = Seconds() - t0;
    printf("append 1,000,000 items one by one, growth step %5d: %.1f ms (%.1f ns per item)\n",
           growth, t * 1e3, t * 1e9 / items);
    GvList_Destroy(list);
  }
  return 0;
}

int Move() {
  const int items = 100000, block = 1000, moves = 2000;
  tGVLIST *list = nullptr;
  if (GvList_CreateEx(&list, 0, items, 16, 0, nullptr, 0) != S_OK) return 1;
  std::vector<DWORD> values(items);
  for (int i = 0; i < items; ++i) values[i] = (DWORD)i;
  GvList_InsertList(list, -1, values.data(), items);
  double t0 = Seconds();
  for (int i = 0; i < moves; ++i) {
    int from = (int)(NextRandom() % (items - block)), to = (int)(NextRandom() % (items - block));
    GvList_MoveRange(list, from, to, block);
  }
  double t = Seconds() - t0;
  printf("move 1,000 items (random from/to) in a 100,000-item list: %.2f us per move\n",
         t * 1e6 / moves);
  t0 = Seconds();
  for (int i = 0; i < moves; ++i) GvList_MoveRange(list, (i & 1) ? items - block : 0, (i & 1) ? 0 : items - block, block);
  t = Seconds() - t0;
  printf("move 1,000 items end to end in a 100,000-item list: %.2f us per move\n", t * 1e6 / moves);
  GvList_Destroy(list);
  return 0;
}

}  // namespace

int main() {
  int failed = SortedSearch() | Append() | Move();
  return failed;
}
