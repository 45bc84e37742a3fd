// Channel count changes: a copy for equal counts, a plain sum down to mono,
// and a spread of mono to every channel (in place from the end).
#include <cstdint>
#include <cstring>

#include "gvconvert.h"
#include "gvsamples.h"
#include "audio/sampletypes.h"

namespace {

void MixInt16(std::int16_t *d, const std::int16_t *s, int channels, int frames) {
  for (int k = 0; k < frames; ++k, s += channels) {
    std::int32_t sum = 0;
    for (int c = 0; c < channels; ++c) sum += s[c];
    d[k] = std::int16_t(sum > 32767 ? 32767 : sum < -32768 ? -32768 : sum);
  }
}

// The sum keeps extended precision until it is stored, unclipped.
void MixFloat(float *d, const float *s, int channels, int frames) {
  for (int k = 0; k < frames; ++k, s += channels) {
    long double sum = 0.0L;
    for (int c = 0; c < channels; ++c) sum += s[c];
    d[k] = float(sum);
  }
}

}  // namespace

GVAPI(HRESULT) GvAudio_ChannelChange(void *pDst, int nDstChannels, const void *pSrc,
                                     const WAVEFORMATEX *pwfxSrc, int nFrames) {
  if (!pwfxSrc || !pDst || !pSrc) return E_INVALIDARG;
  const int srcChannels = pwfxSrc->nChannels;
  if (nDstChannels == srcChannels)
    return GvAudio_Copy(pwfxSrc, pDst, pwfxSrc, pSrc, nFrames, 1.0f);
  const DWORD type = GvAudio_GetSampleType(pwfxSrc);
  if (srcChannels > nDstChannels) {
    if (nDstChannels != 1) return E_FAIL;
    if (nFrames < 1) return S_OK;
    if (type == GV_SAMPLE_INT16)
      MixInt16(static_cast<std::int16_t *>(pDst), static_cast<const std::int16_t *>(pSrc),
               srcChannels, nFrames);
    else if (type == GV_SAMPLE_FLOAT32)
      MixFloat(static_cast<float *>(pDst), static_cast<const float *>(pSrc), srcChannels, nFrames);
    else
      return E_FAIL;
    return S_OK;
  }
  if (srcChannels != 1) return E_FAIL;
  if (nFrames < 1) return S_OK;
  const size_t width = size_t(gv::audio::StoredSampleBytes(type));
  if (!width) return S_OK;  // unknown widths write nothing
  // From the last frame and channel down, so that pDst may be pSrc.
  const unsigned char *s = static_cast<const unsigned char *>(pSrc);
  unsigned char *d = static_cast<unsigned char *>(pDst);
  for (size_t k = size_t(nFrames); k-- > 0;) {
    unsigned char sample[8];
    std::memcpy(sample, s + k * width, width);
    for (size_t c = size_t(nDstChannels); c-- > 0;)
      std::memcpy(d + (k * nDstChannels + c) * width, sample, width);
  }
  return S_OK;
}
