// Peak files: names beside the source or in the temporary folder, creating
// and opening with their validity rules, and finishing with the stamp.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "files/peak.h"
#include "include/gvmetric.h"
#include "include/gvpath.h"

namespace gv::peak {
namespace {

constexpr char kExtension[] = ".gvk";

// The name beside the source: its extension replaced by (or followed by)
// ".gvk", then the index when it is 0 or more. False when it does not fit.
bool NameBeside(LPCSTR source, int index, char *out, size_t size) {
  char name[MAX_PATH];
  lstrcpynA(name, source, 256);  // at most 255 characters of the source
  char *dot = GvGetFileNameExtensionPtr(name);
  if (*dot && dot < GvGetFileNamePtr(name)) dot = name + std::strlen(name);  // a folder's dot
  *dot = '\0';
  const int n = index >= 0 ? std::snprintf(out, size, "%s%s%d", name, kExtension, index)
                           : std::snprintf(out, size, "%s%s", name, kExtension);
  return n > 0 && size_t(n) < size;
}

HANDLE CreateNamed(const char *name, DWORD disposition) {
  return CreateFileA(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, disposition,
                     FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
}

bool WriteHeader(HANDLE file, const tGVPEAKHEADER &h) {
  DWORD put = 0;
  return SetFilePointer(file, 0, nullptr, FILE_BEGIN) == 0 &&
         WriteFile(file, &h, sizeof h, &put, nullptr) && put == sizeof h;
}

// Creates the file under `name` with the header; a failed header write
// deletes the half-made file.
bool CreateWithHeader(tGVAUDIOPEAK &p, const char *name, DWORD disposition) {
  HANDLE file = CreateNamed(name, disposition);
  if (file == INVALID_HANDLE_VALUE) return false;
  if (!WriteHeader(file, p.header)) {
    CloseHandle(file);
    DeleteFileA(name);
    return false;
  }
  lstrcpynA(p.peakName, name, MAX_PATH);
  p.file = file;
  return true;
}

// "FPEAK000.TMP" .. "FPEAK999.TMP" in the temporary folder: the first name
// not taken, created new.
bool CreateTemporary(tGVAUDIOPEAK &p) {
  char dir[MAX_PATH];
  if (p.tempDir[0]) lstrcpynA(dir, p.tempDir, MAX_PATH);
  else if (!GetTempPathA(MAX_PATH, dir)) return false;
  GvAddSlashToPathName(dir, MAX_PATH);
  for (unsigned i = 0; i < 1000; ++i) {
    char name[MAX_PATH + 16];
    std::snprintf(name, sizeof name, "%sFPEAK%.03u.TMP", dir, i);
    if (GetFileAttributesA(name) != INVALID_FILE_ATTRIBUTES) continue;
    return CreateWithHeader(p, name, CREATE_NEW);
  }
  return false;
}

// The file holds every element its header counts.
bool ElementsFit(HANDLE file, const tGVPEAKHEADER &h, DWORD elementSize) {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file, &size)) return false;
  const uint64_t elements = Frames(h) / h.nFramesPerElement + (Frames(h) % h.nFramesPerElement != 0);
  return uint64_t(size.QuadPart) >= h.dwDataOffset + elements * elementSize;
}

tGVAUDIOPEAK *NewRecord(DWORD channels, LPCSTR source, LPCSTR tempDir) {
  if (!channels || channels > kMaxChannels) return nullptr;
  auto *p = static_cast<tGVAUDIOPEAK *>(std::calloc(1, sizeof(tGVAUDIOPEAK)));
  if (!p) return nullptr;
  p->file = INVALID_HANDLE_VALUE;
  if (source) lstrcpynA(p->sourceName, source, MAX_PATH);
  if (tempDir) lstrcpynA(p->tempDir, tempDir, MAX_PATH);
  p->halfElement = 2 * channels;
  p->elementSize = 4 * channels;
  p->cacheFirst = 0xFFFFFFFF;
  p->cacheBytes = sizeof p->cache;
  p->cacheCapacity = p->cacheBytes / p->elementSize;
  return p;
}

void Destroy(tGVAUDIOPEAK *p) {
  if (p->file != INVALID_HANDLE_VALUE) CloseHandle(p->file);
  std::free(p);
}

}  // namespace

uint64_t Frames(const tGVPEAKHEADER &h) { return uint64_t(h.dwFramesHigh) << 32 | h.dwFramesLow; }

void SetFrames(tGVPEAKHEADER &h, uint64_t frames) {
  h.dwFramesLow = DWORD(frames);
  h.dwFramesHigh = DWORD(frames >> 32);
}

bool FlushCache(tGVAUDIOPEAK &p) {
  if (!p.cacheDirty || !p.cacheCount) return true;
  HANDLE file = p.file;
  if (file == INVALID_HANDLE_VALUE) file = CreateNamed(p.peakName, OPEN_ALWAYS);
  if (file == INVALID_HANDLE_VALUE) return false;
  LARGE_INTEGER at;
  at.QuadPart = p.header.dwDataOffset + LONGLONG(p.cacheFirst) * p.elementSize;
  DWORD put = 0;
  const DWORD bytes = p.cacheCount * p.elementSize;
  const bool ok = SetFilePointerEx(file, at, nullptr, FILE_BEGIN) &&
                  WriteFile(file, p.cache, bytes, &put, nullptr) && put == bytes;
  if (file != p.file) CloseHandle(file);
  if (ok) p.cacheDirty = 0;
  return ok;
}

}  // namespace gv::peak

using namespace gv::peak;

GVAPI(HRESULT) GvPeak_CreateDirectPeakName(LPCSTR pszSource, LPSTR pszOut, UINT cchOut) {
  if (!pszSource || !pszOut) return E_INVALIDARG;
  return NameBeside(pszSource, -1, pszOut, cchOut) ? S_OK : E_INVALIDARG;
}

GVAPI(HRESULT) GvPeak_FreeEx(tGVAUDIOPEAK *p, BOOL bDiscard) {
  if (!p) return S_OK;
  // Cached elements and the stamped header go through the handle when it
  // is open for writing, else through one opened for them.
  FlushCache(*p);
  if (!p->temporary && !bDiscard && p->peakName[0]) {
    const DWORD stamp = GvDosGetDateTime(p->sourceName);
    if (p->modified || stamp != p->header.dwSourceStamp) {
      p->header.dwSourceStamp = stamp;
      if (p->file == INVALID_HANDLE_VALUE || !WriteHeader(p->file, p->header)) {
        GvPeak_PeakFileClose(p);
        HANDLE file = CreateNamed(p->peakName, OPEN_EXISTING);
        if (file != INVALID_HANDLE_VALUE) {
          WriteHeader(file, p->header);
          CloseHandle(file);
        }
      }
    }
  }
  GvPeak_PeakFileClose(p);
  if ((p->temporary || bDiscard) && p->peakName[0]) DeleteFileA(p->peakName);
  std::free(p);
  return S_OK;
}

GVAPI(int) GvPeak_CreateExNew(tGVAUDIOPEAK **ppPeak, DWORD nChannels, BOOL bTemporaryOnly,
                              LPCSTR pszSource, int index, LPCSTR pszTempDir) {
  if (!ppPeak) return -1;
  GvPeak_FreeEx(*ppPeak, FALSE);
  *ppPeak = nullptr;
  tGVAUDIOPEAK *p = NewRecord(nChannels, pszSource, pszTempDir);
  if (!p) return -1;
  tGVPEAKHEADER &h = p->header;
  h.dwMagic = GVPEAK_MAGIC;
  h.dwVersion = kVersion;
  h.dwDataOffset = kHeaderSize;
  h.dwBitsPerValue = 16;
  h.nChannels = nChannels;
  h.nFramesPerElement = 1u << GvGetMetricEx(GVMETRIC_KERNEL, 200, 6, 12, 8);
  p->modified = 1;
  char name[MAX_PATH];
  if (!bTemporaryOnly && pszSource && NameBeside(pszSource, index, name, sizeof name) &&
      CreateWithHeader(*p, name, CREATE_ALWAYS)) {
    p->temporary = 0;
  } else if (CreateTemporary(*p)) {
    p->temporary = 1;
  } else {
    Destroy(p);
    return -1;
  }
  *ppPeak = p;
  return 0;
}

GVAPI(int) GvPeak_CreateEx(tGVAUDIOPEAK **ppPeak, DWORD nChannels, BOOL bTemporaryOnly,
                           LPCSTR pszSource, LPCSTR pszTempDir) {
  return GvPeak_CreateExNew(ppPeak, nChannels, bTemporaryOnly, pszSource, -1, pszTempDir);
}

GVAPI(int) GvPeak_OpenExistingExNew(tGVAUDIOPEAK **ppPeak, DWORD nChannels, LPCSTR pszSource,
                                    int index, LPCSTR pszTempDir, ULONGLONG sourceFrames,
                                    BOOL bReadOnly) {
  if (!ppPeak) return -1;
  GvPeak_FreeEx(*ppPeak, FALSE);
  *ppPeak = nullptr;
  if (!pszSource) return -1;
  tGVAUDIOPEAK *p = NewRecord(nChannels, pszSource, pszTempDir);
  if (!p) return -1;
  char name[MAX_PATH];
  if (NameBeside(pszSource, index, name, sizeof name)) {
    lstrcpynA(p->peakName, name, MAX_PATH);
    p->file = CreateFileA(name, bReadOnly ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE, 0,
                          nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  }
  DWORD got = 0;
  const tGVPEAKHEADER &h = p->header;
  const bool valid =
      p->file != INVALID_HANDLE_VALUE && ReadFile(p->file, &p->header, kHeaderSize, &got, nullptr) &&
      got == kHeaderSize && h.dwMagic == GVPEAK_MAGIC && h.dwVersion <= kVersion &&
      h.dwDataOffset >= kHeaderSize && h.dwSourceStamp == GvDosGetDateTime(pszSource) &&
      h.dwBitsPerValue == 16 && h.nChannels == nChannels && Frames(h) == sourceFrames &&
      h.nFramesPerElement >= 1 && ElementsFit(p->file, h, p->elementSize);
  if (!valid) {
    Destroy(p);
    return -1;
  }
  p->temporary = 0;
  *ppPeak = p;
  return 0;
}

GVAPI(int) GvPeak_OpenExistingEx(tGVAUDIOPEAK **ppPeak, DWORD nChannels, LPCSTR pszSource,
                                 LPCSTR pszTempDir, ULONGLONG sourceFrames, BOOL bReadOnly) {
  return GvPeak_OpenExistingExNew(ppPeak, nChannels, pszSource, -1, pszTempDir, sourceFrames,
                                  bReadOnly);
}

GVAPI(DWORD) GvPeak_GetCellsPerElementEx(const tGVAUDIOPEAK *p) {
  return p ? p->header.nFramesPerElement : 0;
}

GVAPI(BOOL) GvPeak_IsPeakTemporary(const tGVAUDIOPEAK *p) { return p ? p->temporary : FALSE; }

GVAPI(HRESULT) GvPeak_GetHeader(const tGVAUDIOPEAK *p, tGVPEAKHEADER *pHeader) {
  if (!p || !pHeader) return E_INVALIDARG;
  *pHeader = p->header;
  return S_OK;
}

GVAPI(LPCSTR) GvPeak_GetFileName(const tGVAUDIOPEAK *p) { return p ? p->peakName : nullptr; }

GVAPI(HRESULT) GvPeak_PeakFileOpen(tGVAUDIOPEAK *p, DWORD access) {
  if (!p) return E_FAIL;
  if (p->file != INVALID_HANDLE_VALUE) return S_OK;
  p->file = CreateFileA(p->peakName, access, 0, nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN,
                        nullptr);
  return p->file != INVALID_HANDLE_VALUE ? S_OK : E_FAIL;
}

GVAPI(HRESULT) GvPeak_PeakFileClose(tGVAUDIOPEAK *p) {
  if (p && p->file != INVALID_HANDLE_VALUE) {
    CloseHandle(p->file);
    p->file = INVALID_HANDLE_VALUE;
  }
  return S_OK;
}
