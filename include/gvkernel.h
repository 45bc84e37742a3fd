/*
 * gvkernel.h -- the library frame: version contract, platform queries,
 * registry helpers, the in-process COM server, the system-colour hook and
 * the on-screen debug text.
 *
 * Threads: nothing here takes a lock. The COM server's object, lock and
 * reference counts are plain increments and decrements, although the class
 * is registered with ThreadingModel "Both": create, lock and release the
 * library's objects from one thread at a time. GvDebugString's strip is
 * shared by the whole process. The version check, the platform queries and
 * the registry helpers keep no state of their own beyond GvIsWin95's
 * remembered answer.
 */
#ifndef GVKERNEL_H
#define GVKERNEL_H

#include "gvdefs.h"
#include <objbase.h>

/* The one COM class of the library, {B4128601-702E-11D1-8253-00009290DD44}.
 * Which object it makes depends on the interface asked for. */
#define GV_CLSID_TALC_INIT \
  { 0xB4128601, 0x702E, 0x11D1, { 0x82, 0x53, 0x00, 0x00, 0x92, 0x90, 0xDD, 0x44 } }
/* IGVKernel, {A602CBB1-7B49-11CE-BF52-00AA001F673C}: the kernel object. */
#define GV_IID_IGVKERNEL_INIT \
  { 0xA602CBB1, 0x7B49, 0x11CE, { 0xBF, 0x52, 0x00, 0xAA, 0x00, 0x1F, 0x67, 0x3C } }
/* The graph builder, {C3B37CF4-E20F-11D0-8212-08002BE5D609}. */
#define GV_IID_IGVGRAPHBUILDER_INIT \
  { 0xC3B37CF4, 0xE20F, 0x11D0, { 0x82, 0x12, 0x08, 0x00, 0x2B, 0xE5, 0xD6, 0x09 } }
/* MIDI synchronisation and time code, {26014346-D5D1-11D0-96DB-08002BE5D609}. */
#define GV_IID_IGVMIDISYNC_INIT \
  { 0x26014346, 0xD5D1, 0x11D0, { 0x96, 0xDB, 0x08, 0x00, 0x2B, 0xE5, 0xD6, 0x09 } }
/* Device objects, {9F5A368D-BC04-11D0-965E-08002BE5D609} and
 * {1405EADA-CBE9-11D0-96C6-08002BE5D609}. */
#define GV_IID_IGVDEVICE1_INIT \
  { 0x9F5A368D, 0xBC04, 0x11D0, { 0x96, 0x5E, 0x08, 0x00, 0x2B, 0xE5, 0xD6, 0x09 } }
#define GV_IID_IGVDEVICE2_INIT \
  { 0x1405EADA, 0xCBE9, 0x11D0, { 0x96, 0xC6, 0x08, 0x00, 0x2B, 0xE5, 0xD6, 0x09 } }

/* The kernel object: the version contract for clients that only have COM. */
#undef INTERFACE
#define INTERFACE IGVKernel
DECLARE_INTERFACE_(IGVKernel, IUnknown)
{
  STDMETHOD(QueryInterface)(THIS_ REFIID iid, void **result) PURE;
  STDMETHOD_(ULONG, AddRef)(THIS) PURE;
  STDMETHOD_(ULONG, Release)(THIS) PURE;
  /* Returns GvKernel_GetVersion(). */
  STDMETHOD_(DWORD, GetVersion)(THIS) PURE;
  /* Same arguments and result as GvKernel_CheckVersion. */
  STDMETHOD(CheckVersion)(THIS_ HWND owner, LPCSTR clientName, DWORD requiredVersion,
                          int interfaceLevel, DWORD reserved) PURE;
};
#undef INTERFACE

/* ---- Version contract -------------------------------------------------- */

/* Always GVKERNEL_VERSION (0x0100000C). */
GVAPI(DWORD) GvKernel_GetVersion(void);

/* Call before anything else, with your product name (at most 127 chars),
 * GVKERNEL_VERSION and GVKERNEL_INTERFACE_LEVEL. Returns S_OK, or E_FAIL
 * after telling the user why in a message box owned by `owner` (platform
 * too old, interface level not 1, or kernel older than requiredVersion).
 * `reserved` is not read. */
GVAPI(HRESULT) GvKernel_CheckVersion(HWND owner, LPCSTR clientName, DWORD requiredVersion,
                                     int interfaceLevel, DWORD reserved);

/* ---- Platform queries -------------------------------------------------- */

/* TRUE on the Windows 95 family. The platform is asked once. */
GVAPI(BOOL) GvIsWin95(void);
/* Pointer into GetCommandLineA() past the program name and the blanks after
 * it; never null (points at the terminator when there are no arguments). */
GVAPI(LPSTR) GvGetCommandLine(void);
/* TRUE when the user may create keys under HKEY_LOCAL_MACHINE. This writes
 * to the registry: it creates the key
 *   HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\~GvTestLoginPrivilege
 * ("Windows" in place of "Windows NT" on the Windows 95 family) and deletes
 * it again. */
GVAPI(BOOL) GvIsPowerUser(void);

/* ---- Registry helpers -------------------------------------------------- */

/* Number of subkeys of parent\subKey, or 0xFFFFFFFF when it cannot be opened.
 * nameBufferSize (may be null) receives the longest subkey name + 1
 * (1 when the key could not be opened). */
GVAPI(DWORD) GvRegGetSubKeyCount(HKEY parent, LPCSTR subKey, DWORD *nameBufferSize);
/* Deletes parent\subKey with all descendants. Returns a Win32 error code
 * (ERROR_SUCCESS on success; ERROR_INVALID_PARAMETER, touching nothing,
 * when subKey is null or empty). */
GVAPI(LONG) GvRegDeleteKey(HKEY parent, LPCSTR subKey);

/* ---- COM server -------------------------------------------------------- */

/* E_ACCESSDENIED when refusing, E_FAIL for an unknown class (not
 * CLASS_E_CLASSNOTAVAILABLE), E_INVALIDARG for a null result, else the
 * factory's QueryInterface result (*result is null on failure). */
GVAPI(HRESULT) DllGetClassObject(REFCLSID clsid, REFIID iid, void **result);
/* S_OK when no object, server lock or other hold is outstanding, else S_FALSE. */
GVAPI(HRESULT) DllCanUnloadNow(void);
/* Does nothing. */
GVAPI(void) DllCanUnloadNowDone(void);
/* Registers / unregisters the library's class ("Marrowbeam TALC"). */
GVAPI(HRESULT) DllRegisterServer(void);
GVAPI(HRESULT) DllUnregisterServer(void);
/* Registers (doRegister TRUE) or removes an in-process class of `module`
 * under HKEY_CLASSES_ROOT\CLSID with ThreadingModel "Both".
 * S_OK, or E_FAIL when the CLSID text or the CLSID key cannot be had. */
GVAPI(HRESULT) GvRegisterServer(HINSTANCE module, const CLSID *clsid, LPCSTR description,
                                BOOL doRegister);

/* ---- System colours and debug text ------------------------------------- */

/* Window procedure: on WM_SYSCOLORCHANGE discards the cached drawing
 * objects and reloads the 47 interface colours from kernel settings
 * 500..546; always returns DefWindowProcA(...). */
GVAPI(LRESULT) GvKernel_UserPrefChanges(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
/* Draws `text` into a strip at the bottom of the screen; newLine moves the
 * cursor to the next line. Returns ReleaseDC's result. */
GVAPI(int) GvDebugString(LPCSTR text, BOOL newLine);

#endif /* GVKERNEL_H */
