#include "support/msgbox_catcher.h"

namespace gvtest {

namespace {
thread_local std::vector<CaughtBox> *t_boxes = nullptr;
}  // namespace

MsgBoxCatcher::MsgBoxCatcher() {
  t_boxes = &boxes_;
  hook_ = SetWindowsHookExA(WH_CBT, Hook, nullptr, GetCurrentThreadId());
}

MsgBoxCatcher::~MsgBoxCatcher() {
  UnhookWindowsHookEx(hook_);
  t_boxes = nullptr;
}

LRESULT CALLBACK MsgBoxCatcher::Hook(int code, WPARAM wParam, LPARAM lParam) {
  HWND box = reinterpret_cast<HWND>(wParam);
  char cls[64] = "";
  if (t_boxes && (code == HCBT_ACTIVATE || code == HCBT_DESTROYWND))
    GetClassNameA(box, cls, sizeof cls);
  if (lstrcmpA(cls, "#32770") == 0 && code == HCBT_DESTROYWND) {
    for (CaughtBox &caught : *t_boxes)
      if (caught.window == box) {
        GetWindowRect(box, &caught.rect);
        caught.window = nullptr;
      }
  } else if (lstrcmpA(cls, "#32770") == 0 &&
             (t_boxes->empty() || t_boxes->back().window != box)) {
    CaughtBox caught;
    caught.window = box;
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
  return CallNextHookEx(nullptr, code, wParam, lParam);
}

}  // namespace gvtest

