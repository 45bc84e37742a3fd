// Recent-file lists kept in the settings of application "TALC", version
// 1.0, one sub-key per list. Nothing is cached: every call opens the list.
#include <cstring>

#include "containers/mru.h"
#include "kernel/gmem.h"

namespace {

constexpr DWORD kListVersion = 0x01000000;
constexpr int kCapacityId = 100;
constexpr int kNameId = 1000;
constexpr int kDataId = 2500;
constexpr int kDataSizeId = 3000;

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
  HGVMETRIC Handle() const { return handle_; }

 private:
  HGVMETRIC handle_ = nullptr;
  HRESULT result_;
};

// Reads slot i; returns the name's length (0 when the slot is missing, empty
// or unreadable).
int ReadSlot(HGVMETRIC h, int i, char (&name)[gv::mru::kMaxName + 1]) {
  return GvGetMetricStringEx(h, kNameId + i, name, sizeof name, nullptr, TRUE);
}

}  // namespace

namespace gv::mru {

int Capacity(HGVMETRIC h) { return GvGetMetricEx(h, kCapacityId, 0, 300, 15); }

int Find(HGVMETRIC h, LPCSTR name) {
  // A gap is read again on every remaining pass, so a name behind a gap is
  // not found; callers rely on this lookup as it is.
  const int n = Capacity(h);
  char slotName[kMaxName + 1];
  int slot = 0;
  for (int pass = 0; pass < n; ++pass) {
    if (ReadSlot(h, slot, slotName) <= 0) continue;
    if (lstrcmpiA(slotName, name) == 0) return slot;
    ++slot;
  }
  return -1;
}

void Add(HGVMETRIC h, LPCSTR name) {
  const int n = Capacity(h);
  if (n < 1) return;
  char newName[kMaxName + 1], carried[kMaxName + 1], slotName[kMaxName + 1];
  lstrcpynA(newName, name, sizeof newName);
  lstrcpyA(carried, newName);
  for (int i = 0;; ++i) {
    int length = ReadSlot(h, i, slotName);
    GvSetMetricString(h, kNameId + i, carried);
    if (length <= 0 || lstrcmpiA(slotName, newName) == 0) break;
    lstrcpynA(carried, slotName, sizeof carried);
    if (i + 1 >= n) break;  // the least recent name drops off the end
  }
}

int Load(HGVMETRIC h, LPSTR *names, int maxCount) {
  const int n = Capacity(h);
  int stored = 0;
  char name[kMaxName + 1];
  for (int i = 0; i < n; ++i) {
    int length = ReadSlot(h, i, name);
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

}  // namespace gv::mru

// Every export opens the list, so a list name whose key path does not fit
// is refused by GvMetric_Open (E_INVALIDARG) and nothing is read or written.

GVAPI(HRESULT) GvSetMRUNum(LPCSTR listName, int capacity) {
  MruList list(listName);
  if (!list.Handle()) return list.OpenResult();
  GvSetMetric(list.Handle(), kCapacityId, static_cast<DWORD>(capacity));
  return S_OK;
}

GVAPI(int) GvGetMRUNum(LPCSTR listName) {
  MruList list(listName);
  return list.Handle() ? gv::mru::Capacity(list.Handle()) : 0;
}

GVAPI(int) GvLoadMRUNames(LPCSTR listName, LPSTR *names, int maxCount) {
  if (!names) return 0;
  MruList list(listName);
  return list.Handle() ? gv::mru::Load(list.Handle(), names, maxCount) : 0;
}

GVAPI(int) GvAddMRUNames(LPCSTR listName, LPCSTR name) {
  // No name at all would push an empty slot to the top and hide the list.
  if (!name) return 0;
  MruList list(listName);
  if (!list.Handle()) return 0;
  gv::mru::Add(list.Handle(), name);
  return 1;
}

GVAPI(HRESULT) GvSetMRUNamesData(LPCSTR listName, LPCSTR name, const void *data, DWORD size) {
  MruList list(listName);
  if (!list.Handle()) return list.OpenResult();
  int slot = name ? gv::mru::Find(list.Handle(), name) : -1;
  if (slot < 0) return S_OK;
  HRESULT hr = GvSetMetricBinary(list.Handle(), kDataId + slot, data, size);
  GvSetMetric(list.Handle(), kDataSizeId + slot, size);
  return hr;
}

GVAPI(HRESULT) GvGetMRUNamesDataSize(LPCSTR listName, LPCSTR name, DWORD *size) {
  if (size) *size = 0;
  MruList list(listName);
  if (!list.Handle()) return list.OpenResult();
  int slot = name ? gv::mru::Find(list.Handle(), name) : -1;
  // Minimum 0 and maximum -1 clamp every size >= 0 to 0xFFFFFFFF; kept so.
  if (slot >= 0 && size)
    *size = static_cast<DWORD>(GvGetMetricEx(list.Handle(), kDataSizeId + slot, 0, -1, 0));
  return S_OK;
}

GVAPI(DWORD) GvGetMRUNamesData(LPCSTR listName, LPCSTR name, void *buffer, DWORD size) {
  MruList list(listName);
  if (!list.Handle()) return 0;
  int slot = name ? gv::mru::Find(list.Handle(), name) : -1;
  if (slot < 0) return 0;
  return GvGetMetricBinary(list.Handle(), kDataId + slot, buffer, size);
}
