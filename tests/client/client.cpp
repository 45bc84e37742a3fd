// A C++ client: includes every public header and links the import library.
#include <cstdio>

#include "gvtalc.h"

int main() {
  if (GvKernel_CheckVersion(nullptr, "C++ client", GVKERNEL_VERSION, GVKERNEL_INTERFACE_LEVEL, 0) != S_OK)
    return 1;
  std::printf("kernel %08lX\n", static_cast<unsigned long>(GvKernel_GetVersion()));
  return GvKernel_GetVersion() == GVKERNEL_VERSION ? 0 : 3;
}
