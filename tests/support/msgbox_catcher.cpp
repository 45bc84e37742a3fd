#include "support/msgbox_catcher.h"

namespace gvtest {

namespace {
thread_local std::vector<CaughtBox> *t_boxes = nullptr;

std::string Text(HWND window) {
  char text[2048] = "";
  GetWindowTextA(window, text, sizeof text);
  return text;
}
}  // namespace

MsgBoxCatcher::MsgBoxCatcher()
    : hook_(SetWindowsHookExA(WH_CBT, Hook, nullptr, GetCurrentThreadId())) {
  t_boxes = &boxes_;
}

MsgBoxCatcher::~MsgBoxCatcher() {
  UnhookWindowsHookEx(hook_);
  t_boxes = nullptr;
}

// A box is recorded when first activated, answered through its own loop, and
// its place read as it is destroyed.
LRESULT CALLBACK MsgBoxCatcher::Hook(int code, WPARAM wParam, LPARAM lParam) {
  HWND box = reinterpret_cast<HWND>(wParam);
  char cls[64] = "";
  if (t_boxes && (code == HCBT_ACTIVATE || code == HCBT_DESTROYWND))
    GetClassNameA(box, cls, sizeof cls);
  if (lstrcmpA(cls, "#32770") != 0) return CallNextHookEx(nullptr, code, wParam, lParam);
  const bool known = !t_boxes->empty() && t_boxes->back().window == box;
  if (code == HCBT_DESTROYWND && known) {
    GetWindowRect(box, &t_boxes->back().rect);
    t_boxes->back().window = nullptr;
  } else if (code == HCBT_ACTIVATE && !known) {
    const bool icon = GetDlgItem(box, 0x440) != nullptr;
    t_boxes->push_back({box, Text(box), Text(GetDlgItem(box, 0xFFFF)), icon, {}});
    PostMessageA(box, WM_COMMAND, IDOK, 0);
  }
  return CallNextHookEx(nullptr, code, wParam, lParam);
}

}  // namespace gvtest
