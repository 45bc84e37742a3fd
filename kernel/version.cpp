// The version contract between the kernel and its clients.
#include <cstdio>
#include <cstring>

#include "kernel/frame.h"
#include "include/gvkernel.h"

GVAPI(DWORD) GvKernel_GetVersion(void) { return gv::kKernelVersion; }

GVAPI(HRESULT) GvKernel_CheckVersion(HWND owner, LPCSTR clientName, DWORD requiredVersion,
                                     int interfaceLevel, DWORD /*reserved*/) {
  char client[128] = "";
  if (clientName) lstrcpynA(client, clientName, sizeof client);
  char message[512];

  OSVERSIONINFOA os = {};
  os.dwOSVersionInfoSize = sizeof os;
  GetVersionExA(&os);

  if (os.dwMajorVersion < 4) {
    lstrcpyA(message, "This product requires Windows 95 or Windows NT 4.0 or later.");
  } else if (interfaceLevel != 1) {
    wsprintfA(message,
              "The version of the Marrowbeam Kernel is incompatible with the following "
              "client:\n\n%s.",
              client);
  } else if (requiredVersion > gv::kKernelVersion) {
    lstrcpyA(message, "The version of the Marrowbeam Kernel is too old.");
  } else {
    return S_OK;
  }
  MessageBoxA(owner, message, gv::kKernelDisplayName, MB_OK | MB_ICONINFORMATION);
  return E_FAIL;
}
