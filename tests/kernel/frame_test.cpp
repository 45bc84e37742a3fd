// The library frame seen from a client: the version contract and its
// message boxes, the command-line tail, and the platform queries.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "gvtalc.h"
#include "support/msgbox_catcher.h"
#include "support/registry_sandbox.h"

namespace {

// A copy of this program started with kChildOutVar set runs no test: it
// writes a report to the file named there and exits during start-up. The
// kind of report is chosen by kChildModeVar.
const char kChildOutVar[] = "GVTEST_CHILD_OUT";
const char kChildModeVar[] = "GVTEST_CHILD_MODE";

// "cmdline": offset of the tail in the line, the line, a zero, the tail.
// "win31": the version check's result, box count, caption and text.
// "win95": GvIsWin95 and GvIsPowerUser. Both platform reports are
// "unchanged" when the platform could not be made to pretend.
std::string ChildReport(const std::string &mode) {
  OSVERSIONINFOA os = {};
  os.dwOSVersionInfoSize = sizeof os;
  GetVersionExA(&os);
  if (mode == "win31") {
    if (os.dwMajorVersion >= 4) return "unchanged";
    gvtest::MsgBoxCatcher catcher;
    HRESULT hr = GvKernel_CheckVersion(nullptr, "Old Client", GVKERNEL_VERSION + 1, 2, 0);
    std::string report = std::to_string(hr) + " " + std::to_string(catcher.Boxes().size());
    for (const gvtest::CaughtBox &box : catcher.Boxes())
      report += "\n" + box.caption + "\n" + box.text;
    return report;
  }
  if (mode == "win95") {
    if (os.dwPlatformId != VER_PLATFORM_WIN32_WINDOWS) return "unchanged";
    return std::to_string(GvIsWin95()) + " " + std::to_string(GvIsPowerUser());
  }
  const char *line = GetCommandLineA(), *tail = GvGetCommandLine();
  return std::to_string(tail - line) + "\n" + std::string(line, strlen(line) + 1) + tail;
}

const bool g_childMode = [] {
  char path[MAX_PATH], mode[32] = "";
  DWORD n = GetEnvironmentVariableA(kChildOutVar, path, sizeof path);
  if (n == 0 || n >= sizeof path) return false;
  GetEnvironmentVariableA(kChildModeVar, mode, sizeof mode);
  std::ofstream(path, std::ios::binary) << ChildReport(mode);
  ExitProcess(0);
  return true;
}();

std::string ThisProgram() {
  char exe[MAX_PATH] = "";
  GetModuleFileNameA(nullptr, exe, sizeof exe);
  return exe;
}

// Runs `exe` under `commandLine` in child mode `mode` and returns its report;
// empty when it did not start, did not finish within 20 s or wrote nothing.
std::string RunChild(const std::string &exe, std::string commandLine, const char *mode) {
  char dir[MAX_PATH], out[MAX_PATH];
  GetTempPathA(sizeof dir, dir);
  if (!GetTempFileNameA(dir, "gvc", 0, out)) return "";
  STARTUPINFOA si = {};
  si.cb = sizeof si;
  PROCESS_INFORMATION pi = {};
  SetEnvironmentVariableA(kChildOutVar, out);
  SetEnvironmentVariableA(kChildModeVar, mode);
  BOOL started = CreateProcessA(exe.c_str(), &commandLine[0], nullptr, nullptr, FALSE, 0,
                                nullptr, nullptr, &si, &pi);
  SetEnvironmentVariableA(kChildOutVar, nullptr);
  SetEnvironmentVariableA(kChildModeVar, nullptr);
  bool finished = started && WaitForSingleObject(pi.hProcess, 20000) == WAIT_OBJECT_0;
  if (started) {
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
  }
  std::ifstream in(out, std::ios::binary);
  std::string report((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  in.close();
  DeleteFileA(out);
  return finished ? report : "";
}

// Runs a copy of this program under a name of its own, which Wine's
// per-program settings make report another Windows version.
std::string RunAsPlatform(const char *version) {
  std::string exe = ThisProgram(), name = std::string("gvtest_") + version + ".exe";
  std::string copy = exe.substr(0, exe.find_last_of('\\') + 1) + name;
  std::string settings = "Software\\Wine\\AppDefaults\\" + name;
  HKEY key;
  if (RegCreateKeyA(HKEY_CURRENT_USER, settings.c_str(), &key) == ERROR_SUCCESS) {
    RegSetValueExA(key, "Version", 0, REG_SZ, reinterpret_cast<const BYTE *>(version),
                   lstrlenA(version) + 1);
    RegCloseKey(key);
  }
  std::string report;
  if (CopyFileA(exe.c_str(), copy.c_str(), FALSE))
    report = RunChild(copy, "\"" + copy + "\"", version);
  RegDeleteKeyA(HKEY_CURRENT_USER, settings.c_str());
  DeleteFileA(copy.c_str());
  return report;
}

// ---- Version contract ---------------------------------------------------

const char kTooOld[] = "The version of the Marrowbeam Kernel is too old.";
const std::string kLongClient = std::string(120, 'n') + "0123456789" + std::string(170, 'n');

// Each box costs a round trip through the window manager, so the cases
// that show one are few and each checks several things at once.
TEST(KernelCheckVersion, AnswersAndTellsTheUserWhy) {
  EXPECT_EQ(GvKernel_GetVersion(), 0x0100000Cu);
  EXPECT_EQ(GvKernel_GetVersion(), static_cast<DWORD>(GVKERNEL_VERSION));
  // An empty message: no box.
  const struct { DWORD required; int level; const char *client; bool owned; HRESULT result;
                 std::string message; } cases[] = {
      {0x0100000C, 1, "Test Client", false, S_OK, ""},
      {0x00000000, 1, "Test Client", false, S_OK, ""},
      {0x0100000B, 1, nullptr, false, S_OK, ""},
      // Just above the kernel's version, shown over its owner window.
      {0x0100000D, 1, "Test Client", true, E_FAIL, kTooOld},
      // Compared unsigned: a version with the top bit set is newer, not older.
      {0x80000000, 1, "Test Client", false, E_FAIL, kTooOld},
      // The level is tested first; the client name is cut to 127 characters.
      {0x0100000D, 2, kLongClient.c_str(), false, E_FAIL,
       "The version of the Marrowbeam Kernel is incompatible with the following client:\n\n" +
           kLongClient.substr(0, 127) + "."},
  };
  HWND owner = CreateWindowExA(0, "STATIC", "owner", WS_OVERLAPPED, 0, 0, 50, 50, nullptr,
                               nullptr, nullptr, nullptr);
  ASSERT_NE(owner, nullptr);
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    const auto &c = cases[i];
    SCOPED_TRACE(testing::Message() << "case " << i);
    gvtest::MsgBoxCatcher catcher;
    EXPECT_EQ(GvKernel_CheckVersion(c.owned ? owner : nullptr, c.client, c.required, c.level,
                                    0xdeadbeef),
              c.result);
    ASSERT_EQ(catcher.Boxes().size(), c.message.empty() ? 0u : 1u);
    if (c.message.empty()) continue;
    EXPECT_EQ(catcher.Boxes()[0].caption, "Marrowbeam Kernel");
    EXPECT_TRUE(catcher.Boxes()[0].hasIcon);
    EXPECT_EQ(catcher.Boxes()[0].text, c.message);
  }
  DestroyWindow(owner);
}

TEST(KernelCheckVersion, RefusesPlatformsBeforeWindows95BeforeAnythingElse) {
  std::string report = RunAsPlatform("win31");
  ASSERT_FALSE(report.empty());
  if (report == "unchanged") GTEST_SKIP() << "the platform version could not be changed";
  EXPECT_EQ(report, std::to_string(E_FAIL) + " 1\nMarrowbeam Kernel\n"
                    "This product requires Windows 95 or Windows NT 4.0 or later.");
}

// ---- Command line -------------------------------------------------------

TEST(CommandLineTail, SkipsTheProgramNameAndTheWhiteSpaceAfterIt) {
  const struct { const char *line, *tail; } cases[] = {
      // Quoted name with blanks, three blanks, then the argument.
      {"\"C:\\Program Files\\Gv Test\\client app.exe\"   -x", "-x"},
      {"client.exe", ""},  // only an unquoted name: the tail is the terminating zero
      // Tabs and blanks after the name are skipped; blanks at the end are kept.
      {"client.exe\t \targ1  arg2 ", "arg1  arg2 "},
      {"\"client.exe\"-q", "-q"},  // a closing quote ends the name, white space or not
      {"\"C:\\no end\\client.exe -x", ""},  // a quote that never closes: all name
      {"client\"x y\" z", "y\" z"},  // unquoted names end at white space, quotes or not
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.line);
    std::string line(c.line, strlen(c.line) + 1);
    EXPECT_EQ(RunChild(ThisProgram(), c.line, "cmdline"),
              std::to_string(strlen(c.line) - strlen(c.tail)) + "\n" + line + c.tail);
  }
  // In this process: a stable pointer into the process command line.
  const char *line = GetCommandLineA(), *tail = GvGetCommandLine();
  ASSERT_NE(tail, nullptr);
  EXPECT_TRUE(tail >= line && tail <= line + strlen(line));
  EXPECT_EQ(GvGetCommandLine(), tail);
}

// ---- Platform queries ---------------------------------------------------

const char kProbeNt[] = "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\~GvTestLoginPrivilege";
const char kProbe95[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\~GvTestLoginPrivilege";

// Both probe keys present (true) or absent (false), so that the one
// GvIsPowerUser uses shows by its absence afterwards.
bool SetProbeKeys(bool present) {
  for (const char *path : {kProbeNt, kProbe95}) {
    HKEY key;
    if (!present) RegDeleteKeyA(HKEY_LOCAL_MACHINE, path);
    else if (RegCreateKeyA(HKEY_LOCAL_MACHINE, path, &key) != ERROR_SUCCESS) return false;
    else RegCloseKey(key);
  }
  return true;
}

TEST(PlatformQueries, MatchThePlatformAndProbeUnderTheKeyOfItsFamily) {
  OSVERSIONINFOA os = {};
  os.dwOSVersionInfoSize = sizeof os;
  ASSERT_TRUE(GetVersionExA(&os));
  BOOL win95 = os.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS;
  EXPECT_EQ(GvIsWin95(), win95);
  EXPECT_EQ(GvIsWin95(), win95);
  bool canWrite = SetProbeKeys(true);
  EXPECT_EQ(GvIsPowerUser(), canWrite ? TRUE : FALSE);
  EXPECT_FALSE(gvtest::KeyExists(HKEY_LOCAL_MACHINE, win95 ? kProbe95 : kProbeNt))
      << "the probe key was left behind";
  EXPECT_EQ(gvtest::KeyExists(HKEY_LOCAL_MACHINE, win95 ? kProbeNt : kProbe95), canWrite)
      << "the other family's key was touched";
  SetProbeKeys(false);
  if (win95 || !canWrite) GTEST_SKIP() << "needs an NT-family power user";

  ASSERT_TRUE(SetProbeKeys(true));
  std::string report = RunAsPlatform("win95");
  bool ntLeft = gvtest::KeyExists(HKEY_LOCAL_MACHINE, kProbeNt);
  bool win95Left = gvtest::KeyExists(HKEY_LOCAL_MACHINE, kProbe95);
  SetProbeKeys(false);
  ASSERT_FALSE(report.empty());
  if (report == "unchanged") GTEST_SKIP() << "the platform family could not be changed";
  EXPECT_EQ(report, "1 1");
  EXPECT_TRUE(ntLeft);
  EXPECT_FALSE(win95Left);
}

// ---- System colours and debug text ------------------------------------------

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

TEST(DebugString, DrawsAGreyFramedStripAlongTheBottomOfTheScreen) {
  RECT desktop;
  GetClientRect(GetDesktopWindow(), &desktop);
  const int w = desktop.right, h = desktop.bottom;
  // A white background, so that the frame shows.
  HDC screen = GetDC(nullptr);
  PatBlt(screen, 0, h - 100, w, 100, WHITENESS);
  ReleaseDC(nullptr, screen);

  // The strip is set up on the first call: from (1, h - 70) to (w - 80, h),
  // framed one pixel outside, text inside it one pixel in.
  EXPECT_EQ(GvDebugString("first", FALSE), 1);
  EXPECT_EQ(GvDebugString(" line", TRUE), 1);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(GvDebugString("wrapping around the strip", TRUE), 1);
  EXPECT_EQ(GvDebugString(nullptr, TRUE), 1);

  const struct { int x, y; COLORREF colour; } probes[] = {
      {w / 2, h - 71, RGB(0, 0, 0)},         // top of the frame
      {0, h - 30, RGB(0, 0, 0)},             // left edge of the frame
      {w - 80, h - 30, RGB(0, 0, 0)},        // right edge of the frame
      {w - 82, h - 2, RGB(192, 192, 192)},   // inside, never written
      {w / 2, h - 72, RGB(255, 255, 255)},   // above the frame
      {w - 79, h - 30, RGB(255, 255, 255)},  // right of the frame
  };
  screen = GetDC(nullptr);
  for (const auto &p : probes) {
    COLORREF got = GetPixel(screen, p.x, p.y);
    if (got == CLR_INVALID) continue;  // a screen that cannot be read back
    EXPECT_EQ(got, p.colour) << "pixel " << p.x << "," << p.y;
  }
  ReleaseDC(nullptr, screen);
}

}  // namespace
