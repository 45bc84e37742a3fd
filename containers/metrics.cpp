// Settings in the registry: one key per application, version and section
// under both hives, values named by id and type.
#include <cstdlib>
#include <cstring>

#include "containers/metrics.h"
#include "kernel/frame.h"
#include "include/gvkernel.h"

namespace {

// Handle -1 is the library's own settings handle; null stays null.
tGVMETRICS *Resolve(HGVMETRIC h) {
  return h == GVMETRIC_KERNEL ? gv::g_frame.kernelSettings : h;
}

// The key an id lives in: negative ids are machine-wide.
HKEY KeyFor(const tGVMETRICS *m, int id) { return id < 0 ? m->machineKey : m->userKey; }

// Value name from |id| and the registry type: "S12", "B12", "12" or "Z12".
void ValueName(char (&name)[16], int id, DWORD type) {
  int n = id < 0 ? static_cast<int>(0u - static_cast<unsigned>(id)) : id;
  const char *format = type == REG_SZ ? "S%d" : type == REG_BINARY ? "B%d" : type == REG_DWORD ? "%d" : "Z%d";
  wsprintfA(name, format, n);
}

// Reads a value of the wanted type into buffer; returns the bytes read, 0 on
// any failure (missing, too large, other type, no key).
DWORD Query(const tGVMETRICS *m, int id, DWORD type, void *buffer, DWORD size) {
  HKEY key = KeyFor(m, id);
  if (!key) return 0;
  char name[16];
  ValueName(name, id, type);
  DWORD actualType = 0, bytes = size;
  if (RegQueryValueExA(key, name, nullptr, &actualType, static_cast<BYTE *>(buffer), &bytes) !=
          ERROR_SUCCESS ||
      actualType != type)
    return 0;
  return bytes;
}

HRESULT Write(HGVMETRIC h, int id, DWORD type, const void *data, DWORD size) {
  if (h == GVMETRIC_KERNEL || !h) return E_FAIL;
  HKEY key = KeyFor(h, id);
  if (!key) return E_FAIL;
  char name[16];
  ValueName(name, id, type);
  return RegSetValueExA(key, name, 0, type, static_cast<const BYTE *>(data), size) == ERROR_SUCCESS
             ? S_OK
             : E_FAIL;
}

bool ReadDword(const tGVMETRICS *m, int id, DWORD *value) {
  return Query(m, id, REG_DWORD, value, sizeof *value) == sizeof *value;
}

}  // namespace

namespace gv::metrics {

bool KeyPath(char (&path)[kMaxPath], LPCSTR app, DWORD version, LPCSTR subKey) {
  path[0] = '\0';
  // An empty name would drop a level from the path and land elsewhere.
  if (!app || !*app) return false;
  // Bounding each name first keeps the whole path inside `full` and inside
  // the 1024 characters that wsprintfA writes at most.
  if (lstrlenA(app) >= kMaxPath || (subKey && lstrlenA(subKey) >= kMaxPath)) return false;
  char full[3 * kMaxPath];
  int major = (version >> 24) & 0xFF, minor = (version >> 16) & 0xFF;
  int length = subKey ? wsprintfA(full, "Software\\Marrowbeam\\%s\\%d.%d\\Metrics\\%s", app,
                                  major, minor, subKey)
                      : wsprintfA(full, "Software\\Marrowbeam\\%s\\%d.%d\\Metrics", app, major,
                                  minor);
  // A path cut to fit names another key: the first part of a long name may
  // be another application's, and deleting "its" settings would remove that
  // application's whole tree. Such a name is refused, never cut.
  if (length >= kMaxPath) return false;
  lstrcpyA(path, full);
  return true;
}

}  // namespace gv::metrics

GVAPI(HRESULT) GvMetric_Open(HGVMETRIC *result, LPCSTR app, DWORD version, LPCSTR subKey) {
  if (!result) return E_INVALIDARG;
  *result = nullptr;
  char path[gv::metrics::kMaxPath];
  if (!gv::metrics::KeyPath(path, app, version, subKey)) return E_INVALIDARG;
  auto *m = static_cast<tGVMETRICS *>(calloc(1, sizeof(tGVMETRICS)));
  if (!m) return E_OUTOFMEMORY;
  lstrcpyA(m->machinePath, path);
  lstrcpyA(m->userPath, m->machinePath);
  if (RegCreateKeyA(HKEY_LOCAL_MACHINE, m->machinePath, &m->machineKey) != ERROR_SUCCESS)
    m->machineKey = nullptr;
  if (RegCreateKeyA(HKEY_CURRENT_USER, m->userPath, &m->userKey) != ERROR_SUCCESS)
    m->userKey = nullptr;
  *result = m;
  return S_OK;
}

GVAPI(HRESULT) GvMetric_Close(HGVMETRIC handle) {
  if (handle && handle != GVMETRIC_KERNEL) {
    if (handle->machineKey) RegCloseKey(handle->machineKey);
    if (handle->userKey) RegCloseKey(handle->userKey);
    free(handle);
  }
  return 0;
}

GVAPI(HRESULT) GvMetric_DeleteAll(LPCSTR app, DWORD version) {
  // A name refused for opening has no settings of its own to delete.
  char path[gv::metrics::kMaxPath];
  if (!gv::metrics::KeyPath(path, app, version, nullptr)) return 0;
  GvRegDeleteKey(HKEY_LOCAL_MACHINE, path);
  GvRegDeleteKey(HKEY_CURRENT_USER, path);
  return 0;
}

GVAPI(DWORD) GvGetMetric(HGVMETRIC handle, int id) {
  tGVMETRICS *m = Resolve(handle);
  DWORD v = 0;
  if (!m || !ReadDword(m, id, &v)) return 0;
  return v;
}

GVAPI(int) GvGetMetricEx(HGVMETRIC handle, int id, int minimum, int maximum, int def) {
  tGVMETRICS *m = Resolve(handle);
  if (!m) return def;
  DWORD stored;
  int v = ReadDword(m, id, &stored) ? static_cast<int>(stored) : def;
  if (minimum == maximum) return v;
  if (v < minimum) return minimum;
  if (v > maximum) return maximum;
  return v;
}

GVAPI(int) GvGetMetricBool(HGVMETRIC handle, int id, int def) {
  tGVMETRICS *m = Resolve(handle);
  if (!m) return def;
  DWORD stored;
  int v = ReadDword(m, id, &stored) ? static_cast<int>(stored) : def;
  return v != 0 ? 1 : 0;
}

GVAPI(HRESULT) GvSetMetric(HGVMETRIC handle, int id, DWORD value) {
  return Write(handle, id, REG_DWORD, &value, sizeof value);
}

GVAPI(DWORD) GvGetMetricBinary(HGVMETRIC handle, int id, void *buffer, DWORD size) {
  if (!buffer) return 0;
  tGVMETRICS *m = Resolve(handle);
  DWORD got = m ? Query(m, id, REG_BINARY, buffer, size) : 0;
  memset(static_cast<BYTE *>(buffer) + got, 0, size - got);
  return got;
}

GVAPI(HRESULT) GvSetMetricBinary(HGVMETRIC handle, int id, const void *data, DWORD size) {
  if (!data && size) return E_FAIL;
  return Write(handle, id, REG_BINARY, data, size);
}

GVAPI(int) GvGetMetricStringEx(HGVMETRIC handle, int id, LPSTR buffer, DWORD size, LPCSTR def,
                               BOOL keepEmpty) {
  if (!buffer || size == 0) return 0;
  tGVMETRICS *m = Resolve(handle);
  DWORD got = m ? Query(m, id, REG_SZ, buffer, size) : 0;
  memset(buffer + got, 0, size - got);
  if (got > 1) return static_cast<int>(got - 1);
  if (got == 1 && keepEmpty) return 0;
  if (!def) return 0;
  strncpy(buffer, def, size);
  buffer[size - 1] = '\0';
  return lstrlenA(buffer);
}

GVAPI(HRESULT) GvSetMetricString(HGVMETRIC handle, int id, LPCSTR text) {
  if (!text) text = "";
  return Write(handle, id, REG_SZ, text, lstrlenA(text) + 1);
}

GVAPI(HRESULT) GvDoesMetricExist(HGVMETRIC handle, int id, DWORD type) {
  tGVMETRICS *m = Resolve(handle);
  if (!m || !KeyFor(m, id)) return S_FALSE;
  char name[16];
  ValueName(name, id, type);
  DWORD actualType = 0;
  if (RegQueryValueExA(KeyFor(m, id), name, nullptr, &actualType, nullptr, nullptr) !=
          ERROR_SUCCESS ||
      actualType != type)
    return S_FALSE;
  return S_OK;
}

GVAPI(HRESULT) GvDeleteMetric(HGVMETRIC handle, int id, DWORD type) {
  tGVMETRICS *m = Resolve(handle);
  if (!m || !KeyFor(m, id)) return S_FALSE;
  char name[16];
  ValueName(name, id, type);
  return RegDeleteValueA(KeyFor(m, id), name) == ERROR_SUCCESS ? S_OK : E_FAIL;
}
