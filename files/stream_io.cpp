// Frame and raw I/O of audio streams: reads and writes converted in 128 KiB
// pieces, seeks, single channels and growing the length with silence.
#include <cstring>

#include "audio/convert.h"
#include "files/stream.h"

namespace gv::stream {
namespace {

// SetFilePointer on a 64-bit distance; false on failure.
bool MoveFilePointer(HANDLE file, int64_t distance, DWORD method, uint64_t *where) {
  LONG high = LONG(distance >> 32);
  SetLastError(NO_ERROR);
  const DWORD low = SetFilePointer(file, LONG(distance), &high, method);
  if (low == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR) return false;
  *where = uint64_t(DWORD(high)) << 32 | low;
  return true;
}

// One ReadFile or WriteFile per call can move at most this many bytes.
constexpr DWORD kMaxTransfer = 0x40000000;

bool ReadAll(HANDLE file, unsigned char *p, uint64_t bytes, uint64_t *got) {
  *got = 0;
  while (bytes) {
    const DWORD piece = bytes < kMaxTransfer ? DWORD(bytes) : kMaxTransfer;
    DWORD n = 0;
    if (!ReadFile(file, p + *got, piece, &n, nullptr)) return false;
    *got += n;
    bytes -= piece;
    if (n < piece) break;
  }
  return true;
}

bool WriteAll(HANDLE file, const unsigned char *p, uint64_t bytes, uint64_t *put) {
  *put = 0;
  while (bytes) {
    const DWORD piece = bytes < kMaxTransfer ? DWORD(bytes) : kMaxTransfer;
    DWORD n = 0;
    if (!WriteFile(file, p + *put, piece, &n, nullptr)) return false;
    *put += n;
    bytes -= piece;
    if (n < piece) break;
  }
  return true;
}

bool Overlaps(uint64_t a, uint64_t an, uint64_t b, uint64_t bn) {
  return an && bn && a < b + bn && b < a + an;
}

HRESULT FromLastError() {
  const DWORD e = GetLastError();
  return e ? HRESULT(0x80070000u | (e & 0xFFFF)) : S_OK;
}

}  // namespace

void CommitMembersOverlapping(Stream &s, uint64_t first, uint64_t count) {
  if (!s.group) return;
  for (Stream *m = s.group->head; m; m = m->next)
    if (m->view.bDirty && Overlaps(ViewStart(*m), m->view.nFrames, first, count)) Commit(*m);
}

void CommitMembersForRawIo(Stream &s, bool emptyViews) {
  if (!s.group) return;
  for (Stream *m = s.group->head; m; m = m->next) {
    if (!m->view.bDirty || !ViewLoaded(*m)) continue;
    Commit(*m);
    if (emptyViews) {
      SetViewStart(*m, 0xFFFFFFFFu);
      m->view.nFrames = 0;
    }
  }
}

// The overlapping part of each member's view takes the written frames, in
// the member's client format; a view the write covers whole is clean again.
void RefreshMembersAfterWrite(Stream &s, const void *buffer, uint64_t first, uint64_t count) {
  if (!s.group) return;
  for (Stream *m = s.group->head; m; m = m->next) {
    const uint64_t vs = ViewStart(*m), vn = m->view.nFrames;
    if (!Overlaps(vs, vn, first, count)) continue;
    const uint64_t from = vs > first ? vs : first;
    const uint64_t to = (vs + vn < first + count) ? vs + vn : first + count;
    const auto *src = static_cast<const unsigned char *>(buffer) + (from - first) * s.client.nBlockAlign;
    auto *dst = static_cast<unsigned char *>(m->view.pData) + (from - vs) * m->client.nBlockAlign;
    audio::CopyByAttribs(dst, m->client, src, s.client, DWORD(to - from));
    if (first <= vs && first + count >= vs + vn) m->view.bDirty = 0;
  }
}

HRESULT Seek(Stream &s, int64_t position, DWORD origin, uint64_t *newPos) {
  if (!(origin & GVAS_SEEK_FILE)) {
    switch (origin) {
      case GVAS_SEEK_SET: s.position = uint64_t(position); break;
      case GVAS_SEEK_CUR: s.position += uint64_t(position); break;
      case GVAS_SEEK_END: s.position = Length(s) + uint64_t(position); break;
      default: return E_INVALIDARG;
    }
    if (newPos) *newPos = s.position;
    return S_OK;
  }
  // Only the plain "from the start" origin corrects for the data offset;
  // the other two suit files without a header.
  const DWORD method = origin & 0xFF;
  if (method > FILE_END) return E_INVALIDARG;
  int64_t offset = position * int64_t(s.file.nBlockAlign);
  if (origin == GVAS_SEEK_FILE) offset += int64_t(s.dataOffset);
  uint64_t where = 0;
  if (!MoveFilePointer(s.handle, offset, method, &where)) {
    if (newPos) *newPos = ~uint64_t(0);
    return STG_E_SEEKERROR;
  }
  if (origin == GVAS_SEEK_FILE) where -= s.dataOffset;
  s.position = where / s.file.nBlockAlign;
  if (newPos) *newPos = s.position;
  return S_OK;
}

HRESULT AbsSeek(Stream &s, int64_t position, DWORD origin, uint64_t *newPos) {
  if (origin & GVAS_SEEK_FILE) {
    const DWORD method = origin & 0xFF;
    if (method > FILE_END) return E_INVALIDARG;
    uint64_t where = 0;
    if (!MoveFilePointer(s.handle, position, method, &where)) {
      if (newPos) *newPos = ~uint64_t(0);
      return STG_E_SEEKERROR;
    }
    s.bytePosition = where;
  } else {
    switch (origin) {
      case GVAS_SEEK_SET: s.bytePosition = uint64_t(position); break;
      case GVAS_SEEK_CUR: s.bytePosition += uint64_t(position); break;
      case GVAS_SEEK_END:
        s.bytePosition = Length(s) * s.file.nBlockAlign + s.dataOffset + uint64_t(position);
        break;
      default: return E_INVALIDARG;
    }
  }
  if (newPos) *newPos = s.bytePosition;
  return S_OK;
}

HRESULT Read(Stream &s, void *buffer, DWORD frames, DWORD *done) {
  if (done) *done = 0;
  if (WriteOnly(s)) return STG_E_ACCESSDENIED;
  const uint64_t length = Length(s);
  if (s.position >= length) return S_OK;
  if (frames > length - s.position) frames = DWORD(length - s.position);
  CommitMembersOverlapping(s, s.position, frames);
  HRESULT hr = Seek(s, int64_t(s.position), GVAS_SEEK_FILE, nullptr);
  if (FAILED(hr)) return hr;

  const DWORD fileAlign = s.file.nBlockAlign, clientAlign = s.client.nBlockAlign;
  uint64_t count = 0;
  auto *out = static_cast<unsigned char *>(buffer);
  if (!s.convBuffer) {
    uint64_t got = 0;
    if (!ReadAll(s.handle, out, uint64_t(frames) * fileAlign, &got)) hr = STG_E_READFAULT;
    count = got / fileAlign;
  } else {
    while (count < frames) {
      const DWORD want = frames - count < s.framesPerPiece ? DWORD(frames - count) : s.framesPerPiece;
      DWORD got = 0;
      if (!ReadFile(s.handle, s.convBuffer, want * fileAlign, &got, nullptr)) {
        hr = STG_E_READFAULT;
        break;
      }
      const DWORD piece = got / fileAlign;
      s.readConvert(out + count * clientAlign, s.convBuffer, piece * s.client.nChannels, 1.0f);
      count += piece;
      if (piece < want) break;
    }
  }
  s.position += count;
  if (done) *done = DWORD(count);
  return hr;
}

HRESULT Write(Stream &s, const void *buffer, DWORD frames, DWORD *done) {
  if (done) *done = 0;
  if (ReadOnly(s)) return STG_E_ACCESSDENIED;
  if (!frames) return S_OK;
  CommitMembersOverlapping(s, s.position, frames);
  HRESULT hr = Seek(s, int64_t(s.position), GVAS_SEEK_FILE, nullptr);
  if (FAILED(hr)) return hr;

  const uint64_t first = s.position;
  const DWORD fileAlign = s.file.nBlockAlign, clientAlign = s.client.nBlockAlign;
  const auto *in = static_cast<const unsigned char *>(buffer);
  uint64_t count = 0;
  if (!s.convBuffer) {
    uint64_t put = 0;
    const bool ok = WriteAll(s.handle, in, uint64_t(frames) * fileAlign, &put);
    count = put / fileAlign;
    if (!ok) hr = STG_E_WRITEFAULT;
    s.position += count;
    if (s.position > Length(s)) SetLength(s, s.position);
  } else {
    while (count < frames) {
      const DWORD want = frames - count < s.framesPerPiece ? DWORD(frames - count) : s.framesPerPiece;
      s.writeConvert(s.convBuffer, in + count * clientAlign, want * s.client.nChannels, 1.0f);
      DWORD put = 0;
      const bool ok = WriteFile(s.handle, s.convBuffer, want * fileAlign, &put, nullptr);
      const DWORD piece = put / fileAlign;
      count += piece;
      s.position += piece;
      if (s.position > Length(s)) SetLength(s, s.position);
      if (!ok) {
        hr = STG_E_WRITEFAULT;
        break;
      }
      if (piece < want) break;
    }
  }
  RefreshMembersAfterWrite(s, buffer, first, count);
  if (done) *done = DWORD(count);
  return hr;
}

}  // namespace gv::stream

using namespace gv::stream;

GVAPI(HRESULT) GvAudioStream_Read(HGVAUDIOSTREAM hStream, void *pBuffer, DWORD frames,
                                  DWORD *pDone) {
  if (pDone) *pDone = 0;
  if (!hStream) return E_FAIL;
  return Read(*FromHandle(hStream), pBuffer, frames, pDone);
}

GVAPI(HRESULT) GvAudioStream_Write(HGVAUDIOSTREAM hStream, const void *pBuffer, DWORD frames,
                                   DWORD *pDone) {
  if (pDone) *pDone = 0;
  if (!hStream) return E_FAIL;
  return Write(*FromHandle(hStream), pBuffer, frames, pDone);
}

GVAPI(HRESULT) GvAudioStream_Seek(HGVAUDIOSTREAM hStream, LONGLONG position, DWORD origin,
                                  ULONGLONG *pNewPos) {
  if (!hStream) return E_FAIL;
  uint64_t where = 0;
  const HRESULT hr = Seek(*FromHandle(hStream), position, origin, &where);
  if (pNewPos && (SUCCEEDED(hr) || hr == STG_E_SEEKERROR)) *pNewPos = where;
  return hr;
}

GVAPI(HRESULT) GvAudioStream_AbsSeek(HGVAUDIOSTREAM hStream, LONGLONG position, DWORD origin,
                                     ULONGLONG *pNewPos) {
  if (!hStream) return E_FAIL;
  uint64_t where = 0;
  const HRESULT hr = AbsSeek(*FromHandle(hStream), position, origin, &where);
  if (pNewPos && (SUCCEEDED(hr) || hr == STG_E_SEEKERROR)) *pNewPos = where;
  return hr;
}

GVAPI(HRESULT) GvAudioStream_AbsRead(HGVAUDIOSTREAM hStream, void *pBuffer, DWORD bytes,
                                     DWORD *pDone) {
  if (pDone) *pDone = 0;
  if (!hStream) return E_FAIL;
  Stream &s = *FromHandle(hStream);
  CommitMembersForRawIo(s, false);
  HRESULT hr = AbsSeek(s, int64_t(s.bytePosition), GVAS_SEEK_FILE, nullptr);
  if (FAILED(hr)) return hr;
  DWORD got = 0;
  if (!ReadFile(s.handle, pBuffer, bytes, &got, nullptr)) return FromLastError();
  s.bytePosition += got;
  if (pDone) *pDone = got;
  return S_OK;
}

GVAPI(HRESULT) GvAudioStream_AbsWrite(HGVAUDIOSTREAM hStream, const void *pBuffer, DWORD bytes,
                                      DWORD *pDone) {
  if (pDone) *pDone = 0;
  if (!hStream) return E_FAIL;
  Stream &s = *FromHandle(hStream);
  if (ReadOnly(s)) return STG_E_ACCESSDENIED;
  CommitMembersForRawIo(s, true);
  HRESULT hr = AbsSeek(s, int64_t(s.bytePosition), GVAS_SEEK_FILE, nullptr);
  if (FAILED(hr)) return hr;
  DWORD put = 0;
  if (!WriteFile(s.handle, pBuffer, bytes, &put, nullptr)) return FromLastError();
  s.bytePosition += put;
  if (s.bytePosition > Length(s) * s.file.nBlockAlign + s.dataOffset)
    SetLength(s, (s.bytePosition - s.dataOffset) / s.file.nBlockAlign);
  if (pDone) *pDone = put;
  return S_OK;
}
