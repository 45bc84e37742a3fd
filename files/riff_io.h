// Raw file access shared by the riff_ functions: reads that report how many
// bytes arrived, 64-bit seeks, and the family's result codes.
#pragma once

#include <cstdint>

#include "include/gvriff.h"

namespace gv::riff {

// Reads up to `size` bytes; the bytes that did not arrive are zeroed so that
// a short read at the end of a file never leaves stale values behind.
// Returns false only when ReadFile itself fails. *got receives the count.
bool ReadBytes(HANDLE file, void *buffer, DWORD size, DWORD *got);
bool WriteBytes(HANDLE file, const void *buffer, DWORD size);

// Moves by a signed 64-bit distance from the current position, or to an
// absolute offset. Sizes of up to 2^32 bytes move forward as they are.
bool SeekBy(HANDLE file, int64_t distance);
bool SeekTo(HANDLE file, uint64_t offset);
uint64_t Tell(HANDLE file);

// A chunk header as read: `got` is the number of header bytes that arrived
// (0 when the file is at or past its end).
struct Header {
  DWORD id = 0;
  DWORD size = 0;
  DWORD got = 0;
};
HRESULT ReadHeader(HANDLE file, Header *header);

// size + (size & 1) without losing the 33rd bit.
inline uint64_t PaddedSize(DWORD size) { return uint64_t{size} + (size & 1u); }

// Budget arithmetic on the signed 32-bit remaining count, two's complement.
inline LONG Spend(LONG budget, uint64_t bytes) {
  return static_cast<LONG>(static_cast<uint32_t>(budget) - static_cast<uint32_t>(bytes));
}

// Restores the file position when it goes out of scope.
class PositionKeeper {
 public:
  explicit PositionKeeper(HANDLE file) : file_(file), where_(Tell(file)) {}
  ~PositionKeeper() { SeekTo(file_, where_); }
  PositionKeeper(const PositionKeeper &) = delete;
  PositionKeeper &operator=(const PositionKeeper &) = delete;

 private:
  HANDLE file_;
  uint64_t where_;
};

}  // namespace gv::riff
