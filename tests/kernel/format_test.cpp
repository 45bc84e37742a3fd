// The token formatter: conversions, separators, grouping, tokens and the
// argument walk, with argument blocks laid out as a 32-bit client's stack.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "gvtalc.h"

namespace {

// An argument block as a cdecl caller pushes it: 4-byte slots, 8 bytes for
// doubles and 64-bit integers, no padding.
class Args {
 public:
  Args &I(int32_t v) { return Put(&v, 4); }
  Args &L(int64_t v) { return Put(&v, 8); }
  Args &D(double v) { return Put(&v, 8); }
  Args &S(const char *v) { return Put(&v, 4); }
  va_list List() {
    bytes_.resize(bytes_.size() + 64, 0);  // what a stray conversion would read
    return reinterpret_cast<va_list>(bytes_.data());
  }

 private:
  Args &Put(const void *p, size_t n) {
    const char *c = static_cast<const char *>(p);
    bytes_.insert(bytes_.end(), c, c + n);
    return *this;
  }
  std::vector<char> bytes_;
};

std::string Format(const char *format, Args args) {
  std::vector<char> out(8192, '\x7f');
  const int n = GvVPrintF(out.data(), format, args.List());
  EXPECT_EQ(static_cast<size_t>(n), std::strlen(out.data()));
  EXPECT_EQ(out[n + 1], '\x7f') << "wrote past the terminator";
  return std::string(out.data());
}

struct Case {
  const char *format;
  Args args;
  const char *expected;
};

// Every ending character, the escapes and the odd specifications.
const Case kCases[] = {
    {"plain text", Args(), "plain text"},
    {"100%% and $$5", Args(), "100% and $5"},
    {"%d|%i|%u", Args().I(-5).I(7).I(-1), "-5|7|4294967295"},
    {"%x|%X|%08x", Args().I(0xbeef).I(0xbeef).I(0x1f), "beef|BEEF|0000001f"},
    {"%5d|%-5d|%+d", Args().I(42).I(42).I(42), "   42|42   |+42"},
    {"%.3f|%e|%E", Args().D(2.5).D(1234.5).D(0.5), "2.500|1.234500e+003|5.000000E-001"},
    {"%g|%G", Args().D(0.0001).D(1e-10), "0.0001|1E-010"},
    {"%c%c|%s|%-4s|", Args().I('o').I('k').S("str").S("ab"), "ok|str|ab  |"},
    {"%*|%,|%;|%:", Args(), ".|,|.|:"},
    {"%7.2*|$,", Args(), ".|,"},
    {"%.2z|%.0z|%z|%5z", Args().I(12345).I(7).I(-3).I(12), "123.45|7|-3|   12"},
    {"%.3z", Args().I(-5), "-0.005"},
    {"$.3z", Args().I(-1234567), "-1,234.567"},
    {"$d|$d|$d", Args().I(4567).I(-1234567).I(999), "4,567|-1,234,567|999"},
    {"$u", Args().I(-1), "4,294,967,295"},
    {"$.2f", Args().D(-1234567.891), "-1,234,567.89"},
    {"$I64d", Args().L(-9223372036854775807LL - 1), "-9,223,372,036,854,775,808"},
    {"$x", Args().I(0x123456), "123,456"},
    {"$s|$c", Args().S("12345").I('7'), "12345|7"},
    {"%", Args(), "%"},
    {"end %5", Args(), "end %5"},
    {"end $", Args(), "end %"},
    {"end $5", Args(), "end %5"},
    {"%5.2", Args(), "%5.2"},
    // 'o' does not end a specification: the octal conversion runs on to the
    // 'i' of "items" and prints the rest of the conversion text with it.
    {"%o items", Args().I(8), "10 items"},
    {"%o%%x", Args().I(9), "11%x"},
    {"%5n d", Args().I(3), "%5n d"},
};

TEST(Formatter, TableOfConversions) {
  for (size_t i = 0; i < sizeof kCases / sizeof kCases[0]; ++i) {
    SCOPED_TRACE(i);
    SCOPED_TRACE(kCases[i].format);
    EXPECT_EQ(Format(kCases[i].format, kCases[i].args), kCases[i].expected);
  }
}

// A number's specification that runs on over a string conversion of the C
// runtime (%S wide, %Z counted) would read the number as a pointer; such a
// conversion comes out as text, like %n.
TEST(Formatter, StringConversionsInsideANumberAreText) {
  const Case cases[] = {
      {"%Sd|", Args().I(5), "%Sd|"},
      {"%Zd|", Args().I(5), "%Zd|"},
      {"%o%-4Sx|", Args().I(8), "10%-4Sx|"},
      {"%Sf|", Args().D(1.0), "%Sf|"},
      {"%lSz|", Args().I(7), "%lSd|"},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(cases[i].format);
    EXPECT_EQ(Format(cases[i].format, cases[i].args), cases[i].expected);
  }
}

// The same for a character or string conversion that runs on over a %S:
// the window manager's formatter would read the character as a pointer.
TEST(Formatter, WideStringConversionBeforeATextEndingIsText) {
  EXPECT_EQ(Format("%Sc|", Args().I('q')), "%Sc|");
  EXPECT_EQ(Format("%-3S%c|", Args().I('q')), "%-3Sq|");
  EXPECT_EQ(Format("%s|%c", Args().S("ab").I('z')), "ab|z");
}

// However many conversions a specification runs on over, each one past the
// first reads zeros, never the stack behind the arguments.
TEST(Formatter, RunOnConversionsReadZeros) {
  std::string many;
  for (int i = 0; i < 40; ++i) many += "%p";
  const std::string text = Format((many + "%s|").c_str(), Args().I(0x71));
  EXPECT_EQ(text.substr(0, 16), "0000007100000000");
  EXPECT_EQ(text.substr(40 * 8), "(null)|");
  std::string octal;
  for (int i = 0; i < 100; ++i) octal += "%o";
  EXPECT_EQ(Format((octal + "d|").c_str(), Args().I(8)), "10" + std::string(99, '0') + "d|");
}

// Fixed point prints all n decimals asked for, up to
// the longest result of one conversion.
TEST(Formatter, FixedPointKeepsManyDecimals) {
  EXPECT_EQ(Format("%.500z|", Args().I(1)), "0." + std::string(500, '0') + "|");
  EXPECT_EQ(Format("%.1000z|", Args().I(-1)), "-0." + std::string(1000, '0') + "|");
}

TEST(Formatter, ReturnsLengthOfOutput) {
  char out[64];
  EXPECT_EQ(GvPrintF(out, "%s-%d", "abc", 12345), 9);
  EXPECT_STREQ(out, "abc-12345");
  EXPECT_EQ(GvPrintF(out, ""), 0);
  EXPECT_STREQ(out, "");
}

TEST(Formatter, NullArgumentsWriteNothingAndDoNotCrash) {
  char out[8] = "xyz";
  EXPECT_EQ(GvPrintF(nullptr, "%d", 1), 0);
  EXPECT_EQ(GvPrintF(out, nullptr), 0);
  EXPECT_STREQ(out, "");
}

// Each conversion takes exactly its own slots: what follows proves it.
TEST(Formatter, ArgumentSlotsMatchAClientsStack) {
  EXPECT_EQ(Format("%I64d %d", Args().L(0x100000000LL).I(77)), "4294967296 77");
  EXPECT_EQ(Format("%I64x %d", Args().L(-1).I(5)), "ffffffffffffffff 5");
  EXPECT_EQ(Format("%d %d", Args().I(1).I(2)), "1 2");
  EXPECT_EQ(Format("%f %d", Args().D(0.25).I(9)), "0.250000 9");
  EXPECT_EQ(Format("%.1z %d", Args().I(15).I(3)), "1.5 3");
  EXPECT_EQ(Format("%s %d", Args().S("x").I(4)), "x 4");
  EXPECT_EQ(Format("%c %d", Args().I('q').I(6)), "q 6");
  EXPECT_EQ(Format("%*%,%;%: %d", Args().I(8)), ".,.: 8");
  EXPECT_EQ(Format("%5d%% %d", Args().I(1).I(2)), "    1% 2");
  // Only a specification that begins with %I6 takes 64 bits.
  EXPECT_EQ(Format("%5I64d|%d", Args().I(12).I(34)), "   12|34");
}

TEST(Formatter, VariadicEntryPassesDoublesAndLongs) {
  char out[128];
  GvPrintF(out, "%I64d/%.2f/%d/$d", 1234567890123LL, 0.125, -7, 1000);
  EXPECT_STREQ(out, "1234567890123/0.13/-7/1,000");
}

TEST(Formatter, GroupingSkipsSignAndStopsAtDecimals) {
  EXPECT_EQ(Format("$.4f", Args().D(-9876543.21)), "-9,876,543.2100");
  EXPECT_EQ(Format("$.2f", Args().D(123.456)), "123.46");
  EXPECT_EQ(Format("$d", Args().I(-100)), "-100");
  EXPECT_EQ(Format("$d", Args().I(0)), "0");
  // Padding around a grouped number: the leading blanks stay, the number
  // ends at the first blank behind it.
  EXPECT_EQ(Format("[$8d]", Args().I(1234)), "[    1,234]");
  EXPECT_EQ(Format("[$-8d]", Args().I(1234)), "[1,234]");
  EXPECT_EQ(Format("[%-8d]", Args().I(1234)), "[1234    ]");
}

TEST(Formatter, UnterminatedSpecificationStopsAt260Characters) {
  std::string format = "%" + std::string(300, '1') + "d";
  std::string out = Format(format.c_str(), Args().I(5));
  // 260 characters are copied as they stand, then the rest is plain text.
  EXPECT_EQ(out, format);
  // An ending character at position 260 still completes the conversion.
  std::string edge = "%" + std::string(258, '0') + "d|";
  EXPECT_EQ(Format(edge.c_str(), Args().I(5)), "5|");
  std::string over = "%" + std::string(259, '0') + "d|";
  EXPECT_EQ(Format(over.c_str(), Args().I(5)), over);
}

TEST(Formatter, TextConversionGivesAtMost1023Characters) {
  const std::string text(1500, 't');
  EXPECT_EQ(Format("%s|", Args().S(text.c_str())), std::string(1023, 't') + "|");
}

TEST(Formatter, HugeWidthIsCutNotOverrun) {
  const char *formats[] = {"%99999d|", "%2147483647d|", "%99999999999999999999d|",
                           "%.99999f|", "%.2147483647f|", "%.99999z|", "%.4294967296z|",
                           "%99999s|", "%1100c|"};
  for (const char *format : formats) {
    SCOPED_TRACE(format);
    std::string out = Format(format, Args().D(1.0).I(1));
    EXPECT_LT(out.size(), 4096u);
    EXPECT_EQ(out.back(), '|');
  }
}

// ---- Tokens ------------------------------------------------------------------

class FormatterTokens : public ::testing::Test {
 protected:
  void TearDown() override {
    GvPrintF_DeleteToken("Colour");
    GvPrintF_DeleteToken("Other_1");
    GvPrintF_DeleteToken("");
  }
};

TEST_F(FormatterTokens, ReferenceIsReplacedByValue) {
  ASSERT_TRUE(GvPrintF_AddToken("Colour", "teal"));
  EXPECT_EQ(Format("a $(Colour) b", Args()), "a teal b");
  EXPECT_EQ(Format("$(Colour)$(Colour)", Args()), "tealteal");
}

TEST_F(FormatterTokens, LookupIgnoresCase) {
  ASSERT_TRUE(GvPrintF_AddToken("Colour", "teal"));
  EXPECT_EQ(Format("$(COLOUR) $(colour)", Args()), "teal teal");
}

TEST_F(FormatterTokens, NameDifferingOnlyInCaseReplaces) {
  ASSERT_TRUE(GvPrintF_AddToken("Colour", "teal"));
  ASSERT_TRUE(GvPrintF_AddToken("COLOUR", "amber"));
  EXPECT_EQ(Format("$(colour)", Args()), "amber");
  EXPECT_TRUE(GvPrintF_DeleteToken("cOLOUr"));
  EXPECT_EQ(Format("$(Colour)", Args()), "$(Colour)");
  EXPECT_FALSE(GvPrintF_DeleteToken("Colour"));
}

TEST_F(FormatterTokens, DeletedTokenIsCopiedAsText) {
  ASSERT_TRUE(GvPrintF_AddToken("Other_1", "x"));
  EXPECT_TRUE(GvPrintF_DeleteToken("Other_1"));
  EXPECT_EQ(Format("$(Other_1)", Args()), "$(Other_1)");
}

TEST_F(FormatterTokens, UnknownAndUnclosedReferencesAreCopied) {
  EXPECT_EQ(Format("$(NoSuchToken) x", Args()), "$(NoSuchToken) x");
  EXPECT_EQ(Format("$(App Name)", Args()), "$(App Name)");
  EXPECT_EQ(Format("$(abc", Args()), "$(abc");
  EXPECT_EQ(Format("$(", Args()), "$(");
  EXPECT_EQ(Format("$()", Args()), "$()");
  // The scan stops at the blank; what follows is formatted normally.
  EXPECT_EQ(Format("$(a %d)", Args().I(5)), "$(a 5)");
}

TEST_F(FormatterTokens, LongNamesAreCutAt260Characters) {
  const std::string name(300, 'n');
  const std::string format = "$(" + name + ")";
  EXPECT_EQ(Format(format.c_str(), Args()), format);
  const std::string exact(260, 'm');
  ASSERT_TRUE(GvPrintF_AddToken(exact.c_str(), "fits"));
  EXPECT_EQ(Format(("$(" + exact + ")").c_str(), Args()), "fits");
  EXPECT_TRUE(GvPrintF_DeleteToken(exact.c_str()));
}

TEST_F(FormatterTokens, SeparatorTokensAreRegisteredAtLoad) {
  EXPECT_EQ(Format("$(d)$(decimal)$(t)$(thousand)$(l)$(list)", Args()), "..,,,,");
  EXPECT_EQ(Format("$(time)$(date)$(currency)", Args()), ":/$");
  // A full stop ends the name scan, so these two are out of reach here.
  EXPECT_EQ(Format("$(smpte.whole)", Args()), "$(smpte.whole)");
}

TEST_F(FormatterTokens, EmptyValueAndManyTokensStaySorted) {
  ASSERT_TRUE(GvPrintF_AddToken("Colour", nullptr));
  EXPECT_EQ(Format("[$(Colour)]", Args()), "[]");
  EXPECT_FALSE(GvPrintF_AddToken(nullptr, "x"));
  char name[16];
  for (int i = 99; i >= 0; --i) {
    wsprintfA(name, "tok%d", i);
    ASSERT_TRUE(GvPrintF_AddToken(name, name + 3));
  }
  for (int i = 0; i < 100; ++i) {
    SCOPED_TRACE(i);
    wsprintfA(name, "$(TOK%d)", i);
    EXPECT_EQ(Format(name, Args()), std::to_string(i));
  }
  for (int i = 0; i < 100; ++i) {
    wsprintfA(name, "tok%d", i);
    EXPECT_TRUE(GvPrintF_DeleteToken(name));
  }
  EXPECT_EQ(Format("$(d)", Args()), ".");
}

}  // namespace
