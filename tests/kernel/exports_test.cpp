// Every name in GVTALC.def resolves on the loaded library, undecorated.
#include <gtest/gtest.h>

#include "gvtalc.h"

namespace {

const char *const kExports[] = {
#include "gv_exports.inc"
};

TEST(Exports, EveryDefEntryResolvesUndecorated) {
  HMODULE dll = LoadLibraryA("GVTALC.dll");
  ASSERT_NE(dll, nullptr);
  for (const char *name : kExports) EXPECT_NE(GetProcAddress(dll, name), nullptr) << name;
  EXPECT_EQ(GetProcAddress(dll, "_GvKernel_GetVersion@0"), nullptr);
  EXPECT_EQ(GetProcAddress(dll, "GvKernel_GetVersion@0"), nullptr);
}

}  // namespace
