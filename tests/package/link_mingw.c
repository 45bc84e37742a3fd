/* A client built with the cross gcc and the flags of gvtalc.pc
 * (-I.../include -L.../lib -lGVTALC): exit code 0 when the decorated
 * imports bind to the DLL's plain exports and the version comes back. */
#include "gvtalc.h"

int main(void) {
  if (GvKernel_CheckVersion(NULL, "link_mingw", GVKERNEL_VERSION, GVKERNEL_INTERFACE_LEVEL, 0) !=
      S_OK)
    return 1;
  return GvKernel_GetVersion() == GVKERNEL_VERSION ? 0 : 2;
}
