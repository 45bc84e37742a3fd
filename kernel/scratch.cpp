#include "kernel/scratch.h"

#include "kernel/frame.h"

namespace gv {
namespace {
LONG g_scratchBusy = 0;
}  // namespace

ScratchLease::ScratchLease(bool wanted) {
  if (!wanted) return;
  if (g_frame.scratch && InterlockedExchange(&g_scratchBusy, 1) == 0) {
    data_ = g_frame.scratch;
    size_ = g_frame.scratchSize;
    return;
  }
  data_ = HeapAlloc(GetProcessHeap(), 0, kScratchSize);
  size_ = data_ ? kScratchSize : 0;
  own_ = true;
}

ScratchLease::~ScratchLease() {
  if (!data_) return;
  if (own_) {
    if (data_) HeapFree(GetProcessHeap(), 0, data_);
  } else {
    InterlockedExchange(&g_scratchBusy, 0);
  }
}

}  // namespace gv
