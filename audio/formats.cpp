// Classification and small repairs of WAVEFORMATEX records, and the labels
// of format tags.
#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>
#include <msacm.h>

#include <cstring>

#include "formattext.h"
#include "gvaudio.h"

namespace gv::audio {

DWORD SampleTypeOf(WORD tag, WORD bits) {
  switch (tag) {
    case WAVE_FORMAT_PCM:
    case GV_WAVE_FORMAT_SIGNED:
      switch (bits) {
        case 8: return tag == WAVE_FORMAT_PCM ? GV_SAMPLE_UINT8 : GV_SAMPLE_INT8;
        case 16: return GV_SAMPLE_INT16;
        case 24: return GV_SAMPLE_INT24;
        case 32: return GV_SAMPLE_INT32;
      }
      return GV_SAMPLE_NONE;
    case WAVE_FORMAT_IEEE_FLOAT:
      return bits == 32 ? GV_SAMPLE_FLOAT32 : bits == 64 ? GV_SAMPLE_FLOAT64 : GV_SAMPLE_NONE;
    case GV_WAVE_FORMAT_UNPACKED:
      return bits == 32 ? GV_SAMPLE_INT24IN32 : GV_SAMPLE_NONE;
    case GV_WAVE_FORMAT_BIGENDIAN:
      switch (bits) {
        case 8: return GV_SAMPLE_UINT8;  // 8-bit big-endian data is unsigned, like PCM
        case 16: return GV_SAMPLE_INT16BE;
        case 24: return GV_SAMPLE_INT24BE;
        case 32: return GV_SAMPLE_INT32BE;
      }
      return GV_SAMPLE_NONE;
  }
  return GV_SAMPLE_NONE;
}

const char *PcmFamilyLabel(DWORD tag) {
  switch (tag) {
    case WAVE_FORMAT_PCM: return "PCM";
    case WAVE_FORMAT_IEEE_FLOAT: return "PCM (float)";
    case GV_WAVE_FORMAT_UNPACKED: return "PCM (unpacked)";
    case GV_WAVE_FORMAT_SIGNED: return "PCM (signed)";
    case GV_WAVE_FORMAT_BIGENDIAN: return "PCM (big endian)";
  }
  return nullptr;
}

void CopyText(const char *text, LPSTR out, UINT cch) {
  if (!out || cch == 0) return;
  std::strncpy(out, text, cch);
  out[cch - 1] = 0;
}

}  // namespace gv::audio

using namespace gv::audio;

GVAPI(DWORD) GvAudio_GetSampleType(const WAVEFORMATEX *pwfx) {
  if (!pwfx) return GV_SAMPLE_NONE;
  return SampleTypeOf(pwfx->wFormatTag, pwfx->wBitsPerSample);
}

GVAPI(BOOL) GvAudio_FixBadWfx(WAVEFORMATEX *pwfx) {
  // Some writers label 24-bit data as 20 bits in 3-byte containers.
  if (!pwfx || pwfx->wFormatTag != WAVE_FORMAT_PCM || pwfx->wBitsPerSample != 20) return FALSE;
  pwfx->wBitsPerSample = 24;
  return TRUE;
}

GVAPI(BOOL) GvAudio_IsEqualFormat(const WAVEFORMATEX *a, const WAVEFORMATEX *b) {
  if (!a || !b) return FALSE;
  return a->nChannels == b->nChannels && a->nSamplesPerSec == b->nSamplesPerSec &&
         a->wFormatTag == b->wFormatTag && a->wBitsPerSample == b->wBitsPerSample;
}

GVAPI(double) GvAudio_GetNormalizeFactor(int nBits) {
  switch (nBits) {
    case 8: return 128.0;
    case 16: return 32768.0;
    case 24: return 8388608.0;
    case 32: return 2147483648.0;
  }
  return 1.0;
}

GVAPI(HRESULT) GvAudio_GetTagText(DWORD wFormatTag, LPSTR pszText, UINT cchText) {
  if (const char *label = PcmFamilyLabel(wFormatTag)) {
    CopyText(label, pszText, cchText);
    return S_OK;
  }
  ACMFORMATTAGDETAILSA details;
  std::memset(&details, 0, sizeof details);
  details.cbStruct = sizeof details;
  details.dwFormatTag = wFormatTag;
  if (acmFormatTagDetailsA(nullptr, &details, ACM_FORMATTAGDETAILSF_FORMATTAG) != 0) {
    CopyText("Unknown", pszText, cchText);
    return E_FAIL;
  }
  CopyText(details.szFormatTag, pszText, cchText);
  return S_OK;
}
