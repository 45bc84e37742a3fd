// The user's international settings through the DLL: German separators in
// the registry drive the formatter, the number parsers and the decibel
// labels; the record is copied partially; items are read one by one.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "gvtalc.h"
#include "support/cases.h"
#include "support/scoped_value.h"

namespace {

using gvtest::ScopedValue;

// Registry values of a German user, put back (and read again) afterwards.
class GermanSettings : public testing::Test {
 protected:
  void SetUp() override {
    const char *const values[][2] = {{"sThousand", "."}, {"sDecimal", ","}, {"sList", ";"},
                                     {"iCountry", "49"}, {"sCountry", "Deutschland"},
                                     {"sLanguage", "DEU"}, {"s1159", ""}};
    for (const auto &v : values) {
      values_.push_back(std::make_unique<ScopedValue>(HKEY_CURRENT_USER, gvtest::kInternational, v[0]));
      values_.back()->SetString(v[1]);
    }
    GvLang_GetInternationals(nullptr, 0);
  }
  void TearDown() override {
    values_.clear();  // restores the user's values
    GvLang_GetInternationals(nullptr, 0);
  }
  std::vector<std::unique_ptr<ScopedValue>> values_;
};

TEST_F(GermanSettings, DriveFormattedNumbersParsersAndLabels) {
  char text[64];
  GvPrintF(text, "$d", 1234567);
  EXPECT_STREQ(text, "1.234.567");
  GvPrintF(text, "$.2z|%.1f|$(t)$(d)$(l)", 123456, 2.5);
  EXPECT_STREQ(text, "1.234,56|2,5|.,;");
  EXPECT_NEAR(GvAsciiToDoubleToken("1.234,5", nullptr), 1234.5, 1e-9);
  EXPECT_EQ(GvAsciiToDWordToken("1.234.567", nullptr), 1234567u);
  EXPECT_STREQ(GvGetdBStringFixed(nullptr, -12345, 1, 0, TRUE), "-1.234,5 dB");
  GvDoubleToAscii(text, 9876.25, 2, TRUE);
  EXPECT_STREQ(text, "9.876,25");
}

TEST_F(GermanSettings, ItemsReadOneByOne) {
  struct Case {
    UINT item;
    bool buffer;
    int result;
    const char *text;
  } const cases[] = {
      {0, true, 49, ""},
      {13, true, 11, "Deutschland"}, {17, false, 3, ""}, {11, true, 2, "AM"},  // empty: default
      {16, false, ',', ""}, {21, true, '.', ""}, {18, false, ';', ""},
      {100, false, '.', ""}, {101, false, ':', ""},
      {23, true, 0, ""}, {50, true, 0, ""}, {102, true, 0, ""}, {0xFFFFFFFF, true, 0, ""},
  };
  FOR_EACH_CASE(cases) {
    char buffer[80];
    std::memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(GvGetInat(c.item, c.buffer ? buffer : nullptr), c.result);
    if (c.buffer) {
      EXPECT_STREQ(buffer, c.text);
    }
  }
}

TEST_F(GermanSettings, RecordIsCopiedUpToTheSizeAsked) {
  tGVINTERNATIONALS whole;
  ASSERT_EQ(GvLang_GetInternationals(&whole, sizeof whole), S_OK);
  ASSERT_EQ(sizeof whole, 252u);
  EXPECT_EQ(whole.cbSize, 252u);
  EXPECT_STREQ(whole.sDecimal, ",");
  EXPECT_EQ(whole.iCountry, 49u);
  const UINT sizes[] = {0, 2, 4, 8, 13, 251, 252, 300};
  FOR_EACH_CASE(sizes) {
    std::vector<BYTE> out(320, 0xCD);
    EXPECT_EQ(GvLang_GetInternationals(reinterpret_cast<tGVINTERNATIONALS *>(out.data()), c), S_OK);
    const UINT copied = c < 252 ? c : 252;
    std::vector<BYTE> expect(320, 0xCD);
    std::memset(expect.data(), 0, c);
    std::memcpy(expect.data(), &whole, copied);
    if (c >= 4) std::memcpy(expect.data(), &copied, 4);
    EXPECT_EQ(out, expect);
  }
}

}  // namespace
