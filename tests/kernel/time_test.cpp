// Time text: every display format's text at its boundaries (drop-frame
// labels, the 0.1-frame allowance, measure arithmetic, rounding of samples,
// wrapped hours), the parts GvNanoTimeToHMSF and GvNanoTimeToMeasures
// return, and records that would divide by zero.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

#include "gvtalc.h"
#include "support/cases.h"

namespace {

tGVTIMEFORMAT Fmt(DWORD code, DWORD rate = 44100, double fps = 30.0, double tempo = 120.0,
                  DWORD beats = 4) {
  tGVTIMEFORMAT f{};
  f.dwFormat = code, f.dwSampleRate = rate, f.dFrameRate = fps, f.dTempo = tempo;
  f.dwTimeSig = GVTIME_MAKESIG(beats, 4);
  return f;
}

// The text and that the returned length is the text's and nothing was
// written behind it.
std::string Text(const tGVTIMEFORMAT &f, NANOTIME t, bool brief) {
  char out[256];
  std::memset(out, 0x7f, sizeof out);
  const int n = GvNanoTimeToAscii(out, &f, t, brief);
  EXPECT_EQ(size_t(n), std::strlen(out));
  EXPECT_EQ(out[n + 1], 0x7f);
  return out;
}

constexpr NANOTIME kSecond = 10000000, kMinute = 60 * kSecond, kHour = 60 * kMinute;

struct TextCase {
  tGVTIMEFORMAT format;
  NANOTIME t;
  const char *full, *brief;
};

const TextCase kTextCases[] = {
    // samples, rounded half up; grouped
    {Fmt(0), kSecond, "44,100", "44,100"},
    {Fmt(0), 113, "0", "0"},  // 0.498 samples
    {Fmt(0), 114, "1", "1"},  // 0.503 samples
    {Fmt(0, 0), kHour, "0", "0"},
    {Fmt(0, 48000), -kSecond, "-47,999", "-47,999"},  // -48000 + 0.5 truncates up
    // milliseconds
    {Fmt(1), 0, "00:00:00.000", "00:00:00"},
    {Fmt(1), kHour, "01:00:00.000", "01:00:00"},
    {Fmt(1), 25 * kHour + 2 * kMinute + 3 * kSecond + 40000, "01:02:03.004", "01:02:03"},
    {Fmt(1), 9500, "00:00:00.001", "00:00:00"},  // 0.95 ms + 0.1
    {Fmt(1), 8999, "00:00:00.000", "00:00:00"},
    {Fmt(1), 12345678901, "00:20:34.567", "00:20:34"},
    // seconds
    {Fmt(2), 12345678, "1.235", "1"},
    {Fmt(2), 10000 * kSecond, "10,000.000", "10,000"},
    // SMPTE at the record's rate; its brief form has plain colons and no frames
    {Fmt(3, 0, 10.0), 2 * kSecond + 5000000, "00:00:02.05", "00:00:02"},
    {Fmt(3, 0, 0.0), 2 * kSecond + 5000000, "00:00:02.00", "00:00:02"},
    // absolute frames
    {Fmt(4, 0, 25.0), kSecond, "25.000", "25"},
    {Fmt(4, 0, 0.0), kSecond, "0.000", "0"},
    // measures: tempo 120, 4 beats, so a beat is 0.5 s and a measure 2 s
    {Fmt(5), 2 * kSecond, "2:1.0", "2:1.0"},
    {Fmt(5), 0, "1:1.0", "1:1.0"},
    {Fmt(5), 2500000, "1:1.2", "1:1.2"},  // half a beat
    {Fmt(5), 1998 * kSecond, "1,000:1.0", "1,000:1.0"},
    {Fmt(5, 0, 0, 60.0, 3), 4 * kSecond + 7500000, "2:2.3", "2:2.3"},
    // standard SMPTE rates
    {Fmt(6), kSecond + 5000000, "00:00:01.15", "00:00:01.15"},  // 14.985 + 0.1
    {Fmt(8), 9600000, "00:00:00.24", "00:00:00.24"},
    {Fmt(9), 5000000, "00:00:00.12", "00:00:00.12"},
    // 30 drop-frame: frames 0 and 1 of minutes not divisible by ten are labelled 2
    {Fmt(7), kMinute, "00:01:00.02", "00:01:00.02"},
    {Fmt(7), kMinute + 333334, "00:01:00.02", "00:01:00.02"},
    {Fmt(7), kMinute + 1000000, "00:01:00.03", "00:01:00.03"},
    {Fmt(7), kMinute + kSecond, "00:01:01.00", "00:01:01.00"},
    {Fmt(7), 10 * kMinute, "00:10:00.00", "00:10:00.00"},
    {Fmt(7), 20 * kMinute + 333334, "00:20:00.01", "00:20:00.01"},
    {Fmt(7), kHour + kMinute, "01:01:00.02", "01:01:00.02"},
    // raw values
    {Fmt(10), -5, "-5", "-5"},
    {Fmt(12345), 1234567, "1,234,567", "1,234,567"},
    {Fmt(0xFFFFFFFF), 0, "0", "0"},
    // negative times keep the truncating arithmetic
    {Fmt(1), -kSecond, "00:00:4294967295.000", "00:00:4294967295"},
};

TEST(TimeText, EveryFormatFullAndBrief) {
  FOR_EACH_CASE(kTextCases) {
    EXPECT_EQ(Text(c.format, c.t, false), c.full);
    EXPECT_EQ(Text(c.format, c.t, true), c.brief);
  }
}

TEST(TimeText, ExTakesTheCallersString) {
  char out[64];
  tGVTIMEFORMAT f = Fmt(1);
  EXPECT_EQ(GvNanoTimeToAsciiEx(out, &f, kHour + 500000, "%u h %u m %u s %u ms"), 17);
  EXPECT_STREQ(out, "1 h 0 m 0 s 50 ms");
  f = Fmt(5);
  GvNanoTimeToAsciiEx(out, &f, 0, "[%u|%u|%u]");
  EXPECT_STREQ(out, "[1|1|0]");
  EXPECT_EQ(GvNanoTimeToAsciiEx(nullptr, &f, 0, "x"), 0);
  std::strcpy(out, "old");
  EXPECT_EQ(GvNanoTimeToAsciiEx(out, nullptr, 0, "x"), 0);
  EXPECT_STREQ(out, "");
}

struct HmsfCase {
  NANOTIME t;
  double fps;
  DWORD h, m, s, f;
};
const HmsfCase kHmsfCases[] = {
    {0, 30.0, 0, 0, 0, 0},
    {24 * kHour, 30.0, 0, 0, 0, 0},
    {23 * kHour + 59 * kMinute + 59 * kSecond + 9900000, 100.0, 23, 59, 59, 99},
    {kSecond / 3, 30.0, 0, 0, 0, 10},  // 9.9999999 + 0.1
    {kSecond - 1, 1000.0, 0, 0, 0, 1000},  // the allowance reaches the next second
    {90 * kMinute, 25.0, 1, 30, 0, 0},
};

TEST(TimeText, HmsfParts) {
  FOR_EACH_CASE(kHmsfCases) {
    tGVTIMECODE tc{0xA5A5A5A5, 9, 9, 9, 9};
    EXPECT_EQ(GvNanoTimeToHMSF(c.t, &tc, c.fps), LONGLONG(c.f));
    EXPECT_EQ(tc.dwReserved, 0xA5A5A5A5u);
    EXPECT_EQ(tc.dwHours, c.h);
    EXPECT_EQ(tc.dwMinutes, c.m);
    EXPECT_EQ(tc.dwSeconds, c.s);
    EXPECT_EQ(tc.dwFrames, c.f);
  }
  EXPECT_EQ(GvNanoTimeToHMSF(kSecond / 2, nullptr, 30.0), 15);
}

struct MeasureCase {
  NANOTIME t;
  double tempo;
  DWORD beats, measure, beat, quarter;
};
const MeasureCase kMeasureCases[] = {
    {2 * kSecond, 120.0, 4, 1, 0, 0},
    {2 * kSecond - 1, 120.0, 4, 1, 0, 0},  // the 0.00005 allowance
    {2 * kSecond - 20000, 120.0, 4, 0, 3, 3},
    {3 * kSecond + 3750000, 120.0, 4, 1, 2, 3},  // 6.75 beats
    {kMinute, 90.0, 3, 30, 0, 0},
    {7 * kSecond, 60.0, 7, 1, 0, 0},
};

TEST(TimeText, Measures) {
  FOR_EACH_CASE(kMeasureCases) {
    tGVTIMEFORMAT f = Fmt(5, 0, 0, c.tempo, c.beats);
    DWORD m = 99, b = 99, q = 99;
    EXPECT_EQ(GvNanoTimeToMeasures(c.t, &f, &m, &b, &q), c.quarter);
    EXPECT_EQ(m, c.measure);
    EXPECT_EQ(b, c.beat);
    EXPECT_EQ(q, c.quarter);
  }
  DWORD m = 99;
  EXPECT_EQ(GvNanoTimeToMeasures(kSecond, nullptr, &m, nullptr, nullptr), 0u);
  EXPECT_EQ(m, 0u);
}

// Zero rates and beats, and tempos or frame rates that are not numbers,
// still give text.
TEST(TimeText, DegenerateRecordsGiveText) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const tGVTIMEFORMAT records[] = {Fmt(5, 0, 0, 120.0, 0), Fmt(5, 0, 0, nan, 4),
                                   Fmt(5, 0, 0, inf, 0),   Fmt(3, 0, nan),
                                   Fmt(3, 0, inf),         Fmt(4, 0, inf),
                                   Fmt(0, 0xFFFFFFFF)};
  for (bool brief : {false, true})
    FOR_EACH_CASE(records) {
      for (NANOTIME t : {NANOTIME(0), kSecond, NANOTIME(0x7FFFFFFFFFFFFFFF), -kHour})
        EXPECT_FALSE(Text(c, t, brief).empty());
    }
}

}  // namespace
