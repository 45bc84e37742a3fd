// Platform queries: Windows 95 family, command-line arguments, power user.
#include <cctype>

#include "kernel/frame.h"
#include "include/gvkernel.h"

namespace {
BOOL g_isWin95 = FALSE;
bool g_platformAsked = false;
}  // namespace

GVAPI(BOOL) GvIsWin95(void) {
  if (!g_platformAsked) {
    OSVERSIONINFOA os = {};
    os.dwOSVersionInfoSize = sizeof os;
    GetVersionExA(&os);
    g_isWin95 = os.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS;
    g_platformAsked = true;
  }
  return g_isWin95;
}

namespace gv {

char *CommandLineTail(char *p) {
  if (*p == '"') {
    ++p;
    while (*p && *p != '"') ++p;
    if (*p == '"') ++p;
  } else {
    while (*p && !isspace(static_cast<unsigned char>(*p))) ++p;
  }
  while (*p && isspace(static_cast<unsigned char>(*p))) ++p;
  return p;
}

BOOL IsPowerUser(bool win95) {
  char path[260];
  wsprintfA(path, "SOFTWARE\\Microsoft\\%s\\CurrentVersion\\~GvTestLoginPrivilege",
            win95 ? "Windows" : "Windows NT");
  HKEY key;
  if (RegCreateKeyA(HKEY_LOCAL_MACHINE, path, &key) != ERROR_SUCCESS) return FALSE;
  RegDeleteKeyA(HKEY_LOCAL_MACHINE, path);
  RegFlushKey(key);
  RegCloseKey(key);
  return TRUE;
}

}  // namespace gv

GVAPI(LPSTR) GvGetCommandLine(void) { return gv::CommandLineTail(GetCommandLineA()); }

GVAPI(BOOL) GvIsPowerUser(void) { return gv::IsPowerUser(GvIsWin95() != FALSE); }
