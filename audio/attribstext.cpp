// Descriptions of whole formats: PCM-family records through the library's
// formatter, everything else through the audio compression manager.
#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>
#include <msacm.h>

#include <cstring>

#include "formattext.h"
#include "gvaudio.h"
#include "gvformat.h"

using namespace gv::audio;

GVAPI(HRESULT) GvAudio_GetAttribsText(const WAVEFORMATEX *pwfx, LPSTR pszText, UINT cchText) {
  if (!pwfx) {
    CopyText("Unknown", pszText, cchText);
    return E_FAIL;
  }
  if (PcmFamilyLabel(pwfx->wFormatTag) &&
      pwfx->nBlockAlign == (pwfx->wBitsPerSample / 8) * pwfx->nChannels) {
    char channels[2048];
    if (pwfx->nChannels == 1) std::strcpy(channels, "Mono");
    else if (pwfx->nChannels == 2) std::strcpy(channels, "Stereo");
    else GvPrintF(channels, "%d Channels", int(pwfx->nChannels));
    char text[2048];
    GvPrintF(text, "$d Hz$, %d-bit$, %s", int(pwfx->nSamplesPerSec), int(pwfx->wBitsPerSample),
             channels);
    CopyText(text, pszText, cchText);
    return S_OK;
  }
  ACMFORMATDETAILSA details;
  std::memset(&details, 0, sizeof details);
  details.cbStruct = sizeof details;
  details.dwFormatTag = pwfx->wFormatTag;
  details.pwfx = const_cast<WAVEFORMATEX *>(pwfx);
  details.cbwfx = pwfx->wFormatTag == WAVE_FORMAT_PCM ? 16 : pwfx->cbSize + 18u;
  if (acmFormatDetailsA(nullptr, &details, ACM_FORMATDETAILSF_FORMAT) != 0) {
    CopyText("Unknown", pszText, cchText);
    return E_FAIL;
  }
  CopyText(details.szFormat, pszText, cchText);
  return S_OK;
}
