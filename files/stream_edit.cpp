// Whole-stream operations built on frame I/O: single channels, the length,
// copying between streams and reading the data as another channel count.
#include <cstring>

#include "audio/convert.h"
#include "files/stream.h"

namespace gv::stream {
namespace {

void CopySample(unsigned char *d, const unsigned char *s, DWORD width) {
  switch (width) {  // whole words where the width allows
    case 1: *d = *s; break;
    case 2: std::memcpy(d, s, 2); break;
    case 4: std::memcpy(d, s, 4); break;
    case 8: std::memcpy(d, s, 8); break;
    default: for (DWORD b = 0; b < width; ++b) d[b] = s[b];
  }
}

// frames * client align bytes from the process heap, or null.
unsigned char *Scratch(const Stream &s, DWORD frames) {
  const uint64_t bytes = uint64_t(frames) * s.client.nBlockAlign;
  if (bytes > 0x7FFF0000u) return nullptr;
  return static_cast<unsigned char *>(HeapAlloc(GetProcessHeap(), 0, SIZE_T(bytes ? bytes : 1)));
}

HRESULT SetSize(Stream &s, uint64_t length) {
  if (ReadOnly(s)) return STG_E_ACCESSDENIED;
  const uint64_t old = Length(s);
  if (length == old) return S_OK;
  if (length < old) {  // the file is never truncated
    s.position = length;
    SetLength(s, length);
    return S_OK;
  }
  void *silence = GetBuffer(s, s.framesPerBuffer);
  if (!silence) return E_OUTOFMEMORY;
  audio::FillSilence(s.client, silence, s.framesPerBuffer);
  const uint64_t position = s.position;
  s.position = old;
  HRESULT hr = S_OK;
  while (Length(s) < length) {
    const uint64_t left = length - Length(s);
    const DWORD want = left < s.framesPerBuffer ? DWORD(left) : s.framesPerBuffer;
    DWORD done = 0;
    hr = Write(s, silence, want, &done);
    if (FAILED(hr) || done < want) break;
  }
  s.position = position;
  ReleaseBuffer(s, silence);
  return hr;
}

HRESULT CopyTo(Stream &src, Stream &dst, DWORD frames, DWORD *read, DWORD *written) {
  if (dst.client.nChannels != src.client.nChannels) return E_NOTIMPL;
  void *staging = GetBuffer(dst, frames);
  if (!staging) return E_OUTOFMEMORY;
  HRESULT hr;
  if (audio::AttribsMatch(src.client, dst.client)) {
    hr = Read(src, staging, frames, read);
    if (SUCCEEDED(hr)) hr = Write(dst, staging, *read, written);
  } else {
    void *second = GetBuffer(src, frames);
    if (!second) return E_OUTOFMEMORY;
    hr = Read(src, second, frames, read);
    if (SUCCEEDED(hr)) {
      audio::CopyByAttribs(staging, dst.client, second, src.client, *read);
      hr = Write(dst, staging, *read, written);
    }
    ReleaseBuffer(src, second);
  }
  // Handed to the source, where it is not found: the staging buffer stays in
  // the destination's slot until the destination closes (callers rely on it).
  ReleaseBuffer(src, staging);
  return hr;
}

HRESULT PrestoChango(Stream &s, DWORD channels) {
  if (ReadOnly(s)) return STG_E_ACCESSDENIED;
  if (channels == s.client.nChannels) return S_OK;
  if ((s.group && (s.group->head != &s || s.next)) || s.view.pData) return E_NOTIMPL;
  if (!channels || !s.file.nBytesPerSample || !s.client.nBytesPerSample) return E_INVALIDARG;
  s.file.nChannels = s.client.nChannels = channels;
  s.file.nBlockAlign = s.file.nBytesPerSample * channels;
  s.client.nBlockAlign = s.client.nBytesPerSample * channels;
  s.framesPerPiece = kBufferBytes / s.file.nBlockAlign;
  s.framesPerBuffer = kBufferBytes / s.client.nBlockAlign;
  if (s.group) s.group->channels = channels;
  // Kept as it was first written: only a change to two channels halves the
  // length; every other count doubles it.
  SetLength(s, channels == 2 ? Length(s) / 2 : Length(s) * 2);
  s.position = 0;
  return S_OK;
}

}  // namespace
}  // namespace gv::stream

using namespace gv::stream;

GVAPI(HRESULT) GvAudioStream_ReadChannel(HGVAUDIOSTREAM hStream, DWORD channel, void *pBuffer,
                                         DWORD frames, DWORD *pDone) {
  if (!hStream) return E_FAIL;
  if (!pDone || !pBuffer) return E_INVALIDARG;
  *pDone = 0;
  Stream &s = *FromHandle(hStream);
  if (channel >= s.client.nChannels) return E_INVALIDARG;
  unsigned char *frameData = Scratch(s, frames);
  if (!frameData) return E_OUTOFMEMORY;
  DWORD got = 0;
  const HRESULT hr = Read(s, frameData, frames, &got);
  const DWORD width = s.client.nBytesPerSample, align = s.client.nBlockAlign;
  auto *out = static_cast<unsigned char *>(pBuffer);
  for (DWORD k = 0; k < got; ++k)
    CopySample(out + k * width, frameData + k * align + channel * width, width);
  HeapFree(GetProcessHeap(), 0, frameData);
  *pDone = got;
  return hr;
}

GVAPI(HRESULT) GvAudioStream_WriteChannel(HGVAUDIOSTREAM hStream, DWORD channel,
                                          const void *pBuffer, DWORD frames, DWORD *pDone) {
  if (pDone) *pDone = 0;
  if (!hStream) return E_FAIL;
  if (!pBuffer) return E_INVALIDARG;
  Stream &s = *FromHandle(hStream);
  if (channel >= s.client.nChannels) return E_INVALIDARG;
  unsigned char *frameData = Scratch(s, frames);  // not cleared: see the header
  if (!frameData) return E_OUTOFMEMORY;
  const uint64_t position = s.position;
  Read(s, frameData, frames, nullptr);
  s.position = position;
  const DWORD width = s.client.nBytesPerSample, align = s.client.nBlockAlign;
  const auto *in = static_cast<const unsigned char *>(pBuffer);
  for (DWORD k = 0; k < frames; ++k)
    CopySample(frameData + k * align + channel * width, in + k * width, width);
  const HRESULT hr = Write(s, frameData, frames, pDone);
  HeapFree(GetProcessHeap(), 0, frameData);
  return hr;
}

GVAPI(HRESULT) GvAudioStream_SetSize(HGVAUDIOSTREAM hStream, DWORD lengthLow, DWORD lengthHigh) {
  if (!hStream) return E_FAIL;
  return SetSize(*FromHandle(hStream), uint64_t(lengthHigh) << 32 | lengthLow);
}

GVAPI(HRESULT) GvAudioStream_CopyTo(HGVAUDIOSTREAM hSource, HGVAUDIOSTREAM hDest, DWORD frames,
                                    DWORD *pRead, DWORD *pWritten) {
  DWORD read = 0, written = 0;
  if (pRead) *pRead = 0;
  if (pWritten) *pWritten = 0;
  if (!hSource || !hDest) return E_FAIL;
  const HRESULT hr = CopyTo(*FromHandle(hSource), *FromHandle(hDest), frames, &read, &written);
  if (pRead) *pRead = read;
  if (pWritten) *pWritten = written;
  return hr;
}

GVAPI(HRESULT) GvAudioStream_PrestoChangoChannels(HGVAUDIOSTREAM hStream, DWORD channels) {
  if (!hStream) return E_FAIL;
  return PrestoChango(*FromHandle(hStream), channels);
}
