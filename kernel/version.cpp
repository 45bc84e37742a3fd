// The version contract between the kernel and its clients.
#include <cstdio>
#include <cstring>

#include "kernel/frame.h"
#include "include/gvkernel.h"

GVAPI(DWORD) GvKernel_GetVersion(void) { return gv::kKernelVersion; }

namespace gv {

bool VersionRefusal(DWORD platformMajor, const char *clientName, DWORD requiredVersion,
                    int interfaceLevel, char (&message)[512]) {
  char client[128] = "";
  if (clientName) lstrcpynA(client, clientName, sizeof client);
  if (platformMajor < 4) {
    lstrcpyA(message, "This product requires Windows 95 or Windows NT 4.0 or later.");
  } else if (interfaceLevel != 1) {
    wsprintfA(message,
              "The version of the Marrowbeam Kernel is incompatible with the following "
              "client:\n\n%s.",
              client);
  } else if (requiredVersion > kKernelVersion) {
    lstrcpyA(message, "The version of the Marrowbeam Kernel is too old.");
  } else {
    return false;
  }
  return true;
}

}  // namespace gv

GVAPI(HRESULT) GvKernel_CheckVersion(HWND owner, LPCSTR clientName, DWORD requiredVersion,
                                     int interfaceLevel, DWORD /*reserved*/) {
  OSVERSIONINFOA os = {};
  os.dwOSVersionInfoSize = sizeof os;
  GetVersionExA(&os);
  char message[512];
  if (!gv::VersionRefusal(os.dwMajorVersion, clientName, requiredVersion, interfaceLevel, message))
    return S_OK;
  MessageBoxA(owner, message, gv::kKernelDisplayName, MB_OK | MB_ICONINFORMATION);
  return E_FAIL;
}
