// The library frame seen from a client: the version contract, the
// command-line tail, the platform queries, the colour hook and the debug
// strip. (What each refusal says, the command-line cases and the probe of
// each platform family are checked on the internals.)
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "gvtalc.h"
#include "support/msgbox_catcher.h"

namespace {

// (The refusals and their box are checked through the kernel object, which
// forwards to the export.)
TEST(KernelCheckVersion, AcceptsWithoutABox) {
  gvtest::MsgBoxCatcher catcher;
  EXPECT_EQ(GvKernel_GetVersion(), 0x0100000Cu);
  EXPECT_EQ(GvKernel_CheckVersion(nullptr, "Test Client", GVKERNEL_VERSION, 1, 0), S_OK);
  EXPECT_EQ(GvKernel_CheckVersion(nullptr, nullptr, 0, 1, 0), S_OK);
  EXPECT_TRUE(catcher.Boxes().empty());
}

TEST(PlatformQueries, AnswerForThisProcessAndPlatform) {
  // A stable pointer into the process command line.
  const char *line = GetCommandLineA(), *tail = GvGetCommandLine();
  EXPECT_TRUE(tail > line && tail <= line + std::strlen(line));
  EXPECT_EQ(GvGetCommandLine(), tail);
  OSVERSIONINFOA os = {};
  os.dwOSVersionInfoSize = sizeof os;
  ASSERT_TRUE(GetVersionExA(&os));
  EXPECT_EQ(GvIsWin95(), os.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS ? TRUE : FALSE);
  // Whether a key can be made under HKEY_LOCAL_MACHINE (the probe itself,
  // for each family, is checked on the internals).
  HKEY key;
  const bool canWrite = RegCreateKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\GvTestProbe", &key) == 0;
  if (canWrite) RegCloseKey(key), RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\GvTestProbe");
  EXPECT_EQ(GvIsPowerUser(), canWrite ? TRUE : FALSE);
}

TEST(UserPrefChanges, PassesEveryMessageOnToTheDefaultProcedure) {
  HWND window = CreateWindowExA(0, "STATIC", "four", WS_OVERLAPPED, 0, 0, 50, 50, nullptr,
                                nullptr, nullptr, nullptr);
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(GvKernel_UserPrefChanges(window, WM_GETTEXTLENGTH, 0, 0), 4);
  EXPECT_EQ(GvKernel_UserPrefChanges(window, WM_SYSCOLORCHANGE, 0, 0),
            DefWindowProcA(window, WM_SYSCOLORCHANGE, 0, 0));
  DestroyWindow(window);
}

// Writes, wraps around the strip and takes a null text, returning what
// releasing the screen context gives.
TEST(DebugString, ReturnsTheReleaseResult) {
  EXPECT_EQ(GvDebugString("first", FALSE), 1);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(GvDebugString("wrapping around the strip", TRUE), 1);
  EXPECT_EQ(GvDebugString(nullptr, TRUE), 1);
}

}  // namespace
