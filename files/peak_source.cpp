// Where peak data come from: sample readers over a WAVE file or over memory,
// peak data opened or built from them, peak data streams, and draw data
// taken straight from the samples when the view is closer than an element.
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "files/peak.h"
#include "include/gvstream.h"

namespace gv::peak {
namespace {

// ---- Readers --------------------------------------------------------------

struct WaveReader : tGVSAMPLEREADER {
  WAVEFORMATEX wfx{};
  HGVAUDIOSTREAM stream = nullptr;
  uint64_t frames = 0;
};

struct MemReader : tGVSAMPLEREADER {
  WAVEFORMATEX wfx{};
  const unsigned char *data = nullptr;
  uint64_t frames = 0;
};

const WAVEFORMATEX *WINAPI WaveFormat(tGVSAMPLEREADER *self) {
  return &static_cast<WaveReader *>(self)->wfx;
}
ULONGLONG WINAPI WaveLength(tGVSAMPLEREADER *self) { return static_cast<WaveReader *>(self)->frames; }
HRESULT WINAPI WaveRead(tGVSAMPLEREADER *self, ULONGLONG first, void *buffer, DWORD frames,
                        DWORD *done) {
  auto *r = static_cast<WaveReader *>(self);
  if (done) *done = 0;
  const HRESULT hr = GvAudioStream_Seek(r->stream, LONGLONG(first), GVAS_SEEK_SET, nullptr);
  return FAILED(hr) ? hr : GvAudioStream_Read(r->stream, buffer, frames, done);
}
void WINAPI WaveDestroy(tGVSAMPLEREADER *self) {
  auto *r = static_cast<WaveReader *>(self);
  GvAudioStream_Close(r->stream);
  delete r;
}
const tGVSAMPLEREADERVTBL kWaveReader = {WaveFormat, WaveLength, WaveRead, WaveDestroy};

const WAVEFORMATEX *WINAPI MemFormat(tGVSAMPLEREADER *self) {
  return &static_cast<MemReader *>(self)->wfx;
}
ULONGLONG WINAPI MemLength(tGVSAMPLEREADER *self) { return static_cast<MemReader *>(self)->frames; }
HRESULT WINAPI MemRead(tGVSAMPLEREADER *self, ULONGLONG first, void *buffer, DWORD frames,
                       DWORD *done) {
  auto *r = static_cast<MemReader *>(self);
  const uint64_t n = first >= r->frames ? 0 : (r->frames - first < frames ? r->frames - first : frames);
  if (n) std::memcpy(buffer, r->data + first * r->wfx.nBlockAlign, size_t(n) * r->wfx.nBlockAlign);
  if (done) *done = DWORD(n);
  return S_OK;
}
void WINAPI MemDestroy(tGVSAMPLEREADER *self) { delete static_cast<MemReader *>(self); }
const tGVSAMPLEREADERVTBL kMemReader = {MemFormat, MemLength, MemRead, MemDestroy};

// The attributes record of a plain PCM or IEEE-float format.
bool AttribsOf(const WAVEFORMATEX &w, tGVAUDIOATTRIBS *a) {
  DWORD flags = 0;
  switch (GvAudio_GetSampleType(&w)) {
    case GV_SAMPLE_UINT8: flags = GVAA_UNSIGNED8; break;
    case GV_SAMPLE_INT24: flags = GVAA_PACKED24; break;
    case GV_SAMPLE_INT16: case GV_SAMPLE_INT32: case GV_SAMPLE_INT8: break;
    case GV_SAMPLE_INT24IN32: break;
    case GV_SAMPLE_FLOAT32: flags = GVAA_FLOAT32; break;
    case GV_SAMPLE_FLOAT64: flags = GVAA_FLOAT64; break;
    default: return false;
  }
  const DWORD bits = w.wFormatTag == GV_WAVE_FORMAT_UNPACKED ? 24 : w.wBitsPerSample;
  GvAudio_InitAttribs(a, sizeof *a, 0, flags, w.nSamplesPerSec, bits, w.nChannels);
  return true;
}

// A reader over a WAVE file's data, in the file's own format; null when it
// is not a PCM WAVE file with all its data.
WaveReader *OpenWave(const char *name) {
  tGVWAVEINFO info{};
  info.cbSize = sizeof info;
  WAVEFORMATEX *w = GvGetFileWfxEx(name, &info);
  if (!w) return nullptr;
  tGVAUDIOATTRIBS attr;
  WaveReader *r = nullptr;
  if (!(info.dwFlags & GVWAVE_TRUNCATED) && AttribsOf(*w, &attr)) {
    r = new (std::nothrow) WaveReader;
    if (r) {
      r->lpVtbl = &kWaveReader;
      r->wfx = *w;
      r->frames = info.nFrames;
      if (info.nDataOffset > 0xFFFFFFFFu ||
          GvAudioStream_OpenFile(&r->stream, name, DWORD(info.nDataOffset), DWORD(info.nFrames),
                                 DWORD(info.nFrames >> 32), &attr, attr.nBitsPerSample,
                                 attr.dwFlags, 0, GVAS_OPENREAD | GVAS_READONLY) != S_OK) {
        delete r;
        r = nullptr;
      }
    }
  }
  std::free(w);
  return r;
}

// Reads the whole source through the reader into the new peak file, in
// pieces of whole elements of about 512 KiB (the fastest here: small
// enough to be summarised while still in the processor cache).
HRESULT Build(tGVAUDIOPEAK &p, tGVSAMPLEREADER *reader) {
  const WAVEFORMATEX &w = *reader->lpVtbl->GetFormat(reader);
  const DWORD per = p.header.nFramesPerElement;
  DWORD piece = (0x80000 / w.nBlockAlign) / per * per;
  if (!piece) piece = per;
  // Elements gather for several pieces and go to the file in one write.
  const size_t perPiece = piece / per + 1, batch = 16;
  std::vector<unsigned char> buffer;
  std::vector<short> elements;
  try {
    buffer.resize(size_t(piece) * w.nBlockAlign);
    elements.resize(perPiece * batch * p.halfElement);
  } catch (...) {
    return E_OUTOFMEMORY;
  }
  const uint64_t total = reader->lpVtbl->GetLength(reader);
  uint64_t offset = 0, pendingFrames = 0;
  int64_t pending = 0;
  for (uint64_t at = 0; at < total;) {
    const DWORD want = total - at < piece ? DWORD(total - at) : piece;
    DWORD got = 0;
    HRESULT hr = reader->lpVtbl->Read(reader, at, buffer.data(), want, &got);
    if (FAILED(hr)) return hr;
    if (got < want) return E_FAIL;  // the source ended early
    const int64_t made = Summarise(w, buffer.data(), got, per, &elements[pending * p.halfElement]);
    if (made < 0) return E_FAIL;
    pending += made;
    pendingFrames += got;
    at += got;
    if (at == total || size_t(pending) + perPiece > perPiece * batch) {
      hr = WriteSummary(p, elements.data(), pending, pendingFrames, &offset);
      if (FAILED(hr)) return hr;
      pending = 0;
      pendingFrames = 0;
    }
  }
  return S_OK;
}

}  // namespace

HRESULT OpenFromReader(tGVAUDIOPEAK **pp, tGVSAMPLEREADER *reader, const char *source,
                       DWORD flags, DWORD *how) {
  if (how) *how = 0;
  const WAVEFORMATEX &w = *reader->lpVtbl->GetFormat(reader);
  const uint64_t frames = reader->lpVtbl->GetLength(reader);
  const bool tempOnly = (flags & GVPEAK_TEMPORARYONLY) || !source;
  if (!tempOnly && !(flags & GVPEAK_REBUILD) &&
      GvPeak_OpenExistingExNew(pp, w.nChannels, source, -1, nullptr, frames, FALSE) == 0) {
    if (how) *how = GVPEAK_REUSED;
    return S_OK;
  }
  DWORD found = 0;
  char beside[MAX_PATH];
  if (source && GvPeak_CreateDirectPeakName(source, beside, MAX_PATH) == S_OK &&
      GetFileAttributesA(beside) != INVALID_FILE_ATTRIBUTES)
    found = GVPEAK_STALE;
  if (GvPeak_CreateExNew(pp, w.nChannels, tempOnly, source, -1, nullptr) != 0) return E_FAIL;
  const HRESULT hr = Build(**pp, reader);
  if (FAILED(hr)) {
    GvPeak_FreeEx(*pp, TRUE);
    *pp = nullptr;
    return hr;
  }
  if (how) *how = GVPEAK_BUILT | found | ((*pp)->temporary ? GVPEAK_INTEMP : 0);
  return S_OK;
}

// Draw data straight from the samples: each pixel's frames read in pieces
// and summarised as one element.
BOOL DrawFromSamples(tGVSAMPLEREADER *reader, uint64_t first, int64_t count, short *out,
                     int pixels) {
  if (!reader || !out || pixels <= 0 || pixels > 32768 || count <= 0) return FALSE;
  const WAVEFORMATEX &w = *reader->lpVtbl->GetFormat(reader);
  const DWORD ch = w.nChannels, n = ch == 1 ? 1 : 2;
  if (!ch || !w.nBlockAlign) return FALSE;
  const DWORD piece = 0x20000 / w.nBlockAlign ? 0x20000 / w.nBlockAlign : 1;
  std::vector<unsigned char> buffer(size_t(piece) * w.nBlockAlign);
  std::vector<short> element(2 * size_t(ch));
  const double step = double(count) / pixels;
  const uint64_t length = reader->lpVtbl->GetLength(reader);  // pixels past it get 0, 0
  for (int i = 0; i < pixels; ++i) {
    uint64_t f0 = uint64_t(double(i) * step) + first, f1 = uint64_t(double(i + 1) * step) + first;
    if (f1 <= f0) f1 = f0 + 1;
    short lo[2] = {32767, 32767}, hi[2] = {-32768, -32768};
    bool any = false;
    for (uint64_t f = f0; f < f1 && f < length;) {
      const DWORD want = f1 - f < piece ? DWORD(f1 - f) : piece;
      DWORD got = 0;
      // A read that fails, or finds the source shorter than it was, is an
      // error: no picture of data that are not there.
      if (FAILED(reader->lpVtbl->Read(reader, f, buffer.data(), want, &got)) || !got) return FALSE;
      if (Summarise(w, buffer.data(), got, got, element.data()) < 0) return FALSE;
      any = true;
      for (DWORD k = 0; k < n; ++k) {
        lo[k] = element[2 * k] < lo[k] ? element[2 * k] : lo[k];
        hi[k] = element[2 * k + 1] > hi[k] ? element[2 * k + 1] : hi[k];
      }
      f += got;
    }
    for (DWORD k = 0; k < n; ++k) {
      *out++ = any ? lo[k] : 0;
      *out++ = any ? hi[k] : 0;
    }
  }
  return TRUE;
}

}  // namespace gv::peak

struct tGVPEAKSTREAM {
  tGVSAMPLEREADER *reader;
  bool ownReader;
  bool memory;
  WAVEFORMATEX wfx;
  tGVAUDIOPEAK *peak;
};

using namespace gv::peak;

GVAPI(HRESULT) GvPeak_OpenDataFromStream(tGVAUDIOPEAK **ppPeak, tGVSAMPLEREADER *pReader,
                                         LPCSTR pszSource, DWORD flags, DWORD *pHow) {
  if (pHow) *pHow = 0;
  if (!ppPeak || !pReader) return E_INVALIDARG;
  return OpenFromReader(ppPeak, pReader, pszSource, flags, pHow);
}

GVAPI(HRESULT) GvPeak_OpenDataFromWaveFile(tGVAUDIOPEAK **ppPeak, LPCSTR pszWaveFile,
                                           DWORD flags, DWORD *pHow) {
  if (pHow) *pHow = 0;
  if (!ppPeak || !pszWaveFile) return E_INVALIDARG;
  WaveReader *reader = OpenWave(pszWaveFile);
  if (!reader) return E_FAIL;
  const HRESULT hr = OpenFromReader(ppPeak, reader, pszWaveFile, flags, pHow);
  reader->lpVtbl->Destroy(reader);
  return hr;
}

GVAPI(HRESULT) GvPeakEx_CreateStreamNew(tGVPEAKSTREAM **ppStream, tGVSAMPLEREADER *pReader,
                                        LPCSTR pszFile, DWORD flags, DWORD) {
  if (!ppStream) return E_INVALIDARG;
  *ppStream = nullptr;
  const bool own = !pReader;
  if (own && (!pszFile || !(pReader = OpenWave(pszFile)))) return E_FAIL;
  const WAVEFORMATEX &w = *pReader->lpVtbl->GetFormat(pReader);
  auto *s = new (std::nothrow) tGVPEAKSTREAM{pReader, own, false, w, nullptr};
  if (!s || (w.wFormatTag != WAVE_FORMAT_PCM && w.wFormatTag != WAVE_FORMAT_IEEE_FLOAT)) {
    if (own) pReader->lpVtbl->Destroy(pReader);
    delete s;
    return E_FAIL;
  }
  const HRESULT hr = OpenFromReader(&s->peak, pReader, pszFile, flags, nullptr);
  *ppStream = s;
  return SUCCEEDED(hr) ? 0 : 1;
}

GVAPI(HRESULT) GvPeakEx_CreateStream(tGVPEAKSTREAM **ppStream, LPCSTR pszFile, DWORD flags,
                                     DWORD reserved) {
  return GvPeakEx_CreateStreamNew(ppStream, nullptr, pszFile, flags, reserved);
}

GVAPI(HRESULT) GvPeakEx_CreateMemStream(tGVPEAKSTREAM **ppStream, const WAVEFORMATEX *pwfx,
                                        const void *pData, DWORD frames, BOOL bAllowEmpty) {
  if (!ppStream) return E_INVALIDARG;
  *ppStream = nullptr;
  if (!pwfx || (pwfx->wFormatTag != WAVE_FORMAT_PCM && pwfx->wFormatTag != WAVE_FORMAT_IEEE_FLOAT) ||
      !pwfx->nBlockAlign || (!frames && !bAllowEmpty) || (frames && !pData))
    return E_FAIL;
  auto *r = new (std::nothrow) MemReader;
  auto *s = new (std::nothrow) tGVPEAKSTREAM{r, true, true, *pwfx, nullptr};
  if (!r || !s) {
    delete r;
    delete s;
    return E_FAIL;
  }
  r->lpVtbl = &kMemReader;
  r->wfx = *pwfx;
  r->wfx.cbSize = 0;
  r->data = static_cast<const unsigned char *>(pData);
  r->frames = frames;
  if (frames) OpenFromReader(&s->peak, r, nullptr, GVPEAK_TEMPORARYONLY, nullptr);
  *ppStream = s;
  return S_OK;
}

GVAPI(tGVSAMPLEREADER *) GvPeakEx_GetStreamReader(tGVPEAKSTREAM *pStream) {
  return pStream ? pStream->reader : nullptr;
}

GVAPI(tGVAUDIOPEAK *) GvPeakEx_GetPeak(tGVPEAKSTREAM *pStream) {
  return pStream ? pStream->peak : nullptr;
}

GVAPI(HRESULT) GvPeakEx_Free(tGVPEAKSTREAM *pStream) {
  if (!pStream) return S_OK;
  if (pStream->ownReader) pStream->reader->lpVtbl->Destroy(pStream->reader);
  GvPeak_FreeEx(pStream->peak, FALSE);
  delete pStream;
  return S_OK;
}

GVAPI(BOOL) GvPeakEx_GetDrawData(tGVPEAKSTREAM *s, ULONGLONG first, LONGLONG count, short *pOut,
                                 int pixels) {
  if (!s || pixels <= 0) return FALSE;
  if (s->peak && count / pixels >= LONGLONG(s->peak->header.nFramesPerElement))
    return GvPeak_GetDrawData(s->peak, first, count, pOut, pixels);
  return DrawFromSamples(s->reader, first, count, pOut, pixels);
}

GVAPI(BOOL) GvPeakEx_GetDrawDataFromFile(tGVPEAKSTREAM *s, ULONGLONG first, LONGLONG count,
                                         short *pOut, int pixels) {
  return s && !s->memory && DrawFromSamples(s->reader, first, count, pOut, pixels);
}

GVAPI(BOOL) GvPeakEx_GetDrawDataFromMem(tGVPEAKSTREAM *s, ULONGLONG first, LONGLONG count,
                                        short *pOut, int pixels) {
  return s && s->memory && DrawFromSamples(s->reader, first, count, pOut, pixels);
}
