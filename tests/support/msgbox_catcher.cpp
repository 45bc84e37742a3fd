#include "support/msgbox_catcher.h"

namespace gvtest {

namespace {
thread_local MsgBoxCatcher *t_active = nullptr;
thread_local std::vector<CaughtBox> *t_boxes = nullptr;
}  // namespace

MsgBoxCatcher::MsgBoxCatcher() {
  t_active = this;
  t_boxes = &boxes_;
  hook_ = SetWindowsHookExA(WH_CBT, Hook, nullptr, GetCurrentThreadId());
}

MsgBoxCatcher::~MsgBoxCatcher() {
  UnhookWindowsHookEx(hook_);
  t_active = nullptr;
  t_boxes = nullptr;
}

LRESULT CALLBACK MsgBoxCatcher::Hook(int code, WPARAM wParam, LPARAM lParam) {
  if (code == HCBT_ACTIVATE && t_boxes) {
    HWND box = reinterpret_cast<HWND>(wParam);
    char cls[64] = "";
    GetClassNameA(box, cls, sizeof cls);
    if (lstrcmpA(cls, "#32770") == 0) {
      CaughtBox caught;
      char buffer[2048] = "";
      GetWindowTextA(box, buffer, sizeof buffer);
      caught.caption = buffer;
      buffer[0] = '\0';
      GetDlgItemTextA(box, 0xFFFF, buffer, sizeof buffer);
      caught.text = buffer;
      caught.hasIcon = GetDlgItem(box, 0x440) != nullptr;
      t_boxes->push_back(caught);
      // The box's own loop picks this up as soon as it runs.
      PostMessageA(box, WM_COMMAND, IDOK, 0);
    }
  }
  return CallNextHookEx(nullptr, code, wParam, lParam);
}

}  // namespace gvtest
