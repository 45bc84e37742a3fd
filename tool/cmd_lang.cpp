// gvtool lang: the language modules beside GVTALC.dll, with the language
// each one carries and whether the library would take it.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstring>
#include <string>

#include "commands.h"

namespace {

void PrintModule(const char *name, const tGVLANGINFO &info, const tGVLANGINFO &own, DWORD wanted,
                 bool isLibrary) {
  static const char *const kCharSets[] = {"unknown", "SBCS", "DBCS", "UNICODE"};
  const VS_FIXEDFILEINFO &v = info.fixed;
  const bool sameVersion = v.dwProductVersionMS == own.fixed.dwProductVersionMS &&
                           v.dwProductVersionLS == own.fixed.dwProductVersionLS;
  const char *note = isLibrary ? "the library's own"
                     : !sameVersion ? "another product version: not used"
                     : info.dwLangID == wanted ? "the wanted language"
                                               : "";
  std::printf("%-20s 0x%04lX  %-7s %u.%u.%u.%u  %s%s%s\n", name,
              static_cast<unsigned long>(info.dwLangID), kCharSets[info.dwCharSet & 3],
              unsigned(HIWORD(v.dwProductVersionMS)), unsigned(LOWORD(v.dwProductVersionMS)),
              unsigned(HIWORD(v.dwProductVersionLS)), unsigned(LOWORD(v.dwProductVersionLS)),
              info.szName,
              *note ? "  -- " : "", note);
}

int RunLang() {
  char path[MAX_PATH];
  HMODULE library = GetModuleHandleA("GVTALC.dll");
  if (!library || !GetModuleFileNameA(library, path, MAX_PATH))
    return gvtool::IoError("GVTALC.dll", GetLastError());
  tGVLANGINFO own;
  HRESULT hr = GvLang_GetVersionInfo(path, &own);
  if (hr != S_OK) {
    gvtool::Error("%s: %s", path, gvtool::HresultReason(hr).c_str());
    return gvtool::kFailed;
  }
  const DWORD wanted = DWORD(GvGetMetricEx(GVMETRIC_KERNEL, 100, 0, 0, GetSystemDefaultLangID()));
  std::printf("wanted language 0x%04lX (kernel setting 100)\n", static_cast<unsigned long>(wanted));
  PrintModule("GVTALC.dll", own, own, wanted, true);

  // The modules the library looks at: GVTALC.* beside it, but programs.
  std::string pattern = path;
  pattern = pattern.substr(0, pattern.find_last_of("\\/") + 1);
  const std::string folder = pattern;
  pattern += "GVTALC.*";
  WIN32_FIND_DATAA found;
  HANDLE search = FindFirstFileA(pattern.c_str(), &found);
  int shown = 0;
  if (search != INVALID_HANDLE_VALUE) {
    do {
      const char *dot = std::strrchr(found.cFileName, '.');
      if (!dot || !_stricmp(dot, ".dll") || !_stricmp(dot, ".exe")) continue;
      tGVLANGINFO info;
      if (GvLang_GetVersionInfo((folder + found.cFileName).c_str(), &info) != S_OK) continue;
      PrintModule(found.cFileName, info, own, wanted, false);
      ++shown;
    } while (FindNextFileA(search, &found));
    FindClose(search);
  }
  if (shown == 0) std::printf("(no language modules beside %s)\n", path);
  return gvtool::kDone;
}

gvtool::Runner Setup(CLI::App &cmd) {
  cmd.footer("A language module is GVTALC.<abbreviation> beside GVTALC.dll. The library\n"
             "takes the first one whose language is kernel setting 100 (the system's\n"
             "default language when unset) and whose product version is its own, when\n"
             "that language is not its own English. The setting is the DWORD value \"100\"\n"
             "under HKCU\\Software\\Marrowbeam\\TALC\\1.0\\Metrics\\Kernel (0x407: German).");
  return RunLang;
}

const gvtool::Registration reg{"lang", "The language modules found beside GVTALC.dll.", Setup};

}  // namespace
