// The token formatter: conversions, separators, grouping, tokens and the
// argument walk, with argument blocks laid out as a 32-bit client's stack.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "gvtalc.h"
#include "support/cases.h"

namespace {

// An argument block as a cdecl caller pushes it: 4-byte slots, 8 bytes for
// doubles and 64-bit integers, no padding.
// Characters are widened to int, as the caller's promotion does.
class Args {
 public:
  template <typename... T>
  explicit Args(T... values) { (Put(values), ...); }
  va_list List() const {
    bytes_.resize(bytes_.size() + 64, 0);  // what a stray conversion would read
    return reinterpret_cast<va_list>(bytes_.data());
  }

 private:
  template <typename T>
  void Put(T v) {
    const auto widened = std::conditional_t<sizeof(T) < 4, int, T>(v);
    const char *c = reinterpret_cast<const char *>(&widened);
    bytes_.insert(bytes_.end(), c, c + sizeof widened);
  }
  mutable std::vector<char> bytes_;
};

// Formats into a large buffer and checks the returned length and that
// nothing was written behind the terminator.
std::string Format(const std::string &format, const Args &args = Args()) {
  std::vector<char> out(1 << 18, '\x7f');
  const int n = GvVPrintF(out.data(), format.c_str(), args.List());
  EXPECT_EQ(static_cast<size_t>(n), std::strlen(out.data()));
  EXPECT_EQ(out[n + 1], '\x7f') << "wrote past the terminator";
  return std::string(out.data());
}

std::string Chars(size_t n, char c) { return std::string(n, c); }
const std::string kLongText = Chars(1500, 't');

struct Case { std::string format; Args args; std::string expected; };

const Case kCases[] = {
    {"plain text", Args(), "plain text"}, {"100%% and $$5", Args(), "100% and $5"},
    {"%d|%i|%u", Args(-5, 7, -1), "-5|7|4294967295"},
    {"%x|%X|%08x", Args(0xbeef, 0xbeef, 0x1f), "beef|BEEF|0000001f"},
    {"%5d|%-5d|%+d", Args(42, 42, 42), "   42|42   |+42"},
    {"%.3f|%e|%E|%g|%G", Args(2.5, 1234.5, 0.5, 0.0001, 1e-10),
     "2.500|1.234500e+003|5.000000E-001|0.0001|1E-010"},
    {"%c%c|%s|%-4s|", Args('o', 'k', "str", "ab"), "ok|str|ab  |"},
    {"%*|%,|%;|%:", Args(), ".|,|.|:"}, {"%7.2*|$,", Args(), ".|,"},
    {"%.2z|%.0z|%z|%5z", Args(12345, 7, -3, 12), "123.45|7|-3|   12"},
    {"%.3z|$.3z", Args(-5, -1234567), "-0.005|-1,234.567"},
    {"$d|$d|$d|$d", Args(4567, -1234567, 999, 0), "4,567|-1,234,567|999|0"},
    {"$u", Args(-1), "4,294,967,295"}, {"$x", Args(0x123456), "123,456"},
    {"$.2f|$.4f|$.2f", Args(-1234567.891, -9876543.21, 123.456),
     "-1,234,567.89|-9,876,543.2100|123.46"},
    {"$I64d|$s|$c", Args(-9223372036854775807LL - 1, "12345", '7'),
     "-9,223,372,036,854,775,808|12345|7"},
    // Padding around a grouped number: the leading blanks stay, the number
    // ends at the first blank behind it.
    {"[$8d]|[$-8d]|[%-8d]", Args(1234, 1234, 1234), "[    1,234]|[1,234]|[1234    ]"},
    // Unfinished directives are copied, a '$' introducer written as '%'.
    {"%", Args(), "%"}, {"end %5", Args(), "end %5"}, {"end $", Args(), "end %"},
    {"end $5", Args(), "end %5"}, {"%5.2", Args(), "%5.2"},
    // 260 characters at most: an ending character at 260 still completes it.
    {"%" + Chars(300, '1') + "d", Args(5), "%" + Chars(300, '1') + "d"},
    {"%" + Chars(258, '0') + "d|", Args(5), "5|"},
    {"%" + Chars(259, '0') + "d|", Args(5), "%" + Chars(259, '0') + "d|"},
    // 'o' does not end a directive: the octal conversion runs on to the 'i'
    // of "items"; every conversion after the first reads zeros.
    {"%o items|%o%%x", Args(8, 9), "10 items|11%x"},
    {[] { std::string f; for (int i = 0; i < 100; ++i) f += "%o"; return f + "d|"; }(),
     Args(8), "10" + Chars(99, '0') + "d|"},
    {[] { std::string f; for (int i = 0; i < 40; ++i) f += "%p"; return f + "%s|"; }(),
     Args(0x71), "00000071" + Chars(39 * 8, '0') + "(null)|"},
    // Counts and the runtime's string conversions inside a directive are
    // text: none may write memory or read a number as a pointer.
    {"%5n d", Args(3), "%5n d"}, {"%Sd|%Zd|", Args(5, 5), "%Sd|%Zd|"},
    {"%o%-4Sx|%Sf|%lSz|", Args(8, 1.0, 7), "10%-4Sx|%Sf|%lSd|"},
    {"%Sc|%-3S%c|", Args('q', 'r'), "%Sc|%-3Sr|"},
    // Each conversion takes exactly its own argument slots.
    {"%I64d %d|%I64x %d", Args(0x100000000LL, 77, -1LL, 5), "4294967296 77|ffffffffffffffff 5"},
    {"%f %.1z %s %c %d", Args(0.25, 15, "x", 'q', 6), "0.250000 1.5 x q 6"},
    {"%*%,%;%: %d|%5d%% %d", Args(8, 1, 2), ".,.: 8|    1% 2"},
    {"%5I64d|%d", Args(12, 34), "   12|34"},  // only "%I6..." takes 64 bits
    // Long conversions come out whole, however long.
    {"%.3000d", Args(5), Chars(2999, '0') + "5"}, {"%3000d|", Args(5), Chars(2999, ' ') + "5|"},
    {"$.3000d|$.3000d", Args(5, 1234567), Chars(2999, '0') + "5|" + Chars(2993, '0') + "1,234,567"},
    {"$3000d|", Args(-1234), Chars(2995, ' ') + "-1,234|"},
    {"%99999x|", Args(0xab), Chars(99997, ' ') + "ab|"},
    {"%.3000f|", Args(1.5), "1.5" + Chars(2999, '0') + "|"},
    {"%.500z|%.3000z|", Args(1, -1), "0." + Chars(500, '0') + "|-0." + Chars(3000, '0') + "|"},
    {"%s|%.1200s|", Args(kLongText.c_str(), kLongText.c_str()),
     kLongText + "|" + Chars(1200, 't') + "|"},
    {"%1100c|%-1030s|", Args('q', "ab"), Chars(1099, ' ') + "q|ab" + Chars(1028, ' ') + "|"},
    {"%1030ls|%1030s|", Args(L"wide", nullptr),
     Chars(1026, ' ') + "wide|" + Chars(1024, ' ') + "(null)|"},
    {"$1100s|", Args("12345"), Chars(1095, ' ') + "12345|"},
    // Conversions no memory could hold are written as their directive.
    {"%2147483647d|%99999999999999999999d|", Args(1, 2), "%2147483647d|%99999999999999999999d|"},
    {"%.2147483647f|%.4294967296z|%.3000000000z|%2147483647s|", Args(1.0, 1, 1, "a"),
     "%.2147483647f|%.4294967296z|%.3000000000z|%2147483647s|"},
    // Token references that find nothing are copied; the name scan stops at
    // anything but letters, digits and '_', and formatting goes on behind it.
    {"$(NoSuchToken) x|$(App Name)|$(abc|$(|$()", Args(),
     "$(NoSuchToken) x|$(App Name)|$(abc|$(|$()"},
    {"$(a %d)|$(" + Chars(300, 'n') + ")", Args(5), "$(a 5)|$(" + Chars(300, 'n') + ")"},
    // The separator tokens registered at load; a full stop ends the scan.
    {"$(d)$(decimal)$(t)$(thousand)$(l)$(list)|$(time)$(date)$(currency)|$(smpte.whole)", Args(),
     "..,,,,|:/$|$(smpte.whole)"},
};

TEST(Formatter, TableOfConversionsAndTheVariadicEntry) {
  FOR_EACH_CASE(kCases) EXPECT_EQ(Format(c.format, c.args), c.expected);
  // The variadic entry, and null arguments.
  char out[128] = "xyz";
  EXPECT_EQ(GvPrintF(out, "%I64d/%.2f/%d/$d", 1234567890123LL, 0.125, -7, 1000), 27);
  EXPECT_STREQ(out, "1234567890123/0.13/-7/1,000");
  EXPECT_EQ(GvPrintF(nullptr, "%d", 1), 0);
  EXPECT_EQ(GvPrintF(out, nullptr), 0);
  EXPECT_STREQ(out, "");
}


class FormatterTokens : public ::testing::Test {
 protected:
  void TearDown() override {
    for (const char *name : {"Colour", "Other_1"}) GvPrintF_DeleteToken(name);
    GvPrintF_DeleteToken(Chars(260, 'm').c_str());
  }
};

TEST_F(FormatterTokens, AddReplaceAndDeleteIgnoreCaseAndStaySorted) {
  ASSERT_TRUE(GvPrintF_AddToken("Colour", "teal"));
  EXPECT_EQ(Format("a $(Colour) b $(COLOUR)$(colour)"), "a teal b tealteal");
  ASSERT_TRUE(GvPrintF_AddToken("COLOUR", "amber"));
  EXPECT_EQ(Format("$(colour)"), "amber");
  EXPECT_TRUE(GvPrintF_DeleteToken("cOLOUr"));
  EXPECT_EQ(Format("$(Colour)"), "$(Colour)");
  EXPECT_FALSE(GvPrintF_DeleteToken("Colour"));
  ASSERT_TRUE(GvPrintF_AddToken("Other_1", nullptr));
  EXPECT_EQ(Format("[$(Other_1)]"), "[]");
  EXPECT_FALSE(GvPrintF_AddToken(nullptr, "x"));
  const std::string longest = Chars(260, 'm');
  ASSERT_TRUE(GvPrintF_AddToken(longest.c_str(), "fits"));
  EXPECT_EQ(Format("$(" + longest + ")"), "fits");
  // Many tokens, added in reverse, are all found.
  char name[16];
  for (int i = 99; i >= 0; --i) {
    wsprintfA(name, "tok%d", i);
    ASSERT_TRUE(GvPrintF_AddToken(name, name + 3));
  }
  for (int i = 0; i < 100; ++i) {
    wsprintfA(name, "$(TOK%d)", i);
    EXPECT_EQ(Format(name), std::to_string(i));
    wsprintfA(name, "tok%d", i);
    EXPECT_TRUE(GvPrintF_DeleteToken(name)) << name;
  }
  EXPECT_EQ(Format("$(d)"), ".");
}

}  // namespace
