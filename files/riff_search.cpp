// riff_ searches: chunks and lists by identifier within a byte budget.
#include "files/riff_io.h"

using namespace gv::riff;

namespace {

HRESULT FindChunk(HANDLE file, DWORD id, DWORD *size, LONG *remaining) {
  LONG budget = remaining ? *remaining : 0;
  for (;;) {
    if (remaining && budget < 8) {
      *remaining = budget;
      return GVRIFF_E_NOTFOUND;
    }
    Header h;
    HRESULT hr = ReadHeader(file, &h);
    if (hr != S_OK) return hr;
    budget = Spend(budget, 8);
    if (h.id == id) {
      if (size) *size = h.size;
      if (remaining) *remaining = budget;
      return S_OK;
    }
    if (h.got == 0) {
      // At or past the end of the file every further header reads as an
      // empty zero chunk that does not move the file: the search cannot
      // match any more, so spend the rest of the budget 8 bytes at a time in
      // one step (without a budget it would never end).
      if (remaining) *remaining = budget % 8;
      return GVRIFF_E_NOTFOUND;
    }
    uint64_t padded = PaddedSize(h.size);
    SeekBy(file, static_cast<int64_t>(padded));
    budget = Spend(budget, padded);
  }
}

HRESULT FindList(HANDLE file, DWORD listType, DWORD *size, LONG *remaining) {
  uint64_t lastStart = ~uint64_t{0};
  LONG lastBudget = 0;
  for (;;) {
    // A file whose last four bytes are "LIST" brings the search back to
    // where it was: the size and type read as zero and the skip steps back
    // over the identifier. Every round then costs the same; without a budget
    // the search could never end, with one the rounds that the budget pays
    // for in full are taken in one step.
    uint64_t start = Tell(file);
    if (start == lastStart) {
      if (!remaining) return GVRIFF_E_NOTFOUND;
      int64_t cost = int64_t{lastBudget} - *remaining;
      int64_t budget = *remaining;
      if (cost > 0 && budget >= cost + 8) {
        budget -= (budget - (cost + 8)) / cost * cost;
        *remaining = static_cast<LONG>(budget);
      }
    }
    lastStart = start;
    lastBudget = remaining ? *remaining : 0;

    DWORD listSize = 0;
    HRESULT hr = FindChunk(file, GVRIFF_ID_LIST, &listSize, remaining);
    if (hr != S_OK) return hr;
    if (remaining && *remaining < 4) return GVRIFF_E_NOTFOUND;
    DWORD type = 0;
    if (!ReadBytes(file, &type, 4, nullptr)) return GVRIFF_E_READ;
    if (remaining) *remaining = Spend(*remaining, 4);
    if (type == listType) {
      if (size) *size = listSize - 4;
      return S_OK;
    }
    // The rounded size includes the 4 type bytes already taken: each skipped
    // list costs the budget 4 bytes more than it occupies. Callers rely on
    // this count. A list smaller than its type moves back to its true end.
    uint64_t rounded = PaddedSize(listSize);
    SeekBy(file, static_cast<int64_t>(rounded) - 4);
    if (remaining) *remaining = Spend(*remaining, rounded);
  }
}

// Reads the RIFF header from offset 0; *budget = RIFF size - 4.
HRESULT StartAtFileID(HANDLE file, LONG *budget) {
  SeekTo(file, 0);
  DWORD rest = 0;
  HRESULT hr = riff_ReadFileID(file, &rest, nullptr);
  *budget = static_cast<LONG>(rest);
  return hr;
}

}  // namespace

GVAPI(HRESULT) riff_FindChunkHeader(HANDLE file, DWORD id, DWORD *size, LONG *remaining) {
  return FindChunk(file, id, size, remaining);
}

GVAPI(HRESULT) riff_FindChunkHeaderInRIFF(HANDLE file, DWORD id, DWORD *size,
                                          LONG *remaining) {
  LONG budget = 0;
  HRESULT hr = StartAtFileID(file, &budget);
  if (hr != S_OK) return hr;
  DWORD found = 0;
  hr = FindChunk(file, id, &found, &budget);
  if (remaining) *remaining = budget;
  if (hr == S_OK && size) *size = found;
  return hr;
}

GVAPI(HRESULT) riff_FindListChunk(HANDLE file, DWORD listType, DWORD *size, LONG *remaining) {
  return FindList(file, listType, size, remaining);
}

GVAPI(HRESULT) riff_FindListChunkFromStart(HANDLE file, DWORD listType, DWORD *size) {
  LONG budget = 0;
  HRESULT hr = StartAtFileID(file, &budget);
  if (hr != S_OK) return hr;
  DWORD found = 0;
  hr = FindList(file, listType, &found, &budget);
  if (hr == S_OK && size) *size = found;
  return hr;
}

GVAPI(LONG) riff_GetNumListEntries(HANDLE file, LONG *remaining) {
  PositionKeeper keep(file);
  LONG count = 0;
  while (!remaining || *remaining >= 8) {
    Header h;
    HRESULT hr = ReadHeader(file, &h);
    if (remaining) *remaining = Spend(*remaining, 8);
    if (hr != S_OK) return hr;
    if (h.got == 0) {
      // At the end of the file each further header is an empty zero chunk
      // that stays put: count the ones the budget still pays for at once.
      if (!remaining) return count;
      count += 1 + *remaining / 8;
      *remaining %= 8;
      return count;
    }
    uint64_t padded = PaddedSize(h.size);
    SeekBy(file, static_cast<int64_t>(padded));
    if (remaining) *remaining = Spend(*remaining, padded);
    ++count;
  }
  return count;
}
