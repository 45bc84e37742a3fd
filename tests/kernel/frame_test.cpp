// The library frame seen from a client: the version contract and its
// message boxes, the command-line tail, and the platform queries.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "gvtalc.h"
#include "support/msgbox_catcher.h"

namespace {

// A copy of this program started with this variable set writes its command
// line and GvGetCommandLine's answer to the file it names, then exits before
// any test runs.
const char kArgsOutVar[] = "GVTEST_CMDLINE_OUT";

const bool g_childMode = [] {
  char path[MAX_PATH];
  DWORD n = GetEnvironmentVariableA(kArgsOutVar, path, sizeof path);
  if (n == 0 || n >= sizeof path) return false;
  const char *line = GetCommandLineA();
  const char *tail = GvGetCommandLine();
  // Offset of the tail in the line, then the line, then the tail itself.
  char header[32];
  int headerLength = wsprintfA(header, "%ld\n", static_cast<long>(tail - line));
  HANDLE f = CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (f != INVALID_HANDLE_VALUE) {
    DWORD written;
    WriteFile(f, header, headerLength, &written, nullptr);
    WriteFile(f, line, lstrlenA(line) + 1, &written, nullptr);
    WriteFile(f, tail, lstrlenA(tail), &written, nullptr);
    CloseHandle(f);
  }
  ExitProcess(0);
  return true;
}();

struct ChildReport {
  long offset = -1;
  std::string line;
  std::string tail;
};

// Runs this program again under `commandLine` and collects what it reports.
bool RunChild(const std::string &commandLine, ChildReport *report) {
  char exe[MAX_PATH], dir[MAX_PATH], out[MAX_PATH];
  GetModuleFileNameA(nullptr, exe, sizeof exe);
  GetTempPathA(sizeof dir, dir);
  if (!GetTempFileNameA(dir, "gvc", 0, out)) return false;

  std::string mutableLine = commandLine;
  STARTUPINFOA si = {};
  si.cb = sizeof si;
  PROCESS_INFORMATION pi = {};
  SetEnvironmentVariableA(kArgsOutVar, out);
  BOOL started = CreateProcessA(exe, &mutableLine[0], nullptr, nullptr, FALSE, 0, nullptr,
                                nullptr, &si, &pi);
  SetEnvironmentVariableA(kArgsOutVar, nullptr);
  bool ok = false;
  if (started) {
    ok = WaitForSingleObject(pi.hProcess, 20000) == WAIT_OBJECT_0;
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
  }
  HANDLE f = CreateFileA(out, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  std::string all;
  if (f != INVALID_HANDLE_VALUE) {
    char buffer[4096];
    DWORD got = 0;
    while (ReadFile(f, buffer, sizeof buffer, &got, nullptr) && got) all.append(buffer, got);
    CloseHandle(f);
  }
  DeleteFileA(out);
  size_t newline = all.find('\n');
  size_t zero = all.find('\0', newline == std::string::npos ? 0 : newline);
  if (!ok || newline == std::string::npos || zero == std::string::npos) return false;
  report->offset = std::strtol(all.substr(0, newline).c_str(), nullptr, 10);
  report->line = all.substr(newline + 1, zero - newline - 1);
  report->tail = all.substr(zero + 1);
  return true;
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
    ChildReport report;
    ASSERT_TRUE(RunChild(c.line, &report));
    ASSERT_EQ(report.line, c.line) << "the child did not see the line it was given";
    EXPECT_EQ(report.tail, c.tail);
    EXPECT_EQ(report.offset, static_cast<long>(std::strlen(c.line) - std::strlen(c.tail)));
  }
}

// ---- Platform queries ---------------------------------------------------

TEST(IsWin95, MatchesThePlatformIdAndStaysTheSame) {
  OSVERSIONINFOA os = {};
  os.dwOSVersionInfoSize = sizeof os;
  ASSERT_TRUE(GetVersionExA(&os));
  BOOL expected = os.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS;
  EXPECT_EQ(GvIsWin95(), expected);
  EXPECT_EQ(GvIsWin95(), expected);
}

TEST(IsPowerUser, MatchesMachineWideWriteAccessAndLeavesNoKey) {
  const char *probe = GvIsWin95()
                          ? "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\~GvTestLoginPrivilege"
                          : "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\~GvTestLoginPrivilege";
  HKEY key;
  bool canWrite = RegCreateKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\GvTestPowerUserProbe", &key) ==
                  ERROR_SUCCESS;
  if (canWrite) {
    RegCloseKey(key);
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\GvTestPowerUserProbe");
  }
  EXPECT_EQ(GvIsPowerUser(), canWrite ? TRUE : FALSE);
  EXPECT_NE(RegOpenKeyA(HKEY_LOCAL_MACHINE, probe, &key), ERROR_SUCCESS)
      << "the probe key was left behind";
}

}  // namespace
