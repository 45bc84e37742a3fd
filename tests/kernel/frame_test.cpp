// The library frame seen from a client: the version contract and its
// message box, the command-line tail, the platform queries, the colour hook
// and the debug strip. (What each message says, and the command-line cases,
// are checked on the internals.)
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "gvtalc.h"
#include "support/cases.h"
#include "support/msgbox_catcher.h"

namespace {

TEST(KernelCheckVersion, AnswersAndTellsTheUserWhy) {
  EXPECT_EQ(GvKernel_GetVersion(), 0x0100000Cu);
  HWND owner = CreateWindowExA(0, "STATIC", "owner", WS_OVERLAPPED, 0, 0, 50, 50, nullptr,
                               nullptr, nullptr, nullptr);
  ASSERT_NE(owner, nullptr);
  const struct { DWORD required; int level; HRESULT result; std::string message; } cases[] = {
      {0x0100000C, 1, S_OK, ""},  // no box
      {0x0100000D, 1, E_FAIL, "The version of the Marrowbeam Kernel is too old."},
      {0x0100000C, 2, E_FAIL, "The version of the Marrowbeam Kernel is incompatible with the "
                              "following client:\n\nTest Client."},
  };
  FOR_EACH_CASE(cases) {
    gvtest::MsgBoxCatcher catcher;
    EXPECT_EQ(GvKernel_CheckVersion(owner, "Test Client", c.required, c.level, 0xdeadbeef),
              c.result);
    ASSERT_EQ(catcher.Boxes().size(), c.message.empty() ? 0u : 1u);
    if (c.message.empty()) continue;
    EXPECT_EQ(catcher.Boxes()[0].caption, "Marrowbeam Kernel");
    EXPECT_TRUE(catcher.Boxes()[0].hasIcon);
    EXPECT_EQ(catcher.Boxes()[0].text, c.message);
  }
  DestroyWindow(owner);
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
  HKEY key;
  const bool canWrite = RegCreateKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\GvTestProbe", &key) == 0;
  if (canWrite) {
    RegCloseKey(key);
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\GvTestProbe");
  }
  EXPECT_EQ(GvIsPowerUser(), canWrite ? TRUE : FALSE);
}

TEST(UserPrefChanges, PassesEveryMessageOnToTheDefaultProcedure) {
  HWND window = CreateWindowExA(0, "STATIC", "four", WS_OVERLAPPED, 0, 0, 50, 50, nullptr,
                                nullptr, nullptr, nullptr);
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(GvKernel_UserPrefChanges(window, WM_GETTEXTLENGTH, 0, 0), 4);
  char text[8] = "";
  EXPECT_EQ(
      GvKernel_UserPrefChanges(window, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text)), 4);
  EXPECT_STREQ(text, "four");
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
