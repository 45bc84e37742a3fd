// Mutation stress for the riff_ searches: a valid WAVE file (fmt, LIST INFO,
// data) is damaged by bit flips, byte changes, insertions, deletions,
// truncation and odd size values, with a fixed seed, and every search is run
// on it from the start with budgets. Shared by the test suite (a short run)
// and bench_riff_mutation (the full run). Header-only; uses the exports only.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "gvtalc.h"

namespace gvtest::riffmut {

// splitmix64: the same sequence on every platform and compiler.
class Rng {
 public:
  explicit Rng(uint64_t seed) : state_(seed) {}
  uint32_t Next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return static_cast<uint32_t>((z ^ (z >> 31)) >> 32);
  }
  uint32_t Below(uint32_t n) { return n ? Next() % n : 0; }

 private:
  uint64_t state_;
};

inline void PutLe32(std::vector<BYTE> &b, DWORD v) {
  for (int i = 0; i < 4; ++i) b.push_back(static_cast<BYTE>(v >> (8 * i)));
}

inline void PutChunk(std::vector<BYTE> &b, const char *id, const std::vector<BYTE> &data) {
  b.insert(b.end(), id, id + 4);
  PutLe32(b, static_cast<DWORD>(data.size()));
  b.insert(b.end(), data.begin(), data.end());
  if (data.size() & 1) b.push_back(0);
}

// RIFF WAVE: "fmt " (16), LIST INFO with an odd and an even item, "data" (99).
inline std::vector<BYTE> BaseWave() {
  std::vector<BYTE> fmt;
  PutLe32(fmt, 0x00020001);  // PCM, 2 channels
  PutLe32(fmt, 44100);
  PutLe32(fmt, 44100 * 4);
  PutLe32(fmt, 0x00100004);  // block align 4, 16 bits
  std::vector<BYTE> info{'I', 'N', 'F', 'O'};
  PutChunk(info, "INAM", std::vector<BYTE>{'T', 'o', 'n', 'e', 0});
  PutChunk(info, "ICMT", std::vector<BYTE>{'m', 'u', 't', 'a', 't', 'e', 'd', 0});
  std::vector<BYTE> data(99);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<BYTE>(i * 7);
  std::vector<BYTE> body{'W', 'A', 'V', 'E'};
  PutChunk(body, "fmt ", fmt);
  PutChunk(body, "LIST", info);
  PutChunk(body, "data", data);
  std::vector<BYTE> file;
  PutChunk(file, "RIFF", body);
  return file;
}

// Applies one to four random damages.
inline void Mutate(std::vector<BYTE> &b, Rng &rng) {
  static const DWORD kOddSizes[] = {0,          1,          2,          3,          4,
                                    7,          8,          0x7FFFFFFF, 0x80000000, 0xFFFFFFFF,
                                    0xFFFFFFF8, 0xFFFFFFFC, 0x7FFFFFF8, 0x00010000};
  static const size_t kSizeFields[] = {4, 16, 40, 44, 52, 66, 82};  // of BaseWave
  int ops = 1 + static_cast<int>(rng.Below(4));
  for (int op = 0; op < ops; ++op) {
    uint32_t n = static_cast<uint32_t>(b.size());
    switch (rng.Below(6)) {
      case 0:  // flip one bit
        if (n) b[rng.Below(n)] ^= static_cast<BYTE>(1u << rng.Below(8));
        break;
      case 1:  // change one byte
        if (n) b[rng.Below(n)] = static_cast<BYTE>(rng.Next());
        break;
      case 2: {  // insert 1..8 random bytes
        uint32_t at = rng.Below(n + 1), count = 1 + rng.Below(8);
        BYTE extra[8];
        for (uint32_t k = 0; k < count; ++k) extra[k] = static_cast<BYTE>(rng.Next());
        b.insert(b.begin() + at, extra, extra + count);
        break;
      }
      case 3: {  // delete 1..8 bytes
        if (!n) break;
        uint32_t at = rng.Below(n), count = 1 + rng.Below(8);
        if (count > n - at) count = n - at;
        b.erase(b.begin() + at, b.begin() + at + count);
        break;
      }
      case 4:  // truncate
        b.resize(rng.Below(n + 1));
        break;
      default: {  // an odd value in a size field, or anywhere
        size_t at = rng.Below(2) ? kSizeFields[rng.Below(7)] : rng.Below(n);
        DWORD v = rng.Below(4) ? kOddSizes[rng.Below(14)] : rng.Next();
        for (int i = 0; i < 4 && at + i < b.size(); ++i) b[at + i] = static_cast<BYTE>(v >> (8 * i));
        break;
      }
    }
  }
}

struct Stats {
  uint64_t variants = 0;
  uint64_t searches = 0;     // timed search calls
  uint64_t found = 0;        // searches that returned 0
  uint64_t unexpected = 0;   // results outside the documented set
  std::string firstUnexpected;
  double longestSearchMs = 0;
  uint64_t longestVariant = 0;
  uint64_t allocations = 0;  // successful riff_ReadDataAlloc calls
  DWORD largestAllocation = 0;
};

// The variant being searched, for crash and hang reports.
inline volatile LONG64 g_currentVariant = -1;
// QueryPerformanceCounter at the start of the running search (0 when none).
inline volatile LONG64 g_searchStart = 0;

class Runner {
 public:
  explicit Runner(HANDLE file) : file_(file) {
    LARGE_INTEGER f;
    QueryPerformanceFrequency(&f);
    ticksPerMs_ = static_cast<double>(f.QuadPart) / 1000.0;
  }

  const Stats &stats() const { return stats_; }

  // Writes the variant to the file and runs every search on it.
  void RunVariant(const std::vector<BYTE> &bytes, uint64_t index) {
    g_currentVariant = static_cast<LONG64>(index);
    SetFilePointer(file_, 0, nullptr, FILE_BEGIN);
    DWORD n = 0;
    if (!bytes.empty()) WriteFile(file_, bytes.data(), static_cast<DWORD>(bytes.size()), &n, nullptr);
    SetEndOfFile(file_);
    ++stats_.variants;
    index_ = index;
    Searches();
  }

 private:
  static bool IsReadResult(HRESULT hr) {
    return hr == S_OK || hr == GVRIFF_E_READ || hr == GVRIFF_E_NOTFOUND || hr == GVRIFF_E_NOTRIFF;
  }

  void Check(bool ok, const char *what, HRESULT hr) {
    if (ok) return;
    if (!stats_.unexpected++) {
      char text[160];
      wsprintfA(text, "variant %lu: %s returned 0x%08lX", static_cast<unsigned long>(index_), what,
                static_cast<unsigned long>(hr));
      stats_.firstUnexpected = text;
    }
  }

  template <typename F>
  HRESULT Timed(F f) {
    LARGE_INTEGER a, b;
    QueryPerformanceCounter(&a);
    g_searchStart = a.QuadPart;
    HRESULT hr = f();
    QueryPerformanceCounter(&b);
    g_searchStart = 0;
    double ms = static_cast<double>(b.QuadPart - a.QuadPart) / ticksPerMs_;
    if (ms > stats_.longestSearchMs) {
      stats_.longestSearchMs = ms;
      stats_.longestVariant = index_;
    }
    ++stats_.searches;
    if (hr == S_OK) ++stats_.found;
    return hr;
  }

  void ReadAlloc(DWORD size) {
    tGVRIFFDATA rec;
    rec.size = size;
    rec.data = reinterpret_cast<void *>(static_cast<uintptr_t>(0xdeadbeef));
    HRESULT hr = riff_ReadDataAlloc(file_, &rec);
    Check(hr == S_OK || hr == GVRIFF_E_READ || hr == E_OUTOFMEMORY, "riff_ReadDataAlloc", hr);
    Check(hr == S_OK ? (size == 0) == (rec.data == nullptr) : rec.data == nullptr,
          "riff_ReadDataAlloc data", hr);
    if (rec.data) {
      ++stats_.allocations;
      if (size > stats_.largestAllocation) stats_.largestAllocation = size;
      HGLOBAL h = GlobalHandle(rec.data);
      Check(GlobalSize(h) >= size, "riff_ReadDataAlloc block size", hr);
      GlobalUnlock(h);
      GlobalFree(h);
    }
  }

  void Searches() {
    const DWORD kFmt = GVRIFF_FOURCC('f', 'm', 't', ' ');
    const DWORD kData = GVRIFF_FOURCC('d', 'a', 't', 'a');
    const DWORD kInfo = GVRIFF_FOURCC('I', 'N', 'F', 'O');
    const DWORD kNone = GVRIFF_FOURCC('z', 'z', 'z', 'z');
    BYTE buffer[256];
    DWORD size = 0;
    LONG left = 0;

    riff_RestoreLocation(file_, 0);
    DWORD riffRest = 0, form = 0;
    HRESULT id = riff_ReadFileID(file_, &riffRest, &form);
    Check(id == S_OK || id == GVRIFF_E_READ || id == GVRIFF_E_NOTRIFF, "riff_ReadFileID", id);

    HRESULT hr = Timed([&] { return riff_FindChunkHeaderInRIFF(file_, kFmt, &size, &left); });
    Check(IsReadResult(hr), "riff_FindChunkHeaderInRIFF(fmt)", hr);
    if (hr == S_OK) {
      DWORD at = 0;
      riff_SaveLocation(file_, &at);
      ReadAlloc(size);
      riff_RestoreLocation(file_, at);
      hr = riff_ReadDataBounded(file_, buffer, sizeof buffer, size);
      Check(hr == S_OK || hr == GVRIFF_E_READ, "riff_ReadDataBounded(fmt)", hr);
    }

    hr = Timed([&] { return riff_FindChunkHeaderInRIFF(file_, kData, &size, &left); });
    Check(IsReadResult(hr), "riff_FindChunkHeaderInRIFF(data)", hr);
    if (hr == S_OK) ReadAlloc(size);

    hr = Timed([&] { return riff_FindChunkHeaderInRIFF(file_, kNone, &size, &left); });
    Check(hr != S_OK && IsReadResult(hr), "riff_FindChunkHeaderInRIFF(zzzz)", hr);

    hr = Timed([&] { return riff_FindListChunkFromStart(file_, kInfo, &size); });
    Check(IsReadResult(hr), "riff_FindListChunkFromStart(INFO)", hr);
    if (hr == S_OK) {
      DWORD entries = 0;
      riff_SaveLocation(file_, &entries);
      LONG copy = static_cast<LONG>(size);
      LONG count = Timed([&] { return static_cast<HRESULT>(riff_GetNumListEntries(file_, &copy)); });
      Check(count >= 0 || count == GVRIFF_E_READ, "riff_GetNumListEntries(INFO)", count);
      DWORD back = 0;
      riff_SaveLocation(file_, &back);
      Check(back == entries, "riff_GetNumListEntries position", count);
      const DWORD items[] = {GVRIFF_FOURCC('I', 'N', 'A', 'M'), GVRIFF_FOURCC('I', 'C', 'M', 'T')};
      for (DWORD item : items) {
        riff_RestoreLocation(file_, entries);
        LONG budget = static_cast<LONG>(size);
        DWORD itemSize = 0;
        hr = Timed([&] { return riff_FindChunkHeader(file_, item, &itemSize, &budget); });
        Check(IsReadResult(hr) && hr != GVRIFF_E_NOTRIFF, "riff_FindChunkHeader(item)", hr);
        if (hr == S_OK) ReadAlloc(itemSize);
      }
    }

    if (id == S_OK) {
      riff_SeekDataStart(file_);
      LONG budget = static_cast<LONG>(riffRest);
      hr = Timed([&] {
        return riff_FindListChunk(file_, GVRIFF_FOURCC('D', 'I', 'S', 'P'), &size, &budget);
      });
      Check(IsReadResult(hr) && hr != GVRIFF_E_NOTRIFF, "riff_FindListChunk(DISP)", hr);

      riff_SeekDataStart(file_);
      budget = static_cast<LONG>(riffRest);
      LONG count = Timed([&] { return static_cast<HRESULT>(riff_GetNumListEntries(file_, &budget)); });
      Check(count >= 0 || count == GVRIFF_E_READ, "riff_GetNumListEntries(RIFF)", count);
      Check(budget < 8, "riff_GetNumListEntries budget", count);

      riff_SeekDataStart(file_);
      DWORD listType = 0, listSize = 0;
      hr = riff_ReadListHeader(file_, &listType, &listSize);
      Check(hr == S_OK || hr == GVRIFF_E_READ || hr == GVRIFF_E_NOTLIST, "riff_ReadListHeader", hr);
    }
  }

  HANDLE file_;
  double ticksPerMs_ = 1;
  Stats stats_;
  uint64_t index_ = 0;
};

// Runs `count` variants of BaseWave from `seed` on `file` (opened for
// reading and writing; its contents are replaced).
inline Stats Run(HANDLE file, uint64_t seed, uint64_t count) {
  Runner runner(file);
  Rng rng(seed);
  const std::vector<BYTE> base = BaseWave();
  for (uint64_t i = 0; i < count; ++i) {
    std::vector<BYTE> bytes = base;
    Mutate(bytes, rng);
    runner.RunVariant(bytes, i);
  }
  g_currentVariant = -1;
  return runner.stats();
}

}  // namespace gvtest::riffmut
