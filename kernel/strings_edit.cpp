// Small in-place string cleaners and the four-character-code text.
#include <cctype>
#include <cstring>

#include "kernel/intl.h"
#include "kernel/strings.h"
#include "include/gvnumber.h"

namespace {
bool IsSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
}  // namespace

namespace gv {

int InsertCommas(char *text) {
  char *p = text;
  while (IsSpace(*p)) ++p;
  while (*p == '0') ++p;
  if (!*p) {
    text[0] = '0';
    text[1] = '\0';
    return 1;
  }
  char *end = p;
  while (*end && !IsSpace(*end)) ++end;
  *end = '\0';

  char *digits = *p == '-' ? p + 1 : p;
  char *point = std::strchr(digits, Separators().decimal);
  if (!point) point = end;
  const int count = static_cast<int>(point - digits);
  if (count > 3) {
    const int separators = (count - 1) / 3;
    // Move the tail (decimal part and terminator), then fill from the right.
    std::memmove(point + separators, point, std::strlen(point) + 1);
    char *to = point + separators;
    const char *from = point;
    for (int i = 1; from > digits; ++i) {
      *--to = *--from;
      if (i % 3 == 0 && from > digits) *--to = Separators().thousands;
    }
  }
  return static_cast<int>(std::strlen(text));
}

}  // namespace gv

GVAPI(int) GvInsertCommas(LPSTR text) { return text ? gv::InsertCommas(text) : 0; }

GVAPI(int) GvStripWhiteSpace(LPSTR text) {
  if (!text) return 0;
  char *p = text;
  while (IsSpace(*p)) ++p;
  size_t length = std::strlen(p);
  if (p != text) std::memmove(text, p, length + 1);
  while (length && IsSpace(text[length - 1])) --length;
  text[length] = '\0';
  return static_cast<int>(length);
}

GVAPI(LPSTR) GvPrepareName(LPCSTR source, LPSTR dest, UINT /*size*/) {
  if (!source || !dest) return nullptr;
  // The size is not consulted: callers size dest for the source.
  if (dest != source) std::memmove(dest, source, std::strlen(source) + 1);
  return GvStripWhiteSpace(dest) ? dest : nullptr;
}

GVAPI(LPSTR) GvFourCCToString(DWORD fourcc, LPSTR out) {
  if (!out) return nullptr;
  for (int i = 0; i < 4; ++i) out[i] = static_cast<char>((fourcc >> (8 * i)) & 0xFF);
  out[4] = '\0';
  return out;
}
