// Extensible format records (tag 0xFFFE) with a PCM or IEEE-float
// sub-format, reduced to the plain record every other function reads.
#include <cstring>

#include "gvaudio.h"

namespace {

// The sub-format GUIDs of the plain tags: {tag-0000-0010-8000-00AA00389B71}.
bool PlainSubFormat(const GUID &g, WORD *tag) {
  static const unsigned char kTail[8] = {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
  if (g.Data2 != 0x0000 || g.Data3 != 0x0010 || std::memcmp(g.Data4, kTail, 8) != 0) return false;
  if (g.Data1 != WAVE_FORMAT_PCM && g.Data1 != WAVE_FORMAT_IEEE_FLOAT) return false;
  *tag = WORD(g.Data1);
  return true;
}

}  // namespace

GVAPI(HRESULT) GvAudio_ReduceExtensible(const WAVEFORMATEX *pwfx, WAVEFORMATEX *pOut,
                                        DWORD *pChannelMask) {
  if (pChannelMask) *pChannelMask = 0;
  if (!pwfx || !pOut) return E_INVALIDARG;
  if (pwfx->wFormatTag != WAVE_FORMAT_EXTENSIBLE) {
    std::memcpy(pOut, pwfx, sizeof *pOut);
    return S_FALSE;
  }
  const size_t extra = sizeof(WAVEFORMATEXTENSIBLE) - sizeof(WAVEFORMATEX);
  if (pwfx->cbSize < extra) return E_NOTIMPL;
  WAVEFORMATEXTENSIBLE ext;
  std::memcpy(&ext, pwfx, sizeof ext);
  WORD tag = 0;
  if (!PlainSubFormat(ext.SubFormat, &tag)) return E_NOTIMPL;
  // Samples are left-justified in their containers, so the container width
  // reads them at the right scale whatever the valid bits are.
  *pOut = ext.Format;
  pOut->wFormatTag = tag;
  pOut->cbSize = 0;
  if (pChannelMask) *pChannelMask = ext.dwChannelMask;
  return S_OK;
}
