// Window and dialog-item text set through the formatter, and the log-style
// multi-line edit control.
#include "kernel/format.h"
#include "include/gvformat.h"

namespace {

int SetText(HWND window, const char *text) {
  return SetWindowTextA(window, text) ? lstrlenA(text) : 0;
}

int SetItemText(HWND dialog, int itemId, const char *text) {
  return SetDlgItemTextA(dialog, itemId, text) ? lstrlenA(text) : 0;
}

}  // namespace

GVAPIV(int) GvSetWindowText(HWND window, LPCSTR format, ...) {
  char buffer[gv::kWrapperBufferSize];
  va_list args;
  va_start(args, format);
  const char *text = gv::WrapperText(buffer, format, args);
  va_end(args);
  return SetText(window, text);
}

GVAPIV(int) GvSetWindowTextId(HANDLE language, HWND window, UINT stringId, ...) {
  char buffer[gv::kWrapperBufferSize];
  va_list args;
  va_start(args, stringId);
  const char *text = gv::WrapperTextFromId(buffer, language, stringId, args);
  va_end(args);
  return SetText(window, text);
}

GVAPIV(int) GvSetDlgItemText(HWND dialog, int itemId, LPCSTR format, ...) {
  char buffer[gv::kWrapperBufferSize];
  va_list args;
  va_start(args, format);
  const char *text = gv::WrapperText(buffer, format, args);
  va_end(args);
  return SetItemText(dialog, itemId, text);
}

GVAPIV(int) GvSetDlgItemTextId(HANDLE language, HWND dialog, int itemId, UINT stringId, ...) {
  char buffer[gv::kWrapperBufferSize];
  va_list args;
  va_start(args, stringId);
  const char *text = gv::WrapperTextFromId(buffer, language, stringId, args);
  va_end(args);
  return SetItemText(dialog, itemId, text);
}

GVAPIV(int) GvMEditPrintF(HWND edit, LPCSTR format, ...) {
  if (!format) {
    SetWindowTextA(edit, "");
    return 0;
  }
  const char *text = format;
  bool continuesLine = false;
  while (*text == '~') {
    ++text;
    continuesLine = true;
  }
  char buffer[gv::kWrapperBufferSize];
  va_list args;
  va_start(args, format);
  const int length = gv::FormatText(buffer, sizeof buffer, text, args);
  va_end(args);

  SendMessageA(edit, EM_SETSEL, static_cast<WPARAM>(-1), -1);
  SendMessageA(edit, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(buffer));
  if (!continuesLine) SendMessageA(edit, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>("\r\n"));
  return length;
}
