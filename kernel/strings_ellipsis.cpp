// Shortening a text with "..." to fit a width in pixels.
#include <cstdlib>
#include <cstring>

#include "include/gvnumber.h"

namespace {

bool Extent(HDC dc, const char *text, int length, int *cx) {
  SIZE size;
  if (!GetTextExtentPoint32A(dc, text, length, &size)) return false;
  *cx = size.cx;
  return true;
}

}  // namespace

GVAPI(void) GvCalcStringEllipsis(HDC dc, LPSTR text, int size, int width) {
  if (!text) return;
  if (size < 0) size = 0;
  // The copy holds the first size - 1 characters at most; it is sized for
  // the text itself and "...", not for whatever size the caller claims.
  int taken = 0;
  while (taken < size - 1 && text[taken]) ++taken;
  char *copy = static_cast<char *>(std::calloc(static_cast<size_t>(taken) + 4, 1));
  if (!copy) return;
  std::memcpy(copy, text, static_cast<size_t>(taken));

  int length = lstrlenA(copy);
  const int limit = width - 2;
  int cx = 0, dotsCx = 0;
  if (Extent(dc, copy, length, &cx) && cx > limit && Extent(dc, "...", 3, &dotsCx)) {
    bool measured = true;
    while (length > 0) {
      copy[--length] = '\0';
      if (!Extent(dc, copy, length, &cx)) {
        measured = false;
        break;
      }
      if (cx + dotsCx <= limit && length + 3 < size) break;
    }
    // Nothing left would be no text at all: keep the original then.
    if (measured && length > 0) {
      std::strcat(copy, "...");
      std::memcpy(text, copy, length + 4);
    }
  }
  std::free(copy);
}
