// Language information from a module's version resource, and the rule that
// decides whether a file is taken as a translation.
#include <cstdlib>
#include <cstring>

#include "kernel/gmem.h"
#include "kernel/lang.h"
#include "include/gvnumber.h"

namespace gv {
namespace {

// The character set named at the start of a "GvLangID" text.
DWORD CharSetOf(const char *text) {
  static const char *const kNames[] = {"SBCS", "DBCS", "UNICODE"};
  for (DWORD i = 0; i < 3; ++i)
    if (std::strncmp(text, kNames[i], std::strlen(kNames[i])) == 0) return i + 1;
  return GVLANG_CHARSET_UNKNOWN;
}

bool QueryText(void *block, const char *prefix, const char *key, const char **text) {
  char path[96];
  wsprintfA(path, "%s%s", prefix, key);
  char *value = nullptr;
  UINT length = 0;
  if (!VerQueryValueA(block, path, reinterpret_cast<void **>(&value), &length) || !value ||
      length == 0)
    return false;
  *text = value;
  return true;
}

HRESULT ReadFromBlock(void *block, tGVLANGINFO *info) {
  VS_FIXEDFILEINFO *fixed = nullptr;
  UINT length = 0;
  if (VerQueryValueA(block, "\\", reinterpret_cast<void **>(&fixed), &length) && fixed &&
      length >= sizeof *fixed)
    info->fixed = *fixed;

  WORD *translation = nullptr;
  if (!VerQueryValueA(block, "\\VarFileInfo\\Translation", reinterpret_cast<void **>(&translation),
                      &length) ||
      !translation || length < 4)
    return E_NOTIMPL;
  char prefix[40];
  wsprintfA(prefix, "\\StringFileInfo\\%04hX%04hX\\", translation[0], translation[1]);

  const char *text = nullptr;
  if (QueryText(block, prefix, "GvLangID", &text)) {
    info->dwCharSet = CharSetOf(text);
    if (const char *colon = std::strchr(text, ':')) info->dwLangID = GvHexToDWordToken(colon + 1, nullptr);
  }
  if (!QueryText(block, prefix, "GvLangName", &text)) return E_NOTIMPL;
  lstrcpynA(info->szName, text, sizeof info->szName);
  return S_OK;
}

}  // namespace

HRESULT ReadLangInfo(const char *fileName, tGVLANGINFO *info) {
  std::memset(info, 0, sizeof *info);
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeA(fileName, &ignored);
  if (size == 0) return E_FAIL;
  void *block = GlobalAllocPtr(GMEM_MOVEABLE, size);
  if (!block) return E_NOTIMPL;
  HRESULT hr = E_NOTIMPL;
  if (GetFileVersionInfoA(fileName, 0, size, block)) hr = ReadFromBlock(block, info);
  GlobalFreePtr(block);
  return hr;
}

bool AcceptsTranslation(const tGVLANGINFO &own, const tGVLANGINFO &candidate, DWORD wanted,
                        int charsetRule) {
  if (candidate.fixed.dwProductVersionMS != own.fixed.dwProductVersionMS ||
      candidate.fixed.dwProductVersionLS != own.fixed.dwProductVersionLS)
    return false;
  if (candidate.dwLangID != wanted) return false;
  switch (charsetRule) {
    case 1:
      return candidate.dwCharSet == GVLANG_CHARSET_SBCS;
    case 2:
      return candidate.dwCharSet != GVLANG_CHARSET_UNICODE;
    default:
      return true;
  }
}

}  // namespace gv
