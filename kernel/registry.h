// Registry work behind the registry helpers and self-registration, callable
// inside the library without going through the exports.
#pragma once

#include <windows.h>

namespace gv {

// Subkeys of parent\subKey, 0xFFFFFFFF when it cannot be opened;
// nameBufferSize (may be null) gets the longest name + 1 (1 when not opened).
DWORD SubKeyCount(HKEY parent, const char *subKey, DWORD *nameBufferSize);

// Deletes parent\subKey and everything below it; a Win32 error code.
// subKey must name a key: null or "" would mean parent itself.
LONG DeleteKeyTree(HKEY parent, const char *subKey);

// Registers (or removes) `clsid` as an in-process class of `module` under
// HKEY_CLASSES_ROOT\CLSID; S_OK, or E_FAIL when the CLSID text or key
// cannot be had.
HRESULT RegisterServer(HINSTANCE module, const CLSID &clsid, const char *description,
                       bool doRegister);

}  // namespace gv
