// Message boxes: the application record, the client's hook, and a one-shot
// hook that centres the box over its owner.
#include <cstring>

#include "kernel/format.h"
#include "include/gvformat.h"

namespace gv {
namespace {

struct MsgBoxApp {
  HANDLE ownerThread;  // GetCurrentThread() of the GvMsgBoxSetAppData call
  HINSTANCE instance;
  HWND mainWindow;
  GVMSGBOXHOOKPROC hook;
  DWORD hookContext;
  char caption[136];
};

MsgBoxApp g_app;                       // all zero until GvMsgBoxSetAppData
HHOOK g_centreHook = nullptr;
const char *g_centreCaption = nullptr;  // the caption the hook looks for

// GetCurrentThread() is one pseudo-handle for every thread, so this accepts
// all callers; the record keeps it all the same.
bool OnOwnerThread() { return GetCurrentThread() == g_app.ownerThread; }

// ---- Centring -------------------------------------------------------------
// A message box sizes and places itself while it initialises, after
// WM_CREATE, and some platforms give it its caption only then. The box
// found at WM_CREATE is therefore subclassed; once its WM_INITDIALOG has run
// and its caption is confirmed, it is centred as it is shown.

constexpr int kNameLength = 80;  // class names and titles are read this far

WNDPROC g_boxProc = nullptr;
char g_boxCaption[kNameLength];

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

bool g_centrePending = false;  // the box's caption is confirmed, not yet shown

// Subclass of the box from WM_CREATE until it is first shown: the box is
// placed while it initialises and may be placed again as it is shown, so the
// centred position is given to the showing move itself.
LRESULT CALLBACK CentringProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  WNDPROC original = g_boxProc;
  const bool unicode = IsWindowUnicode(window) != FALSE;
  bool done = message == WM_NCDESTROY;
  if (message == WM_WINDOWPOSCHANGING && g_centrePending) {
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
    g_boxProc = nullptr;
    g_centrePending = false;
  }
  LRESULT result = unicode ? CallWindowProcW(original, window, message, wParam, lParam)
                           : CallWindowProcA(original, window, message, wParam, lParam);
  if (message == WM_INITDIALOG && g_boxProc) {
    g_centrePending = TitleIs(window, g_boxCaption);
    if (!g_centrePending) {
      SetProc(window, original);
      g_boxProc = nullptr;
    }
  }
  return result;
}

void CentreWhenInitialised(HWND box, const char *caption) {
  if (g_boxProc) return;  // one box at a time
  g_centrePending = false;
  lstrcpynA(g_boxCaption, caption, sizeof g_boxCaption);
  // Read and replace the procedure in the box's own character set, so that
  // its messages reach it untranslated.
  g_boxProc = reinterpret_cast<WNDPROC>(IsWindowUnicode(box)
                                            ? GetWindowLongPtrW(box, GWLP_WNDPROC)
                                            : GetWindowLongPtrA(box, GWLP_WNDPROC));
  if (g_boxProc) SetProc(box, CentringProc);
}

void RemoveCentreHook() {
  if (g_centreHook) UnhookWindowsHookEx(g_centreHook);
  g_centreHook = nullptr;
  g_centreCaption = nullptr;
}

LRESULT CALLBACK CentreHookProc(int code, WPARAM wParam, LPARAM lParam) {
  if (!OnOwnerThread() || !g_centreHook) return 0;
  const CWPSTRUCT *call = reinterpret_cast<const CWPSTRUCT *>(lParam);
  if (code < 0 || !g_centreCaption || call->message != WM_CREATE)
    return CallNextHookEx(g_centreHook, code, wParam, lParam);

  char className[kNameLength] = "";
  GetClassNameA(call->hwnd, className, sizeof className);
  // A box still without a title gets it during its initialisation; the
  // caption is checked again then.
  if (lstrcmpiA(className, "#32770") != 0 ||
      !(TitleIs(call->hwnd, g_centreCaption) || TitleIs(call->hwnd, "")))
    return CallNextHookEx(g_centreHook, code, wParam, lParam);

  CentreWhenInitialised(call->hwnd, g_centreCaption);
  const LRESULT result = CallNextHookEx(g_centreHook, code, wParam, lParam);
  RemoveCentreHook();
  return result;
}

}  // namespace
}  // namespace gv

using gv::g_app;

GVAPI(BOOL) GvMsgBoxSetAppData(HINSTANCE instance, HWND mainWindow, LPCSTR defaultCaption) {
  std::memset(&g_app, 0, sizeof g_app);
  g_app.ownerThread = GetCurrentThread();
  g_app.instance = instance;
  g_app.mainWindow = mainWindow;
  if (defaultCaption) lstrcpynA(g_app.caption, defaultCaption, sizeof g_app.caption);
  return TRUE;
}

GVAPI(BOOL) GvMsgBoxSetHook(GVMSGBOXHOOKPROC hook, DWORD context) {
  if (!gv::OnOwnerThread()) return FALSE;
  g_app.hook = hook;
  g_app.hookContext = context;
  return TRUE;
}

GVAPI(int) GvMessageBox(HWND owner, LPCSTR text, LPCSTR caption, UINT style) {
  if (!gv::OnOwnerThread()) return 0;
  if (owner == nullptr)
    owner = g_app.mainWindow ? GetLastActivePopup(g_app.mainWindow) : nullptr;
  else if (owner == reinterpret_cast<HWND>(-1))
    owner = nullptr;

  if (g_app.hook) {
    const int answer = g_app.hook(g_app.hookContext, owner, text, caption, style);
    if (answer != -1) return answer;
  }

  const char *shownCaption = caption ? caption : g_app.caption;
  bool installed = false;
  // The system's critical alert is left where the system puts it.
  if (style != (MB_SYSTEMMODAL | MB_ICONHAND) && !gv::g_centreHook) {
    gv::g_centreHook = SetWindowsHookExA(WH_CALLWNDPROC, gv::CentreHookProc, g_app.instance,
                                         GetCurrentThreadId());
    if (gv::g_centreHook) {
      gv::g_centreCaption = shownCaption;
      installed = true;
    }
  }
  const int result = MessageBoxA(owner, text, shownCaption, style);
  if (installed && gv::g_centreHook) gv::RemoveCentreHook();
  return result;
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
