// Number parsing and printing, the string helpers and the decibel labels
// (United States separators).
#include <gtest/gtest.h>

#include <cstring>

#include "gvtalc.h"
#include "support/cases.h"

namespace {

const LPSTR kUnset = reinterpret_cast<LPSTR>(static_cast<UINT_PTR>(0xdeadbeef));

// The parse functions, their results widened (64-bit results as their bits).
using Parse = long long (*)(const char *, LPSTR *);
#define PARSE(f) Parse([](const char *t, LPSTR *e) { return static_cast<long long>(f(t, e)); })
const Parse kDWord = PARSE(GvAsciiToDWordToken), kLong = PARSE(GvAsciiToLongToken),
            kDWordLong = PARSE(GvAsciiToDWordLongToken), kLongLong = PARSE(GvAsciiToLongLongToken),
            kHex = PARSE(GvHexToDWordToken), kHexLong = PARSE(GvHexToDWordLongToken);

TEST(NumberParse, BasicFormsGiveValueAndStop) {
  const struct { Parse parse; const char *text; long long value; int stop; } cases[] = {
      {kDWord, "  1,234,567", 1234567, 11}, {kDWord, "42abc", 42, 2}, {kDWord, "", 0, 0},
      {kDWord, "   ", 0, 3}, {kDWord, "\t7 8", 7, 2}, {kDWord, "1,,2,", 12, 5},
      {kDWord, ",5", 5, 2},
      {kDWord, "4294967295", 4294967295LL, 10}, {kDWord, "-5", 0, 0}, {kDWord, "12.5", 12, 2},
      {kDWord, "4294967296", 0, 10}, {kDWord, "4294967306", 10, 10},  // wraps
      {kLong, " -1,234 x", -1234, 7},
      {kLong, "2147483648", -2147483647LL - 1, 10}, {kLong, "-2147483648", -2147483647LL - 1, 11},
      {kLong, "--5", 0, 1}, {kDWordLong, "18,446,744,073,709,551,615", -1, 26},
      {kDWordLong, "18446744073709551616", 0, 20},
      {kLongLong, "-9223372036854775807", -9223372036854775807LL, 20},
      {kLongLong, "4294967296", 4294967296LL, 10},
      // A "0x" prefix is skipped only when it is the whole rest of the text,
      // and characters a locale-aware comparison would pass over do not count.
      {kHex, "0x1F", 0, 1}, {kHex, " 0X", 0, 3}, {kHex, "1f", 31, 2},
      {kHex, "0x-", 0, 1}, {kHex, "-0x", 0, 0}, {kHex, "0-x", 0, 1}, {kHex, "0x'", 0, 1},
      {kHex, "'0x", 0, 0}, {kHex, "0\x01x", 0, 1}, {kHex, "0x\x01", 0, 1}, {kHex, "0X", 0, 2},
      {kHexLong, "0X", 0, 2}, {kHexLong, "0x-", 0, 1}, {kHexLong, "-0x", 0, 0},
      {kHexLong, "0-x", 0, 1}, {kHexLong, "0x'", 0, 1}, {kHexLong, "'0x", 0, 0},
      {kHexLong, "0\x01x", 0, 1}, {kHexLong, "0x\x01", 0, 1},
      {kHexLong, "123456789abcdef0", 0x123456789abcdef0LL, 16},
  };
  FOR_EACH_CASE(cases) {
    LPSTR end = kUnset;
    EXPECT_EQ(c.parse(c.text, &end), c.value);
    EXPECT_EQ(end - c.text, c.stop);
    EXPECT_EQ(c.parse(c.text, nullptr), c.value);
  }
}

TEST(NumberParse, RealAddsTinyBiasAndReadsSeparators) {
  const struct { const char *text; double value; int stop; } cases[] = {
      {"1,234.5", 1234.5, 7}, {"  -0.25 next", -0.25, 7}, {"", 0, 0}, {"abc", 0, 0},
      {"12", 12, 2}, {"7,5", 75, 3}, {".5", 0.5, 2},
      {"3.14xyz", 3.14, 7},  // with a fraction the end is the token end
      {"1.2.3", 1, 1},       // only the token's last separator is one
  };
  FOR_EACH_CASE(cases) {
    LPSTR end = kUnset;
    const double biased = c.value < 0 ? c.value - 5e-12 : c.value + 5e-12;
    EXPECT_DOUBLE_EQ(GvAsciiToDoubleToken(c.text, &end), biased);
    EXPECT_EQ(end - c.text, c.stop);
  }
}

TEST(NumberParse, CheckedFormsDefaultAndClamp) {
  LPSTR end = kUnset;
  EXPECT_EQ(GvAsciiToLongTokenEx("abc", 5, 0, 10, &end), 5);
  EXPECT_EQ(GvAsciiToLongTokenEx("", 5, 0, 10, &end), 0);
  EXPECT_EQ(GvAsciiToLongTokenEx("99", 5, 0, 10, &end), 10);
  EXPECT_EQ(GvAsciiToLongTokenEx("-99", 5, -10, 10, nullptr), -10);
  EXPECT_EQ(GvAsciiToLongTokenEx("0 ", 5, -10, 10, nullptr), 0);
  EXPECT_EQ(GvAsciiToLongTokenEx("x", 50, 0, 10, nullptr), 10);  // default clamped too
  const char *text = "0q";
  EXPECT_EQ(GvAsciiToDWordTokenEx(text, 7, 0, 100, &end), 7u);
  EXPECT_EQ(end, text + 1);
  EXPECT_EQ(GvAsciiToDWordTokenEx("3000000000", 1, 0, 0xFFFFFFFF, nullptr), 3000000000u);
  EXPECT_EQ(GvAsciiToLongLongTokenEx("-5000000000", 0, -4000000000LL, 0, nullptr), -4000000000LL);
  EXPECT_EQ(GvAsciiToDWordLongTokenEx("z", 77, 0, 100, nullptr), 77ULL);
  EXPECT_EQ(GvHexToDWordTokenEx("zz", 0xAB, 0, 0xFF, nullptr), 0xABu);
  EXPECT_EQ(GvHexToDWordTokenEx("100", 0, 0, 0xFF, nullptr), 0xFFu);
  EXPECT_EQ(GvHexToDWordLongTokenEx("0x10", 9, 0, 100, nullptr), 9ULL);
  // The real parse never gives exactly 0, so its default is never taken.
  EXPECT_DOUBLE_EQ(GvAsciiToDoubleTokenEx("abc", 3.0, 0.0, 10.0, &end), 5e-12);
  EXPECT_DOUBLE_EQ(GvAsciiToDoubleTokenEx("-4", 3.0, -1.0, 10.0, nullptr), -1.0);
  EXPECT_DOUBLE_EQ(GvAsciiToDoubleTokenEx("40", 3.0, -1.0, 10.0, nullptr), 10.0);
}


#define PRINT(call) [](char *out) { return call; }

// The returned length leaves out a minus sign; nothing is written past the text.
TEST(NumberPrint, TextAndLengthWithoutSign) {
  const struct { int (*print)(char *); const char *text; int length; } cases[] = {
      {PRINT(GvLongToAscii(0, out, TRUE)), "0", 1},
      {PRINT(GvLongToAscii(-1234, out, TRUE)), "-1,234", 5},
      {PRINT(GvLongToAscii(-1234, out, FALSE)), "-1234", 4},
      {PRINT(GvLongToAscii(999, out, TRUE)), "999", 3},
      {PRINT(GvLongToAscii(1000, out, TRUE)), "1,000", 5},
      {PRINT(GvLongToAscii(-2147483647 - 1, out, TRUE)), "-2,147,483,648", 13},
      {PRINT(GvLongToAscii(2147483647, out, FALSE)), "2147483647", 10},
      {PRINT(GvDWordToAscii(4294967295u, out, TRUE)), "4,294,967,295", 13},
      {PRINT(GvDWordToAscii(0, out, TRUE)), "0", 1},
      {PRINT(GvDWordLongToAscii(18446744073709551615ULL, out, TRUE)),
       "18,446,744,073,709,551,615", 26},
      {PRINT(GvLongLongToAscii(-9223372036854775807LL - 1, out, TRUE)),
       "-9,223,372,036,854,775,808", 25},
      {PRINT(GvLongLongToAscii(-12, out, FALSE)), "-12", 2},
      // Reals round half up with single-precision terms, at most 9 decimals.
      {PRINT(GvDoubleToAscii(out, -0.0004, 3, FALSE)), "0.000", 5},
      {PRINT(GvDoubleToAscii(out, 1234.5, 2, TRUE)), "1,234.50", 8},
      {PRINT(GvDoubleToAscii(out, 1234.5, 2, FALSE)), "1234.50", 7},
      {PRINT(GvDoubleToAscii(out, -2.5, 0, FALSE)), "-3", 1},
      {PRINT(GvDoubleToAscii(out, 0.0, 0, FALSE)), "0", 1},
      {PRINT(GvDoubleToAscii(out, 0.125, 2, FALSE)), "0.12", 4},  // 0.005f is below 0.005
      {PRINT(GvDoubleToAscii(out, 0.136, 2, FALSE)), "0.14", 4},
      {PRINT(GvDoubleToAscii(out, -1.005, 2, FALSE)), "-1.00", 4},
      {PRINT(GvDoubleToAscii(out, 9.9996, 3, FALSE)), "10.000", 6},
      {PRINT(GvDoubleToAscii(out, 1.5, 12, FALSE)), "1.500000000", 11},
      {PRINT(GvDoubleToAscii(out, -1234567.891, 1, TRUE)), "-1,234,567.9", 11},
      {PRINT(GvDoubleToAscii(out, 1e30, 0, FALSE)), "18446744073709551615", 20},
  };
  FOR_EACH_CASE(cases) {
    char out[48];
    std::memset(out, 0x7f, sizeof out);
    EXPECT_EQ(c.print(out), c.length);
    EXPECT_STREQ(out, c.text);
    EXPECT_EQ(out[std::strlen(c.text) + 1], 0x7f);
  }
}


TEST(StringHelpers, GroupStripPrepareAndFourCC) {
  const struct { const char *in, *out; int length; } cases[] = {
      {"1234567", "1,234,567", 9}, {"-1234.5678", "-1,234.5678", 11}, {"123", "123", 3},
      {"", "0", 1},                {"   ", "0", 1},                    {"000", "0", 1},
      {"  12345 tail", "  12,345", 8}, {"0001234", "0001,234", 8}, {"1000000.", "1,000,000.", 10},
  };
  FOR_EACH_CASE(cases) {
    char text[32];
    std::strcpy(text, c.in);
    EXPECT_EQ(GvInsertCommas(text), c.length);
    EXPECT_STREQ(text, c.out);
  }
  char text[32] = " \t name here \r\n";
  EXPECT_EQ(GvStripWhiteSpace(text), 9);
  EXPECT_STREQ(text, "name here");
  std::strcpy(text, "    ");
  EXPECT_EQ(GvStripWhiteSpace(text), 0);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(GvPrepareName("  Take 1 ", text, 1), text);  // the size is not consulted
  EXPECT_STREQ(text, "Take 1");
  EXPECT_EQ(GvPrepareName(" \t", text, sizeof text), nullptr);
  EXPECT_EQ(GvPrepareName(nullptr, text, sizeof text), nullptr);
  std::memset(text, 0x7f, sizeof text);
  EXPECT_EQ(GvFourCCToString(0x46464952, text), text);  // bytes R I F F
  EXPECT_STREQ(text, "RIFF");
  EXPECT_EQ(text[5], 0x7f);
}


TEST(DecibelLabels, Table) {
  const struct { LONG value; int decimals; LONG floor; BOOL unit; const char *text; } cases[] = {
      {-600, 1, 0, TRUE, "-60.0 dB"}, {-600, 1, -600, TRUE, "-Inf."},
      {-601, 1, -600, FALSE, "-Inf."}, {-599, 1, -600, FALSE, "-59.9"},
      {12345, 0, 0, TRUE, "12,345 dB"}, {12345, -3, 0, FALSE, "12,345"},
      {5, 12, 0, FALSE, "0.000000005"}, {1234567, 2, 0, FALSE, "12,345.67"},
      {-2147483647 - 1, 9, 0, TRUE, "-2.147483648 dB"},
  };
  FOR_EACH_CASE(cases) {
    EXPECT_STREQ(GvGetdBStringFixed(nullptr, c.value, c.decimals, c.floor, c.unit), c.text);
  }
  EXPECT_STREQ(GvGetdBStringFloat(nullptr, -6.02f, 2, 0.0f, TRUE), "-6.02 dB");
  EXPECT_STREQ(GvGetdBStringFloat(nullptr, -6.9f, 0, 0.0f, FALSE), "-6");  // truncated
  EXPECT_STREQ(GvGetdBStringFloat(nullptr, -96.0f, 1, -96.0f, TRUE), "-Inf.");
  EXPECT_STREQ(GvGetdBStringFloat(nullptr, 1234.5f, 1, 0.0f, FALSE), "1,234.5");
  // A label too long for the 24-byte buffer is cut, never overrun.
  const char *big = GvGetdBStringFloat(nullptr, 3e38f, 9, 0.0f, TRUE);
  EXPECT_EQ(std::strlen(big), 23u);
  EXPECT_STREQ(big + 20, " dB");
  // Labels live in a ring: the next call does not overwrite the last.
  const char *first = GvGetdBStringFixed(nullptr, 10, 0, 0, FALSE);
  const char *second = GvGetdBStringFixed(nullptr, 20, 0, 0, FALSE);
  EXPECT_STREQ(first, "10");
  EXPECT_STREQ(second, "20");
}


// Widths in characters of the fixed system font, plus the 2 pixels of margin.
TEST(Ellipsis, ShortensWithDotsWithinSizeAndWidth) {
  HDC dc = CreateCompatibleDC(nullptr);
  ASSERT_NE(dc, nullptr);
  SelectObject(dc, GetStockObject(SYSTEM_FIXED_FONT));
  SIZE size;
  ASSERT_TRUE(GetTextExtentPoint32A(dc, "W", 1, &size));
  const struct { const char *text; int size, chars; const char *expected; } cases[] = {
      {"abcdef", 32, 6, "abcdef"},          // fits
      {"abcdefghij", 32, 8, "abcde..."},
      {"abcdefghij", 6, 5, "abcdefghij"},   // only size - 1 characters count
      {"abcdefghij", 6, 4, "a..."},
      {"abcdefghij", 32, 3, "abcdefghij"},  // nothing would be left
      {"abcdefghij", -5, 0, "abcdefghij"},
      // The working copy is as long as the text, whatever size is claimed.
      {"abcdefghij", 0x7FFFFFFF, 8, "abcde..."},
  };
  FOR_EACH_CASE(cases) {
    char text[32];
    std::strcpy(text, c.text);
    GvCalcStringEllipsis(dc, text, c.size, c.chars * size.cx + 2);
    EXPECT_STREQ(text, c.expected);
  }
  char unterminated[8] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
  GvCalcStringEllipsis(dc, unterminated, sizeof unterminated, 5 * size.cx + 2);
  EXPECT_STREQ(unterminated, "ab...");
  DeleteDC(dc);
}

}  // namespace
