// The table of interface colours shared by the library's drawing code.
#pragma once

#include <windows.h>

namespace gv {

constexpr int kUiColourCount = 47;
constexpr int kUiColourFirstSetting = 500;  // kernel settings 500..546

// The current colour of slot i (0..46).
COLORREF UiColour(int i);

}  // namespace gv
