// Time text: NANOTIME values as samples, clock time, seconds, SMPTE time
// code, frames or measures, printed through the token formatter.
#include <cmath>
#include <cstdarg>
#include <cstdint>

#include "gvtime.h"
#include "kernel/format.h"

namespace {

constexpr double kSecondsPerUnit = 1e-7;
constexpr double kMeasureScale = 1.6666666666666665e-9;  // 1 / (60 * 10^7)
constexpr double kStandardRates[4] = {29.97, 30.0, 25.0, 24.0};  // formats 6..9

// Truncation toward zero that saturates instead of overflowing; NaN gives 0.
std::int64_t Trunc64(double x) {
  if (!(x == x)) return 0;
  if (x >= 9223372036854775807.0) return INT64_MAX;
  if (x <= -9223372036854775808.0) return INT64_MIN;
  return static_cast<std::int64_t>(x);
}

DWORD TruncDword(double x) { return static_cast<DWORD>(Trunc64(x)); }

int Print(char *out, const char *text, ...) {
  va_list args;
  va_start(args, text);
  const int length = gv::FormatText(out, 0, text, args);
  va_end(args);
  return length;
}

int PrintCode(char *out, const char *text, const tGVTIMECODE &tc) {
  return Print(out, text, tc.dwHours, tc.dwMinutes, tc.dwSeconds, tc.dwFrames);
}

const char *FormatString(DWORD code, bool brief) {
  static const char *const kFull[10] = {
      "$I64d", "%02u:%02u:%02u$*%03u", "$.3f", "%02u$:%02u$:%02u$;%02u", "$.3f", "$u:%u$*%u",
      "%02u$:%02u$:%02u$;%02u", "%02u$:%02u$:%02u$;%02u", "%02u$:%02u$:%02u$;%02u",
      "%02u$:%02u$:%02u$;%02u"};
  static const char *const kBrief[10] = {
      "$I64d", "%02u:%02u:%02u", "$.0f", "%02u:%02u:%02u", "$.0f", "$u:%u$*%u",
      "%02u$:%02u$:%02u$;%02u", "%02u$:%02u$:%02u$;%02u", "%02u$:%02u$:%02u$;%02u",
      "%02u$:%02u$:%02u$;%02u"};
  if (code >= 10) return "$I64d";
  return brief ? kBrief[code] : kFull[code];
}

}  // namespace

GVAPI(LONGLONG) GvNanoTimeToHMSF(NANOTIME t, tGVTIMECODE *pOut, double framesPerSecond) {
  const double s = double(t) * kSecondsPerUnit;
  const double h = std::trunc(s / 3600.0);
  double r = s - h * 3600.0;
  const double minutes = std::trunc(r / 60.0);
  r -= minutes * 60.0;
  const double seconds = std::trunc(r);
  const std::int64_t frames = Trunc64((r - seconds) * framesPerSecond + 0.1);
  if (pOut) {
    pOut->dwHours = static_cast<DWORD>(Trunc64(h) % 24);
    pOut->dwMinutes = TruncDword(minutes);
    pOut->dwSeconds = TruncDword(seconds);
    pOut->dwFrames = static_cast<DWORD>(frames);
  }
  return frames;
}

GVAPI(DWORD) GvNanoTimeToMeasures(NANOTIME t, const tGVTIMEFORMAT *pFormat, DWORD *pMeasure,
                                  DWORD *pBeat, DWORD *pQuarter) {
  DWORD measure = 0, beat = 0, quarter = 0;
  if (pFormat) {
    const double beats = double(pFormat->dwTimeSig >> 16);
    const double m = double(t) * pFormat->dTempo / beats * kMeasureScale + 0.00005;
    measure = TruncDword(m);
    const double b = (m - double(Trunc64(m))) * beats;
    beat = TruncDword(b);
    quarter = TruncDword((b - double(Trunc64(b))) * 4.0);
  }
  if (pMeasure) *pMeasure = measure;
  if (pBeat) *pBeat = beat;
  if (pQuarter) *pQuarter = quarter;
  return quarter;
}

GVAPI(int) GvNanoTimeToAsciiEx(LPSTR out, const tGVTIMEFORMAT *pFormat, NANOTIME t, LPCSTR text) {
  if (!out) return 0;
  if (!pFormat) {
    *out = 0;
    return 0;
  }
  tGVTIMECODE tc{};
  switch (pFormat->dwFormat) {
    case GVTIME_SAMPLES: {
      const double n = double(t) * double(pFormat->dwSampleRate) * kSecondsPerUnit + 0.5;
      return Print(out, text, static_cast<LONGLONG>(Trunc64(n)));
    }
    case GVTIME_MILLISECONDS:
      GvNanoTimeToHMSF(t, &tc, 1000.0);
      return PrintCode(out, text, tc);
    case GVTIME_SECONDS:
      return Print(out, text, double(t) * kSecondsPerUnit);
    case GVTIME_SMPTE:
      GvNanoTimeToHMSF(t, &tc, pFormat->dFrameRate);
      return PrintCode(out, text, tc);
    case GVTIME_FRAMES:
      return Print(out, text, double(t) * pFormat->dFrameRate * kSecondsPerUnit);
    case GVTIME_MEASURES: {
      DWORD measure, beat, quarter;
      GvNanoTimeToMeasures(t, pFormat, &measure, &beat, &quarter);
      return Print(out, text, measure + 1, beat + 1, quarter);
    }
    case GVTIME_SMPTE_30DROP:
      GvNanoTimeToHMSF(t, &tc, kStandardRates[1]);
      // Drop-frame numbering skips frames 0 and 1 at the start of every
      // minute but each tenth.
      if (tc.dwFrames < 2 && tc.dwSeconds == 0 && tc.dwMinutes % 10 != 0) tc.dwFrames = 2;
      return PrintCode(out, text, tc);
    case GVTIME_SMPTE_2997:
    case GVTIME_SMPTE_25:
    case GVTIME_SMPTE_24:
      GvNanoTimeToHMSF(t, &tc, kStandardRates[pFormat->dwFormat - GVTIME_SMPTE_2997]);
      return PrintCode(out, text, tc);
    default:
      return Print(out, text, static_cast<LONGLONG>(t));
  }
}

GVAPI(int) GvNanoTimeToAscii(LPSTR out, const tGVTIMEFORMAT *pFormat, NANOTIME t, BOOL brief) {
  if (!out) return 0;
  const char *text = FormatString(pFormat ? pFormat->dwFormat : 0, brief != 0);
  return GvNanoTimeToAsciiEx(out, pFormat, t, text);
}
