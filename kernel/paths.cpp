// Path strings: the file-name and extension parts, the folder and the root,
// names made safe, and the full path of a name.
#include <cstring>

#include "include/gvpath.h"
#include "kernel/paths.h"

namespace gv {
namespace {

bool IsSeparator(char c) { return c == '\\' || c == ':'; }

// Copies `length` characters of `from` to out when they fit with their
// terminator; returns `length`.
UINT CopyPart(LPCSTR from, UINT length, LPSTR out, UINT size) {
  if (length && length + 1 <= size) {
    std::memcpy(out, from, length);
    out[length] = '\0';
  }
  return length;
}

}  // namespace

// Length of the root of a path, 0 when it has none.
UINT RootLength(LPCSTR path) {
  LPCSTR p = path;
  if (p[0] == '\\' && p[1] == '\\') {
    p += 2;
    for (int part = 0; part < 2; ++part) {  // past the server, then the share
      while (*p && *p != '\\') p = CharNextA(p);
      if (!*p) return 0;
      if (part == 0) ++p;
    }
    return UINT(p - path) + 1;
  }
  while (*p && *p != '\\') p = CharNextA(p);
  return *p ? UINT(p - path) + 1 : 0;
}

}  // namespace gv

GVAPI(LPSTR) GvGetFileNamePtr(LPCSTR path) {
  if (!path) return nullptr;
  LPCSTR name = path;
  for (LPCSTR p = path; *p; p = CharNextA(p))
    if (gv::IsSeparator(*p)) name = p + 1;
  return const_cast<LPSTR>(name);
}

GVAPI(LPSTR) GvGetFileNameExtensionPtr(LPCSTR path) {
  if (!path) return nullptr;
  LPCSTR dot = nullptr, p = path;
  for (; *p; p = CharNextA(p))
    if (*p == '.') dot = p;
  return const_cast<LPSTR>(dot ? dot : p);
}

GVAPI(BOOL) GvValidateFileName(LPSTR name, BOOL repair) {
  if (!name) return FALSE;
  BOOL valid = TRUE;
  for (LPSTR p = name; *p; p = CharNextA(p)) {
    if (!std::strchr("\"/:<>\\|", *p)) continue;
    valid = FALSE;
    if (!repair) break;
    *p = '_';
  }
  return valid;
}

GVAPI(UINT) GvAddSlashToPathName(LPSTR path, UINT size) {
  if (!path || !*path) return 0;
  const UINT length = UINT(std::strlen(path));
  if (length + 2 > size) return 0;
  if (path[length - 1] != '\\') {
    path[length] = '\\';
    path[length + 1] = '\0';
  }
  return length;
}

GVAPI(UINT) GvGetPathNameFromFilePath(LPCSTR filePath, LPSTR out, UINT size) {
  if (out && size) *out = '\0';
  if (!filePath) return 0;
  const UINT length = UINT(GvGetFileNamePtr(filePath) - filePath);
  return out ? gv::CopyPart(filePath, length, out, size) : length;
}

GVAPI(UINT) GvGetRootPathFromFilePath(LPCSTR filePath, LPSTR out, UINT size) {
  if (out && size) *out = '\0';
  if (!filePath) return 0;
  const UINT length = gv::RootLength(filePath);
  return out ? gv::CopyPart(filePath, length, out, size) : length;
}

GVAPI(UINT) GvGetModulePath(HMODULE module, LPSTR out, UINT size) {
  if (out && size) *out = '\0';
  char name[MAX_PATH];
  const DWORD n = GetModuleFileNameA(module, name, MAX_PATH);
  if (!n || n >= MAX_PATH) return 0;
  return GvGetPathNameFromFilePath(name, out, size);
}

GVAPI(BOOL) GvQualifyPath(LPCSTR path, LPSTR out, UINT size) {
  if (!size || !path || !out) return FALSE;
  const DWORD n = GetFullPathNameA(path, size, out, nullptr);
  return n && n <= size;
}
