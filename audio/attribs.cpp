// Attributes records: byte widths, matching, silence, and the converter
// chosen for a pair of records.
#include <cstring>

#include "convert.h"
#include "gvaudio.h"

namespace gv::audio {

DWORD BytesPerSample(DWORD bits, DWORD flags) {
  switch (flags & GVAA_KINDMASK) {
    case 0:
      switch (bits) {
        case 8: return 1;
        case 16: return 2;
        case 24: return (flags & GVAA_PACKED24) ? 3 : 4;
        case 32: return 4;
      }
      return 0;
    case GVAA_FLOAT32: return 4;
    case GVAA_FLOAT64: return 8;
  }
  return 0;
}

DWORD SampleTypeOfAttribs(const tGVAUDIOATTRIBS &attr) {
  switch (attr.dwFlags & GVAA_KINDMASK) {
    case 0:
      switch (attr.nBitsPerSample) {
        case 8: return (attr.dwFlags & GVAA_UNSIGNED8) ? GV_SAMPLE_UINT8 : GV_SAMPLE_INT8;
        case 16: return GV_SAMPLE_INT16;
        case 24: return (attr.dwFlags & GVAA_PACKED24) ? GV_SAMPLE_INT24 : GV_SAMPLE_INT24IN32;
        case 32: return GV_SAMPLE_INT32;
      }
      return GV_SAMPLE_NONE;
    case GVAA_FLOAT32: return GV_SAMPLE_FLOAT32;
    case GVAA_FLOAT64: return GV_SAMPLE_FLOAT64;
  }
  return GV_SAMPLE_NONE;
}

GVCONVERTFUNC GetConverterForAttribs(const tGVAUDIOATTRIBS &dst, const tGVAUDIOATTRIBS &src) {
  return GetConverter(SampleTypeOfAttribs(dst), SampleTypeOfAttribs(src));
}

HRESULT CopyByAttribs(void *pDst, const tGVAUDIOATTRIBS &dstAttr, const void *pSrc,
                      const tGVAUDIOATTRIBS &srcAttr, DWORD nFrames) {
  if (nFrames == 0) return S_OK;
  GVCONVERTFUNC convert = GetConverterForAttribs(dstAttr, srcAttr);
  if (!convert) return E_NOTIMPL;
  // The ratio of full scales between differing representations is the
  // stream's business: it keeps read and write gains of its own, so this
  // copy always converts at gain 1.0.
  convert(pDst, pSrc, dstAttr.nChannels * nFrames, 1.0f);
  return S_OK;
}

bool AttribsMatch(const tGVAUDIOATTRIBS &a, const tGVAUDIOATTRIBS &b) {
  if (a.nChannels != b.nChannels) return false;
  const DWORD kindA = a.dwFlags & GVAA_KINDMASK, kindB = b.dwFlags & GVAA_KINDMASK;
  if (kindA != 0 && kindA == kindB) return true;
  return a.nBitsPerSample == b.nBitsPerSample && a.dwFlags == b.dwFlags;
}

void FillSilence(const tGVAUDIOATTRIBS &attr, void *buffer, DWORD frames) {
  const unsigned char byte =
      (attr.nBitsPerSample == 8 && (attr.dwFlags & GVAA_UNSIGNED8)) ? 0x80 : 0x00;
  const DWORD word = byte * 0x01010101u;
  const size_t total = size_t(frames) * attr.nBlockAlign;
  unsigned char *p = static_cast<unsigned char *>(buffer);
  const size_t words = total / 4;
  for (size_t w = 0; w < words; ++w) std::memcpy(p + w * 4, &word, 4);
  for (size_t i = words * 4; i < total; ++i) p[i] = byte;
}

}  // namespace gv::audio
