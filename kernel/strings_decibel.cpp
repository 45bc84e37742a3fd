// Decibel labels for level controls, handed out from a small ring of
// 24-byte buffers.
#include <cmath>
#include <cstring>

#include "kernel/format.h"
#include "include/gvformat.h"
#include "include/gvnumber.h"

namespace {

constexpr size_t kLabelSize = 24;
constexpr int kRingLength = 16;
char g_ring[kRingLength][kLabelSize];
int g_next = 0;

char *NextLabel() {
  char *label = g_ring[g_next];
  g_next = (g_next + 1) % kRingLength;
  return label;
}

int ClampDecimals(int decimals) { return decimals < 0 ? 0 : decimals > 9 ? 9 : decimals; }

// "$d" for whole decibels, else "$.Nz" / "$.Nf" with N the digit of decimals.
void MakeFormat(char *format, int decimals, char conversion) {
  if (decimals == 0) {
    std::strcpy(format, "$d");
  } else {
    std::strcpy(format, "$.Xz");
    format[2] = static_cast<char>('0' + decimals);
    format[3] = conversion;
  }
}

// Copies the formatted number and the unit into a ring buffer, cutting a
// number too long for it.
LPCSTR Finish(const char *number, BOOL unit) {
  char *label = NextLabel();
  const size_t room = kLabelSize - 1 - (unit ? 3 : 0);
  lstrcpynA(label, number, static_cast<int>(room + 1));
  if (unit) std::strcat(label, " dB");
  return label;
}

int TruncateToInt(float value) {
  if (!(value == value)) return 0;
  if (value >= 2147483647.0f) return 0x7FFFFFFF;
  if (value <= -2147483648.0f) return static_cast<int>(0x80000000u);
  return static_cast<int>(value);
}

}  // namespace

GVAPI(LPCSTR) GvGetdBStringFixed(HANDLE /*language*/, LONG value, int decimals, LONG floor,
                                 BOOL unit) {
  if (floor != 0 && value <= floor) return "-Inf.";
  char format[8];
  MakeFormat(format, ClampDecimals(decimals), 'z');
  char number[gv::kWrapperBufferSize];
  GvPrintF(number, format, value);
  return Finish(number, unit);
}

GVAPI(LPCSTR) GvGetdBStringFloat(HANDLE /*language*/, float value, int decimals, float floor,
                                 BOOL unit) {
  if (floor != 0.0f && value <= floor) return "-Inf.";
  decimals = ClampDecimals(decimals);
  char format[8];
  MakeFormat(format, decimals, 'f');
  char number[gv::kWrapperBufferSize];
  if (decimals == 0)
    GvPrintF(number, format, TruncateToInt(value));
  else
    GvPrintF(number, format, static_cast<double>(value));
  return Finish(number, unit);
}
