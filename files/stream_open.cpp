// Opening and closing audio streams, their attributes and metrics, and the
// editing entry points that every stream answers with E_NOTIMPL.
#include <cstring>
#include <new>

#include "audio/convert.h"
#include "files/stream.h"
#include "kernel/gmem.h"

namespace gv::stream {
namespace {

HANDLE OpenHandle(const char *name, DWORD flags) {
  if (flags & GVAS_CREATE)
    return CreateFileA(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                       CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (flags & GVAS_OPENREAD)
    return CreateFileA(name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
  // Without either flag an existing file is replaced: kept, callers rely on it.
  return CreateFileA(name, GENERIC_READ | GENERIC_WRITE, flags & 0xFFFF, nullptr, CREATE_ALWAYS,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Writes `bytes` zero bytes; false when fewer were written.
bool WriteZeros(HANDLE file, uint64_t bytes) {
  void *zeros = GlobalAllocPtr(GMEM_MOVEABLE | GMEM_ZEROINIT, kBufferBytes);
  if (!zeros) return false;
  bool ok = true;
  while (ok && bytes) {
    const DWORD piece = bytes < kBufferBytes ? DWORD(bytes) : kBufferBytes;
    DWORD written = 0;
    ok = WriteFile(file, zeros, piece, &written, nullptr) && written == piece;
    bytes -= piece;
  }
  GlobalFreePtr(zeros);
  return ok;
}

bool HasFloatKind(const tGVAUDIOATTRIBS &a) { return (a.dwFlags & GVAA_KINDMASK) != 0; }

HRESULT Open(Stream &s, LPCSTR name, const tGVAUDIOATTRIBS &fileAttr, DWORD clientBits,
             DWORD clientFlags) {
  if ((s.openFlags & GVAS_CREATE) && ReadOnly(s)) return E_INVALIDARG;
  s.handle = OpenHandle(name, s.openFlags);
  if (s.handle == INVALID_HANDLE_VALUE) return E_FAIL;
  if ((s.openFlags & GVAS_CREATE) && s.dataOffset && !WriteZeros(s.handle, s.dataOffset))
    return E_OUTOFMEMORY;

  s.file = fileAttr;
  if (clientBits == 0 && !(clientFlags & GVAA_SCALEDFLOAT)) clientBits = fileAttr.nBitsPerSample;
  GvAudio_InitAttribs(&s.client, sizeof s.client, 0, clientFlags, fileAttr.nSamplesPerSec,
                      clientBits, fileAttr.nChannels);
  if (!s.client.nBlockAlign || !s.file.nBlockAlign) return E_NOTIMPL;
  s.framesPerBuffer = kBufferBytes / s.client.nBlockAlign;

  s.readConvert = audio::GetConverterForAttribs(s.client, s.file);
  s.writeConvert = audio::GetConverterForAttribs(s.file, s.client);
  if (!s.readConvert || !s.writeConvert) return E_NOTIMPL;

  // Kept in the record only: Read and Write convert at gain 1.0, so scaled
  // floating-point data pass unscaled.
  if (s.client.nBitsPerSample != s.file.nBitsPerSample &&
      (HasFloatKind(s.client) || HasFloatKind(s.file)) &&
      ((s.client.dwFlags | s.file.dwFlags) & GVAA_SCALEDFLOAT)) {
    const double c = GvAudio_GetNormalizeFactor(int(s.client.nBitsPerSample));
    const double f = GvAudio_GetNormalizeFactor(int(s.file.nBitsPerSample));
    s.readGain = c / f;
    s.writeGain = f / c;
    if (s.readGain != 1.0) s.readGainPtr = &s.readGain;
    if (s.writeGain != 1.0) s.writeGainPtr = &s.writeGain;
  }

  if (!audio::AttribsMatch(s.file, s.client)) {
    s.framesPerPiece = kBufferBytes / s.file.nBlockAlign;
    s.convBuffer = static_cast<unsigned char *>(HeapAlloc(GetProcessHeap(), 0, kBufferBytes));
    if (!s.convBuffer) return E_OUTOFMEMORY;
  }

  if (s.viewMode & 0xFF) {
    tGVAUDIOVIEW &v = s.view;
    v.dwFlags = s.client.dwFlags;
    v.nChannels = s.client.nChannels;
    v.nBitsPerSample = s.client.nBitsPerSample;
    v.nBytesPerSample = s.client.nBytesPerSample;
    v.nBlockAlign = s.client.nBlockAlign;
    SetViewStart(s, ~uint64_t(0) >> 32);  // empty: low word all ones
    v.nFrames = 0;
    s.viewCapacity = kBufferBytes / s.client.nBlockAlign;
    v.pData = HeapAlloc(GetProcessHeap(), 0, kBufferBytes);
    if (!v.pData) return E_OUTOFMEMORY;
  }
  return S_OK;
}

}  // namespace

uint64_t Length(const Stream &s) { return s.group ? s.group->length : s.length; }

void SetLength(Stream &s, uint64_t length) {
  s.length = length;
  if (s.group) s.group->length = length;
}

uint64_t ViewStart(const Stream &s) {
  return uint64_t(s.view.dwStartHigh) << 32 | s.view.dwStartLow;
}

void SetViewStart(Stream &s, uint64_t start) {
  s.view.dwStartLow = DWORD(start);
  s.view.dwStartHigh = DWORD(start >> 32);
}

void Close(Stream *s) {
  for (void *&slot : s->slots) {
    GlobalFreePtr(slot);
    slot = nullptr;
  }
  if (s->view.pData) Commit(*s);
  if (s->handle != INVALID_HANDLE_VALUE) CloseHandle(s->handle);
  if (s->convBuffer) HeapFree(GetProcessHeap(), 0, s->convBuffer);
  if (s->view.pData) HeapFree(GetProcessHeap(), 0, s->view.pData);
  bool last = true;
  if (Group *g = s->group) {
    for (Stream **p = &g->head; *p; p = &(*p)->next)
      if (*p == s) {
        *p = s->next;
        break;
      }
    last = g->head == nullptr;
  }
  if ((s->openFlags & GVAS_DELETEONCLOSE) && last && s->name[0]) DeleteFileA(s->name);
  s->~Stream();
  HeapFree(GetProcessHeap(), 0, s);
}

}  // namespace gv::stream

using namespace gv::stream;

GVAPI(HRESULT) GvAudioStream_OpenFile(HGVAUDIOSTREAM *phStream, LPCSTR pszFile, DWORD dataOffset,
                                      DWORD lengthLow, DWORD lengthHigh,
                                      const tGVAUDIOATTRIBS *pFileAttr, DWORD clientBits,
                                      DWORD clientFlags, DWORD viewMode, DWORD openFlags) {
  if (!phStream) return E_INVALIDARG;
  *phStream = nullptr;
  if (!pszFile || !pFileAttr) return E_INVALIDARG;
  void *memory = HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, sizeof(Stream));
  if (!memory) return E_OUTOFMEMORY;
  Stream *s = new (memory) Stream;
  lstrcpynA(s->name, pszFile, sizeof s->name);
  s->openFlags = openFlags;
  s->viewMode = viewMode;
  s->dataOffset = dataOffset;
  s->length = uint64_t(lengthHigh) << 32 | lengthLow;
  const HRESULT hr = Open(*s, pszFile, *pFileAttr, clientBits, clientFlags);
  if (FAILED(hr)) {
    Close(s);
    return hr;
  }
  *phStream = reinterpret_cast<HGVAUDIOSTREAM>(s);
  return S_OK;
}

GVAPI(HRESULT) GvAudioStream_Close(HGVAUDIOSTREAM hStream) {
  if (!hStream) return E_FAIL;
  Close(FromHandle(hStream));
  return S_OK;
}

GVAPI(HRESULT) GvAudioStream_GetLength(HGVAUDIOSTREAM hStream, ULONGLONG *pLength) {
  if (!hStream || !pLength) return E_INVALIDARG;
  *pLength = Length(*FromHandle(hStream));
  return S_OK;
}

GVAPI(HRESULT) GvAudioStream_GetAttribs(HGVAUDIOSTREAM hStream, tGVAUDIOATTRIBS *pAttr,
                                        DWORD cbAttr) {
  if (!hStream) return E_FAIL;
  if (!pAttr) return E_INVALIDARG;
  // Sizes past the record copy what follows the client attributes in the
  // stream record, as far as the record goes.
  const Stream *s = FromHandle(hStream);
  const auto *from = reinterpret_cast<const unsigned char *>(&s->client);
  const size_t room = reinterpret_cast<const unsigned char *>(s + 1) - from;
  std::memcpy(pAttr, from, cbAttr < room ? cbAttr : room);
  if (cbAttr >= sizeof(DWORD)) pAttr->cbSize = cbAttr < 48 ? cbAttr : 48;
  return S_OK;
}

GVAPI(DWORD) GvAudioStream_GetMetric(HGVAUDIOSTREAM hStream, DWORD metric) {
  if (!hStream) return 0;
  const Stream &s = *FromHandle(hStream);
  switch (metric) {
    case GVAS_METRIC_CLIENTALIGN: return s.client.nBlockAlign;
    case GVAS_METRIC_FRAMESPERBUFFER: return s.framesPerBuffer;
    case GVAS_METRIC_FILEFLAGS: return s.file.dwFlags;
    case GVAS_METRIC_FILERATE: return s.file.nSamplesPerSec;
    case GVAS_METRIC_FILEBITS: return s.file.nBitsPerSample;
    case GVAS_METRIC_FILECHANNELS: return s.file.nChannels;
    case GVAS_METRIC_CLIENTFLAGS: return s.client.dwFlags;
    case GVAS_METRIC_CLIENTRATE: return s.client.nSamplesPerSec;
    case GVAS_METRIC_CLIENTBITS: return s.client.nBitsPerSample;
    case GVAS_METRIC_CLIENTCHANNELS: return s.client.nChannels;
  }
  return 0;
}

GVAPI(HRESULT) GvAudioStream_GetView(HGVAUDIOSTREAM hStream, tGVAUDIOVIEW **ppView) {
  if (!hStream || !ppView) return E_INVALIDARG;
  Stream &s = *FromHandle(hStream);
  *ppView = s.view.pData ? &s.view : nullptr;
  return s.view.pData ? S_OK : E_NOTIMPL;
}

GVAPI(HRESULT) GvAudioStream_Clone(HGVAUDIOSTREAM, DWORD, DWORD, DWORD, HGVAUDIOSTREAM *phClone) {
  if (phClone) *phClone = nullptr;
  return E_NOTIMPL;
}
GVAPI(HRESULT) GvAudioStream_Insert(HGVAUDIOSTREAM, DWORD, DWORD, DWORD, DWORD) {
  return E_NOTIMPL;
}
GVAPI(HRESULT) GvAudioStream_Delete(HGVAUDIOSTREAM, DWORD, DWORD, DWORD) { return E_NOTIMPL; }
GVAPI(HRESULT) GvAudioStream_Revert(HGVAUDIOSTREAM) { return E_NOTIMPL; }
GVAPI(HRESULT) GvAudioStream_LockRegion(HGVAUDIOSTREAM, DWORD, DWORD, DWORD, DWORD, DWORD) {
  return E_NOTIMPL;
}
GVAPI(HRESULT) GvAudioStream_UnlockRegion(HGVAUDIOSTREAM, DWORD, DWORD, DWORD, DWORD, DWORD) {
  return E_NOTIMPL;
}
GVAPI(HRESULT) GvAudioStream_Stat(HGVAUDIOSTREAM, DWORD, DWORD) { return E_NOTIMPL; }
