// Message boxes: the application record, the client's hook, and a one-shot
// hook that centres the box over its owner.
#include <cstring>

#include "kernel/format.h"
#include "include/gvformat.h"

namespace gv {
namespace {

constexpr int kNameLength = 80;  // class names and titles are read this far

// All message-box state of the process.
struct MsgBoxState {
  // The application record: all zero until GvMsgBoxSetAppData.
  struct App {
    HANDLE ownerThread;  // GetCurrentThread() of the GvMsgBoxSetAppData call
    HINSTANCE instance;
    HWND mainWindow;
    GVMSGBOXHOOKPROC hook;
    DWORD hookContext;
    char caption[136];
  } app;
  // The one-shot hook that finds the box being shown, and its caption.
  HHOOK centreHook;
  const char *centreCaption;
  // The box found, subclassed until it is shown: its own procedure, its
  // caption, and whether that caption has been confirmed.
  WNDPROC boxProc;
  char boxCaption[kNameLength];
  bool centrePending;
};

MsgBoxState g_msgbox;

// GetCurrentThread() is one pseudo-handle for every thread, so this accepts
// all callers; the record keeps it all the same.
bool OnOwnerThread() { return GetCurrentThread() == g_msgbox.app.ownerThread; }

// ---- Centring -------------------------------------------------------------
// A message box sizes and places itself while it initialises, after
// WM_CREATE, and some platforms give it its caption only then. The box
// found at WM_CREATE is therefore subclassed; once its WM_INITDIALOG has run
// and its caption is confirmed, it is centred as it is shown.

bool TitleIs(HWND window, const char *caption) {
  char title[kNameLength] = "";
  GetWindowTextA(window, title, sizeof title);
  return std::strcmp(title, caption) == 0;
}

// Where the box goes: centred over its visible owner, else over the work
// area, and kept on the monitor.
POINT CentredPosition(HWND box, int width, int height) {
  MONITORINFO monitor = {};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoA(MonitorFromWindow(box, MONITOR_DEFAULTTONEAREST), &monitor);
  RECT around = monitor.rcWork;
  HWND owner = GetWindow(box, GW_OWNER);
  if (owner && IsWindowVisible(owner) && !IsIconic(owner)) GetWindowRect(owner, &around);

  POINT at;
  at.x = around.left + ((around.right - around.left) - width) / 2;
  at.y = around.top + ((around.bottom - around.top) - height) / 2;
  if (at.x + width > monitor.rcWork.right) at.x = monitor.rcWork.right - width;
  if (at.y + height > monitor.rcWork.bottom) at.y = monitor.rcWork.bottom - height;
  if (at.x < monitor.rcWork.left) at.x = monitor.rcWork.left;
  if (at.y < monitor.rcWork.top) at.y = monitor.rcWork.top;
  return at;
}

void SetProc(HWND window, WNDPROC proc) {
  if (IsWindowUnicode(window))
    SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(proc));
  else
    SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(proc));
}

// Subclass of the box from WM_CREATE until it is first shown: the box is
// placed while it initialises and may be placed again as it is shown, so the
// centred position is given to the showing move itself.
LRESULT CALLBACK CentringProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  WNDPROC original = g_msgbox.boxProc;
  const bool unicode = IsWindowUnicode(window) != FALSE;
  bool done = message == WM_NCDESTROY;
  if (message == WM_WINDOWPOSCHANGING && g_msgbox.centrePending) {
    WINDOWPOS *pos = reinterpret_cast<WINDOWPOS *>(lParam);
    if (pos->flags & SWP_SHOWWINDOW) {
      RECT rect;
      GetWindowRect(window, &rect);
      const int width = (pos->flags & SWP_NOSIZE) ? rect.right - rect.left : pos->cx;
      const int height = (pos->flags & SWP_NOSIZE) ? rect.bottom - rect.top : pos->cy;
      const POINT at = CentredPosition(window, width, height);
      pos->x = at.x;
      pos->y = at.y;
      pos->flags &= ~SWP_NOMOVE;
      done = true;
    }
  }
  if (done) {
    SetProc(window, original);
    g_msgbox.boxProc = nullptr;
    g_msgbox.centrePending = false;
  }
  LRESULT result = unicode ? CallWindowProcW(original, window, message, wParam, lParam)
                           : CallWindowProcA(original, window, message, wParam, lParam);
  if (message == WM_INITDIALOG && g_msgbox.boxProc) {
    g_msgbox.centrePending = TitleIs(window, g_msgbox.boxCaption);
    if (!g_msgbox.centrePending) {
      SetProc(window, original);
      g_msgbox.boxProc = nullptr;
    }
  }
  return result;
}

void CentreWhenInitialised(HWND box, const char *caption) {
  if (g_msgbox.boxProc) return;  // one box at a time
  g_msgbox.centrePending = false;
  lstrcpynA(g_msgbox.boxCaption, caption, sizeof g_msgbox.boxCaption);
  // Read and replace the procedure in the box's own character set, so that
  // its messages reach it untranslated.
  g_msgbox.boxProc = reinterpret_cast<WNDPROC>(
      IsWindowUnicode(box) ? GetWindowLongPtrW(box, GWLP_WNDPROC)
                           : GetWindowLongPtrA(box, GWLP_WNDPROC));
  if (g_msgbox.boxProc) SetProc(box, CentringProc);
}

void RemoveCentreHook() {
  if (g_msgbox.centreHook) UnhookWindowsHookEx(g_msgbox.centreHook);
  g_msgbox.centreHook = nullptr;
  g_msgbox.centreCaption = nullptr;
}

LRESULT CALLBACK CentreHookProc(int code, WPARAM wParam, LPARAM lParam) {
  if (!OnOwnerThread() || !g_msgbox.centreHook) return 0;
  const CWPSTRUCT *call = reinterpret_cast<const CWPSTRUCT *>(lParam);
  if (code < 0 || !g_msgbox.centreCaption || call->message != WM_CREATE)
    return CallNextHookEx(g_msgbox.centreHook, code, wParam, lParam);

  char className[kNameLength] = "";
  GetClassNameA(call->hwnd, className, sizeof className);
  // A box still without a title gets it during its initialisation; the
  // caption is checked again then.
  if (lstrcmpiA(className, "#32770") != 0 ||
      !(TitleIs(call->hwnd, g_msgbox.centreCaption) || TitleIs(call->hwnd, "")))
    return CallNextHookEx(g_msgbox.centreHook, code, wParam, lParam);

  CentreWhenInitialised(call->hwnd, g_msgbox.centreCaption);
  const LRESULT result = CallNextHookEx(g_msgbox.centreHook, code, wParam, lParam);
  RemoveCentreHook();
  return result;
}

}  // namespace

int ShowMessageBox(HWND owner, const char *text, const char *caption, UINT style) {
  const MsgBoxState::App &app = g_msgbox.app;
  if (owner == nullptr)
    owner = app.mainWindow ? GetLastActivePopup(app.mainWindow) : nullptr;
  else if (owner == reinterpret_cast<HWND>(-1))
    owner = nullptr;

  if (app.hook) {
    const int answer = app.hook(app.hookContext, owner, text, caption, style);
    if (answer != -1) return answer;
  }

  const char *shownCaption = caption ? caption : app.caption;
  bool installed = false;
  // The system's critical alert is left where the system puts it.
  if (style != (MB_SYSTEMMODAL | MB_ICONHAND) && !g_msgbox.centreHook) {
    g_msgbox.centreHook =
        SetWindowsHookExA(WH_CALLWNDPROC, CentreHookProc, app.instance, GetCurrentThreadId());
    if (g_msgbox.centreHook) {
      g_msgbox.centreCaption = shownCaption;
      installed = true;
    }
  }
  const int result = MessageBoxA(owner, text, shownCaption, style);
  if (installed && g_msgbox.centreHook) RemoveCentreHook();
  return result;
}

}  // namespace gv

GVAPI(BOOL) GvMsgBoxSetAppData(HINSTANCE instance, HWND mainWindow, LPCSTR defaultCaption) {
  gv::MsgBoxState::App &app = gv::g_msgbox.app;
  app = gv::MsgBoxState::App();
  app.ownerThread = GetCurrentThread();
  app.instance = instance;
  app.mainWindow = mainWindow;
  if (defaultCaption) lstrcpynA(app.caption, defaultCaption, sizeof app.caption);
  return TRUE;
}

GVAPI(BOOL) GvMsgBoxSetHook(GVMSGBOXHOOKPROC hook, DWORD context) {
  if (!gv::OnOwnerThread()) return FALSE;
  gv::g_msgbox.app.hook = hook;
  gv::g_msgbox.app.hookContext = context;
  return TRUE;
}

GVAPI(int) GvMessageBox(HWND owner, LPCSTR text, LPCSTR caption, UINT style) {
  if (!gv::OnOwnerThread()) return 0;
  return gv::ShowMessageBox(owner, text, caption, style);
}

GVAPIV(int) GvMsgBox(HWND owner, UINT style, LPCSTR format, ...) {
  char buffer[gv::kWrapperBufferSize];
  va_list args;
  va_start(args, format);
  const char *text = gv::WrapperText(buffer, format, args);
  va_end(args);
  return GvMessageBox(owner, text, nullptr, style);
}

GVAPIV(int) GvMsgBoxId(HANDLE language, HWND owner, UINT style, UINT stringId, ...) {
  char buffer[gv::kWrapperBufferSize];
  va_list args;
  va_start(args, stringId);
  const char *text = gv::WrapperTextFromId(buffer, language, stringId, args);
  va_end(args);
  return GvMessageBox(owner, text, nullptr, style);
}
