// INFO lists for gvtool's info and tag: the list of a RIFF file's top
// level, and the display names of the summary table.
#pragma once

#include <string>

#include "commands.h"

namespace gvtool {

// Loads the INFO list among the top-level chunks of an open RIFF file into
// *list (empty when the file has none). S_OK or the failing result.
HRESULT LoadFileInfo(HANDLE file, tGVINFOLIST *list);

// The summary table's name for a code ("Artist"), or the code itself.
std::string InfoDisplayName(DWORD code);

// "IART" for a code.
std::string CodeText(DWORD code);

}  // namespace gvtool
