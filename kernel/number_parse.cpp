// Parsing numbers from the text of edit fields: decimal, hexadecimal and
// real, plain and checked (default and clamping).
#include <cctype>
#include <cstring>

#include "kernel/intl.h"
#include "include/gvnumber.h"

namespace {

bool IsSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

const char *SkipSpace(const char *p) {
  while (IsSpace(*p)) ++p;
  return p;
}

void SetEnd(LPSTR *end, const char *p) {
  if (end) *end = const_cast<LPSTR>(p);
}

// Digits with thousands separators skipped; wraps without a check.
template <typename T>
T ParseDecimal(const char *p, LPSTR *end) {
  p = SkipSpace(p);
  const char thousands = gv::Separators().thousands;
  T value = 0;
  for (;; ++p) {
    if (*p == thousands && *p) continue;
    if (!IsDigit(*p)) break;
    value = static_cast<T>(value * 10u + static_cast<unsigned>(*p - '0'));
  }
  SetEnd(end, p);
  return value;
}

template <typename S, typename U>
S ParseSigned(const char *p, LPSTR *end) {
  p = SkipSpace(p);
  const bool negative = *p == '-';
  if (negative) ++p;
  U magnitude = ParseDecimal<U>(p, end);
  return static_cast<S>(negative ? static_cast<U>(0u - magnitude) : magnitude);
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

template <typename T>
T ParseHex(const char *p, LPSTR *end) {
  p = SkipSpace(p);
  // Only a text that is exactly "0x" loses its prefix; clients pass bare
  // digits and rely on "0x1F" reading as 0. The characters are tested one by
  // one: a locale-aware comparison passes over characters it gives no weight
  // (control characters, for one) and could take "0x" plus those for it.
  if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X') && p[2] == '\0') p += 2;
  T value = 0;
  for (int d; (d = HexDigit(*p)) >= 0; ++p) value = static_cast<T>(value * 16u + d);
  SetEnd(end, p);
  return value;
}

double ParseReal(const char *p, LPSTR *end) {
  p = SkipSpace(p);
  const bool negative = *p == '-';
  if (negative) ++p;
  const char decimal = gv::Separators().decimal;
  const char thousands = gv::Separators().thousands;

  const char *tokenEnd = p;
  while (*tokenEnd && !IsSpace(*tokenEnd)) ++tokenEnd;
  const char *point = nullptr;
  for (const char *q = tokenEnd; q > p;) {
    if (*--q == decimal) {
      point = q;
      break;
    }
  }

  double value = 0.0;
  for (;; ++p) {
    if (*p && *p == thousands && p != point) continue;
    if (!IsDigit(*p)) break;
    value = value * 10.0 + (*p - '0');
  }
  if (point && p == point) {
    double scale = 1.0;
    for (++p; IsDigit(*p); ++p) {
      scale *= 10.0;
      value += (*p - '0') / scale;
    }
    p = tokenEnd;
  }
  SetEnd(end, p);
  value += 5e-12;
  return negative ? -value : value;
}

// Default when nothing numeric was there, then clamping.
template <typename T>
T Checked(T value, const char *stop, T def, T minimum, T maximum, LPSTR *end) {
  if (value == 0 && *stop && !IsSpace(*stop)) value = def;
  if (end) *end = const_cast<LPSTR>(stop);
  if (value < minimum) value = minimum;
  if (value > maximum) value = maximum;
  return value;
}

// A parse export followed by the default and clamping of its checked twin.
template <typename T>
T CheckedParse(T(WINAPI *parse)(LPCSTR, LPSTR *), LPCSTR text, T def, T minimum, T maximum,
               LPSTR *end) {
  LPSTR stop;
  T v = parse(text, &stop);
  return Checked(v, stop, def, minimum, maximum, end);
}

const char kEmpty[] = "";
const char *Text(LPCSTR text) { return text ? text : kEmpty; }

}  // namespace

GVAPI(DWORD) GvAsciiToDWordToken(LPCSTR text, LPSTR *end) {
  return ParseDecimal<DWORD>(Text(text), end);
}

GVAPI(ULONGLONG) GvAsciiToDWordLongToken(LPCSTR text, LPSTR *end) {
  return ParseDecimal<ULONGLONG>(Text(text), end);
}

GVAPI(LONG) GvAsciiToLongToken(LPCSTR text, LPSTR *end) {
  return ParseSigned<LONG, DWORD>(Text(text), end);
}

GVAPI(LONGLONG) GvAsciiToLongLongToken(LPCSTR text, LPSTR *end) {
  return ParseSigned<LONGLONG, ULONGLONG>(Text(text), end);
}

GVAPI(DWORD) GvHexToDWordToken(LPCSTR text, LPSTR *end) {
  return ParseHex<DWORD>(Text(text), end);
}

GVAPI(ULONGLONG) GvHexToDWordLongToken(LPCSTR text, LPSTR *end) {
  return ParseHex<ULONGLONG>(Text(text), end);
}

GVAPI(double) GvAsciiToDoubleToken(LPCSTR text, LPSTR *end) {
  return ParseReal(Text(text), end);
}

GVAPI(DWORD) GvAsciiToDWordTokenEx(LPCSTR text, DWORD def, DWORD minimum, DWORD maximum,
                                   LPSTR *end) {
  return CheckedParse(GvAsciiToDWordToken, text, def, minimum, maximum, end);
}

GVAPI(ULONGLONG) GvAsciiToDWordLongTokenEx(LPCSTR text, ULONGLONG def, ULONGLONG minimum,
                                           ULONGLONG maximum, LPSTR *end) {
  return CheckedParse(GvAsciiToDWordLongToken, text, def, minimum, maximum, end);
}

GVAPI(LONG) GvAsciiToLongTokenEx(LPCSTR text, LONG def, LONG minimum, LONG maximum,
                                 LPSTR *end) {
  return CheckedParse(GvAsciiToLongToken, text, def, minimum, maximum, end);
}

GVAPI(LONGLONG) GvAsciiToLongLongTokenEx(LPCSTR text, LONGLONG def, LONGLONG minimum,
                                         LONGLONG maximum, LPSTR *end) {
  return CheckedParse(GvAsciiToLongLongToken, text, def, minimum, maximum, end);
}

GVAPI(DWORD) GvHexToDWordTokenEx(LPCSTR text, DWORD def, DWORD minimum, DWORD maximum,
                                 LPSTR *end) {
  return CheckedParse(GvHexToDWordToken, text, def, minimum, maximum, end);
}

GVAPI(ULONGLONG) GvHexToDWordLongTokenEx(LPCSTR text, ULONGLONG def, ULONGLONG minimum,
                                         ULONGLONG maximum, LPSTR *end) {
  return CheckedParse(GvHexToDWordLongToken, text, def, minimum, maximum, end);
}

GVAPI(double) GvAsciiToDoubleTokenEx(LPCSTR text, double def, double minimum, double maximum,
                                     LPSTR *end) {
  return CheckedParse(GvAsciiToDoubleToken, text, def, minimum, maximum, end);
}
