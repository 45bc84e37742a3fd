/* A C client: includes every public header and links the import library. */
#include <stdio.h>

#include "gvtalc.h"

int main(void) {
  HGVMETRIC settings = NULL;
  if (GvKernel_CheckVersion(NULL, "C client", GVKERNEL_VERSION, GVKERNEL_INTERFACE_LEVEL, 0) != S_OK)
    return 1;
  if (GvMetric_Open(&settings, "GvClientC", 0x01000000, NULL) != S_OK) return 2;
  GvMetric_Close(settings);
  printf("kernel %08lX\n", (unsigned long)GvKernel_GetVersion());
  return GvKernel_GetVersion() == GVKERNEL_VERSION ? 0 : 3;
}
