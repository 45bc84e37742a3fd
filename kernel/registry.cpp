// Registry helpers shared by self-registration and the settings store.
#include "kernel/registry.h"

#include "include/gvkernel.h"

namespace gv {

DWORD SubKeyCount(HKEY parent, const char *subKey, DWORD *nameBufferSize) {
  if (nameBufferSize) *nameBufferSize = 1;
  HKEY key;
  if (RegOpenKeyExA(parent, subKey, 0, KEY_READ, &key) != ERROR_SUCCESS) return 0xFFFFFFFF;
  char className[260];
  DWORD classSize = sizeof className;
  DWORD subKeys = 0, longestName = 0;
  if (RegQueryInfoKeyA(key, className, &classSize, nullptr, &subKeys, &longestName, nullptr,
                       nullptr, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
    subKeys = 0;
    longestName = 0;
  }
  RegCloseKey(key);
  if (nameBufferSize) *nameBufferSize = longestName + 1;
  return subKeys;
}

LONG DeleteKeyTree(HKEY parent, const char *subKey) {
  for (;;) {
    const DWORD n = SubKeyCount(parent, subKey, nullptr);
    if (n != 0) {
      HKEY key;
      const LONG err = RegOpenKeyA(parent, subKey, &key);
      if (err != ERROR_SUCCESS) return err;
      char name[260];
      // Deleting while enumerating upwards skips every second subkey; the
      // outer loop comes back for those.
      for (DWORD i = 0; i < n; ++i) {
        DWORD size = sizeof name;
        if (RegEnumKeyExA(key, i, name, &size, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
          break;
        DeleteKeyTree(key, name);
      }
      RegFlushKey(key);
      RegCloseKey(key);
    }
    const LONG result = RegDeleteKeyA(parent, subKey);
    RegFlushKey(parent);
    HKEY again;
    if (RegOpenKeyA(parent, subKey, &again) != ERROR_SUCCESS) return result;
    RegCloseKey(again);
    // A key that survives a pass without losing a subkey (access denied,
    // say) would be retried forever; report the failure instead.
    if (result != ERROR_SUCCESS && SubKeyCount(parent, subKey, nullptr) >= n) return result;
  }
}

}  // namespace gv

GVAPI(DWORD) GvRegGetSubKeyCount(HKEY parent, LPCSTR subKey, DWORD *nameBufferSize) {
  return gv::SubKeyCount(parent, subKey, nameBufferSize);
}

GVAPI(LONG) GvRegDeleteKey(HKEY parent, LPCSTR subKey) {
  // No name would open `parent` itself and empty everything below it.
  if (!subKey || !*subKey) return ERROR_INVALID_PARAMETER;
  return gv::DeleteKeyTree(parent, subKey);
}
