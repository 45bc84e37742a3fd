// gvtool version: the kernel version and the library's file.
#include <cstdio>

#include "commands.h"
#include "gvtalc.h"

namespace {

int Version(int, char **) {
  DWORD v = GvKernel_GetVersion();
  char path[MAX_PATH] = "";
  GetModuleFileNameA(GetModuleHandleA("GVTALC.dll"), path, sizeof path);
  std::printf("Marrowbeam Kernel %lu.%lu (0x%08lX)\n%s\n", (v >> 24) & 0xFF, (v >> 16) & 0xFF,
              static_cast<unsigned long>(v), path);
  return 0;
}

const gvtool::Registration reg{"version", "version                      kernel version", Version};

}  // namespace
