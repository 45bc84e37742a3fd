// The resampler's exports: argument checks, the instance's step and reset,
// and the method.
#include <climits>
#include <cmath>
#include <cstring>

#include "audio/resample.h"
#include "audio/sampletypes.h"
#include "gvresample.h"

using namespace gv::audio;

GVAPI(long) GvAudio_ResampleEx(const WAVEFORMATEX *pwfx, DWORD dwNewRate, void *pDst,
                               long nDstFrames, const void *pSrc, long nSrcFrames,
                               tGVRESAMPLEINSTANCE *pInst, DWORD dwFlags) {
  if (!pwfx) return 0;
  const double step = 1.0 / (double(dwNewRate) / double(pwfx->nSamplesPerSec));
  const DWORD method = dwFlags & GVRESAMPLE_METHOD;
  if (pInst) {
    pInst->dStep = step;
    if (dwFlags & GVRESAMPLE_RESET) {
      std::memset(pInst, 0, sizeof *pInst);
      if (method == GVRESAMPLE_STREAM) pInst->dStep = step;
    }
  }
  if (method > GVRESAMPLE_STREAM) return nSrcFrames;
  if (!pDst || !pSrc || nDstFrames < 1 || nSrcFrames < 1) return 0;
  const DWORD type = GvAudio_GetSampleType(pwfx);
  const int channels = pwfx->nChannels;
  const int bytes = StoredSampleBytes(type);
  if (bytes && pwfx->nBlockAlign != DWORD(channels) * DWORD(bytes)) return 0;
  switch (method) {
    case GVRESAMPLE_REPEAT:
      if (bytes && channels) RepeatFrames(pDst, nDstFrames, pSrc, nSrcFrames, pwfx->nBlockAlign);
      return nDstFrames;
    case GVRESAMPLE_LINEAR:
      if (bytes && channels) LinearFrames(type, channels, pDst, nDstFrames, pSrc, nSrcFrames);
      return nDstFrames;
    default:
      if (!bytes || !pInst || !StreamUsable(*pInst, channels)) return 0;
      return StreamFrames(*pInst, type, channels, pDst, nDstFrames, pSrc, nSrcFrames);
  }
}

GVAPI(long) GvAudio_Resample(const WAVEFORMATEX *pwfx, void *pDst, long nDstFrames,
                             const void *pSrc, long nSrcFrames) {
  if (!pwfx) return 0;
  const double rate = double(nDstFrames) / double(nSrcFrames) * double(pwfx->nSamplesPerSec);
  const DWORD newRate = rate >= 0.0 && rate <= 4294967295.0 ? DWORD(rate) : 0;
  tGVRESAMPLEINSTANCE inst{};
  GvAudio_ResampleEx(pwfx, newRate, pDst, nDstFrames, pSrc, nSrcFrames, &inst,
                     GVRESAMPLE_RESET | GVRESAMPLE_LINEAR);
  return 0;
}

GVAPI(long) GvAudio_ResampleFrames(const tGVRESAMPLEINSTANCE *pInst, long nSrcFrames) {
  if (!pInst || nSrcFrames < 1 || !StreamUsable(*pInst, 1)) return 0;
  const auto made = StreamFrameCount(pInst->dPos, pInst->dStep, nSrcFrames);
  return made > LONG_MAX ? LONG_MAX : long(made);
}
