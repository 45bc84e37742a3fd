// Interface colours: 47 slots read from the kernel settings, each falling
// back to a built-in colour, and the hook that reloads them.
#include "kernel/frame.h"
#include "kernel/loadsteps.h"
#include "kernel/uicolours.h"
#include "include/gvkernel.h"

namespace gv {

namespace {

// Built-in colours: waveform views, meters, faders, envelopes, selections.
const COLORREF kDefaultColours[kUiColourCount] = {
    RGB(0, 0, 0),       RGB(0, 255, 0),     RGB(0, 128, 0),     RGB(255, 255, 0),
    RGB(255, 0, 0),     RGB(128, 128, 128), RGB(192, 192, 192), RGB(255, 255, 255),
    RGB(0, 0, 128),     RGB(0, 0, 255),     RGB(0, 128, 128),   RGB(0, 255, 255),
    RGB(128, 0, 0),     RGB(128, 0, 128),   RGB(255, 0, 255),   RGB(128, 128, 0),
    RGB(64, 64, 64),    RGB(32, 32, 32),    RGB(0, 64, 0),      RGB(0, 192, 0),
    RGB(255, 128, 0),   RGB(255, 192, 0),   RGB(160, 160, 164), RGB(212, 208, 200),
    RGB(0, 0, 0),       RGB(255, 255, 255), RGB(10, 36, 106),   RGB(166, 202, 240),
    RGB(0, 0, 0),       RGB(255, 255, 225), RGB(128, 128, 128), RGB(64, 0, 0),
    RGB(0, 0, 64),      RGB(192, 0, 0),     RGB(0, 0, 192),     RGB(192, 192, 0),
    RGB(0, 160, 0),     RGB(96, 96, 96),    RGB(224, 224, 224), RGB(48, 48, 48),
    RGB(255, 64, 64),   RGB(64, 255, 64),   RGB(64, 64, 255),   RGB(240, 240, 240),
    RGB(16, 16, 16),    RGB(128, 255, 128), RGB(255, 128, 128),
};

COLORREF g_colours[kUiColourCount];

}  // namespace

COLORREF UiColour(int i) {
  return (i >= 0 && i < kUiColourCount) ? g_colours[i] : kDefaultColours[0];
}

void UiColours_Load() {
  for (int i = 0; i < kUiColourCount; ++i) {
    int v = GvGetMetricEx(g_frame.kernelSettings, kUiColourFirstSetting + i, -1, 0x7FFFFFFF, -1);
    g_colours[i] = v == -1 ? kDefaultColours[i] : static_cast<COLORREF>(v);
  }
}

// The library caches no drawing objects yet, so there is nothing to discard.
void UiDrawingObjects_Release() {}

}  // namespace gv

GVAPI(LRESULT) GvKernel_UserPrefChanges(HWND window, UINT message, WPARAM wParam,
                                        LPARAM lParam) {
  if (message == WM_SYSCOLORCHANGE) {
    gv::UiDrawingObjects_Release();
    gv::UiColours_Load();
  }
  return DefWindowProcA(window, message, wParam, lParam);
}
