// The 128 KiB scratch buffer of the load sequence, lent to one user at a
// time: a second user at the same moment gets a block of its own.
#pragma once

#include <windows.h>

namespace gv {

class ScratchLease {
 public:
  // `wanted` false leases nothing (for callers that need it only sometimes).
  explicit ScratchLease(bool wanted = true);
  ~ScratchLease();
  ScratchLease(const ScratchLease &) = delete;
  ScratchLease &operator=(const ScratchLease &) = delete;

  void *data() const { return data_; }  // null when no memory could be had
  DWORD size() const { return size_; }

 private:
  void *data_ = nullptr;
  DWORD size_ = 0;
  bool own_ = false;  // a block of its own, not the shared one
};

}  // namespace gv
