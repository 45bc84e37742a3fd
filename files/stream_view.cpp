// The view: one block of client frames in memory for access to single
// frames, loaded around the frame asked for and written back when dirty.
#include <cstring>

#include "audio/convert.h"
#include "files/stream.h"

namespace gv::stream {
namespace {

// Makes frame f available in a view: the stream's own, or that of another
// group member already holding it. *owner receives the stream whose view
// holds the frame.
HRESULT LoadView(Stream &s, uint64_t f, Stream **owner) {
  *owner = &s;
  if (!s.view.pData) return E_NOTIMPL;
  const uint64_t length = Length(s);
  if (f >= length) return E_INVALIDARG;
  uint64_t low = 0, high = length - 1;
  if (s.group) {
    for (Stream *m = s.group->head; m; m = m->next) {
      if (m == &s || !ViewLoaded(*m)) continue;
      // A member's view counts its end frame, start + count, as held.
      const uint64_t vs = ViewStart(*m), ve = vs + m->view.nFrames;
      if (vs <= f && f <= ve) {
        *owner = m;
        return S_OK;
      }
      if (ve < f && ve + 1 > low) low = ve + 1;
      if (vs > f && vs - 1 < high) high = vs - 1;
    }
  }
  const uint64_t cap = s.viewCapacity;
  uint64_t start;
  switch (s.viewMode & 0xFF) {
    case GVAS_VIEW_START: start = f; break;
    case GVAS_VIEW_END: start = f < cap ? 0 : f - (cap - 1); break;
    default: start = f < cap / 2 ? 0 : f - (cap / 2 - 1); break;
  }
  uint64_t end = start + cap - 1;
  if (start < low) start = low;
  if (end > high) end = high;

  Commit(s);
  Seek(s, int64_t(start), GVAS_SEEK_SET, nullptr);
  DWORD got = 0;
  const HRESULT hr = Read(s, s.view.pData, DWORD(end - start + 1), &got);
  if (FAILED(hr)) return hr;
  if (!got) return STG_E_READFAULT;
  SetViewStart(s, start);
  s.view.nFrames = got;
  return S_OK;
}

// The view holding frame f, loading one when needed; null with *hr set when
// that fails.
unsigned char *FrameInView(Stream &s, uint64_t f, Stream **owner, HRESULT *hr) {
  *owner = &s;
  const uint64_t vs = ViewStart(s);
  if (!(s.view.pData && vs <= f && f < vs + s.view.nFrames)) {
    *hr = LoadView(s, f, owner);
    if (FAILED(*hr)) return nullptr;
  }
  *hr = S_OK;
  Stream &v = **owner;
  return static_cast<unsigned char *>(v.view.pData) + (f - ViewStart(v)) * v.client.nBlockAlign;
}

uint64_t Frame(DWORD low, DWORD high) { return uint64_t(high) << 32 | low; }

}  // namespace

void Commit(Stream &s) {
  if (!s.view.bDirty) return;
  const uint64_t position = s.position;
  const uint64_t start = ViewStart(s);
  const DWORD count = s.view.nFrames;
  Seek(s, int64_t(start), GVAS_SEEK_SET, nullptr);
  // Empty while writing, so the write does not refresh the view from itself.
  SetViewStart(s, 0xFFFFFFFFu);
  s.view.nFrames = 0;
  Write(s, s.view.pData, count, nullptr);
  SetViewStart(s, start);
  s.view.nFrames = count;
  s.view.bDirty = 0;
  s.position = position;
}

}  // namespace gv::stream

using namespace gv::stream;

GVAPI(HRESULT) GvAudioStream_Commit(HGVAUDIOSTREAM hStream, DWORD) {
  if (hStream) Commit(*FromHandle(hStream));
  return S_OK;
}

GVAPI(HRESULT) GvAudioStream_GetSampleCell_X(HGVAUDIOSTREAM hStream, DWORD frameLow,
                                             DWORD frameHigh, void *pFrame) {
  if (!hStream || !pFrame) return E_INVALIDARG;
  Stream &s = *FromHandle(hStream);
  Stream *owner;
  HRESULT hr;
  const unsigned char *p = FrameInView(s, Frame(frameLow, frameHigh), &owner, &hr);
  if (!p) {
    gv::audio::FillSilence(s.client, pFrame, 1);
    return hr;
  }
  std::memcpy(pFrame, p, s.client.nBlockAlign);
  return S_OK;
}

GVAPI(HRESULT) GvAudioStream_SetSampleCell_X(HGVAUDIOSTREAM hStream, DWORD frameLow,
                                             DWORD frameHigh, const void *pFrame) {
  if (!hStream || !pFrame) return E_INVALIDARG;
  Stream &s = *FromHandle(hStream);
  Stream *owner;
  HRESULT hr;
  unsigned char *p = FrameInView(s, Frame(frameLow, frameHigh), &owner, &hr);
  if (!p) return hr;
  std::memcpy(p, pFrame, owner->client.nBlockAlign);
  owner->view.bDirty = 1;
  return S_OK;
}

// These two carry no sample value by design: values travel through the
// cell functions, and callers use these only to bring a frame into view.
GVAPI(DWORD) GvAudioStream_GetSample_X(HGVAUDIOSTREAM hStream, DWORD frameLow, DWORD frameHigh,
                                       DWORD, HRESULT *pError) {
  if (!hStream) {
    if (pError) *pError = E_FAIL;
    return 0;
  }
  Stream &s = *FromHandle(hStream);
  Stream *owner;
  HRESULT hr;
  if (FrameInView(s, Frame(frameLow, frameHigh), &owner, &hr)) {
    if (pError) *pError = S_OK;
    return 0xFFFFFFFF;
  }
  if (pError) *pError = hr;
  return (s.client.nBitsPerSample == 8 && (s.client.dwFlags & GVAA_UNSIGNED8)) ? 0x80 : 0;
}

GVAPI(HRESULT) GvAudioStream_SetSample_X(HGVAUDIOSTREAM hStream, DWORD frameLow,
                                         DWORD frameHigh, DWORD, DWORD) {
  if (!hStream) return E_FAIL;
  Stream &s = *FromHandle(hStream);
  Stream *owner;
  HRESULT hr;
  if (!FrameInView(s, Frame(frameLow, frameHigh), &owner, &hr)) return hr;
  owner->view.bDirty = 1;
  return S_OK;
}
