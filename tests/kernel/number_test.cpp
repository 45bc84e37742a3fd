// Number parsing and printing, the string helpers and the decibel labels
// (United States separators).
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "gvtalc.h"

namespace {

const LPSTR kUnset = reinterpret_cast<LPSTR>(static_cast<UINT_PTR>(0xdeadbeef));

// ---- Parsing ---------------------------------------------------------------

struct DWordCase {
  const char *text;
  DWORD value;
  int stop;  // offset of the end position
};

TEST(NumberParse, DWordTokenTable) {
  const DWordCase cases[] = {
      {"  1,234,567", 1234567, 11},
      {"42abc", 42, 2},
      {"", 0, 0},
      {"   ", 0, 3},
      {"\t7 8", 7, 2},
      {"1,,2,", 12, 5},
      {",5", 5, 2},
      {"4294967295", 4294967295u, 10},
      {"4294967296", 0, 10},  // wraps
      {"4294967306", 10, 10},
      {"-5", 0, 0},
      {"12.5", 12, 2},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    LPSTR end = kUnset;
    EXPECT_EQ(GvAsciiToDWordToken(cases[i].text, &end), cases[i].value);
    EXPECT_EQ(end - cases[i].text, cases[i].stop);
  }
  EXPECT_EQ(GvAsciiToDWordToken("99", nullptr), 99u);
}

TEST(NumberParse, SignedAndLongForms) {
  LPSTR end = kUnset;
  const char *text = " -1,234 x";
  EXPECT_EQ(GvAsciiToLongToken(text, &end), -1234);
  EXPECT_EQ(end, text + 7);
  EXPECT_EQ(GvAsciiToLongToken("2147483648", nullptr), LONG(0x80000000));
  EXPECT_EQ(GvAsciiToLongToken("-2147483648", nullptr), LONG(0x80000000));
  EXPECT_EQ(GvAsciiToLongToken("--5", nullptr), 0);
  EXPECT_EQ(GvAsciiToDWordLongToken("18,446,744,073,709,551,615", nullptr),
            18446744073709551615ULL);
  EXPECT_EQ(GvAsciiToDWordLongToken("18446744073709551616", nullptr), 0ULL);
  EXPECT_EQ(GvAsciiToLongLongToken("-9223372036854775807", nullptr), -9223372036854775807LL);
  EXPECT_EQ(GvAsciiToLongLongToken("4294967296", nullptr), 4294967296LL);
}

TEST(NumberParse, HexOnlyDropsAPrefixThatIsTheWholeText) {
  LPSTR end = kUnset;
  const char *prefixed = "0x1F";
  EXPECT_EQ(GvHexToDWordToken(prefixed, &end), 0u);
  EXPECT_EQ(end, prefixed + 1);  // stops at the x
  const char *bare = " 0X";
  EXPECT_EQ(GvHexToDWordToken(bare, &end), 0u);
  EXPECT_EQ(end, bare + 3);
  EXPECT_EQ(GvHexToDWordToken("1f", nullptr), 31u);
  EXPECT_EQ(GvHexToDWordToken("DeadBeefG", &end), 0xDEADBEEFu);
  EXPECT_EQ(*end, 'G');
  EXPECT_EQ(GvHexToDWordToken("123456789", nullptr), 0x23456789u);
  EXPECT_EQ(GvHexToDWordLongToken("123456789abcdef0", nullptr), 0x123456789abcdef0ULL);
}

// Only the two characters 0 and x (either case) count as the whole text;
// characters a locale-aware comparison would ignore do not make a prefix.
TEST(NumberParse, HexPrefixMustBeExactlyTheRestOfTheText) {
  const struct {
    const char *text;
    int stop;
  } cases[] = {{"0x-", 1}, {"-0x", 0}, {"0-x", 1}, {"0x'", 1}, {"'0x", 0}, {"0\x01x", 1},
               {"0x\x01", 1}, {"0X", 2}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    LPSTR end = kUnset;
    EXPECT_EQ(GvHexToDWordToken(cases[i].text, &end), 0u);
    EXPECT_EQ(end - cases[i].text, cases[i].stop);
    end = kUnset;
    EXPECT_EQ(GvHexToDWordLongToken(cases[i].text, &end), 0ULL);
    EXPECT_EQ(end - cases[i].text, cases[i].stop);
  }
}

TEST(NumberParse, RealAddsTinyBiasAndReadsSeparators) {
  struct {
    const char *text;
    double value;
    int stop;
  } cases[] = {
      {"1,234.5", 1234.5 + 5e-12, 7},
      {"  -0.25 next", -(0.25 + 5e-12), 7},
      {"", 5e-12, 0},
      {"abc", 5e-12, 0},
      {"12", 12 + 5e-12, 2},
      {"3.14xyz", 3.14 + 5e-12, 7},  // with a fraction the end is the token end
      {"1.2.3", 1 + 5e-12, 1},       // only the token's last separator is one
      {"7,5", 75 + 5e-12, 3},
      {".5", 0.5 + 5e-12, 2},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    LPSTR end = kUnset;
    EXPECT_DOUBLE_EQ(GvAsciiToDoubleToken(cases[i].text, &end), cases[i].value);
    EXPECT_EQ(end - cases[i].text, cases[i].stop);
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
  EXPECT_EQ(GvAsciiToLongLongTokenEx("-5000000000", 0, -4000000000LL, 0, nullptr),
            -4000000000LL);
  EXPECT_EQ(GvAsciiToDWordLongTokenEx("z", 77, 0, 100, nullptr), 77ULL);
  EXPECT_EQ(GvHexToDWordTokenEx("zz", 0xAB, 0, 0xFF, nullptr), 0xABu);
  EXPECT_EQ(GvHexToDWordTokenEx("100", 0, 0, 0xFF, nullptr), 0xFFu);
  EXPECT_EQ(GvHexToDWordLongTokenEx("0x10", 9, 0, 100, nullptr), 9ULL);
  // The real parse never gives exactly 0, so its default is never taken.
  EXPECT_DOUBLE_EQ(GvAsciiToDoubleTokenEx("abc", 3.0, 0.0, 10.0, &end), 5e-12);
  EXPECT_DOUBLE_EQ(GvAsciiToDoubleTokenEx("-4", 3.0, -1.0, 10.0, nullptr), -1.0);
  EXPECT_DOUBLE_EQ(GvAsciiToDoubleTokenEx("40", 3.0, -1.0, 10.0, nullptr), 10.0);
}

// ---- Printing --------------------------------------------------------------

struct PrintCase {
  LONGLONG value;
  BOOL commas;
  const char *text;
  int length;
};

TEST(NumberPrint, SignedIntegersReturnLengthWithoutSign) {
  const PrintCase cases[] = {
      {0, TRUE, "0", 1},
      {-1234, TRUE, "-1,234", 5},
      {-1234, FALSE, "-1234", 4},
      {999, TRUE, "999", 3},
      {1000, TRUE, "1,000", 5},
      {-2147483647 - 1, TRUE, "-2,147,483,648", 13},
      {2147483647, FALSE, "2147483647", 10},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    char out[32];
    std::memset(out, 0x7f, sizeof out);
    EXPECT_EQ(GvLongToAscii(static_cast<LONG>(cases[i].value), out, cases[i].commas),
              cases[i].length);
    EXPECT_STREQ(out, cases[i].text);
    EXPECT_EQ(out[std::strlen(out) + 1], 0x7f);
  }
}

TEST(NumberPrint, UnsignedAnd64BitForms) {
  char out[32];
  EXPECT_EQ(GvDWordToAscii(4294967295u, out, TRUE), 13);
  EXPECT_STREQ(out, "4,294,967,295");
  EXPECT_EQ(GvDWordToAscii(0, out, TRUE), 1);
  EXPECT_STREQ(out, "0");
  EXPECT_EQ(GvDWordLongToAscii(18446744073709551615ULL, out, TRUE), 26);
  EXPECT_STREQ(out, "18,446,744,073,709,551,615");
  EXPECT_EQ(GvLongLongToAscii(-9223372036854775807LL - 1, out, TRUE), 25);
  EXPECT_STREQ(out, "-9,223,372,036,854,775,808");
  EXPECT_EQ(GvLongLongToAscii(-12, out, FALSE), 2);
  EXPECT_STREQ(out, "-12");
}

struct RealCase {
  double value;
  UINT decimals;
  BOOL commas;
  const char *text;
  int length;
};

TEST(NumberPrint, RealsRoundWithSinglePrecisionTerms) {
  const RealCase cases[] = {
      {-0.0004, 3, FALSE, "0.000", 5},
      {1234.5, 2, TRUE, "1,234.50", 8},
      {1234.5, 2, FALSE, "1234.50", 7},
      {-2.5, 0, FALSE, "-3", 1},
      {0.0, 0, FALSE, "0", 1},
      {0.125, 2, FALSE, "0.12", 4},  // 0.005f is just below 0.005
      {0.136, 2, FALSE, "0.14", 4},
      {-1.005, 2, FALSE, "-1.00", 4},
      {9.9996, 3, FALSE, "10.000", 6},
      {1.5, 12, FALSE, "1.500000000", 11},  // limited to 9 decimals
      {-1234567.891, 1, TRUE, "-1,234,567.9", 11},
      {1e30, 0, FALSE, "18446744073709551615", 20},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    char out[48];
    EXPECT_EQ(GvDoubleToAscii(out, cases[i].value, cases[i].decimals, cases[i].commas),
              cases[i].length);
    EXPECT_STREQ(out, cases[i].text);
  }
}

// ---- String helpers --------------------------------------------------------

TEST(StringHelpers, InsertCommasTable) {
  const struct {
    const char *in;
    const char *out;
    int length;
  } cases[] = {
      {"1234567", "1,234,567", 9},
      {"-1234.5678", "-1,234.5678", 11},
      {"123", "123", 3},
      {"", "0", 1},
      {"   ", "0", 1},
      {"000", "0", 1},
      {"  12345 tail", "  12,345", 8},
      {"0001234", "0001,234", 8},
      {"1000000.", "1,000,000.", 10},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    char text[32];
    std::strcpy(text, cases[i].in);
    EXPECT_EQ(GvInsertCommas(text), cases[i].length);
    EXPECT_STREQ(text, cases[i].out);
  }
}

TEST(StringHelpers, StripWhiteSpaceAndPrepareName) {
  char text[32] = " \t name here \r\n";
  EXPECT_EQ(GvStripWhiteSpace(text), 9);
  EXPECT_STREQ(text, "name here");
  std::strcpy(text, "    ");
  EXPECT_EQ(GvStripWhiteSpace(text), 0);
  EXPECT_STREQ(text, "");

  char dest[32];
  EXPECT_EQ(GvPrepareName("  Take 1 ", dest, 1), dest);
  EXPECT_STREQ(dest, "Take 1");
  EXPECT_EQ(GvPrepareName(" \t", dest, sizeof dest), nullptr);
  EXPECT_EQ(GvPrepareName(nullptr, dest, sizeof dest), nullptr);
}

TEST(StringHelpers, FourCCInMemoryOrder) {
  char out[6];
  std::memset(out, 0x7f, sizeof out);
  EXPECT_EQ(GvFourCCToString(0x46464952, out), out);  // bytes R I F F
  EXPECT_STREQ(out, "RIFF");
  EXPECT_EQ(out[5], 0x7f);
}

// ---- Decibel labels --------------------------------------------------------

TEST(DecibelLabels, FixedPointTable) {
  const struct {
    LONG value;
    int decimals;
    LONG floor;
    BOOL unit;
    const char *text;
  } cases[] = {
      {-600, 1, 0, TRUE, "-60.0 dB"},
      {-600, 1, -600, TRUE, "-Inf."},
      {-601, 1, -600, FALSE, "-Inf."},
      {-599, 1, -600, FALSE, "-59.9"},
      {12345, 0, 0, TRUE, "12,345 dB"},
      {12345, -3, 0, FALSE, "12,345"},
      {5, 12, 0, FALSE, "0.000000005"},
      {1234567, 2, 0, FALSE, "12,345.67"},
      {-2147483647 - 1, 9, 0, TRUE, "-2.147483648 dB"},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    EXPECT_STREQ(GvGetdBStringFixed(nullptr, cases[i].value, cases[i].decimals, cases[i].floor,
                                    cases[i].unit),
                 cases[i].text);
  }
}

TEST(DecibelLabels, FloatForms) {
  EXPECT_STREQ(GvGetdBStringFloat(nullptr, -6.02f, 2, 0.0f, TRUE), "-6.02 dB");
  EXPECT_STREQ(GvGetdBStringFloat(nullptr, -6.9f, 0, 0.0f, FALSE), "-6");
  EXPECT_STREQ(GvGetdBStringFloat(nullptr, -96.0f, 1, -96.0f, TRUE), "-Inf.");
  EXPECT_STREQ(GvGetdBStringFloat(nullptr, 1234.5f, 1, 0.0f, FALSE), "1,234.5");
  // A label too long for the 24-byte buffer is cut, never overrun.
  const char *big = GvGetdBStringFloat(nullptr, 3e38f, 9, 0.0f, TRUE);
  EXPECT_EQ(std::strlen(big), 23u);
  EXPECT_STREQ(big + 20, " dB");
}

TEST(DecibelLabels, LabelsSurviveTheNextFewCalls) {
  const char *first = GvGetdBStringFixed(nullptr, 10, 0, 0, FALSE);
  const char *second = GvGetdBStringFixed(nullptr, 20, 0, 0, FALSE);
  EXPECT_NE(first, second);
  EXPECT_STREQ(first, "10");
  EXPECT_STREQ(second, "20");
}

// ---- Ellipsis --------------------------------------------------------------

class Ellipsis : public ::testing::Test {
 protected:
  void SetUp() override {
    dc_ = CreateCompatibleDC(nullptr);
    ASSERT_NE(dc_, nullptr);
    SelectObject(dc_, GetStockObject(SYSTEM_FIXED_FONT));
    SIZE size;
    ASSERT_TRUE(GetTextExtentPoint32A(dc_, "W", 1, &size));
    char_ = size.cx;
  }
  void TearDown() override { DeleteDC(dc_); }
  HDC dc_ = nullptr;
  int char_ = 0;  // width of one character of the fixed font
};

TEST_F(Ellipsis, TextThatFitsIsUnchanged) {
  char text[32] = "abcdef";
  GvCalcStringEllipsis(dc_, text, sizeof text, 6 * char_ + 2);
  EXPECT_STREQ(text, "abcdef");
}

TEST_F(Ellipsis, ShortensUntilTextAndDotsFit) {
  char text[32] = "abcdefghij";
  GvCalcStringEllipsis(dc_, text, sizeof text, 8 * char_ + 2);
  EXPECT_STREQ(text, "abcde...");
}

TEST_F(Ellipsis, WorksWithinTheGivenSize) {
  char text[32] = "abcdefghij";
  // Only the first size - 1 characters are considered.
  GvCalcStringEllipsis(dc_, text, 6, 5 * char_ + 2);
  EXPECT_STREQ(text, "abcdefghij");
  GvCalcStringEllipsis(dc_, text, 6, 4 * char_ + 2);
  EXPECT_STREQ(text, "a...");
}

TEST_F(Ellipsis, NothingLeftMeansUnchanged) {
  char text[32] = "abcdefghij";
  GvCalcStringEllipsis(dc_, text, sizeof text, 3 * char_ + 2);
  EXPECT_STREQ(text, "abcdefghij");
  GvCalcStringEllipsis(dc_, text, -5, 2);
  EXPECT_STREQ(text, "abcdefghij");
}

}  // namespace

// The working copy is as long as the text needs, whatever size is claimed:
// a size far beyond the text still shortens it.
TEST_F(Ellipsis, HugeSizeDoesNotAllocateItsWorth) {
  char text[32] = "abcdefghij";
  GvCalcStringEllipsis(dc_, text, 0x7FFFFFFF, 8 * char_ + 2);
  EXPECT_STREQ(text, "abcde...");
  char unterminated[8] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
  GvCalcStringEllipsis(dc_, unterminated, sizeof unterminated, 5 * char_ + 2);
  EXPECT_STREQ(unterminated, "ab...");
}
