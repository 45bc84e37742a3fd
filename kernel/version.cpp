// The version contract between the kernel and its clients.
#include <cstdio>
#include <cstring>

#include "kernel/frame.h"
#include "kernel/lang.h"
#include "include/gvkernel.h"

GVAPI(DWORD) GvKernel_GetVersion(void) { return gv::kKernelVersion; }

namespace gv {
namespace {

// The library's own strings (kernel/strings.rc, translated beside the DLL).
enum : UINT { kNeedsWindows = 32003, kIncompatible = 32004, kTooOld = 32005, kCaption = 32006 };

// String `id` in the library's language; the English text when no module
// has it (before the load sequence, or in a build without the resources).
void OwnText(UINT id, const char *english, char *buffer, int size) {
  LangHandle *own = OwnLanguage();
  if (!own || !LoadStringFrom(own, id, buffer, size)) lstrcpynA(buffer, english, size);
}

}  // namespace

bool VersionRefusal(DWORD platformMajor, const char *clientName, DWORD requiredVersion,
                    int interfaceLevel, char (&message)[512]) {
  char client[128] = "";
  if (clientName) lstrcpynA(client, clientName, sizeof client);
  if (platformMajor < 4) {
    OwnText(kNeedsWindows, "This product requires Windows 95 or Windows NT 4.0 or later.", message,
            sizeof message);
  } else if (interfaceLevel != 1) {
    char format[256];
    OwnText(kIncompatible,
            "The version of the Marrowbeam Kernel is incompatible with the following client:"
            "\n\n%s.",
            format, sizeof format);
    wsprintfA(message, format, client);
  } else if (requiredVersion > kKernelVersion) {
    OwnText(kTooOld, "The version of the Marrowbeam Kernel is too old.", message, sizeof message);
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
  char caption[64];
  gv::OwnText(gv::kCaption, gv::kKernelDisplayName, caption, sizeof caption);
  MessageBoxA(owner, message, caption, MB_OK | MB_ICONINFORMATION);
  return E_FAIL;
}
