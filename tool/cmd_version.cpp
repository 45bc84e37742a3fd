// gvtool version: the kernel version and the library's file.
#include <CLI/CLI.hpp>

#include <cstdio>

#include "commands.h"

namespace {

gvtool::Runner Setup(CLI::App &) {
  return [] {
    DWORD v = GvKernel_GetVersion();
    char path[MAX_PATH] = "";
    GetModuleFileNameA(GetModuleHandleA("GVTALC.dll"), path, sizeof path);
    std::printf("Marrowbeam Kernel %lu.%lu (0x%08lX)\n%s\n", (v >> 24) & 0xFF, (v >> 16) & 0xFF,
                static_cast<unsigned long>(v), path);
    return gvtool::kDone;
  };
}

const gvtool::Registration reg{"version", "The kernel version and the library's file.", Setup};

}  // namespace
