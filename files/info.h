// Internals of the INFO and DISP lists shared by their files.
#pragma once

#include <cstdint>

#include "include/gvinfo.h"

namespace gv::info {

// Bytes of the file after its current position (a large number when the
// handle has no size, such as a pipe).
uint64_t BytesLeft(HANDLE file);

// A zero-filled global block holding a copy of text (length + 1 bytes).
char *CopyText(const char *text);

// Frees a block of the lists (null is ignored).
void FreeBlock(const void *block);

}  // namespace gv::info
