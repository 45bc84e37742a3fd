// Opening a language handle: the wanted language, the search for a
// translation beside the module, and the handle's ring.
#include <cstdlib>
#include <cstring>

#include "kernel/frame.h"
#include "kernel/lang.h"
#include "kernel/loadsteps.h"
#include "include/gvmetric.h"
#include "include/gvpath.h"

namespace gv {
namespace {

constexpr int kWantedLanguageSetting = 100;

LangHandle *g_own = nullptr;

bool IsProgramExtension(const char *name) {
  const char *dot = std::strrchr(name, '.');
  return dot && (_stricmp(dot, ".exe") == 0 || _stricmp(dot, ".dll") == 0);
}

}  // namespace

DWORD RingSizeFor(DWORD requested) {
  if (requested == 0) return 8192;
  return requested <= 2048 ? 2048 : requested;
}

LangHandle *Usable(HANDLE language) {
  LangHandle *handle = static_cast<LangHandle *>(language);
  // The owner is a pseudo-handle, so every thread passes; checked all the same.
  if (!handle || handle->ownerThread != GetCurrentThread()) return nullptr;
  return handle;
}

LangHandle *OwnLanguage() { return g_own; }

bool FindTranslation(const char *modulePath, DWORD wanted, int charsetRule, char *name,
                     size_t nameSize) {
  tGVLANGINFO own;
  ReadLangInfo(modulePath, &own);
  if ((wanted & 0xFFFF) == own.dwLangID) return false;

  char pattern[MAX_PATH + 2];
  lstrcpynA(pattern, modulePath, MAX_PATH);
  char *fileName = GvGetFileNamePtr(pattern);
  char *dot = std::strrchr(fileName, '.');
  if (!dot) dot = fileName + std::strlen(fileName);
  std::strcpy(dot, ".*");
  const size_t folderLength = static_cast<size_t>(fileName - pattern);

  WIN32_FIND_DATAA found;
  HANDLE search = FindFirstFileA(pattern, &found);
  if (search == INVALID_HANDLE_VALUE) return false;
  bool accepted = false;
  do {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) || IsProgramExtension(found.cFileName))
      continue;
    char path[MAX_PATH * 2];
    std::memcpy(path, pattern, folderLength);
    lstrcpynA(path + folderLength, found.cFileName, MAX_PATH);
    tGVLANGINFO candidate;
    if (ReadLangInfo(path, &candidate) != S_OK) continue;
    if (AcceptsTranslation(own, candidate, wanted, charsetRule)) {
      lstrcpynA(name, found.cFileName, static_cast<int>(nameSize));
      accepted = true;
    }
  } while (!accepted && FindNextFileA(search, &found));
  FindClose(search);
  return accepted;
}

HRESULT OpenLanguage(LangHandle **result, HINSTANCE module, int charsetRule, DWORD ringSize) {
  *result = nullptr;
  char path[MAX_PATH];
  if (GetModuleFileNameA(module, path, MAX_PATH) == 0) return E_FAIL;
  LangHandle *handle = static_cast<LangHandle *>(std::calloc(1, sizeof(LangHandle)));
  if (!handle) return E_OUTOFMEMORY;
  handle->ownerThread = GetCurrentThread();
  handle->module = module;
  lstrcpynA(handle->modulePath, path, MAX_PATH);
  handle->ringSize = RingSizeFor(ringSize);
  handle->ringReserve = kRingReserve;
  handle->ring = static_cast<char *>(std::calloc(1, handle->ringSize));
  if (!handle->ring) {
    CloseLanguage(handle);
    return E_OUTOFMEMORY;
  }

  const DWORD wanted = static_cast<DWORD>(
      GvGetMetricEx(GVMETRIC_KERNEL,
                    kWantedLanguageSetting, 0, 0, GetSystemDefaultLangID()));
  char name[MAX_PATH];
  // The bare name: the module search finds it beside the program.
  if (FindTranslation(path, wanted, charsetRule, name, sizeof name))
    handle->translation = LoadLibraryA(name);

  int n = 0;
  if (handle->translation) handle->search[n++] = handle->translation;
  handle->search[n] = module;
  *result = handle;
  return S_OK;
}

void CloseLanguage(LangHandle *handle) {
  if (!handle) return;
  if (handle->translation) FreeLibrary(handle->translation);
  std::free(handle->ring);
  std::free(handle);
}

HRESULT Language_OpenOwn(void **handle, HINSTANCE module) {
  LangHandle *own = nullptr;
  const HRESULT hr = OpenLanguage(&own, module, 1, 0);
  g_own = own;
  *handle = own;
  return hr;
}

void Language_Close(void *handle) {
  if (handle == g_own) g_own = nullptr;
  CloseLanguage(static_cast<LangHandle *>(handle));
}

}  // namespace gv

GVAPI(HRESULT) GvLang_Open(HANDLE *result, HINSTANCE module, int charsetRule, DWORD ringSize) {
  if (!result) return E_INVALIDARG;
  gv::LangHandle *handle = nullptr;
  const HRESULT hr = gv::OpenLanguage(&handle, module, charsetRule, ringSize);
  *result = handle;
  return hr;
}

GVAPI(HRESULT) GvLang_Close(HANDLE language) {
  if (!language) return S_OK;
  gv::LangHandle *handle = gv::Usable(language);
  if (!handle) return E_FAIL;
  gv::CloseLanguage(handle);
  return S_OK;
}

GVAPI(HRESULT) GvLang_GetVersionInfo(LPCSTR fileName, tGVLANGINFO *info) {
  if (!fileName || !info) return E_INVALIDARG;
  return gv::ReadLangInfo(fileName, info);
}
