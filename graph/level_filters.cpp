// Filters that change samples in place or the channel count: gain, and the
// sample format and channel change.
#include <cmath>
#include <new>

#include "audio/convert.h"
#include "graph/filters.h"
#include "include/gvsamples.h"

namespace gv::graph {

namespace {

const CLSID kGain = GV_CLSID_GVF_GAIN_INIT;
const CLSID kFormat = GV_CLSID_GVF_FORMAT_INIT;

class Gain final : public Filter {
 public:
  Gain() : Filter(kGain, {{GVFK_GAIN, FieldKind::Real, -200, 200, 0, {}}}, 1, 1) {}

  HRESULT Start(Flow *) override {
    gain_ = float(std::pow(10.0, Number(GVFK_GAIN) / 20.0));
    return S_OK;
  }

  HRESULT Process(Audio &audio) override {
    if (gain_ == 1.0f) return S_OK;
    float *p = audio.data();
    const size_t n = size_t(audio.frames) * audio.channels;
    for (size_t i = 0; i < n; ++i) p[i] *= gain_;
    return S_OK;
  }

 private:
  float gain_ = 1.0f;
};

DWORD IntType(DWORD bits) {
  switch (bits) {
    case 8: return GV_SAMPLE_UINT8;
    case 16: return GV_SAMPLE_INT16;
    case 24: return GV_SAMPLE_INT24;
    case 32: return GV_SAMPLE_INT32;
  }
  return GV_SAMPLE_NONE;
}

class FormatChange final : public Filter {
 public:
  FormatChange()
      : Filter(kFormat,
               {{GVFK_CHANNELS, FieldKind::Word, 0, 2, 0, {}},
                {GVFK_BITS, FieldKind::Word, 0, 32, 0, {0, 8, 16, 24, 32}}},
               1, 1) {}

  HRESULT Start(Flow *flow) override {
    in_ = flow->channels;
    out_ = DWORD(Number(GVFK_CHANNELS));
    if (!out_) out_ = in_;
    // Channels are mixed to mono or mono is spread, nothing else.
    if (out_ != in_ && out_ != 1 && in_ != 1) return E_FAIL;
    const DWORD bits = DWORD(Number(GVFK_BITS));
    toInt_ = fromInt_ = nullptr;
    if (bits) {
      toInt_ = audio::GetConverter(IntType(bits), GV_SAMPLE_FLOAT32);
      fromInt_ = audio::GetConverter(GV_SAMPLE_FLOAT32, IntType(bits));
      if (!toInt_ || !fromInt_) return E_FAIL;
    }
    flow->channels = out_;
    return S_OK;
  }

  HRESULT Process(Audio &audio) override {
    if (out_ != in_ && audio.frames) {
      WAVEFORMATEX wfx{};
      wfx.wFormatTag = WAVE_FORMAT_IEEE_FLOAT;
      wfx.nChannels = WORD(in_);
      wfx.nSamplesPerSec = audio.rate;
      wfx.wBitsPerSample = 32;
      wfx.nBlockAlign = WORD(4 * in_);
      wfx.nAvgBytesPerSec = audio.rate * wfx.nBlockAlign;
      spare_.Reserve(audio.frames, out_);
      if (FAILED(GvAudio_ChannelChange(spare_.data(), int(out_), audio.data(), &wfx,
                                       int(audio.frames))))
        return E_FAIL;
      audio.samples.swap(spare_.samples);
    }
    audio.channels = out_;
    if (toInt_) {
      // Through the integer type and back, in place: the integer samples
      // take no more room than the floats they come from.
      const DWORD n = audio.frames * out_;
      toInt_(audio.data(), audio.data(), n, 1.0f);
      spare_.Reserve(audio.frames, out_);
      fromInt_(spare_.data(), audio.data(), n, 1.0f);
      audio.samples.swap(spare_.samples);
    }
    return S_OK;
  }

 private:
  DWORD in_ = 0, out_ = 0;
  GVCONVERTFUNC toInt_ = nullptr, fromInt_ = nullptr;
  Audio spare_;
};

}  // namespace

Filter *NewGain() { return new (std::nothrow) Gain; }
Filter *NewFormatChange() { return new (std::nothrow) FormatChange; }

}  // namespace gv::graph
