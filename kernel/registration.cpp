// Self-registration of in-process COM classes under HKEY_CLASSES_ROOT\CLSID.
#include "kernel/registry.h"

#include "include/gvkernel.h"

namespace gv {

HRESULT RegisterServer(HINSTANCE module, const CLSID &clsid, const char *description,
                       bool doRegister) {
  WCHAR wide[256];
  char text[42];
  if (!StringFromGUID2(clsid, wide, 256)) return E_FAIL;
  if (!WideCharToMultiByte(CP_ACP, 0, wide, -1, text, sizeof text, nullptr, nullptr))
    return E_FAIL;

  HKEY clsidRoot;
  if (RegOpenKeyA(HKEY_CLASSES_ROOT, "CLSID", &clsidRoot) != ERROR_SUCCESS) return E_FAIL;
  char present[260];
  LONG presentSize = sizeof present;
  RegQueryValueA(clsidRoot, text, present, &presentSize);  // read, not used

  if (doRegister) {
    HKEY classKey;
    if (RegCreateKeyA(clsidRoot, text, &classKey) != ERROR_SUCCESS) {
      RegCloseKey(clsidRoot);
      return E_FAIL;
    }
    const char *desc = description ? description : "";
    RegSetValueA(classKey, nullptr, REG_SZ, desc, lstrlenA(desc));
    char path[260] = "";
    GetModuleFileNameA(module, path, sizeof path);
    RegSetValueA(classKey, "InProcServer32", REG_SZ, path, lstrlenA(path));
    HKEY server;
    if (RegOpenKeyA(classKey, "InProcServer32", &server) == ERROR_SUCCESS) {
      RegSetValueExA(server, "ThreadingModel", 0, REG_SZ,
                     reinterpret_cast<const BYTE *>("Both"), 5);
      RegCloseKey(server);
    }
    RegCloseKey(classKey);
  } else {
    DeleteKeyTree(clsidRoot, text);
  }
  RegFlushKey(clsidRoot);
  RegCloseKey(clsidRoot);
  return S_OK;
}

}  // namespace gv

GVAPI(HRESULT) GvRegisterServer(HINSTANCE module, const CLSID *clsid, LPCSTR description,
                                BOOL doRegister) {
  if (!clsid) return E_FAIL;
  return gv::RegisterServer(module, *clsid, description, doRegister != FALSE);
}
