/*
 * gvconvert.h -- conversion between sample types and channel layouts.
 *
 * The computable types are GV_SAMPLE_UINT8, INT16, INT24, INT32, FLOAT32,
 * FLOAT64, INT24IN32 and INT8 (gvaudio.h); big-endian types have none.
 * Converting float to integer truncates toward zero, then clips.
 *
 * Converters and channel routines keep no state: any thread may run them
 * at once on buffers that no other thread writes.
 */
#ifndef GVCONVERT_H
#define GVCONVERT_H

#include "gvaudio.h"

/* Converts nSamples single samples (frames * channels) with a gain. At
 * gain exactly 1.0 integer pairs only shift and equal types copy bytes.
 * pDst may equal pSrc. Reads and writes exactly nSamples samples. */
typedef void(WINAPI *GVCONVERTFUNC)(void *pDst, const void *pSrc, DWORD nSamples, float gain);

/* Copies channel iSrcChannel of interleaved pSrc into channel iDstChannel
 * of pDst for nFrames frames, converting the type without gain. Routines
 * of unequal types keep the library's historic stride: those writing
 * 8-bit data touch sample i + k*(n+1) for frame k, the others touch
 * sample i + k*n + (nFrames-1-k); callers size buffers accordingly. */
typedef void(WINAPI *GVCOPYCHANNELSFUNC)(void *pDst, int nDstChannels, int iDstChannel,
                                         const void *pSrc, int nSrcChannels, int iSrcChannel,
                                         int nFrames);

/* The converter for the pair, or null when either type is not computable
 * (or either pointer is null). */
GVAPI(GVCONVERTFUNC) GvAudio_GetCopyFunction(const WAVEFORMATEX *pwfxDst,
                                             const WAVEFORMATEX *pwfxSrc);

/* Converts nFrames * pwfxSrc->nChannels samples. S_OK at once when
 * nFrames is 0 or negative; E_NOTIMPL when there is no converter. Both
 * formats must have the same channel count (the destination's is not
 * read). */
GVAPI(HRESULT) GvAudio_Copy(const WAVEFORMATEX *pwfxDst, void *pDst,
                            const WAVEFORMATEX *pwfxSrc, const void *pSrc, int nFrames,
                            float gain);

/* The channel routine for the pair, chosen as GvAudio_GetCopyFunction. */
GVAPI(GVCOPYCHANNELSFUNC) GvAudio_GetCopyChannelsFunction(const WAVEFORMATEX *pwfxDst,
                                                          const WAVEFORMATEX *pwfxSrc);

/* A null pMap: GvAudio_Copy at gain 1.0. Otherwise S_OK for nFrames <= 0,
 * E_NOTIMPL without a routine, else source channel i goes to destination
 * channel pMap[i] for each i < pwfxSrc->nChannels; negative entries and
 * entries >= pwfxDst->nChannels are skipped, unnamed destination channels
 * are left alone, later sources overwrite earlier ones. Returns S_OK. */
GVAPI(HRESULT) GvAudio_CopyChannels(const WAVEFORMATEX *pwfxDst, void *pDst,
                                    const WAVEFORMATEX *pwfxSrc, const void *pSrc, int nFrames,
                                    const long *pMap);

#endif /* GVCONVERT_H */
