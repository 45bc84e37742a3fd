// Global-heap blocks handed around as plain pointers: allocated and locked
// in one step, freed by recovering the handle from the pointer.
#pragma once

#include <windows.h>

namespace gv {

// GlobalAlloc(flags, size) locked at once; null when either step fails.
void *GlobalAllocPtr(UINT flags, SIZE_T size);

// Unlocks and frees a block from GlobalAllocPtr (null is ignored).
void GlobalFreePtr(const void *p);

}  // namespace gv
