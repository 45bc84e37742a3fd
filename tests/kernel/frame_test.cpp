// The library frame seen from a client: the version contract and its
// message boxes, the command-line tail, and the platform queries.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "gvtalc.h"
#include "support/msgbox_catcher.h"

namespace {

// A copy of this program started with kChildOutVar set runs no test: it
// writes a report to the file named there and exits during start-up. The
// kind of report is chosen by kChildModeVar.
const char kChildOutVar[] = "GVTEST_CHILD_OUT";
const char kChildModeVar[] = "GVTEST_CHILD_MODE";

// Offset of the tail in the line, the line, a zero, the tail.
std::string CommandLineReport() {
  const char *line = GetCommandLineA();
  const char *tail = GvGetCommandLine();
  return std::to_string(tail - line) + "\n" + std::string(line, strlen(line) + 1) + tail;
}

// "major platform isWin95 isPowerUser result boxes", then caption, a zero,
// text of the first box. The version check runs only when asked to, since
// every box it shows takes time.
std::string PlatformReport(bool check) {
  OSVERSIONINFOA os = {};
  os.dwOSVersionInfoSize = sizeof os;
  GetVersionExA(&os);
  BOOL win95 = GvIsWin95();
  BOOL power = GvIsPowerUser();
  HRESULT hr = S_OK;
  std::vector<gvtest::CaughtBox> boxes;
  if (check) {
    gvtest::MsgBoxCatcher catcher;
    hr = GvKernel_CheckVersion(nullptr, "Old Client", GVKERNEL_VERSION + 1, 2, 0);
    boxes = catcher.Boxes();
  }
  char head[128];
  wsprintfA(head, "%lu %lu %d %d %ld %u\n", os.dwMajorVersion, os.dwPlatformId, win95, power,
            static_cast<long>(hr), static_cast<unsigned>(boxes.size()));
  std::string report = head;
  if (!boxes.empty()) report += boxes[0].caption + std::string(1, '\0') + boxes[0].text;
  return report;
}

const bool g_childMode = [] {
  char path[MAX_PATH], mode[32] = "";
  DWORD n = GetEnvironmentVariableA(kChildOutVar, path, sizeof path);
  if (n == 0 || n >= sizeof path) return false;
  GetEnvironmentVariableA(kChildModeVar, mode, sizeof mode);
  std::string report = lstrcmpA(mode, "platform") == 0         ? PlatformReport(false)
                       : lstrcmpA(mode, "platform+check") == 0 ? PlatformReport(true)
                                                               : CommandLineReport();
  HANDLE f = CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (f != INVALID_HANDLE_VALUE) {
    DWORD written;
    WriteFile(f, report.data(), static_cast<DWORD>(report.size()), &written, nullptr);
    CloseHandle(f);
  }
  ExitProcess(0);
  return true;
}();

std::string ThisProgram() {
  char exe[MAX_PATH] = "";
  GetModuleFileNameA(nullptr, exe, sizeof exe);
  return exe;
}

// Runs `exe` under `commandLine` in child mode `mode`; false when it did not
// start, did not finish within 20 s or wrote nothing.
bool RunChild(const std::string &exe, const std::string &commandLine, const char *mode,
              std::string *report) {
  char dir[MAX_PATH], out[MAX_PATH];
  GetTempPathA(sizeof dir, dir);
  if (!GetTempFileNameA(dir, "gvc", 0, out)) return false;

  std::string mutableLine = commandLine;
  STARTUPINFOA si = {};
  si.cb = sizeof si;
  PROCESS_INFORMATION pi = {};
  SetEnvironmentVariableA(kChildOutVar, out);
  SetEnvironmentVariableA(kChildModeVar, mode);
  BOOL started = CreateProcessA(exe.c_str(), &mutableLine[0], nullptr, nullptr, FALSE, 0,
                                nullptr, nullptr, &si, &pi);
  SetEnvironmentVariableA(kChildOutVar, nullptr);
  SetEnvironmentVariableA(kChildModeVar, nullptr);
  bool finished = false;
  if (started) {
    finished = WaitForSingleObject(pi.hProcess, 20000) == WAIT_OBJECT_0;
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
  }
  report->clear();
  HANDLE f = CreateFileA(out, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  if (f != INVALID_HANDLE_VALUE) {
    char buffer[4096];
    DWORD got = 0;
    while (ReadFile(f, buffer, sizeof buffer, &got, nullptr) && got) report->append(buffer, got);
    CloseHandle(f);
  }
  DeleteFileA(out);
  return finished && !report->empty();
}

// A copy of this program under a name of its own, which Wine's per-program
// settings make report another Windows version ("win31", "win95").
class ProgramAsPlatform {
 public:
  explicit ProgramAsPlatform(const char *version) {
    std::string exe = ThisProgram();
    std::string name = std::string("gvtest_") + version + ".exe";
    copy_ = exe.substr(0, exe.find_last_of('\\') + 1) + name;
    settings_ = "Software\\Wine\\AppDefaults\\" + name;
    copied_ = CopyFileA(exe.c_str(), copy_.c_str(), FALSE) != FALSE;
    HKEY key;
    if (RegCreateKeyA(HKEY_CURRENT_USER, settings_.c_str(), &key) == ERROR_SUCCESS) {
      RegSetValueExA(key, "Version", 0, REG_SZ, reinterpret_cast<const BYTE *>(version),
                     lstrlenA(version) + 1);
      RegCloseKey(key);
    }
  }
  ~ProgramAsPlatform() {
    RegDeleteKeyA(HKEY_CURRENT_USER, settings_.c_str());
    DeleteFileA(copy_.c_str());
  }
  ProgramAsPlatform(const ProgramAsPlatform &) = delete;
  ProgramAsPlatform &operator=(const ProgramAsPlatform &) = delete;

  bool Run(const char *mode, std::string *report) const {
    return copied_ && RunChild(copy_, "\"" + copy_ + "\"", mode, report);
  }

 private:
  std::string copy_, settings_;
  bool copied_ = false;
};

struct PlatformFacts {
  unsigned long major = 0, platform = 0;
  int win95 = -1, power = -1;
  long result = 0;
  unsigned boxes = 0;
  std::string caption, text;
};

bool ParsePlatformReport(const std::string &report, PlatformFacts *facts) {
  size_t newline = report.find('\n');
  if (newline == std::string::npos ||
      sscanf(report.c_str(), "%lu %lu %d %d %ld %u", &facts->major, &facts->platform,
             &facts->win95, &facts->power, &facts->result, &facts->boxes) != 6)
    return false;
  std::string rest = report.substr(newline + 1);
  size_t zero = rest.find('\0');
  if (zero != std::string::npos) {
    facts->caption = rest.substr(0, zero);
    facts->text = rest.substr(zero + 1);
  }
  return true;
}

const char kProbeNt[] = "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\~GvTestLoginPrivilege";
const char kProbe95[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\~GvTestLoginPrivilege";

bool MachineKeyExists(const char *path) {
  HKEY key;
  if (RegOpenKeyA(HKEY_LOCAL_MACHINE, path, &key) != ERROR_SUCCESS) return false;
  RegCloseKey(key);
  return true;
}

// Both probe keys present, so that the one GvIsPowerUser uses shows by its
// absence afterwards.
bool CreateBothProbeKeys() {
  for (const char *path : {kProbeNt, kProbe95}) {
    HKEY key;
    if (RegCreateKeyA(HKEY_LOCAL_MACHINE, path, &key) != ERROR_SUCCESS) return false;
    RegCloseKey(key);
  }
  return true;
}

void DeleteBothProbeKeys() {
  RegDeleteKeyA(HKEY_LOCAL_MACHINE, kProbeNt);
  RegDeleteKeyA(HKEY_LOCAL_MACHINE, kProbe95);
}

// ---- Version contract ---------------------------------------------------

TEST(KernelVersion, IsTheKernelConstant) {
  EXPECT_EQ(GvKernel_GetVersion(), 0x0100000Cu);
  EXPECT_EQ(GvKernel_GetVersion(), static_cast<DWORD>(GVKERNEL_VERSION));
}

const char kTooOld[] = "The version of the Marrowbeam Kernel is too old.";
const char kIncompatiblePrefix[] =
    "The version of the Marrowbeam Kernel is incompatible with the following client:\n\n";

// Each box costs a round trip through the window manager, so the cases
// that show one are few and each checks several things at once.
struct VersionCase {
  DWORD required;
  int level;
  const char *client;
  bool owned;
  HRESULT result;
  std::string message;  // empty: no box
};

const std::string kLongClient = std::string(120, 'n') + "0123456789" + std::string(170, 'n');

const VersionCase kVersionCases[] = {
    {0x0100000C, 1, "Test Client", false, S_OK, ""},
    {0x00000000, 1, "Test Client", false, S_OK, ""},
    {0x0100000B, 1, nullptr, false, S_OK, ""},
    // Just above the kernel's version, shown over its owner window.
    {0x0100000D, 1, "Test Client", true, E_FAIL, kTooOld},
    // Compared unsigned: a version with the top bit set is newer, not older.
    {0x80000000, 1, "Test Client", false, E_FAIL, kTooOld},
    // The level is tested first; the client name is cut to 127 characters.
    {0x0100000D, 2, kLongClient.c_str(), false, E_FAIL,
     kIncompatiblePrefix + kLongClient.substr(0, 127) + "."},
};

TEST(KernelCheckVersion, AnswersAndTellsTheUserWhy) {
  HWND owner = CreateWindowExA(0, "STATIC", "owner", WS_OVERLAPPED, 0, 0, 50, 50, nullptr,
                               nullptr, nullptr, nullptr);
  ASSERT_NE(owner, nullptr);
  for (size_t i = 0; i < sizeof kVersionCases / sizeof kVersionCases[0]; ++i) {
    const VersionCase &c = kVersionCases[i];
    SCOPED_TRACE(testing::Message() << "case " << i << " required 0x" << std::hex << c.required
                                    << " level " << std::dec << c.level);
    gvtest::MsgBoxCatcher catcher;
    EXPECT_EQ(GvKernel_CheckVersion(c.owned ? owner : nullptr, c.client, c.required, c.level,
                                    0xdeadbeef),
              c.result);
    if (c.message.empty()) {
      EXPECT_TRUE(catcher.Boxes().empty());
      continue;
    }
    ASSERT_EQ(catcher.Boxes().size(), 1u);
    const gvtest::CaughtBox &box = catcher.Boxes()[0];
    EXPECT_EQ(box.caption, "Marrowbeam Kernel");
    EXPECT_TRUE(box.hasIcon);
    EXPECT_EQ(box.text, c.message);
  }
  DestroyWindow(owner);
}

// ---- Command line -------------------------------------------------------

TEST(CommandLineTail, PointsIntoTheProcessCommandLine) {
  const char *line = GetCommandLineA();
  const char *tail = GvGetCommandLine();
  ASSERT_NE(tail, nullptr);
  EXPECT_GE(tail, line);
  EXPECT_LE(tail, line + std::strlen(line));
  EXPECT_EQ(GvGetCommandLine(), tail);
}

struct CommandLineCase {
  const char *line;
  const char *tail;
};

const CommandLineCase kCommandLines[] = {
    // Quoted name with blanks, three blanks, then the argument.
    {"\"C:\\Program Files\\Gv Test\\client app.exe\"   -x", "-x"},
    // Only an unquoted name: the tail is the terminating zero.
    {"client.exe", ""},
    // Tabs and blanks after the name are skipped; blanks at the end are kept.
    {"client.exe\t \targ1  arg2 ", "arg1  arg2 "},
    // The closing quote ends the name even without white space behind it.
    {"\"client.exe\"-q", "-q"},
    // A quote that never closes takes the whole line as the name.
    {"\"C:\\no end\\client.exe -x", ""},
    // Unquoted names end at white space, quotes inside them do not count.
    {"client\"x y\" z", "y\" z"},
};

TEST(CommandLineTail, SkipsTheProgramNameAndTheWhiteSpaceAfterIt) {
  for (size_t i = 0; i < sizeof kCommandLines / sizeof kCommandLines[0]; ++i) {
    const CommandLineCase &c = kCommandLines[i];
    SCOPED_TRACE(testing::Message() << "case " << i << ": " << c.line);
    std::string report;
    ASSERT_TRUE(RunChild(ThisProgram(), c.line, "cmdline", &report));
    size_t newline = report.find('\n');
    size_t zero = report.find('\0');
    ASSERT_TRUE(newline != std::string::npos && zero != std::string::npos && newline < zero);
    ASSERT_EQ(report.substr(newline + 1, zero - newline - 1), c.line)
        << "the child did not see the line it was given";
    EXPECT_EQ(report.substr(zero + 1), c.tail);
    EXPECT_EQ(std::strtol(report.c_str(), nullptr, 10),
              static_cast<long>(std::strlen(c.line) - std::strlen(c.tail)));
  }
}

// ---- Platform queries ---------------------------------------------------

TEST(KernelCheckVersion, RefusesPlatformsBeforeWindows95BeforeAnythingElse) {
  ProgramAsPlatform old("win31");
  std::string report;
  ASSERT_TRUE(old.Run("platform+check", &report));
  PlatformFacts facts;
  ASSERT_TRUE(ParsePlatformReport(report, &facts)) << report;
  if (facts.major >= 4) GTEST_SKIP() << "the platform version could not be changed";
  EXPECT_EQ(facts.result, static_cast<long>(E_FAIL));
  ASSERT_EQ(facts.boxes, 1u);
  EXPECT_EQ(facts.caption, "Marrowbeam Kernel");
  EXPECT_EQ(facts.text, "This product requires Windows 95 or Windows NT 4.0 or later.");
}

TEST(IsWin95, MatchesThePlatformIdAndStaysTheSame) {
  OSVERSIONINFOA os = {};
  os.dwOSVersionInfoSize = sizeof os;
  ASSERT_TRUE(GetVersionExA(&os));
  BOOL expected = os.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS;
  EXPECT_EQ(GvIsWin95(), expected);
  EXPECT_EQ(GvIsWin95(), expected);
}

TEST(IsPowerUser, MatchesMachineWideWriteAccessAndLeavesNoKey) {
  HKEY key;
  bool canWrite = RegCreateKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\GvTestPowerUserProbe", &key) ==
                  ERROR_SUCCESS;
  if (canWrite) {
    RegCloseKey(key);
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\GvTestPowerUserProbe");
  }
  EXPECT_EQ(GvIsPowerUser(), canWrite ? TRUE : FALSE);
  EXPECT_FALSE(MachineKeyExists(GvIsWin95() ? kProbe95 : kProbeNt))
      << "the probe key was left behind";
}

TEST(IsPowerUser, ProbesUnderTheKeyOfThePlatformFamily) {
  if (GvIsWin95() || !CreateBothProbeKeys()) GTEST_SKIP() << "needs an NT-family power user";
  EXPECT_TRUE(GvIsPowerUser());
  EXPECT_FALSE(MachineKeyExists(kProbeNt));
  EXPECT_TRUE(MachineKeyExists(kProbe95));
  DeleteBothProbeKeys();

  ASSERT_TRUE(CreateBothProbeKeys());
  ProgramAsPlatform win95("win95");
  std::string report;
  bool ran = win95.Run("platform", &report);
  bool ntLeft = MachineKeyExists(kProbeNt), win95Left = MachineKeyExists(kProbe95);
  DeleteBothProbeKeys();
  ASSERT_TRUE(ran);
  PlatformFacts facts;
  ASSERT_TRUE(ParsePlatformReport(report, &facts)) << report;
  if (facts.platform != VER_PLATFORM_WIN32_WINDOWS)
    GTEST_SKIP() << "the platform family could not be changed";
  EXPECT_EQ(facts.win95, TRUE);
  EXPECT_EQ(facts.power, TRUE);
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
  EXPECT_EQ(GvKernel_UserPrefChanges(window, WM_GETTEXT, sizeof text,
                                     reinterpret_cast<LPARAM>(text)),
            4);
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

  screen = GetDC(nullptr);
  const struct {
    int x, y;
    COLORREF colour;
  } probes[] = {
      {w / 2, h - 71, RGB(0, 0, 0)},          // top of the frame
      {0, h - 30, RGB(0, 0, 0)},              // left edge of the frame
      {w - 80, h - 30, RGB(0, 0, 0)},         // right edge of the frame
      {w - 82, h - 2, RGB(192, 192, 192)},    // inside, never written
      {w / 2, h - 72, RGB(255, 255, 255)},    // above the frame
      {w - 79, h - 30, RGB(255, 255, 255)},   // right of the frame
  };
  for (const auto &p : probes) {
    SCOPED_TRACE(testing::Message() << "pixel " << p.x << "," << p.y);
    COLORREF got = GetPixel(screen, p.x, p.y);
    if (got == CLR_INVALID) continue;  // a screen that cannot be read back
    EXPECT_EQ(got, p.colour);
  }
  ReleaseDC(nullptr, screen);
}

}  // namespace
