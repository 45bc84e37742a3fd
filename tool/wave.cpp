// WAVE probing for gvtool: the platform's reason when a file cannot be
// read, one line when it is not a PCM WAVE file.
#include "wave.h"

#include <cstdlib>

namespace gvtool {

bool ProbeWave(const std::string &path, WaveFile *wave) {
  // Opened first so that a missing or locked file is reported with its reason.
  HANDLE file = OpenForReading(path);
  if (file == INVALID_HANDLE_VALUE) return false;
  CloseHandle(file);
  wave->path = path;
  wave->info = tGVWAVEINFO{};
  wave->info.cbSize = sizeof wave->info;
  WAVEFORMATEX *w = GvGetFileWfxEx(path.c_str(), &wave->info);
  if (!w) {
    Error("%s: not a PCM WAVE file", path.c_str());
    return false;
  }
  wave->wfx = *w;
  wave->wfx.cbSize = 0;
  std::free(w);
  const WAVEFORMATEX &f = wave->wfx;
  DWORD flags = 0, bits = f.wBitsPerSample;
  switch (f.wFormatTag) {
    case WAVE_FORMAT_IEEE_FLOAT:
      flags = bits == 64 ? GVAA_FLOAT64 : GVAA_FLOAT32;
      break;
    case WAVE_FORMAT_PCM:
      flags = bits == 8 ? GVAA_UNSIGNED8 : bits == 24 ? GVAA_PACKED24 : 0;
      break;
    case GV_WAVE_FORMAT_UNPACKED:
      bits = 24;  // 24 significant bits in 4 bytes
      break;
    case GV_WAVE_FORMAT_SIGNED:
      break;
    default:
      Error("%s: %s samples cannot be read by this tool", path.c_str(), EncodingText(f));
      return false;
  }
  GvAudio_InitAttribs(&wave->attr, sizeof wave->attr, 0, flags, f.nSamplesPerSec, bits,
                      f.nChannels);
  if (wave->attr.nBlockAlign != f.nBlockAlign) {
    Error("%s: %u-bit %s samples cannot be read by this tool", path.c_str(), f.wBitsPerSample,
          EncodingText(f));
    return false;
  }
  return true;
}

const char *EncodingText(const WAVEFORMATEX &wfx) {
  switch (wfx.wFormatTag) {
    case WAVE_FORMAT_PCM: return wfx.wBitsPerSample == 8 ? "unsigned integer" : "signed integer";
    case WAVE_FORMAT_IEEE_FLOAT: return "float";
    case GV_WAVE_FORMAT_SIGNED: return "signed integer";
    case GV_WAVE_FORMAT_UNPACKED: return "signed integer (24 bits in 32)";
    case GV_WAVE_FORMAT_BIGENDIAN: return "big-endian signed integer";
  }
  return "unknown";
}

WAVEFORMATEX MakeWfx(WORD tag, WORD bits, WORD channels, DWORD rate) {
  WAVEFORMATEX w{};
  w.wFormatTag = tag;
  w.nChannels = channels;
  w.nSamplesPerSec = rate;
  w.wBitsPerSample = bits;
  w.nBlockAlign = WORD(channels * (bits / 8));
  w.nAvgBytesPerSec = rate * w.nBlockAlign;
  return w;
}

HGVAUDIOSTREAM OpenRead(const WaveFile &wave, DWORD clientBits, DWORD clientFlags) {
  HGVAUDIOSTREAM s = nullptr;
  const ULONGLONG frames = wave.info.nFrames;
  const HRESULT hr = GvAudioStream_OpenFile(
      &s, wave.path.c_str(), DWORD(wave.info.nDataOffset), DWORD(frames), DWORD(frames >> 32),
      &wave.attr, clientBits, clientFlags, GVAS_VIEW_NONE, GVAS_OPENREAD | GVAS_READONLY);
  if (hr != S_OK) {
    Error("%s: %s", wave.path.c_str(), HresultReason(hr).c_str());
    return nullptr;
  }
  return s;
}

}  // namespace gvtool
