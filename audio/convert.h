// The converter and channel-routine matrices, and their use through
// attributes records (the audio stream describes its data that way).
#pragma once

#include "gvconvert.h"

namespace gv::audio {

// Entry (destination, source) of the 8x8 matrices; null when either type
// has no converters.
GVCONVERTFUNC GetConverter(DWORD dstType, DWORD srcType);
GVCOPYCHANNELSFUNC GetChannelCopier(DWORD dstType, DWORD srcType);

// The loop the converters run. Auto picks AVX2 where the processor has it,
// else SSE2; the others force one loop, so the tests can check each against
// the reference model. ForceConvertPath is false (and changes nothing) for
// AVX2 on a processor without it. Not for use while conversions are running.
enum class ConvertPath { Auto, Scalar, Sse2, Avx2 };
bool ForceConvertPath(ConvertPath path);

// Sample type of an attributes record (number kind, bits, GVAA_UNSIGNED8,
// GVAA_PACKED24); GV_SAMPLE_NONE for an unsupported kind or width.
DWORD SampleTypeOfAttribs(const tGVAUDIOATTRIBS &attr);

// The converter for two attributes records, or null.
GVCONVERTFUNC GetConverterForAttribs(const tGVAUDIOATTRIBS &dst, const tGVAUDIOATTRIBS &src);

// Converts dstAttr.nChannels * nFrames samples at gain 1.0. 0 for no
// frames, E_NOTIMPL without a converter, else 0.
HRESULT CopyByAttribs(void *pDst, const tGVAUDIOATTRIBS &dstAttr, const void *pSrc,
                      const tGVAUDIOATTRIBS &srcAttr, DWORD nFrames);

// Same channel count and either the same non-zero number kind or equal
// bits and flags: data of one can be used as data of the other.
bool AttribsMatch(const tGVAUDIOATTRIBS &a, const tGVAUDIOATTRIBS &b);

// frames * nBlockAlign bytes of silence: 0x80 for unsigned 8-bit, else 0.
void FillSilence(const tGVAUDIOATTRIBS &attr, void *buffer, DWORD frames);

// nBytesPerSample of (bits, flags).
DWORD BytesPerSample(DWORD nBitsPerSample, DWORD dwFlags);

}  // namespace gv::audio
