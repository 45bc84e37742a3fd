// Silence for whole frames or for one channel of interleaved data.
#include <cstring>

#include "gvsamples.h"

namespace {

bool IsPcmFamilyTag(WORD tag) {
  return tag == WAVE_FORMAT_PCM || tag == WAVE_FORMAT_IEEE_FLOAT ||
         tag == GV_WAVE_FORMAT_UNPACKED || tag == GV_WAVE_FORMAT_SIGNED ||
         tag == GV_WAVE_FORMAT_BIGENDIAN;
}

}  // namespace

GVAPI(HRESULT) GvAudio_FillSilence(const WAVEFORMATEX *pwfx, void *pData, int nFrames) {
  if (!pwfx || (!pData && nFrames > 0)) return E_INVALIDARG;
  if (!IsPcmFamilyTag(pwfx->wFormatTag)) return E_FAIL;
  const bool offsetBinary = pwfx->wBitsPerSample == 8 && (pwfx->wFormatTag == WAVE_FORMAT_PCM ||
                                                          pwfx->wFormatTag == GV_WAVE_FORMAT_BIGENDIAN);
  if (nFrames > 0) std::memset(pData, offsetBinary ? 0x80 : 0, size_t(pwfx->nBlockAlign) * nFrames);
  return S_OK;
}

GVAPI(HRESULT) GvAudio_FillSilenceChannel(const WAVEFORMATEX *pwfx, void *pData, UINT iChannel,
                                          int nFrames) {
  if (!pwfx || (!pData && nFrames > 0)) return E_INVALIDARG;
  const WORD channels = pwfx->nChannels, tag = pwfx->wFormatTag, bits = pwfx->wBitsPerSample;
  if (int(iChannel) > int(channels) - 1) return E_FAIL;
  if (channels < 2) return GvAudio_FillSilence(pwfx, pData, nFrames);
  if (!IsPcmFamilyTag(tag)) return E_FAIL;
  size_t width;
  unsigned char fill = 0;
  if (tag == WAVE_FORMAT_IEEE_FLOAT) {
    if (bits != 32 && bits != 64) return E_FAIL;
    width = bits / 8;
  } else {
    if (bits != 8 && bits != 16 && bits != 24 && bits != 32) return E_FAIL;
    width = bits / 8;
    if (bits == 8 && tag != GV_WAVE_FORMAT_SIGNED) fill = 0x80;
  }
  unsigned char *p = static_cast<unsigned char *>(pData) + iChannel * width;
  const size_t stride = width * channels;
  for (int k = 0; k < nFrames; ++k, p += stride) std::memset(p, fill, width);
  return S_OK;
}
