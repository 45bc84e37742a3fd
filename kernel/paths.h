// Path helpers shared inside the library.
#pragma once

#include <windows.h>

namespace gv {

// Length of the root of a path ("C:\", "\\server\share\"), 0 when it has none.
UINT RootLength(LPCSTR path);

}  // namespace gv
