// The 44-byte header of a plain WAVE file (RIFF header, 16-byte "fmt ",
// "data" header) written over the zeros an audio stream left at the front of
// a file it filled, once the data size is known. The graph's WAVE sink and
// gvtool convert both finish their files with it.
#pragma once

#include <windows.h>
#include <mmreg.h>

namespace gv {

constexpr DWORD kPlainWaveHeaderBytes = 44;

// Writes the headers, the pad byte after odd data and the RIFF size last.
// False on a failure, with the thread's last error kept from it.
bool WritePlainWaveHeaders(const char *path, const WAVEFORMATEX &wfx, DWORD dataBytes);

}  // namespace gv
