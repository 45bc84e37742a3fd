// The exported converter choosers and one-call copies.
#include "convert.h"
#include "gvconvert.h"

using namespace gv::audio;

GVAPI(GVCONVERTFUNC) GvAudio_GetCopyFunction(const WAVEFORMATEX *pwfxDst,
                                             const WAVEFORMATEX *pwfxSrc) {
  if (!pwfxDst || !pwfxSrc) return nullptr;
  return GetConverter(GvAudio_GetSampleType(pwfxDst), GvAudio_GetSampleType(pwfxSrc));
}

GVAPI(GVCOPYCHANNELSFUNC) GvAudio_GetCopyChannelsFunction(const WAVEFORMATEX *pwfxDst,
                                                          const WAVEFORMATEX *pwfxSrc) {
  if (!pwfxDst || !pwfxSrc) return nullptr;
  return GetChannelCopier(GvAudio_GetSampleType(pwfxDst), GvAudio_GetSampleType(pwfxSrc));
}

GVAPI(HRESULT) GvAudio_Copy(const WAVEFORMATEX *pwfxDst, void *pDst,
                            const WAVEFORMATEX *pwfxSrc, const void *pSrc, int nFrames,
                            float gain) {
  if (nFrames <= 0) return S_OK;
  GVCONVERTFUNC convert = GvAudio_GetCopyFunction(pwfxDst, pwfxSrc);
  if (!convert) return E_NOTIMPL;
  convert(pDst, pSrc, DWORD(nFrames) * pwfxSrc->nChannels, gain);
  return S_OK;
}

GVAPI(HRESULT) GvAudio_CopyChannels(const WAVEFORMATEX *pwfxDst, void *pDst,
                                    const WAVEFORMATEX *pwfxSrc, const void *pSrc, int nFrames,
                                    const long *pMap) {
  if (!pMap) return GvAudio_Copy(pwfxDst, pDst, pwfxSrc, pSrc, nFrames, 1.0f);
  if (nFrames <= 0) return S_OK;
  GVCOPYCHANNELSFUNC copy = GvAudio_GetCopyChannelsFunction(pwfxDst, pwfxSrc);
  if (!copy) return E_NOTIMPL;
  for (int i = 0; i < pwfxSrc->nChannels; ++i) {
    const long d = pMap[i];
    if (d >= 0 && d < pwfxDst->nChannels)
      copy(pDst, pwfxDst->nChannels, int(d), pSrc, pwfxSrc->nChannels, i, nFrames);
  }
  return S_OK;
}
