// RIFF bytes built from their parts, and temporary files that hold them.
// No test framework here: bench_riff_mutation uses these too.
#pragma once

#include <windows.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "gvtalc.h"

namespace gvtest {

using Bytes = std::vector<BYTE>;

constexpr DWORD kSentinel = 0xdeadbeef;  // preset into out-parameters

inline DWORD Fcc(const char *s) { return GVRIFF_FOURCC(s[0], s[1], s[2], s[3]); }

inline Bytes Le32(DWORD v) { return Bytes{BYTE(v), BYTE(v >> 8), BYTE(v >> 16), BYTE(v >> 24)}; }

inline Bytes Text(const char *s) { return Bytes(s, s + strlen(s)); }

inline Bytes Concat(std::initializer_list<Bytes> parts) {
  Bytes b;
  for (const Bytes &part : parts) b.insert(b.end(), part.begin(), part.end());
  return b;
}

// n bytes counting up from `first`.
inline Bytes Counting(size_t n, BYTE first = 0) {
  Bytes b(n);
  for (size_t i = 0; i < n; ++i) b[i] = static_cast<BYTE>(first + i);
  return b;
}

// A chunk header with any size field, without data.
inline Bytes Header(const char *id, DWORD size) { return Concat({Bytes(id, id + 4), Le32(size)}); }

// A whole chunk: header, data, pad byte when the size is odd.
inline Bytes Chunk(const char *id, const Bytes &data) {
  return Concat({Header(id, static_cast<DWORD>(data.size())), data, Bytes(data.size() & 1)});
}

// "RIFF" + (4 + body) + form + body.
inline Bytes Riff(const char *form, const Bytes &body) {
  return Concat({Header("RIFF", static_cast<DWORD>(4 + body.size())), Text(form), body});
}

inline Bytes List(const char *type, const Bytes &entries) {
  return Chunk("LIST", Concat({Text(type), entries}));
}

// The 16 bytes of a "fmt " chunk: PCM, 2 channels, 44100 Hz, 16 bits.
inline Bytes PcmFmt() {
  return Concat({Le32(0x00020001), Le32(44100), Le32(44100 * 4), Le32(0x00100004)});
}

// The canonical WAVE file with its 44-byte header: fmt, then data.
inline Bytes CanonicalWave(DWORD dataBytes) {
  return Riff("WAVE", Concat({Chunk("fmt ", PcmFmt()), Chunk("data", Counting(dataBytes))}));
}

// Replaces the whole contents of an open file with b.
inline void Rewrite(HANDLE file, const Bytes &b) {
  DWORD n = 0;
  SetFilePointer(file, 0, nullptr, FILE_BEGIN);
  if (!b.empty()) WriteFile(file, b.data(), static_cast<DWORD>(b.size()), &n, nullptr);
  SetEndOfFile(file);
}

// A file in the temporary folder holding `contents`, deleted on
// destruction, with a handle open for `access` standing at offset `at`.
class TempFile {
 public:
  explicit TempFile(const Bytes &contents = Bytes(), DWORD access = GENERIC_READ | GENERIC_WRITE,
                    uint64_t at = 0) {
    char dir[MAX_PATH], name[MAX_PATH];
    GetTempPathA(MAX_PATH, dir);
    GetTempFileNameA(dir, "gvr", 0, name);  // creates the file, empty
    path_ = name;
    HANDLE h = Open(GENERIC_WRITE);
    Rewrite(h, contents);
    CloseHandle(h);
    handle_ = Open(access);
    Seek(at);
  }
  ~TempFile() {
    CloseHandle(handle_);
    DeleteFileA(path_.c_str());
  }
  TempFile(const TempFile &) = delete;
  TempFile &operator=(const TempFile &) = delete;

  HANDLE handle() const { return handle_; }
  const char *Path() const { return path_.c_str(); }
  uint64_t Pos() const { return Seek(0, FILE_CURRENT); }  // the 64-bit file pointer
  uint64_t Seek(uint64_t to, DWORD method = FILE_BEGIN) const {
    LARGE_INTEGER d, at;
    d.QuadPart = static_cast<LONGLONG>(to);
    at.QuadPart = -1;
    SetFilePointerEx(handle_, d, &at, method);
    return static_cast<uint64_t>(at.QuadPart);
  }

  // The bytes on disk, read through a separate handle.
  Bytes OnDisk() const {
    HANDLE h = Open(GENERIC_READ);
    Bytes b(h == INVALID_HANDLE_VALUE ? 0 : GetFileSize(h, nullptr));
    DWORD n = 0;
    if (!b.empty()) ReadFile(h, b.data(), static_cast<DWORD>(b.size()), &n, nullptr);
    CloseHandle(h);
    b.resize(n);
    return b;
  }

 private:
  HANDLE Open(DWORD access) const {
    return CreateFileA(path_.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  }

  std::string path_;
  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

}  // namespace gvtest
