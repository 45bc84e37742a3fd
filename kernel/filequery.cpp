// File queries: existence, the packed MS-DOS stamp of the last write, the
// packed local time, and free space on a volume.
#include <string>

#include "include/gvpath.h"
#include "kernel/paths.h"

namespace gv {
namespace {

using DiskFreeSpaceEx = BOOL(WINAPI *)(LPCSTR, PULARGE_INTEGER, PULARGE_INTEGER, PULARGE_INTEGER);

// GetDiskFreeSpaceExA, looked up once; null when the platform lacks it.
DiskFreeSpaceEx FreeSpaceEx() {
  static const DiskFreeSpaceEx fn = reinterpret_cast<DiskFreeSpaceEx>(
      reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleA("KERNEL32"), "GetDiskFreeSpaceExA")));
  return fn;
}

bool FreeBytes(const std::string &root, double *bytes) {
  if (DiskFreeSpaceEx fn = FreeSpaceEx()) {
    ULARGE_INTEGER available, total, free;
    if (!fn(root.c_str(), &available, &total, &free)) return false;
    *bytes = double(available.QuadPart);
    return true;
  }
  DWORD sectorsPerCluster, bytesPerSector, freeClusters, clusters;
  if (!GetDiskFreeSpaceA(root.c_str(), &sectorsPerCluster, &bytesPerSector, &freeClusters,
                         &clusters))
    return false;
  *bytes = double(freeClusters) * sectorsPerCluster * bytesPerSector;
  return true;
}

}  // namespace
}  // namespace gv

GVAPI(BOOL) GvDoesFileExist(LPCSTR fileName) {
  if (!fileName) return FALSE;
  HANDLE h = CreateFileA(fileName, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return FALSE;
  CloseHandle(h);
  return TRUE;
}

GVAPI(DWORD) GvDosGetDateTime(LPCSTR fileName) {
  if (!fileName) return 0;
  HANDLE h = CreateFileA(fileName, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return 0;
  FILETIME written, local;
  WORD date = 0, time = 0;
  if (GetFileTime(h, nullptr, nullptr, &written) && FileTimeToLocalFileTime(&written, &local))
    FileTimeToDosDateTime(&local, &date, &time);
  CloseHandle(h);
  return DWORD(time) << 16 | date;
}

GVAPI(HRESULT) GvGetDateTime(tGVDATETIME *pNow) {
  if (!pNow) return S_OK;
  SYSTEMTIME t;
  GetLocalTime(&t);
  pNow->dwDate = DWORD(t.wMonth) << 24 | DWORD(t.wDay) << 16 | t.wYear;
  pNow->dwTime = DWORD(t.wHour) << 24 | DWORD(t.wMinute) << 16 | DWORD(t.wSecond) << 8 |
                 (t.wMilliseconds / 10);
  return S_OK;
}

GVAPI(DWORD) GvGetDiskFreeSpace(LPCSTR path, DWORD unit) {
  const UINT root = path ? gv::RootLength(path) : 0;
  double bytes = 0;
  if (root && gv::FreeBytes(std::string(path, root), &bytes)) {
    const double value = unit ? bytes / unit : bytes;
    return value <= 4294967295.0 ? DWORD(value) : 0xFFFFFFFF;
  }
  // A network volume whose space cannot be asked counts as unlimited.
  return (root && path[0] == '\\' && path[1] == '\\') ? 0xFFFFFFFF : 0;
}
