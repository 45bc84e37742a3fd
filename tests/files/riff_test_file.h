// Temporary files and RIFF byte builders for the riff_ tests.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "gvtalc.h"
#include "support/cases.h"

namespace gvtest {

using Bytes = std::vector<BYTE>;

constexpr DWORD kSentinel = 0xdeadbeef;  // preset into out-parameters

inline DWORD Fcc(const char *s) { return GVRIFF_FOURCC(s[0], s[1], s[2], s[3]); }

inline void Le32(Bytes &b, DWORD v) {
  for (int i = 0; i < 4; ++i) b.push_back(static_cast<BYTE>(v >> (8 * i)));
}

inline void Append(Bytes &b, const Bytes &more) { b.insert(b.end(), more.begin(), more.end()); }

inline Bytes Concat(std::initializer_list<Bytes> parts) {
  Bytes b;
  for (const Bytes &part : parts) Append(b, part);
  return b;
}

// A chunk header with any size field, without data.
inline Bytes Header(const char *id, DWORD size) {
  Bytes b(id, id + 4);
  Le32(b, size);
  return b;
}

// A whole chunk: header, data, pad byte when the size is odd.
inline Bytes Chunk(const char *id, const Bytes &data) {
  return Concat({Header(id, static_cast<DWORD>(data.size())), data, Bytes(data.size() & 1)});
}

inline Bytes Text(const char *s) { return Bytes(s, s + strlen(s)); }

// "RIFF" + (4 + body) + form + body.
inline Bytes Riff(const char *form, const Bytes &body) {
  return Concat({Header("RIFF", static_cast<DWORD>(4 + body.size())), Bytes(form, form + 4), body});
}

inline Bytes List(const char *type, const Bytes &entries) {
  return Chunk("LIST", Concat({Bytes(type, type + 4), entries}));
}

// The canonical 44-byte-header WAVE file: fmt (16 bytes PCM), data.
inline Bytes CanonicalWave(DWORD dataBytes) {
  Bytes fmt;
  for (DWORD v : {0x00020001u, 44100u, 44100u * 4, 0x00100004u}) Le32(fmt, v);
  Bytes data(dataBytes);
  for (DWORD i = 0; i < dataBytes; ++i) data[i] = static_cast<BYTE>(i);
  return Riff("WAVE", Concat({Chunk("fmt ", fmt), Chunk("data", data)}));
}

// A file in the temporary folder, deleted on destruction, with a handle
// open for reading and writing (or only `access`), at offset `at`.
class TempFile {
 public:
  explicit TempFile(const Bytes &contents = Bytes(), DWORD access = GENERIC_READ | GENERIC_WRITE,
                    uint64_t at = 0) {
    char dir[MAX_PATH], name[MAX_PATH];
    GetTempPathA(MAX_PATH, dir);
    GetTempFileNameA(dir, "gvr", 0, name);  // creates the file, empty
    path_ = name;
    HANDLE h = Open(GENERIC_WRITE);
    DWORD n = 0;
    if (!contents.empty())
      WriteFile(h, contents.data(), static_cast<DWORD>(contents.size()), &n, nullptr);
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
  uint64_t Pos() const { return Move(0, FILE_CURRENT); }  // 64-bit offset of the file pointer
  void Seek(uint64_t offset) const { Move(offset, FILE_BEGIN); }

  // The bytes on disk, read through a separate handle.
  Bytes OnDisk() const {
    HANDLE h = Open(GENERIC_READ);
    Bytes b;
    if (h == INVALID_HANDLE_VALUE) return b;
    b.resize(GetFileSize(h, nullptr));
    DWORD n = 0;
    if (!b.empty()) ReadFile(h, b.data(), static_cast<DWORD>(b.size()), &n, nullptr);
    b.resize(n);
    CloseHandle(h);
    return b;
  }

 private:
  HANDLE Open(DWORD access) const {
    return CreateFileA(path_.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  uint64_t Move(uint64_t by, DWORD method) const {
    LARGE_INTEGER d, at;
    d.QuadPart = static_cast<LONGLONG>(by);
    at.QuadPart = -1;
    SetFilePointerEx(handle_, d, &at, method);
    return static_cast<uint64_t>(at.QuadPart);
  }

  std::string path_;
  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

}  // namespace gvtest
