// Recent-file lists kept in the settings of application "TALC", version
// 1.0, one sub-key per list. Nothing is cached: every call opens the list.
#include <cstring>

#include "kernel/gmem.h"
#include "include/gvmetric.h"

namespace {

constexpr DWORD kListVersion = 0x01000000;
constexpr int kCapacityId = 100;
constexpr int kNameId = 1000;
constexpr int kDataId = 2500;
constexpr int kDataSizeId = 3000;
constexpr int kMaxName = 259;

// Opens a list's settings for the life of one call.
class MruList {
 public:
  explicit MruList(LPCSTR listName) {
    result_ = GvMetric_Open(&handle_, "TALC", kListVersion, listName);
  }
  ~MruList() { GvMetric_Close(handle_); }
  MruList(const MruList &) = delete;
  MruList &operator=(const MruList &) = delete;

  HRESULT OpenResult() const { return result_; }
  bool IsOpen() const { return handle_ != nullptr; }
  HGVMETRIC Handle() const { return handle_; }

  int Capacity() const { return GvGetMetricEx(handle_, kCapacityId, 0, 300, 15); }

  // Reads slot i into a 260-byte buffer; returns the name's length (0 when
  // the slot is missing, empty or unreadable).
  int ReadSlot(int i, char (&name)[kMaxName + 1]) const {
    return GvGetMetricStringEx(handle_, kNameId + i, name, sizeof name, nullptr, TRUE);
  }

  // The slot holding `name`. A gap in the list is read again on every
  // remaining pass, so a name behind a gap is not found; callers rely on
  // this lookup as it is.
  int Find(LPCSTR name) const {
    const int n = Capacity();
    char slotName[kMaxName + 1];
    int slot = 0;
    for (int pass = 0; pass < n; ++pass) {
      if (ReadSlot(slot, slotName) <= 0) continue;
      if (lstrcmpiA(slotName, name) == 0) return slot;
      ++slot;
    }
    return -1;
  }

 private:
  HGVMETRIC handle_ = nullptr;
  HRESULT result_;
};

}  // namespace

GVAPI(HRESULT) GvSetMRUNum(LPCSTR listName, int capacity) {
  MruList list(listName);
  if (!list.IsOpen()) return list.OpenResult();
  GvSetMetric(list.Handle(), kCapacityId, static_cast<DWORD>(capacity));
  return 0;
}

GVAPI(int) GvGetMRUNum(LPCSTR listName) {
  MruList list(listName);
  return list.IsOpen() ? list.Capacity() : 0;
}

GVAPI(int) GvLoadMRUNames(LPCSTR listName, LPSTR *names, int maxCount) {
  MruList list(listName);
  if (!list.IsOpen() || !names) return 0;
  const int n = list.Capacity();
  int stored = 0;
  char name[kMaxName + 1];
  for (int i = 0; i < n; ++i) {
    int length = list.ReadSlot(i, name);
    if (length <= 0) continue;
    auto *copy = static_cast<char *>(gv::GlobalAllocPtr(GMEM_MOVEABLE | GMEM_ZEROINIT, length + 1));
    if (!copy) break;
    memcpy(copy, name, length);
    names[stored++] = copy;
    // Tested after the store: a maximum of 0 or less still yields one name.
    if (stored >= maxCount) break;
  }
  return stored;
}

GVAPI(int) GvAddMRUNames(LPCSTR listName, LPCSTR name) {
  // No name at all would push an empty slot to the top and hide the list.
  if (!name) return 0;
  MruList list(listName);
  if (!list.IsOpen()) return 0;
  const int n = list.Capacity();
  char newName[kMaxName + 1];
  lstrcpynA(newName, name, sizeof newName);
  if (n < 1) return 1;

  char carried[kMaxName + 1];
  lstrcpyA(carried, newName);
  char slotName[kMaxName + 1];
  for (int i = 0;; ++i) {
    int length = list.ReadSlot(i, slotName);
    if (length <= 0 || lstrcmpiA(slotName, newName) == 0) {
      GvSetMetricString(list.Handle(), kNameId + i, carried);
      break;
    }
    GvSetMetricString(list.Handle(), kNameId + i, carried);
    lstrcpynA(carried, slotName, sizeof carried);
    if (i + 1 >= n) break;  // the least recent name drops off the end
  }
  return 1;
}

GVAPI(HRESULT) GvSetMRUNamesData(LPCSTR listName, LPCSTR name, const void *data, DWORD size) {
  MruList list(listName);
  if (!list.IsOpen()) return list.OpenResult();
  int slot = name ? list.Find(name) : -1;
  if (slot < 0) return S_OK;
  HRESULT hr = GvSetMetricBinary(list.Handle(), kDataId + slot, data, size);
  GvSetMetric(list.Handle(), kDataSizeId + slot, size);
  return hr;
}

GVAPI(HRESULT) GvGetMRUNamesDataSize(LPCSTR listName, LPCSTR name, DWORD *size) {
  if (size) *size = 0;
  MruList list(listName);
  if (!list.IsOpen()) return list.OpenResult();
  int slot = name ? list.Find(name) : -1;
  // Minimum 0 and maximum -1 clamp every size >= 0 to 0xFFFFFFFF; kept so.
  if (slot >= 0 && size)
    *size = static_cast<DWORD>(GvGetMetricEx(list.Handle(), kDataSizeId + slot, 0, -1, 0));
  return S_OK;
}

GVAPI(DWORD) GvGetMRUNamesData(LPCSTR listName, LPCSTR name, void *buffer, DWORD size) {
  MruList list(listName);
  if (!list.IsOpen()) return 0;
  int slot = name ? list.Find(name) : -1;
  if (slot < 0) return 0;
  return GvGetMetricBinary(list.Handle(), kDataId + slot, buffer, size);
}
