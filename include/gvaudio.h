/*
 * gvaudio.h -- audio format vocabulary: format tags, sample types, the
 * attributes record, format texts and 64-bit sample regions.
 *
 * Every routine that touches sample data reduces a WAVEFORMATEX to a sample
 * type first. Nothing here allocates or keeps state, so any thread may call
 * these functions at once on records and buffers that no other thread
 * writes. The one exception: GvAudio_GetAttribsText formats with GvPrintF,
 * whose token table is not locked, so it must not run while another thread
 * adds tokens with GvPrintF_AddToken.
 */
#ifndef GVAUDIO_H
#define GVAUDIO_H

#include "gvdefs.h"
#include <mmsystem.h>
#include <mmreg.h>

/* Private format tags; with WAVE_FORMAT_PCM and WAVE_FORMAT_IEEE_FLOAT they
 * make up the PCM family. */
#define GV_WAVE_FORMAT_UNPACKED  0xFE00 /* 24-bit samples in 32-bit containers */
#define GV_WAVE_FORMAT_SIGNED    0xFE01 /* integer PCM, 8-bit data signed */
#define GV_WAVE_FORMAT_BIGENDIAN 0xFE02 /* integer PCM, most significant byte first */

/* Sample types: high nibble of the low byte = family, low nibble = width. */
#define GV_SAMPLE_NONE      0x00 /* not supported */
#define GV_SAMPLE_UINT8     0x10 /* 1 byte, offset binary (0x80 = zero) */
#define GV_SAMPLE_INT16     0x11 /* 2 bytes, signed, little-endian */
#define GV_SAMPLE_INT24     0x12 /* 3 bytes, signed, little-endian, packed */
#define GV_SAMPLE_INT32     0x13 /* 4 bytes, signed, little-endian */
#define GV_SAMPLE_FLOAT32   0x20 /* IEEE float, full scale 1.0 */
#define GV_SAMPLE_FLOAT64   0x21 /* IEEE double, full scale 1.0 */
#define GV_SAMPLE_INT24IN32 0x30 /* 24-bit value sign-extended in 4 bytes */
#define GV_SAMPLE_INT8      0x31 /* 1 byte, signed */
#define GV_SAMPLE_INT16BE   0x40 /* classification only: no converters */
#define GV_SAMPLE_INT24BE   0x41
#define GV_SAMPLE_INT32BE   0x42

/* Attributes record: twelve 32-bit words describing sample data. */
typedef struct tGVAUDIOATTRIBS {
  DWORD cbSize;          /* bytes of the record that were filled, at most 48 */
  DWORD dwUser;          /* caller's word, carried unchanged */
  DWORD dwFlags;         /* GVAA_ flags and number kind (bits 16-31) */
  DWORD nSamplesPerSec;  /* sample rate in Hz */
  DWORD nChannels;       /* interleaved channels */
  DWORD nBitsPerSample;  /* significant bits of an integer sample */
  DWORD nBytesPerSample; /* computed: bytes one sample occupies */
  DWORD nBlockAlign;     /* computed: nBytesPerSample * nChannels */
  DWORD dwReserved[4];   /* zero */
} tGVAUDIOATTRIBS;

#define GVAA_KINDMASK    0xFFFF0000 /* number kind: 0 = integer */
#define GVAA_FLOAT32     0x00010000
#define GVAA_FLOAT64     0x00020000
#define GVAA_UNSIGNED8   0x00000010 /* 8-bit data is offset binary */
#define GVAA_PACKED24    0x00000020 /* 24-bit data packed in 3 bytes */
#define GVAA_SCALEDFLOAT 0x00008000 /* float data scaled to the integer range */

/* A stretch of samples or frames: covers start .. start+length-1. */
typedef struct tGVREGION64 {
  LONGLONG start;
  LONGLONG length;
} tGVREGION64;

/* The sample type of (wFormatTag, wBitsPerSample); GV_SAMPLE_NONE when
 * unsupported or pwfx is null. Reads no other field. */
GVAPI(DWORD) GvAudio_GetSampleType(const WAVEFORMATEX *pwfx);

/* Repairs a WAVE_FORMAT_PCM record claiming 20 bits to 24 bits; no other
 * field changes. TRUE if repaired, else FALSE (also for null). */
GVAPI(BOOL) GvAudio_FixBadWfx(WAVEFORMATEX *pwfx);

/* TRUE when nChannels, nSamplesPerSec, wFormatTag and wBitsPerSample are
 * all equal, else FALSE (also when either is null). */
GVAPI(BOOL) GvAudio_IsEqualFormat(const WAVEFORMATEX *a, const WAVEFORMATEX *b);

/* Full scale of an integer width: 8 -> 128.0, 16 -> 32768.0,
 * 24 -> 8388608.0, 32 -> 2147483648.0, anything else 1.0. */
GVAPI(double) GvAudio_GetNormalizeFactor(int nBits);

/* The label of a format tag: the PCM family's own labels, otherwise the
 * audio compression manager's tag name. S_OK, or E_FAIL with "Unknown" when
 * the manager has no name. pszText may be null (result only); otherwise
 * at most cchText bytes are written and pszText[cchText-1] is set to 0. */
GVAPI(HRESULT) GvAudio_GetTagText(DWORD wFormatTag, LPSTR pszText, UINT cchText);

/* A description such as "44,100 Hz, 16-bit, Stereo" for PCM-family
 * records whose nBlockAlign is whole bytes times channels; other records
 * are described by the audio compression manager. S_OK, or E_FAIL with
 * "Unknown". Buffer rules as for GvAudio_GetTagText. */
GVAPI(HRESULT) GvAudio_GetAttribsText(const WAVEFORMATEX *pwfx, LPSTR pszText, UINT cchText);

/* Builds a full record (fields 1-5 from the arguments, 6 and 7 computed),
 * copies its first min(cbAttr, 48) bytes to pAttr and stores that count in
 * cbSize (when at least 4 bytes were copied). Note the order: bits before
 * channels. Returns S_OK; a null pAttr writes nothing. */
GVAPI(HRESULT) GvAudio_InitAttribs(tGVAUDIOATTRIBS *pAttr, DWORD cbAttr, DWORD dwUser,
                                   DWORD dwFlags, DWORD nSamplesPerSec,
                                   DWORD nBitsPerSample, DWORD nChannels);

/* TRUE and the overlap in *pOut when a and b overlap; FALSE and *pOut
 * untouched when they do not (regions that only touch do not overlap) or
 * any pointer is null. */
GVAPI(BOOL) GvIntersectRegionLongLong(tGVREGION64 *pOut, const tGVREGION64 *a,
                                      const tGVREGION64 *b);

/* Reduces an extensible record (WAVE_FORMAT_EXTENSIBLE, as other tools
 * write for 24-bit, 32-bit and multi-channel files) with a PCM or IEEE-float
 * sub-format to the plain record with that tag and cbSize 0, wBitsPerSample
 * being the container width (samples are left-justified in it). S_OK and
 * *pChannelMask (optional) = the speaker mask; S_FALSE with a plain copy of
 * the first 18 bytes when pwfx is not extensible; E_NOTIMPL for any other
 * sub-format or a cbSize below 22; E_INVALIDARG for null pointers. The mask
 * is 0 unless S_OK. */
GVAPI(HRESULT) GvAudio_ReduceExtensible(const WAVEFORMATEX *pwfx, WAVEFORMATEX *pOut,
                                        DWORD *pChannelMask);

#endif /* GVAUDIO_H */
