/*
 * gvresample.h -- sample-rate change of interleaved sample data described by
 * a WAVEFORMATEX: sample repetition, linear interpolation over one buffer,
 * and a streaming linear interpolator that carries its state between calls
 * in a caller-owned instance record.
 *
 * Samples. Method 0 copies whole samples as bytes, so it moves every type of
 * GvAudio_GetSampleType: sizes 1 (uint8, int8), 2 (int16, int16 big-endian),
 * 3 (packed 24, 24 big-endian), 4 (int32, float32, 24-in-32, int32
 * big-endian), 8 (float64). The linear methods compute with the types uint8,
 * int16, packed int24, int32, float32, float64 and 24-in-32: a sample is
 * read as a double with full scale 1.0 (integers times 2^-7, 2^-15, 2^-23,
 * 2^-23 and 2^-31; uint8 after XOR 0x80), and written back times 2^7, 2^15,
 * 2^23 or 2^31, truncated toward zero and clipped to the type's range (NaN
 * gives the minimum); floats are stored unclipped. Other types (int8, the
 * big-endian ones) read as -1.0 and are never written by the linear
 * methods: their destination keeps its bytes.
 *
 * Bounds. A call writes at most nDstFrames frames of nBlockAlign bytes and
 * reads at most nSrcFrames; nBlockAlign must be nChannels times the sample
 * size, else nothing is done. pDst may equal pSrc (in place) when it holds
 * max(nSrcFrames, nDstFrames) frames; partly overlapping buffers are not
 * supported.
 *
 * Nothing here allocates or keeps state of its own; any thread may call
 * with its own buffers and instance.
 */
#ifndef GVRESAMPLE_H
#define GVRESAMPLE_H

#include "gvaudio.h"

/* The streaming method's state, 272 bytes, owned by the caller: zero it (or
 * pass GVRESAMPLE_RESET) for a new stream, then pass it with each
 * consecutive buffer of that stream. */
typedef struct tGVRESAMPLEINSTANCE {
  double dLast[32]; /* the previous buffer's last frame, full scale 1.0 */
  double dPos;      /* source position of the next output frame, relative to
                       the next buffer's first frame; -1 <= dPos means between
                       dLast and that frame */
  double dStep;     /* source frames per output frame */
} tGVRESAMPLEINSTANCE;

#define GVRESAMPLE_REPEAT    0x00000000 /* method 0: nearest sample, Bresenham order */
#define GVRESAMPLE_LINEAR    0x00000001 /* method 1: linear over one buffer */
#define GVRESAMPLE_STREAM    0x00000002 /* method 2: streaming linear */
#define GVRESAMPLE_METHOD    0x0000000F /* the method bits */
#define GVRESAMPLE_RESET     0x80000000 /* zero the instance first */
#define GVRESAMPLE_MAXSTREAMCHANNELS 32

/* Resamples from pwfx->nSamplesPerSec to dwNewRate.
 * First pInst->dStep = 1.0 / (dwNewRate / nSamplesPerSec) is stored (pInst
 * may be null for methods 0 and 1); GVRESAMPLE_RESET then zeroes the whole
 * record, method 2 storing dStep again. Then by dwFlags & GVRESAMPLE_METHOD:
 *
 * 0  Repetition; returns nDstFrames. Each output frame is a source frame
 *    chosen with an integer error term: with S <= D from the last frame
 *    backwards (err = D/2; after each frame written err -= S, the source
 *    frame repeats while err >= 0, else err += D and the previous source
 *    frame follows); with S > D forwards (err = S/2; per source frame
 *    err -= D, and when err < 0, err += S and the frame is written). Frames
 *    left over get the last source frame used (upward) or the source's last
 *    frame (downward). In place in both directions.
 * 1  Linear over the buffer; returns nDstFrames. step = (S-1)/(D-1): below
 *    1.0 the frames are made from the last (at source position S-1, then
 *    stepping down) so the work can be in place; else from the first (at 0,
 *    stepping up). Frame at position p: i = trunc(p), f = p - i, output
 *    f * (x[i+1] - x[i]) + x[i]; past the source's last frame x[i+1] is
 *    taken as x[i] (never read outside the source). D = 1 gives source
 *    frame 0; S = 1 gives it everywhere.
 * 2  Streaming; returns the frames written. Every call consumes the whole
 *    source: output frames lie at positions dPos + k * dStep (k = 0, 1, ...)
 *    below S-1, so consecutive buffers give the frames one call over the
 *    joined buffers gives (up to the rounding of dPos at block ends); a
 *    position in -1..0 interpolates from dLast to the first frame, an exact
 *    whole position takes its frame as it is. Upsampling (dStep < 1) writes
 *    the frames last first and downsampling first to last, both keeping
 *    what they still need, so either may run in place. Frames past
 *    nDstFrames are not written but still counted in the stream's timing
 *    (size pDst by GvAudio_ResampleFrames). Afterwards dLast holds the last
 *    source frame and dPos has S subtracted. Streams of 0 or more than 32
 *    channels, a dStep that is not a positive finite number, and a null
 *    pInst give 0 with the instance and the buffers untouched.
 * other  Returns nSrcFrames and touches no buffer.
 *
 * Null pwfx gives 0. Null buffers or frame counts below 1 give 0 and write
 * nothing (an unknown method still returns nSrcFrames). */
GVAPI(long) GvAudio_ResampleEx(const WAVEFORMATEX *pwfx, DWORD dwNewRate, void *pDst,
                               long nDstFrames, const void *pSrc, long nSrcFrames,
                               tGVRESAMPLEINSTANCE *pInst, DWORD dwFlags);

/* Method 1 over one buffer pair with its own zeroed instance; the rate
 * passed on is trunc(nDstFrames / nSrcFrames * nSamplesPerSec) (0 when that
 * is not a number in 0..0xFFFFFFFF). Returns 0 whatever happened. */
GVAPI(long) GvAudio_Resample(const WAVEFORMATEX *pwfx, void *pDst, long nDstFrames,
                             const void *pSrc, long nSrcFrames);

/* The frames the next GvAudio_ResampleEx call of method 2 with nSrcFrames
 * frames will produce from this instance (its dStep must be set: after a
 * first call, or set it to source rate / destination rate yourself).
 * 0 for a null pInst, an unusable dStep or nSrcFrames below 1. */
GVAPI(long) GvAudio_ResampleFrames(const tGVRESAMPLEINSTANCE *pInst, long nSrcFrames);

#endif /* GVRESAMPLE_H */
