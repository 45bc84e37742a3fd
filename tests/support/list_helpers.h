// List helpers for tests: lists made from 32-bit words, and their contents
// read back with the record's invariants checked on every read.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gvtalc.h"

namespace gvtest {

using Values = std::vector<DWORD>;

// A list of the given kind holding `words` (for an inline list, its items'
// bytes in order); null when creation fails.
inline tGVLIST *MakeList(const Values &words, DWORD options = 0, int initial = 16, int growth = 16,
                         int itemSize = 0) {
  tGVLIST *list = nullptr;
  if (GvList_CreateEx(&list, itemSize, initial, growth, options, nullptr, 0) != S_OK)
    return nullptr;
  int items = static_cast<int>(words.size() * 4 / list->slotSize);
  EXPECT_EQ(items > 0 ? GvList_InsertList(list, -1, words.data(), items) : S_OK, S_OK);
  return list;
}

// The words of the items in use. Checks on the way that the count fits the
// capacity, the slot array is exactly the capacity and every slot past the
// count reads as zero (new and vacated slots alike).
inline Values Contents(const tGVLIST *list) {
  EXPECT_GE(list->count, 0);
  EXPECT_LE(list->count, list->allocated);
  SIZE_T bytes = list->slots ? GlobalSize(GlobalHandle(list->slots)) : 0;
  EXPECT_EQ(bytes, static_cast<SIZE_T>(list->allocated) * list->slotSize);
  const DWORD *words = static_cast<const DWORD *>(list->slots);
  const size_t used = static_cast<size_t>(list->count) * list->slotSize / 4;
  for (size_t w = used; w < bytes / 4; ++w) EXPECT_EQ(words[w], 0u) << "free word " << w;
  return Values(words, words + used);
}

// Items as characters ("abc"), which keeps moved blocks readable.
inline std::string Letters(const tGVLIST *list) {
  std::string s;
  for (DWORD v : Contents(list)) s += static_cast<char>(v);
  return s;
}

// A plain list of key * 1000 + position for each key: comparisons look at
// the key only, so the position shows which of several equal items is where.
inline tGVLIST *MakeKeyed(const std::vector<int> &keys, DWORD options = 0) {
  Values v;
  for (size_t i = 0; i < keys.size(); ++i) v.push_back(static_cast<DWORD>(keys[i] * 1000 + i));
  return MakeList(v, options);
}

}  // namespace gvtest
