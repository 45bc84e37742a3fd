// Seeded damage to a valid WAVE file (fmt, LIST INFO, data), and the checks
// of every search run on a damaged file: each result must be one the
// functions document. The tests make a short run; bench_riff_mutation makes
// long ones, timed, with crash and hang reports.
#pragma once

#include <cstdlib>
#include <string>

#include "riff_builders.h"

namespace gvtest::riffmut {

// splitmix64: the same sequence on every platform and compiler.
class Rng {
 public:
  explicit Rng(uint64_t seed) : state_(seed) {}
  uint32_t Next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return static_cast<uint32_t>((z ^ (z >> 31)) >> 32);
  }
  uint32_t Below(uint32_t n) { return n ? Next() % n : 0; }

 private:
  uint64_t state_;
};

// "fmt " (16), LIST INFO with an odd and an even item, "data" (99).
inline Bytes BaseWave() {
  Bytes data(99);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<BYTE>(i * 7);
  const Bytes info = Concat({Chunk("INAM", Bytes{'T', 'o', 'n', 'e', 0}),
                             Chunk("ICMT", Bytes{'m', 'u', 't', 'a', 't', 'e', 'd', 0})});
  return Riff("WAVE", Concat({Chunk("fmt ", PcmFmt()), List("INFO", info), Chunk("data", data)}));
}

// The damages every mutation run shares, by op: 0 flips a bit, 1 changes a
// byte, 2 inserts 1..8 random bytes, 3 deletes 1..8, 4 truncates. False for
// the other ops, which each run gives its own targets.
inline bool DamageBytes(Bytes &b, Rng &rng, uint32_t op) {
  const uint32_t n = static_cast<uint32_t>(b.size());
  if (op == 0 && n) b[rng.Below(n)] ^= BYTE(1u << rng.Below(8));
  if (op == 1 && n) b[rng.Below(n)] = BYTE(rng.Next());
  if (op == 2) {
    const uint32_t at = rng.Below(n + 1), count = 1 + rng.Below(8);
    BYTE extra[8];
    for (uint32_t k = 0; k < count; ++k) extra[k] = BYTE(rng.Next());
    b.insert(b.begin() + at, extra, extra + count);
  }
  if (op == 3 && n) {
    const uint32_t at = rng.Below(n), count = 1 + rng.Below(8);
    b.erase(b.begin() + at, b.begin() + at + (count < n - at ? count : n - at));
  }
  if (op == 4) b.resize(rng.Below(n + 1));
  return op <= 4;
}

// The little-endian word v at `at`, as much of it as lies inside b.
inline void PutWord(Bytes &b, size_t at, DWORD v) {
  for (size_t i = 0; i < 4 && at + i < b.size(); ++i) b[at + i] = BYTE(v >> (8 * i));
}

// Applies one to four random damages; op 5 puts an odd value in a size
// field of BaseWave, or anywhere.
inline void Mutate(Bytes &b, Rng &rng) {
  static const DWORD kOddSizes[] = {0, 1, 2, 3, 4, 7, 8, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF,
                                    0xFFFFFFF8, 0xFFFFFFFC, 0x7FFFFFF8, 0x00010000};
  static const size_t kSizeFields[] = {4, 16, 40, 44, 52, 66, 82};  // of BaseWave
  for (int ops = 1 + static_cast<int>(rng.Below(4)); ops > 0; --ops) {
    const uint32_t n = static_cast<uint32_t>(b.size()), op = rng.Below(6);
    if (DamageBytes(b, rng, op)) continue;
    const size_t at = rng.Below(2) ? kSizeFields[rng.Below(7)] : rng.Below(n);
    PutWord(b, at, rng.Below(4) ? kOddSizes[rng.Below(14)] : rng.Next());
  }
}

struct Outcome {
  std::string unexpected;  // the first result outside the documented set, or ""
  int found = 0;           // searches that found what they looked for
};

// Runs every search on `file` from its start. Each search goes through
// timed(search), which returns the search's result (the benchmark times it).
template <class Timed> Outcome CheckSearches(HANDLE file, Timed timed) {
  Outcome out;
  const DWORD fileSize = GetFileSize(file, nullptr);
  auto check = [&](bool ok, const char *what, LONG hr) {
    if (ok || !out.unexpected.empty()) return;
    char text[96];
    wsprintfA(text, "%s returned 0x%08lX", what, static_cast<unsigned long>(hr));
    out.unexpected = text;
  };
  // A search from the start may also find that the file is no RIFF file.
  auto search = [&](const char *what, bool fromStart, auto f) {
    const HRESULT hr = timed(f);
    out.found += hr == S_OK;
    const bool read = hr == S_OK || hr == GVRIFF_E_READ || hr == GVRIFF_E_NOTFOUND;
    check(read || (fromStart && hr == GVRIFF_E_NOTRIFF), what, hr);
    return hr;
  };
  // A block comes with success only, and never larger than the file.
  auto readAlloc = [&](DWORD size) {
    tGVRIFFDATA rec = {size, &out};
    const HRESULT hr = riff_ReadDataAlloc(file, &rec);
    check(hr == S_OK || hr == GVRIFF_E_READ || hr == E_OUTOFMEMORY, "riff_ReadDataAlloc", hr);
    check((hr == S_OK && size) == (rec.data != nullptr), "riff_ReadDataAlloc data", hr);
    if (!rec.data) return;
    HGLOBAL h = GlobalHandle(rec.data);
    check(GlobalSize(h) >= size && size <= fileSize, "riff_ReadDataAlloc block", hr);
    GlobalUnlock(h);
    GlobalFree(h);
  };
  BYTE buffer[256];
  DWORD size = 0, rest = 0, form = 0, at = 0, back = 0;
  LONG left = 0;
  auto inRiff = [&](const char *id) {
    return search("riff_FindChunkHeaderInRIFF", true,
                  [&] { return riff_FindChunkHeaderInRIFF(file, Fcc(id), &size, &left); });
  };
  riff_RestoreLocation(file, 0);
  const HRESULT id = riff_ReadFileID(file, &rest, &form);
  check(id == S_OK || id == GVRIFF_E_READ || id == GVRIFF_E_NOTRIFF, "riff_ReadFileID", id);
  if (inRiff("fmt ") == S_OK) {
    riff_SaveLocation(file, &at);
    readAlloc(size);
    riff_RestoreLocation(file, at);
    const HRESULT hr = riff_ReadDataBounded(file, buffer, sizeof buffer, size);
    check(hr == S_OK || hr == GVRIFF_E_READ, "riff_ReadDataBounded", hr);
  }
  if (inRiff("data") == S_OK) readAlloc(size);
  check(inRiff("zzzz") != S_OK, "riff_FindChunkHeaderInRIFF for zzzz", S_OK);
  const auto info = [&] { return riff_FindListChunkFromStart(file, Fcc("INFO"), &size); };
  if (search("riff_FindListChunkFromStart", true, info) == S_OK) {
    riff_SaveLocation(file, &at);
    left = static_cast<LONG>(size);
    const LONG count = timed([&] { return riff_GetNumListEntries(file, &left); });
    riff_SaveLocation(file, &back);
    check((count >= 0 || count == GVRIFF_E_READ) && back == at, "riff_GetNumListEntries", count);
    for (const char *item : {"INAM", "ICMT"}) {
      riff_RestoreLocation(file, at);
      left = static_cast<LONG>(size);
      DWORD itemSize = 0;
      if (search("riff_FindChunkHeader", false,
                 [&] { return riff_FindChunkHeader(file, Fcc(item), &itemSize, &left); }) == S_OK)
        readAlloc(itemSize);
    }
  }
  if (id != S_OK) return out;
  riff_SeekDataStart(file);
  left = static_cast<LONG>(rest);
  search("riff_FindListChunk", false,
         [&] { return riff_FindListChunk(file, Fcc("DISP"), &size, &left); });
  riff_SeekDataStart(file);
  left = static_cast<LONG>(rest);
  const LONG count = timed([&] { return riff_GetNumListEntries(file, &left); });
  check((count >= 0 || count == GVRIFF_E_READ) && left < 8, "riff_GetNumListEntries", count);
  riff_SeekDataStart(file);
  const HRESULT hr = riff_ReadListHeader(file, &form, &size);
  check(hr == S_OK || hr == GVRIFF_E_READ || hr == GVRIFF_E_NOTLIST, "riff_ReadListHeader", hr);
  return out;
}

// The probes and an audio stream over the damaged file at `path` (written
// anew for each variant, since the probes open it themselves): a format
// they return must describe whole frames, the data they report must lie in
// the file, and a stream opened on it must read exactly the frames present.
inline std::string CheckStream(const char *path, const Bytes &bytes, uint64_t *streams = nullptr) {
  HANDLE h = CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  Rewrite(h, bytes);
  CloseHandle(h);
  const uint64_t size = bytes.size();
  auto whole = [](const WAVEFORMATEX *w) {
    return w->nChannels && w->nBlockAlign == w->nChannels * (w->wBitsPerSample / 8);
  };
  ULONGLONG frames = 0, offset = 0;
  WAVEFORMATEX *w = GvGetFileWfx(path, &frames, &offset);
  const bool plainOk = !w || (whole(w) && offset <= size);
  free(w);
  if (!plainOk) return "GvGetFileWfx returned an inconsistent record";

  tGVWAVEINFO info{};
  info.cbSize = sizeof info;
  w = GvGetFileWfxEx(path, &info);
  if (!w) return "";
  std::string bad;
  if (!whole(w) || info.nDataOffset > size || info.nFrames * w->nBlockAlign > size - info.nDataOffset)
    bad = "GvGetFileWfxEx returned an inconsistent record";
  // The file side as an attributes record, for the types that have one.
  DWORD flags = 0;
  switch (GvAudio_GetSampleType(w)) {
    case GV_SAMPLE_NONE: case GV_SAMPLE_INT16BE: case GV_SAMPLE_INT24BE: case GV_SAMPLE_INT32BE:
      free(w);
      return bad;
    case GV_SAMPLE_UINT8: flags = GVAA_UNSIGNED8; break;
    case GV_SAMPLE_INT24: flags = GVAA_PACKED24; break;
    case GV_SAMPLE_FLOAT32: flags = GVAA_FLOAT32; break;
    case GV_SAMPLE_FLOAT64: flags = GVAA_FLOAT64; break;
  }
  tGVAUDIOATTRIBS attr;
  GvAudio_InitAttribs(&attr, sizeof attr, 0, flags, w->nSamplesPerSec,
                      w->wFormatTag == GV_WAVE_FORMAT_UNPACKED ? 24 : w->wBitsPerSample,
                      w->nChannels);
  HGVAUDIOSTREAM s = nullptr;
  const HRESULT hr = GvAudioStream_OpenFile(&s, path, DWORD(info.nDataOffset), DWORD(info.nFrames), 0,
                                            &attr, 32, GVAA_FLOAT32, GVAS_VIEW_MIDDLE,
                                            GVAS_OPENREAD | GVAS_READONLY);
  if (SUCCEEDED(hr)) {
    if (streams) ++*streams;
    std::vector<float> buffer(size_t(w->nChannels) * 64);
    DWORD done = 0;
    ULONGLONG total = 0;
    while (GvAudioStream_Read(s, buffer.data(), 64, &done) == S_OK && done) total += done;
    if (total != info.nFrames && bad.empty()) bad = "the stream read another frame count";
    if (info.nFrames) GvAudioStream_GetSampleCell_X(s, DWORD(info.nFrames - 1), 0, buffer.data());
    GvAudioStream_Close(s);
  } else if (bad.empty()) {
    bad = "GvAudioStream_OpenFile failed on a probed file";
  }
  free(w);
  return bad;
}

}  // namespace gvtest::riffmut
