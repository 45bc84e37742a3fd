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
  uint64_t dataOffset = 0;  // of the samples in the file
  char name[MAX_PATH] = {};
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
      r->dataOffset = info.nDataOffset;
      lstrcpynA(r->name, name, MAX_PATH);
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

// Summarises the source's frames in order into the peak file: pieces of
// whole elements of about 512 KiB, small enough to be summarised while still
// in the processor cache, their elements gathered for several pieces and
// written to the file at once.
class Summary {
 public:
  Summary(tGVAUDIOPEAK &p, const WAVEFORMATEX &w, uint64_t total)
      : p_(p), w_(w), total_(total), per_(p.header.nFramesPerElement) {
    piece_ = (0x80000 / w.nBlockAlign) / per_ * per_;
    if (!piece_) piece_ = per_;
    perPiece_ = piece_ / per_ + 1;
  }
  DWORD Piece() const { return piece_; }
  bool Allocate() {
    try {
      elements_.resize(perPiece_ * kBatch * p_.halfElement);
    } catch (...) {
      return false;
    }
    return true;
  }
  // Takes the next `frames` frames: whole elements, unless they end the source.
  HRESULT Take(const unsigned char *data, uint64_t frames) {
    for (uint64_t done = 0; done < frames;) {
      const DWORD n = frames - done < piece_ ? DWORD(frames - done) : piece_;
      const int64_t made = Summarise(w_, data + done * w_.nBlockAlign, n, per_,
                                     &elements_[pending_ * p_.halfElement]);
      if (made < 0) return E_FAIL;
      pending_ += made;
      pendingFrames_ += n;
      done += n;
      taken_ += n;
      if (taken_ == total_ || size_t(pending_) + perPiece_ > perPiece_ * kBatch) {
        const HRESULT hr = WriteSummary(p_, elements_.data(), pending_, pendingFrames_, &offset_);
        if (FAILED(hr)) return hr;
        pending_ = 0;
        pendingFrames_ = 0;
      }
    }
    return S_OK;
  }
  uint64_t Taken() const { return taken_; }

 private:
  static constexpr size_t kBatch = 16;
  tGVAUDIOPEAK &p_;
  const WAVEFORMATEX &w_;
  const uint64_t total_;
  const DWORD per_;
  DWORD piece_;
  size_t perPiece_;
  std::vector<short> elements_;
  int64_t pending_ = 0;
  uint64_t pendingFrames_ = 0, offset_ = 0, taken_ = 0;
};

bool OnLocalDisk(const char *name) {
  char full[MAX_PATH];
  const DWORD n = GetFullPathNameA(name, MAX_PATH, full, nullptr);
  if (!n || n >= MAX_PATH || full[1] != ':' || full[2] != '\\') return false;
  full[3] = '\0';
  return GetDriveTypeA(full) == DRIVE_FIXED;
}

// A WAVE file on a local disk is summarised straight from views of the file
// mapped into memory, which spares the copy a read makes. The file is held
// open without write sharing meanwhile, so it cannot shrink under a view.
// Stops early (the caller reads the rest) when a mapping cannot be had.
HRESULT SummariseMapped(Summary &summary, const WaveReader &r) {
  if (!OnLocalDisk(r.name)) return S_OK;
  HANDLE file = CreateFileA(r.name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  if (file == INVALID_HANDLE_VALUE) return S_OK;
  LARGE_INTEGER size{};
  const uint64_t align = r.wfx.nBlockAlign, end = r.dataOffset + r.frames * align;
  HANDLE mapping = nullptr;
  HRESULT hr = S_OK;
  if (GetFileSizeEx(file, &size) && uint64_t(size.QuadPart) >= end)
    mapping = CreateFileMappingA(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
  // Views of 64 MiB: few enough that mapping them costs next to nothing,
  // small enough for a 32-bit address space. Each starts on the allocation
  // granularity and ends on a whole element.
  constexpr uint64_t kView = 64u << 20, kGranularity = 1u << 16;
  while (mapping && summary.Taken() < r.frames) {
    const uint64_t first = r.dataOffset + summary.Taken() * align;
    const uint64_t base = first & ~(kGranularity - 1);
    const uint64_t length = end - base < kView ? end - base : kView;
    uint64_t frames = (base + length - first) / align;
    if (summary.Taken() + frames < r.frames) frames -= frames % summary.Piece();
    const void *view = frames ? MapViewOfFile(mapping, FILE_MAP_READ, DWORD(base >> 32),
                                              DWORD(base), SIZE_T(length))
                              : nullptr;
    if (!view) break;
    hr = summary.Take(static_cast<const unsigned char *>(view) + (first - base), frames);
    UnmapViewOfFile(view);
    if (FAILED(hr)) break;
  }
  if (mapping) CloseHandle(mapping);
  CloseHandle(file);
  return hr;
}

// Reads the whole source through the reader into the new peak file.
HRESULT Build(tGVAUDIOPEAK &p, tGVSAMPLEREADER *reader) {
  const WAVEFORMATEX &w = *reader->lpVtbl->GetFormat(reader);
  const uint64_t total = reader->lpVtbl->GetLength(reader);
  Summary summary(p, w, total);
  if (!summary.Allocate()) return E_OUTOFMEMORY;
  if (reader->lpVtbl == &kWaveReader) {
    const HRESULT hr = SummariseMapped(summary, *static_cast<WaveReader *>(reader));
    if (FAILED(hr) || summary.Taken() == total) return hr;
  }
  std::vector<unsigned char> buffer;
  try {
    buffer.resize(size_t(summary.Piece()) * w.nBlockAlign);
  } catch (...) {
    return E_OUTOFMEMORY;
  }
  for (uint64_t at = summary.Taken(); at < total;) {
    const DWORD want = total - at < summary.Piece() ? DWORD(total - at) : summary.Piece();
    DWORD got = 0;
    HRESULT hr = reader->lpVtbl->Read(reader, at, buffer.data(), want, &got);
    if (FAILED(hr)) return hr;
    if (got < want) return E_FAIL;  // the source ended early
    at += got;
    hr = summary.Take(buffer.data(), got);
    if (FAILED(hr)) return hr;
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
