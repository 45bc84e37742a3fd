// WAVE files for gvtool's info and convert: the probe with its errors, and
// the records a stream over the file needs.
#pragma once

#include <string>

#include "commands.h"

namespace gvtool {

struct WaveFile {
  std::string path;
  WAVEFORMATEX wfx{};      // the plain record (extensible ones reduced)
  tGVWAVEINFO info{};
  tGVAUDIOATTRIBS attr{};  // the file format as a stream takes it
};

// Probes `path`; false after a one-line error (unreadable, not a PCM WAVE
// file, a sample format streams cannot read).
bool ProbeWave(const std::string &path, WaveFile *wave);

// "signed integer", "unsigned integer", "float"...
const char *EncodingText(const WAVEFORMATEX &wfx);

// A plain record of the PCM family.
WAVEFORMATEX MakeWfx(WORD tag, WORD bits, WORD channels, DWORD rate);

// Opens a read stream over the file's data with the client format given.
HGVAUDIOSTREAM OpenRead(const WaveFile &wave, DWORD clientBits, DWORD clientFlags);

}  // namespace gvtool
