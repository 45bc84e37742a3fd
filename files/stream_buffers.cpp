// Buffers of client frames, and the eight slots a stream keeps them in.
#include <cstring>

#include "files/stream.h"
#include "kernel/gmem.h"

namespace gv::stream {

void *AllocBuffer(Stream &s, DWORD frames) {
  const uint64_t bytes = frames == s.framesPerBuffer ? kBufferBytes
                                                     : uint64_t(frames) * s.client.nBlockAlign;
  if (bytes > 0x7FFF0000u) return nullptr;
  void *p = GlobalAllocPtr(GMEM_MOVEABLE, SIZE_T(bytes ? bytes : 1));
  if (p) std::memset(p, 0xEE, SIZE_T(bytes));  // unwritten data stay recognisable
  return p;
}

void *GetBuffer(Stream &s, DWORD frames) {
  for (void *&slot : s.slots) {
    if (slot) continue;
    slot = AllocBuffer(s, frames);
    return slot;
  }
  return nullptr;
}

void ReleaseBuffer(Stream &s, void *buffer) {
  if (!buffer) return;
  for (void *&slot : s.slots) {
    if (slot != buffer) continue;
    GlobalFreePtr(slot);
    slot = nullptr;
    return;
  }
}

}  // namespace gv::stream

using namespace gv::stream;

GVAPI(void *) GvAudioStream_AllocBuffer(HGVAUDIOSTREAM hStream, DWORD frames) {
  return hStream ? AllocBuffer(*FromHandle(hStream), frames) : nullptr;
}

GVAPI(HRESULT) GvAudioStream_FreeBuffer(HGVAUDIOSTREAM, void *pBuffer) {
  gv::GlobalFreePtr(pBuffer);
  return S_OK;
}

GVAPI(void *) GvAudioStream_GetBuffer(HGVAUDIOSTREAM hStream, DWORD frames) {
  return hStream ? GetBuffer(*FromHandle(hStream), frames) : nullptr;
}

GVAPI(void) GvAudioStream_ReleaseBuffer(HGVAUDIOSTREAM hStream, void *pBuffer) {
  if (hStream) ReleaseBuffer(*FromHandle(hStream), pBuffer);
}
