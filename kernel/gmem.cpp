#include "kernel/gmem.h"

namespace gv {

void *GlobalAllocPtr(UINT flags, SIZE_T size) {
  HGLOBAL h = GlobalAlloc(flags, size);
  if (!h) return nullptr;
  void *p = GlobalLock(h);
  if (!p) GlobalFree(h);
  return p;
}

void GlobalFreePtr(const void *p) {
  if (!p) return;
  HGLOBAL h = GlobalHandle(p);
  if (!h) return;
  GlobalUnlock(h);
  GlobalFree(h);
}

}  // namespace gv
