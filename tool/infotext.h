// INFO lists for gvtool's info and tag: the list of a RIFF file's top
// level, and the display names of the summary table.
#pragma once

#include <string>

#include "commands.h"

namespace gvtool {

// Where the top-level chunks of a RIFF file of `fileSize` bytes end, from
// its header's size less 4 (`rest`, as riff_ReadFileID gives it): 8 + the
// header's size, or the file's end when that size is unset or wrong (0 to 4,
// 0xFFFFFFFF, past the end of the file), as streamed files leave it.
unsigned long long ChunksEnd(DWORD rest, unsigned long long fileSize);

// Loads the first INFO list among the top-level chunks of an open RIFF file
// into *list (empty when the file has none). S_OK or the failing result.
HRESULT LoadFileInfo(HANDLE file, tGVINFOLIST *list);

// The summary table's name for a code ("Artist"), or the code itself.
std::string InfoDisplayName(DWORD code);

// "IART" for a code.
std::string CodeText(DWORD code);

}  // namespace gvtool
