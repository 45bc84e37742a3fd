// The exported constructor of attributes records; partial sizes fill only
// the leading words.
#include <cstring>

#include "convert.h"
#include "gvaudio.h"

GVAPI(HRESULT) GvAudio_InitAttribs(tGVAUDIOATTRIBS *pAttr, DWORD cbAttr, DWORD dwUser,
                                   DWORD dwFlags, DWORD nSamplesPerSec, DWORD nBitsPerSample,
                                   DWORD nChannels) {
  if (!pAttr) return S_OK;
  tGVAUDIOATTRIBS full;
  std::memset(&full, 0, sizeof full);
  full.dwUser = dwUser;
  full.dwFlags = dwFlags;
  full.nSamplesPerSec = nSamplesPerSec;
  full.nChannels = nChannels;
  full.nBitsPerSample = nBitsPerSample;
  full.nBytesPerSample = gv::audio::BytesPerSample(nBitsPerSample, dwFlags);
  full.nBlockAlign = full.nBytesPerSample * nChannels;
  const DWORD count = cbAttr < sizeof full ? cbAttr : DWORD(sizeof full);
  std::memcpy(pAttr, &full, count);
  if (count >= sizeof(DWORD)) pAttr->cbSize = count;
  return S_OK;
}
