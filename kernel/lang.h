// Language handles: the translation chosen for a module, the modules that
// answer resource requests, and the ring that strings are handed out from.
#pragma once

#include <windows.h>

#include "include/gvlang.h"

namespace gv {

struct LangHandle {
  HANDLE ownerThread;      // GetCurrentThread() at opening: a pseudo-handle
  HINSTANCE module;
  HMODULE translation;     // null when the module's own resources are used
  char modulePath[MAX_PATH];
  HINSTANCE search[3];     // translation (if any), module, null
  DWORD ringSize;
  DWORD ringReserve;       // the largest request always served whole
  DWORD ringOffset;
  char *ring;
};

constexpr DWORD kRingReserve = 1024;

// The ring size GvLang_Open makes for a requested size.
DWORD RingSizeFor(DWORD requested);

// The handle behind `language` when the calling thread may use it.
LangHandle *Usable(HANDLE language);

// Reads the language information of a module file (GvLang_GetVersionInfo).
HRESULT ReadLangInfo(const char *fileName, tGVLANGINFO *info);

// Whether a candidate translation is taken for `own` (the module's own
// information) when `wanted` is the language asked for.
bool AcceptsTranslation(const tGVLANGINFO &own, const tGVLANGINFO &candidate, DWORD wanted,
                        int charsetRule);

// The bare file name of the first translation beside modulePath that is
// accepted; false when there is none.
bool FindTranslation(const char *modulePath, DWORD wanted, int charsetRule, char *name,
                     size_t nameSize);

// Opens and closes handles (the exports and the load sequence).
HRESULT OpenLanguage(LangHandle **result, HINSTANCE module, int charsetRule, DWORD ringSize);
void CloseLanguage(LangHandle *handle);

// `bytes` of scratch from the ring, null when it cannot be had.
char *RingArea(LangHandle *handle, DWORD bytes);

// String resource `id` into the ring ("" stored when no module has it).
char *RingString(LangHandle *handle, UINT id);

// LoadStringA over the search list; the length loaded, 0 when none has it.
int LoadStringFrom(LangHandle *handle, UINT id, char *buffer, int size);

// The library's own language handle (null before the load sequence).
LangHandle *OwnLanguage();

}  // namespace gv
