// Process-wide state of the library frame: one instance, set up by the load
// sequence and torn down by the unload sequence (kernel/dllmain.cpp).
#pragma once

#include "include/gvmetric.h"

namespace gv {

struct FrameState {
  HINSTANCE module = nullptr;
  HGVMETRIC kernelSettings = nullptr;  // application "TALC", section "Kernel"
  void *languageModule = nullptr;      // the library's own language handle
  void *scratch = nullptr;             // 128 KiB work area of the peak drawing
  DWORD scratchSize = 0;
  LONG liveObjects = 0;                // COM objects handed out, not released
  LONG serverLocks = 0;                // net LockServer(TRUE) calls
  LONG otherHolds = 0;                 // nothing changes it; consulted all the same
  BOOL refuseClassObjects = FALSE;     // nothing sets it
};

extern FrameState g_frame;

constexpr DWORD kKernelVersion = 0x0100000C;
constexpr char kKernelDisplayName[] = "Marrowbeam Kernel";
constexpr char kComDescription[] = "Marrowbeam TALC";
constexpr DWORD kScratchSize = 0x20000;

// True when nothing holds the server: no live object, no lock.
bool CanUnloadServer();

// Called by each object the server hands out when its last reference goes.
LONG ObjectReleased();

// The version contract on a platform of major version `platformMajor`:
// false when the client may go on, else true with the text to show in
// `message`.
bool VersionRefusal(DWORD platformMajor, const char *clientName, DWORD requiredVersion,
                    int interfaceLevel, char (&message)[512]);

// Where a command line's arguments start: past the program name (quoted or
// up to white space) and the white space behind it.
char *CommandLineTail(char *line);

// Whether a key can be made under HKEY_LOCAL_MACHINE, probed with a key
// under the "Windows" (win95) or "Windows NT" branch that is deleted again.
BOOL IsPowerUser(bool win95);

}  // namespace gv
