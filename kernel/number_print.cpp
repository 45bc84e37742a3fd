// Printing integers and reals, optionally grouped by thousands.
#include <cmath>
#include <cstring>

#include "kernel/intl.h"
#include "kernel/strings.h"
#include "include/gvnumber.h"

namespace {

// Digits of `magnitude`, optionally grouped, at `out`; returns their length.
int PrintMagnitude(ULONGLONG magnitude, char *out, BOOL commas) {
  if (magnitude == 0) {
    out[0] = '0';
    out[1] = '\0';
    return 1;
  }
  char scratch[24];
  char *p = scratch + sizeof scratch;
  *--p = '\0';
  for (ULONGLONG v = magnitude; v; v /= 10) *--p = static_cast<char>('0' + v % 10);
  const int length = static_cast<int>(scratch + sizeof scratch - 1 - p);
  std::memcpy(out, p, length + 1);
  if (commas && magnitude >= 1000) return gv::InsertCommas(out);
  return length;
}

int PrintSigned(LONGLONG value, char *out, BOOL commas) {
  ULONGLONG magnitude = static_cast<ULONGLONG>(value);
  if (value < 0) {
    *out++ = '-';
    magnitude = 0 - magnitude;
  }
  // The sign is not counted; callers add it themselves.
  return PrintMagnitude(magnitude, out, commas);
}

// Half of the last printed decimal, as single-precision values: the
// rounding of every real printed by the library depends on these.
const float kHalfUnit[10] = {0.5f, 0.05f, 0.005f, 0.0005f, 0.00005f,
                             0.000005f, 0.0000005f, 0.00000005f, 0.000000005f,
                             0.0000000005f};
const DWORD kPowerOfTen[10] = {1,      10,      100,      1000,      10000,
                               100000, 1000000, 10000000, 100000000, 1000000000};

}  // namespace

GVAPI(int) GvDWordToAscii(DWORD value, LPSTR out, BOOL commas) {
  if (!out) return 0;
  return PrintMagnitude(value, out, commas);
}

GVAPI(int) GvLongToAscii(LONG value, LPSTR out, BOOL commas) {
  if (!out) return 0;
  return PrintSigned(value, out, commas);
}

GVAPI(int) GvDWordLongToAscii(ULONGLONG value, LPSTR out, BOOL commas) {
  if (!out) return 0;
  return PrintMagnitude(value, out, commas);
}

GVAPI(int) GvLongLongToAscii(LONGLONG value, LPSTR out, BOOL commas) {
  if (!out) return 0;
  return PrintSigned(value, out, commas);
}

GVAPI(int) GvDoubleToAscii(LPSTR out, double value, UINT decimals, BOOL commas) {
  if (!out) return 0;
  if (decimals > 9) decimals = 9;
  const double r = std::fabs(value) + static_cast<double>(kHalfUnit[decimals]);

  // Truncate toward zero, then clip to the 64-bit range (NaN gives 0).
  ULONGLONG whole = 0;
  if (r >= 18446744073709551615.0)
    whole = ~0ULL;
  else if (r >= 1.0)
    whole = static_cast<ULONGLONG>(r);
  DWORD fraction = 0;
  if (decimals && r - static_cast<double>(whole) > 0.0) {
    const double f = (r - static_cast<double>(whole)) * kPowerOfTen[decimals];
    fraction = f < kPowerOfTen[decimals] ? static_cast<DWORD>(f) : kPowerOfTen[decimals] - 1;
  }

  char *p = out;
  if (value < 0 && (whole || fraction)) *p++ = '-';
  const int wholeLength = GvDWordLongToAscii(whole, p, commas);
  if (decimals == 0) return wholeLength;
  // fraction + 10^decimals gives a leading 1 and the zero-padded digits;
  // the 1 becomes the decimal separator.
  char *q = p + wholeLength;
  const int fractionLength =
      GvDWordLongToAscii(static_cast<ULONGLONG>(fraction) + kPowerOfTen[decimals], q, FALSE);
  q[0] = gv::Separators().decimal;
  return wholeLength + fractionLength;
}
