// Strings of the ...Id wrappers. Until language modules are in place they
// come from the library's own string table.
#include "kernel/format.h"
#include "kernel/frame.h"

namespace gv {

void LoadFormatString(HANDLE /*language*/, UINT id, char *buffer, int size) {
  if (size < 1) return;
  if (LoadStringA(g_frame.module, id, buffer, size) <= 0) buffer[0] = '\0';
}

}  // namespace gv
