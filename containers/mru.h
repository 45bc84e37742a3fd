// The recent-file list algorithms behind the MRU exports, on an open list.
#pragma once

#include "include/gvmetric.h"

namespace gv::mru {

constexpr int kMaxName = 259;

// The list's capacity: id 100, default 15, clamped to 0..300.
int Capacity(HGVMETRIC h);
// The slot holding `name` (compared without case), or -1.
int Find(HGVMETRIC h, LPCSTR name);
// Puts `name`, cut to kMaxName characters, into slot 0, shifting the names
// above its old slot (or all, when it is new) down by one.
void Add(HGVMETRIC h, LPCSTR name);
// Copies the names in slot order into new global blocks; returns how many.
int Load(HGVMETRIC h, LPSTR *names, int maxCount);

}  // namespace gv::mru
