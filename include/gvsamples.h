/*
 * gvsamples.h -- whole-buffer operations on interleaved sample data
 * described by a WAVEFORMATEX: each channel's peak and whether it clipped,
 * silence for whole frames or one channel, and mono <-> multi-channel change.
 *
 * Nothing here allocates or keeps state; every function may be called from
 * any thread on buffers that thread owns. Frame counts are frames, not
 * single samples.
 */
#ifndef GVSAMPLES_H
#define GVSAMPLES_H

#include "gvaudio.h"

/* One channel's peak. */
typedef struct tGVCHANNELPEAK {
  float fPeak;     /* largest |sample|, integer data scaled so full scale is 1.0 */
  int nPosition;   /* frame of the peak minus the clip run it ended in (below) */
  int bClipped;    /* 1 when the channel clipped */
} tGVCHANNELPEAK;

/* A peak finder fills pPeaks[0 .. nChannels-1] from nFrames interleaved
 * frames. Finders by sample type:
 *   GV_SAMPLE_UINT8, INT8, INT24 (packed): every record zero, no search.
 *   INT16, INT32, INT24IN32: integer search. |sample| with the most negative
 *     value counted as full scale (32767, 0x7FFFFF, 0x7FFFFFFF). The last of
 *     equal maxima wins. nClipRun full-scale samples in a row set bClipped
 *     and stop that channel's search; a 24-in-32 value beyond 24 bits sets
 *     bClipped and stops at once. nPosition is the peak's frame minus the
 *     run of full-scale samples counted when the search ended, so after a
 *     clip it is the frame just before the run (callers rely on this).
 *   FLOAT64: as the integer search, full scale meaning |x| >= 1.0.
 *   FLOAT32: never stops and ignores nClipRun; any |x| > 1.0 sets
 *     bClipped; nPosition is nFrames for every channel (0 for no frames).
 * NaN samples never become a peak. */
typedef void(WINAPI *GVFINDPEAKSFUNC)(int nChannels, int nClipRun, const void *pData, int nFrames,
                                      tGVCHANNELPEAK *pPeaks);

/* The finder for the format's sample type, or null for any other type
 * (big-endian data, unsupported widths, a null pwfx). */
GVAPI(GVFINDPEAKSFUNC) GvAudio_GetFindPeaksFunction(const WAVEFORMATEX *pwfx);

/* Runs the finder with pwfx->nChannels. S_OK, with pPeaks untouched when
 * nFrames is 0; E_NOTIMPL when there is no finder; E_INVALIDARG for null
 * pointers. pPeaks holds pwfx->nChannels records. */
GVAPI(HRESULT) GvAudio_FindPeaks(const WAVEFORMATEX *pwfx, int nClipRun, const void *pData,
                                 int nFrames, tGVCHANNELPEAK *pPeaks);

/* Writes nBlockAlign * nFrames bytes of silence: 0x80 when the tag is
 * WAVE_FORMAT_PCM or GV_WAVE_FORMAT_BIGENDIAN and the data are 8-bit, else
 * 0. S_OK; E_FAIL for a tag outside the PCM family (PCM, IEEE float and the
 * three private tags); E_INVALIDARG for null pointers. */
GVAPI(HRESULT) GvAudio_FillSilence(const WAVEFORMATEX *pwfx, void *pData, int nFrames);

/* Silences sample iChannel of each of nFrames frames. E_FAIL when iChannel
 * is not a channel of the format, the tag is outside the PCM family, or the
 * width is not 8, 16, 24 or 32 bits (32 or 64 for IEEE float). Mono data go
 * to GvAudio_FillSilence. 8-bit data get 0x80 unless the tag is
 * GV_WAVE_FORMAT_SIGNED (so the unpacked and big-endian tags get 0x80
 * too). S_OK otherwise, also for nFrames 0. */
GVAPI(HRESULT) GvAudio_FillSilenceChannel(const WAVEFORMATEX *pwfx, void *pData, UINT iChannel,
                                          int nFrames);

/* Changes the channel count of nFrames frames; pDst has the source's sample
 * format with nDstChannels channels.
 *   Equal counts: GvAudio_Copy at gain 1.0.
 *   To mono (only): the plain sum of a frame's channels, not their average.
 *     16-bit sums clip to -32768..32767; float sums are accumulated in
 *     extended precision and stored without clipping; other types E_FAIL.
 *   From mono (only): each sample to every channel of its frame, copied from
 *     the last frame and channel down, so pDst may equal pSrc. Types without
 *     a known width write nothing.
 * Other count changes give E_FAIL; nFrames below 1 gives S_OK. The source
 * must have at least one channel. */
GVAPI(HRESULT) GvAudio_ChannelChange(void *pDst, int nDstChannels, const void *pSrc,
                                     const WAVEFORMATEX *pwfxSrc, int nFrames);

#endif /* GVSAMPLES_H */
