// The user's international settings, read from the registry into the
// process-wide record, with a default for every value that is not usable.
#include <cstddef>
#include <cstring>

#include "kernel/format.h"
#include "kernel/intl.h"
#include "include/gvnumber.h"

namespace gv {
namespace {

static_assert(sizeof(tGVINTERNATIONALS) == GVINTERNATIONALS_SIZE, "the record is 252 bytes");
static_assert(sizeof(tGVLANGINFO) == 124, "fixed information, name, character set, language");

struct NumberItem {
  const char *value;
  size_t offset;
  DWORD fallback;
};

struct TextItem {
  const char *value;
  size_t offset;
  size_t width;
  const char *fallback;
};

#define GV_NUMBER(name, field, def) {name, offsetof(tGVINTERNATIONALS, field), def}
#define GV_TEXT(name, field, def) \
  {name, offsetof(tGVINTERNATIONALS, field), sizeof(tGVINTERNATIONALS::field), def}

const NumberItem kNumbers[] = {
    GV_NUMBER("iCountry", iCountry, 1),     GV_NUMBER("iCurrDigits", iCurrDigits, 2),
    GV_NUMBER("iCurrency", iCurrency, 0),   GV_NUMBER("iDate", iDate, 0),
    GV_NUMBER("iDigits", iDigits, 2),       GV_NUMBER("iLZero", iLZero, 1),
    GV_NUMBER("iMeasure", iMeasure, 1),     GV_NUMBER("iNegCurr", iNegCurr, 1),
    GV_NUMBER("iTime", iTime, 0),           GV_NUMBER("iTLZero", iTLZero, 0),
    GV_NUMBER("Locale", dwLocale, 1033),
};

const TextItem kTexts[] = {
    GV_TEXT("s1159", s1159, "AM"),
    GV_TEXT("s2359", s2359, "PM"),
    GV_TEXT("sCountry", sCountry, "United States"),
    GV_TEXT("sCurrency", sCurrency, "$"),
    GV_TEXT("sDate", sDate, "/"),
    GV_TEXT("sDecimal", sDecimal, "."),
    GV_TEXT("sLanguage", sLanguage, "ENU"),
    GV_TEXT("sList", sList, ","),
    GV_TEXT("sLongDate", sLongDate, "dddd, MMMM dd, yyyy"),
    GV_TEXT("sShortDate", sShortDate, "M/d/yy"),
    GV_TEXT("sThousand", sThousand, ","),
    GV_TEXT("sTime", sTime, ":"),
    GV_TEXT(nullptr, sSmpteFraction, "."),
    GV_TEXT(nullptr, sSmpteWhole, ":"),
};

#undef GV_NUMBER
#undef GV_TEXT

// Values are read as strings of at most 128 bytes.
constexpr DWORD kValueBytes = 128;

// The string value `name`; false when missing, empty, of another type or
// longer than `limit` characters.
bool ReadText(HKEY key, const char *name, char (&text)[kValueBytes + 1], size_t limit) {
  if (!key || !name) return false;
  DWORD type = 0, size = kValueBytes;
  if (RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE *>(text), &size) !=
          ERROR_SUCCESS ||
      type != REG_SZ)
    return false;
  text[size < kValueBytes ? size : kValueBytes] = '\0';
  const size_t length = std::strlen(text);
  return length > 0 && length <= limit;
}

tGVINTERNATIONALS g_record;
bool g_recordSet = false;

}  // namespace

void ReadInternationalsFrom(HKEY key, tGVINTERNATIONALS *out) {
  std::memset(out, 0, sizeof *out);
  out->cbSize = GVINTERNATIONALS_SIZE;
  char *base = reinterpret_cast<char *>(out);
  char text[kValueBytes + 1];
  for (const NumberItem &item : kNumbers) {
    DWORD value = item.fallback;
    if (ReadText(key, item.value, text, kValueBytes)) value = GvAsciiToDWordToken(text, nullptr);
    std::memcpy(base + item.offset, &value, sizeof value);
  }
  for (const TextItem &item : kTexts) {
    const char *value = ReadText(key, item.value, text, item.width - 1) ? text : item.fallback;
    lstrcpynA(base + item.offset, value, static_cast<int>(item.width));
  }
}

const tGVINTERNATIONALS &Internationals() {
  if (!g_recordSet) {
    ReadInternationalsFrom(nullptr, &g_record);
    g_recordSet = true;
  }
  return g_record;
}

IntlSeparators SeparatorsOf(const tGVINTERNATIONALS &r) {
  IntlSeparators s;
  s.decimal = r.sDecimal[0];
  s.thousands = r.sThousand[0];
  s.list = r.sList[0];
  s.time = r.sTime[0];
  s.date = r.sDate[0];
  s.currency = r.sCurrency[0];
  s.smpteWhole = r.sSmpteWhole[0];
  s.smpteFraction = r.sSmpteFraction[0];
  return s;
}

void ReadInternationals() {
  HKEY key = nullptr;
  if (RegOpenKeyExA(HKEY_CURRENT_USER, "Control Panel\\International", 0, KEY_QUERY_VALUE, &key) !=
      ERROR_SUCCESS)
    key = nullptr;
  ReadInternationalsFrom(key, &g_record);
  g_recordSet = true;
  if (key) RegCloseKey(key);
  SetSeparators(SeparatorsOf(g_record));
  RegisterSeparatorTokens();
}

}  // namespace gv
