// The WAVE file source and sink. The source reads its file through an audio
// stream as 32-bit float; the sink writes through one in its chosen format
// under a temporary name beside its target and renames it when complete.
#include <cstdlib>
#include <new>

#include "graph/filter.h"
#include "graph/filters.h"
#include "files/wave_header.h"
#include "include/gvriff.h"
#include "include/gvstream.h"

namespace gv::graph {

namespace {

const CLSID kSource = GV_CLSID_GVF_WAVESOURCE_INIT;
const CLSID kSink = GV_CLSID_GVF_WAVESINK_INIT;
constexpr DWORD kHeaderBytes = kPlainWaveHeaderBytes;

class WaveSource final : public Filter {
 public:
  WaveSource() : Filter(kSource, {{GVFK_FILE, FieldKind::Text, 0, 0, 0, {}}}, 0, 1) {}
  ~WaveSource() override { Finish(false); }

  HRESULT Start(Flow *flow) override {
    const std::string name = Narrow(Text());
    tGVWAVEINFO info{};
    info.cbSize = sizeof info;
    WAVEFORMATEX *w = name.empty() ? nullptr : GvGetFileWfxEx(name.c_str(), &info);
    if (!w) return E_FAIL;
    const WAVEFORMATEX f = *w;
    std::free(w);
    DWORD flags = 0, bits = f.wBitsPerSample;
    switch (f.wFormatTag) {
      case WAVE_FORMAT_IEEE_FLOAT: flags = bits == 64 ? GVAA_FLOAT64 : GVAA_FLOAT32; break;
      case WAVE_FORMAT_PCM: flags = bits == 8 ? GVAA_UNSIGNED8 : bits == 24 ? GVAA_PACKED24 : 0; break;
      case GV_WAVE_FORMAT_UNPACKED: bits = 24; break;
      case GV_WAVE_FORMAT_SIGNED: break;
      default: return E_FAIL;
    }
    if ((info.dwFlags & GVWAVE_TRUNCATED) || f.nChannels == 0) return E_FAIL;
    tGVAUDIOATTRIBS attr;
    GvAudio_InitAttribs(&attr, sizeof attr, 0, flags, f.nSamplesPerSec, bits, f.nChannels);
    if (attr.nBlockAlign != f.nBlockAlign) return E_FAIL;
    const ULONGLONG frames = info.nFrames;
    HRESULT hr = GvAudioStream_OpenFile(&stream_, name.c_str(), DWORD(info.nDataOffset),
                                        DWORD(frames), DWORD(frames >> 32), &attr, 32,
                                        GVAA_FLOAT32, GVAS_VIEW_NONE,
                                        GVAS_OPENREAD | GVAS_READONLY);
    if (hr != S_OK) {
      stream_ = nullptr;
      return FAILED(hr) ? hr : E_FAIL;
    }
    flow->channels = f.nChannels;
    flow->rate = f.nSamplesPerSec;
    flow->frames = frames;
    left_ = frames;
    return S_OK;
  }

  // `audio.frames` comes in as the most to read.
  HRESULT Process(Audio &audio) override {
    const DWORD want = DWORD(audio.frames < left_ ? audio.frames : left_);
    audio.Reserve(want, audio.channels);
    DWORD got = 0;
    if (want) {
      const HRESULT hr = GvAudioStream_Read(stream_, audio.data(), want, &got);
      if (hr != S_OK) return FAILED(hr) ? hr : E_FAIL;
      if (got == 0) return E_FAIL;  // the data end early
    }
    audio.frames = got;
    left_ -= got;
    return S_OK;
  }

  HRESULT Finish(bool) override {
    if (stream_) GvAudioStream_Close(stream_);
    stream_ = nullptr;
    return S_OK;
  }

 private:
  HGVAUDIOSTREAM stream_ = nullptr;
  uint64_t left_ = 0;
};

class WaveSink final : public Filter {
 public:
  WaveSink()
      : Filter(kSink,
               {{GVFK_FILE, FieldKind::Text, 0, 0, 0, {}},
                {GVFK_BITS, FieldKind::Word, 8, 32, 16, {8, 16, 24, 32}},
                {GVFK_FLOAT, FieldKind::Word, 0, 1, 0, {}}},
               1, 0) {}
  ~WaveSink() override { Finish(false); }

  HRESULT Start(Flow *flow) override {
    const DWORD bits = DWORD(Number(GVFK_BITS));
    const bool isFloat = Number(GVFK_FLOAT) != 0;
    if ((isFloat && bits != 32) || Text().empty() || flow->channels > 0xFFFF) return E_FAIL;
    target_ = Narrow(Text());
    const DWORD flags = isFloat ? GVAA_FLOAT32 : bits == 8 ? GVAA_UNSIGNED8
                                               : bits == 24 ? GVAA_PACKED24 : 0;
    tGVAUDIOATTRIBS out;
    GvAudio_InitAttribs(&out, sizeof out, 0, flags, flow->rate, bits, flow->channels);
    wfx_ = WAVEFORMATEX{};
    wfx_.wFormatTag = isFloat ? WAVE_FORMAT_IEEE_FLOAT : WAVE_FORMAT_PCM;
    wfx_.nChannels = WORD(flow->channels);
    wfx_.nSamplesPerSec = flow->rate;
    wfx_.wBitsPerSample = WORD(bits);
    wfx_.nBlockAlign = WORD(flow->channels * (bits / 8));
    wfx_.nAvgBytesPerSec = flow->rate * wfx_.nBlockAlign;
    if (!GetTempFileNameA(FolderOf(target_).c_str(), "gvg", 0, temp_)) {
      temp_[0] = 0;
      return HRESULT_FROM_WIN32(GetLastError());
    }
    const HRESULT hr = GvAudioStream_OpenFile(&stream_, temp_, kHeaderBytes, 0, 0, &out, 32,
                                              GVAA_FLOAT32, GVAS_VIEW_NONE, GVAS_CREATE);
    if (hr != S_OK) {
      stream_ = nullptr;
      return FAILED(hr) ? hr : E_FAIL;
    }
    bytes_ = 0;
    return S_OK;
  }

  HRESULT Process(Audio &audio) override {
    if (!audio.frames) return S_OK;
    bytes_ += uint64_t(audio.frames) * wfx_.nBlockAlign;
    if (bytes_ > 0xFFFFFFFFull - kHeaderBytes) return E_FAIL;  // past a WAVE file's 4 GiB
    DWORD put = 0;
    const HRESULT hr = GvAudioStream_Write(stream_, audio.data(), audio.frames, &put);
    if (hr != S_OK) return FAILED(hr) ? hr : E_FAIL;
    return put == audio.frames ? S_OK : E_FAIL;
  }

  HRESULT Finish(bool complete) override {
    if (!stream_ && !temp_[0]) return S_OK;
    if (stream_) GvAudioStream_Close(stream_);
    stream_ = nullptr;
    bool ok = complete && WritePlainWaveHeaders(temp_, wfx_, DWORD(bytes_)) &&
              MoveFileExA(temp_, target_.c_str(), MOVEFILE_REPLACE_EXISTING);
    // A failure without an error code must not read as S_OK.
    const DWORD e = GetLastError();
    const HRESULT hr = ok || !complete ? S_OK : e ? HRESULT_FROM_WIN32(e) : E_FAIL;
    if (!ok) DeleteFileA(temp_);
    temp_[0] = 0;
    return hr;
  }

 private:
  HGVAUDIOSTREAM stream_ = nullptr;
  std::string target_;
  char temp_[MAX_PATH] = {};
  WAVEFORMATEX wfx_{};
  uint64_t bytes_ = 0;
};

}  // namespace

Filter *NewWaveSource() { return new (std::nothrow) WaveSource; }
Filter *NewWaveSink() { return new (std::nothrow) WaveSink; }

}  // namespace gv::graph
