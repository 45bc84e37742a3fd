// On-screen debug text: a strip along the bottom of the desktop that needs
// no window of its own.
#include "include/gvkernel.h"

namespace {
RECT g_strip;    // all zero until the first call
POINT g_cursor;
}  // namespace

GVAPI(int) GvDebugString(LPCSTR text, BOOL newLine) {
  if (!text) text = "";
  HDC dc = GetDC(nullptr);
  HGDIOBJ oldFont = SelectObject(dc, GetStockObject(ANSI_VAR_FONT));

  if (g_strip.left == g_strip.right) {
    RECT desktop;
    GetClientRect(GetDesktopWindow(), &desktop);
    RECT corner = {0, 0, g_strip.left, g_strip.top};
    IntersectRect(&g_strip, &desktop, &corner);
    if (g_strip.right - g_strip.left < 10 || g_strip.bottom - g_strip.top < 28)
      SetRect(&g_strip, desktop.left + 1, desktop.bottom - 70, desktop.right - 80,
              desktop.bottom);
    HGDIOBJ oldBrush = SelectObject(dc, GetStockObject(LTGRAY_BRUSH));
    PatBlt(dc, g_strip.left, g_strip.top, g_strip.right - g_strip.left,
           g_strip.bottom - g_strip.top, PATCOPY);
    SelectObject(dc, oldBrush);
    // One-pixel black frame just outside the strip.
    PatBlt(dc, g_strip.left - 1, g_strip.top - 1, g_strip.right - g_strip.left + 2, 1, BLACKNESS);
    PatBlt(dc, g_strip.left - 1, g_strip.bottom, g_strip.right - g_strip.left + 2, 1, BLACKNESS);
    PatBlt(dc, g_strip.left - 1, g_strip.top, 1, g_strip.bottom - g_strip.top, BLACKNESS);
    PatBlt(dc, g_strip.right, g_strip.top, 1, g_strip.bottom - g_strip.top, BLACKNESS);
    InflateRect(&g_strip, -1, -1);
    g_cursor.x = g_strip.left;
    g_cursor.y = g_strip.top;
  }

  int length = lstrlenA(text);
  SIZE extent = {0, 0};
  GetTextExtentPointA(dc, text, length, &extent);
  PatBlt(dc, g_cursor.x, g_cursor.y, extent.cx + 2, extent.cy, WHITENESS);
  SetBkMode(dc, TRANSPARENT);
  TextOutA(dc, g_cursor.x, g_cursor.y, text, length);

  if (newLine) {
    g_cursor.y += extent.cy;
    g_cursor.x = g_strip.left;
  } else {
    g_cursor.x += extent.cx;
  }
  if (!PtInRect(&g_strip, g_cursor) || g_cursor.y + extent.cy > g_strip.bottom) {
    g_cursor.x = g_strip.left;
    g_cursor.y = g_strip.top;
  }
  if (g_strip.bottom - g_strip.top > 2 * extent.cy) {
    HGDIOBJ oldBrush = SelectObject(dc, GetStockObject(LTGRAY_BRUSH));
    PatBlt(dc, g_cursor.x, g_cursor.y, g_strip.right - g_cursor.x, extent.cy, PATCOPY);
    SelectObject(dc, oldBrush);
  }
  SelectObject(dc, oldFont);
  return ReleaseDC(nullptr, dc);
}
