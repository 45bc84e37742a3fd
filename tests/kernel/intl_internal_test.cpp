// The international record read from a registry key: values that are
// missing, empty, of another type or too long for their field keep their
// defaults.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "kernel/intl.h"
#include "support/cases.h"
#include "support/registry_sandbox.h"

namespace {

class IntlKey : public testing::Test {
 protected:
  void SetUp() override {
    path_ = "Software\\GvTest\\" + gvtest::UniqueName("Intl");
    ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, path_.c_str(), &key_), ERROR_SUCCESS);
  }
  void TearDown() override {
    RegCloseKey(key_);
    gvtest::DeleteTree(HKEY_CURRENT_USER, path_);
  }
  void Put(const char *name, DWORD type, const std::string &bytes) {
    RegSetValueExA(key_, name, 0, type, reinterpret_cast<const BYTE *>(bytes.data()),
                   DWORD(bytes.size()));
  }
  std::string path_;
  HKEY key_ = nullptr;
};

TEST_F(IntlKey, UnusableValuesKeepTheirDefaults) {
  struct Case {
    const char *name;
    DWORD type;
    std::string stored;  // bytes as stored (with the terminator for strings)
    size_t offset;       // the field in the record
    std::string expect;  // a text field's text, or a number as digits
  } const cases[] = {
      {"sDecimal", REG_SZ, std::string(",\0", 2), offsetof(tGVINTERNATIONALS, sDecimal), ","},
      {"sDecimal", REG_DWORD, std::string("\x2c\0\0\0", 4), offsetof(tGVINTERNATIONALS, sDecimal), "."},
      {"sThousand", REG_SZ, std::string("\0", 1), offsetof(tGVINTERNATIONALS, sThousand), ","},
      {"sList", REG_SZ, std::string("abcde\0", 6), offsetof(tGVINTERNATIONALS, sList), ","},
      {"sTime", REG_SZ, std::string("h::m\0", 5), offsetof(tGVINTERNATIONALS, sTime), "h::m"},
      {"sTime", REG_EXPAND_SZ, std::string(".\0", 2), offsetof(tGVINTERNATIONALS, sTime), ":"},
      {"sCountry", REG_SZ, std::string(63, 'c') + '\0', offsetof(tGVINTERNATIONALS, sCountry),
       std::string(63, 'c')},
      {"sCountry", REG_SZ, std::string(64, 'c') + '\0', offsetof(tGVINTERNATIONALS, sCountry),
       "United States"},
      {"sCountry", REG_SZ, std::string(400, 'c') + '\0', offsetof(tGVINTERNATIONALS, sCountry),
       "United States"},
      {"sLanguage", REG_SZ, "DEU", offsetof(tGVINTERNATIONALS, sLanguage), "DEU"},  // no terminator
      {"iCountry", REG_SZ, std::string("49\0", 3), offsetof(tGVINTERNATIONALS, iCountry), "49"},
      {"iCountry", REG_SZ, std::string("\0", 1), offsetof(tGVINTERNATIONALS, iCountry), "1"},
      {"iCountry", REG_DWORD, std::string("\x31\0\0\0", 4), offsetof(tGVINTERNATIONALS, iCountry), "1"},
      {"Locale", REG_SZ, std::string(200, '7') + '\0', offsetof(tGVINTERNATIONALS, dwLocale), "1033"},
      {"iDigits", REG_BINARY, std::string("3", 1), offsetof(tGVINTERNATIONALS, iDigits), "2"},
      {"iMeasure", REG_SZ, std::string("0\0", 2), offsetof(tGVINTERNATIONALS, iMeasure), "0"},
  };
  FOR_EACH_CASE(cases) {
    RegDeleteValueA(key_, c.name);
    Put(c.name, c.type, c.stored);
    tGVINTERNATIONALS r;
    std::memset(&r, 0xCD, sizeof r);
    gv::ReadInternationalsFrom(key_, &r);
    const char *field = reinterpret_cast<const char *>(&r) + c.offset;
    if (c.name[0] == 's') {
      EXPECT_EQ(std::string(field), c.expect);
    } else {
      DWORD value;
      std::memcpy(&value, field, 4);
      EXPECT_EQ(std::to_string(value), c.expect);
    }
    RegDeleteValueA(key_, c.name);
  }
}

TEST_F(IntlKey, AnEmptyKeyOrNoneGivesTheUnitedStatesRecord) {
  tGVINTERNATIONALS a, b;
  gv::ReadInternationalsFrom(key_, &a);
  gv::ReadInternationalsFrom(nullptr, &b);
  EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
  EXPECT_EQ(a.cbSize, 252u);
  EXPECT_EQ(a.dwLocale, 1033u);
  EXPECT_STREQ(a.sLongDate, "dddd, MMMM dd, yyyy");
  EXPECT_STREQ(a.sShortDate, "M/d/yy");
  EXPECT_STREQ(a.sSmpteFraction, ".");
  EXPECT_STREQ(a.sSmpteWhole, ":");
  const gv::IntlSeparators s = gv::SeparatorsOf(a);
  EXPECT_EQ(std::string({s.decimal, s.thousands, s.list, s.time, s.date, s.currency}), ".,,:/$");
}

}  // namespace
