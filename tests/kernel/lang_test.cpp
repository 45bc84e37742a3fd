// Language handles through the DLL: which translation is chosen, the ring,
// the conversions, and the library's own translation.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "gvtalc.h"
#include "support/cases.h"
#include "support/scoped_value.h"

namespace {

using gvtest::ScopedValue;

// A language handle for `module` with kernel setting 100 at `wanted`.
struct OpenedFor {
  OpenedFor(HMODULE module, DWORD wanted, int rule, DWORD ring = 0)
      : setting(HKEY_CURRENT_USER, gvtest::kKernelMetrics, "100") {
    setting.SetDword(wanted);
    result = GvLang_Open(&handle, module, rule, ring);
  }
  ~OpenedFor() { GvLang_Close(handle); }
  ScopedValue setting;
  HANDLE handle = nullptr;
  HRESULT result;
};

class LangHost : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(host_ = LoadLibraryA("langhost.dll"), nullptr); }
  void TearDown() override { FreeLibrary(host_); }
  HMODULE host_ = nullptr;
};

TEST_F(LangHost, ChoosesTheTranslationByLanguageVersionAndCharacterSet) {
  struct Case {
    DWORD wanted;
    int rule;
    const char *answer;  // string 1 of the module that answers
  } const cases[] = {
      {0x0409, 0, "host"},  // the module's own language: no translation
      {0x0407, 1, "deu"},
      {0x0C07, 1, "host"},  // same low byte, another sublanguage
      {0x040C, 0, "host"},  // the only French module is of another product version
      {0x0411, 1, "host"},  // double-byte refused by rule 1
      {0x0411, 2, "jpn"},
      {0x0412, 2, "host"},  // Unicode refused by rule 2
      {0x0412, 0, "kor"},
      {0x0412, 7, "kor"},   // any other rule takes every character set
      {0x0413, 0, "host"},  // nothing in that language
  };
  FOR_EACH_CASE(cases) {
    OpenedFor lang(host_, c.wanted, c.rule);
    ASSERT_EQ(lang.result, S_OK);
    EXPECT_STREQ(GvGetString(lang.handle, 1), c.answer);
    // The module answers what the translation lacks.
    EXPECT_STREQ(GvGetString(lang.handle, 2), "host only");
    EXPECT_STREQ(GvGetString(lang.handle, 999), "");
  }
}

TEST_F(LangHost, ReadsTheLanguageInformationOfAModule) {
  struct Case {
    const char *file;
    HRESULT result;
    const char *name;
    DWORD charset, id, productLow;
  } const cases[] = {
      {"langhost.deu", S_OK, "Deutsch", GVLANG_CHARSET_SBCS, 0x0407, 12},
      {"langhost.jpn", S_OK, "Japanese", GVLANG_CHARSET_DBCS, 0x0411, 12},
      {"langhost.kor", S_OK, "Korean", GVLANG_CHARSET_UNICODE, 0x0412, 12},
      {"langhost.fra", S_OK, "Fran\xe7" "ais", GVLANG_CHARSET_SBCS, 0x040C, 13},
      {"no-such-file.deu", E_FAIL, "", 0, 0, 0},
  };
  FOR_EACH_CASE(cases) {
    tGVLANGINFO info;
    std::memset(&info, 0xCD, sizeof info);
    EXPECT_EQ(GvLang_GetVersionInfo(c.file, &info), c.result);
    EXPECT_STREQ(info.szName, c.name);
    EXPECT_EQ(info.dwCharSet, c.charset);
    EXPECT_EQ(info.dwLangID, c.id);
    EXPECT_EQ(info.fixed.dwProductVersionLS & 0xFFFF, c.productLow);
  }
}

TEST_F(LangHost, OpenFailsWithoutAModuleFileAndCloseAcceptsNull) {
  HANDLE handle = reinterpret_cast<HANDLE>(1);
  EXPECT_EQ(GvLang_Open(&handle, reinterpret_cast<HINSTANCE>(0x10), 1, 0), E_FAIL);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(GvLang_Close(nullptr), S_OK);
  EXPECT_EQ(GvGetStringBuffer(nullptr, 4), nullptr);
  EXPECT_STREQ(GvGetString(nullptr, 1), "");
  char buffer[8] = "x";
  EXPECT_EQ(GvLoadString(nullptr, 1, buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "");
}

// Areas come from the ring at offsets that round each request up past a
// terminator to 4 bytes, and start again past the last 1024 bytes.
TEST_F(LangHost, RingHandsOutAreasAndWrapsAround) {
  struct Case {
    DWORD ring;
    UINT requests[10];  // ends at 0xFFFFFFFF
    long offsets[10];   // -1: null
  } const cases[] = {
      {0, {0, 5, 3, 8, 0xFFFFFFFF}, {0, 4, 12, 16}},
      {1, {1096, 1024, 0xFFFFFFFF}, {0, 0}},    // 2048 bytes; 1100 is past 2048 - 1024
      {1, {1096, 1000, 20, 0xFFFFFFFF}, {0, 0, 1004}},
      {1, {1020, 1023, 0xFFFFFFFF}, {0, 1024}},  // 1024 is not past the reserve
      {1, {1020, 1100, 0xFFFFFFFF}, {0, 0}},     // would run off the end
      {1, {2048, 2047, 0xFFFFFFFF}, {-1, 0}},    // never the whole ring
      {4096, {3000, 1024, 0xFFFFFFFF}, {0, 3004}},
  };
  FOR_EACH_CASE(cases) {
    OpenedFor lang(host_, 0x0409, 1, c.ring);
    char *base = nullptr;
    for (int k = 0; c.requests[k] != 0xFFFFFFFF; ++k) {
      SCOPED_TRACE(k);
      char *area = GvGetStringBuffer(lang.handle, c.requests[k]);
      if (c.offsets[k] < 0) {
        EXPECT_EQ(area, nullptr);
        continue;
      }
      ASSERT_NE(area, nullptr);
      if (!base) base = area - c.offsets[k];
      EXPECT_EQ(area - base, c.offsets[k]);
      if (c.requests[k] == 0) {
        EXPECT_EQ(area[0], 0);
      }
      std::memset(area, 'x', c.requests[k]);  // the area is the caller's to fill
    }
  }
}

TEST_F(LangHost, StringsStayValidUntilTheRingHasGoneRound) {
  OpenedFor lang(host_, 0x0409, 1, 1);  // 2048 bytes
  const char *first = GvGetString(lang.handle, 2);
  EXPECT_STREQ(first, "host only");
  const char *second = GvGetString(lang.handle, 1);
  EXPECT_EQ(second - first, 12);  // "host only" + terminator, rounded to 4
  for (int i = 0; i < 200; ++i) GvGetString(lang.handle, 2);
  EXPECT_STREQ(first, "host only");  // overwritten by the same text: it went round
  const char *again = nullptr;
  for (int i = 0; i < 200 && again != first; ++i) again = GvGetString(lang.handle, 1);
  EXPECT_EQ(again, first);
  EXPECT_STREQ(first, "host");
}

TEST_F(LangHost, ConvertsBetweenAnsiAndWideInTheRing) {
  OpenedFor lang(host_, 0x0409, 1);
  struct Case {
    const char *ansi;
    const wchar_t *wide;
  } const cases[] = {{"", L""}, {"take 1.wav", L"take 1.wav"}, {"a~b\\c", L"a~b\\c"}};
  FOR_EACH_CASE(cases) {
    EXPECT_STREQ(GvGetWideFromPrintString(lang.handle, c.ansi), c.wide);
    EXPECT_STREQ(GvGetPrintFromWideString(lang.handle, c.wide), c.ansi);
  }
  EXPECT_STREQ(GvGetWideFromPrintString(nullptr, "x"), L"");
  EXPECT_STREQ(GvGetPrintFromWideString(lang.handle, nullptr), "");
  const std::string tooLong(9000, 'a');  // more than the 8192-byte ring
  EXPECT_STREQ(GvGetWideFromPrintString(lang.handle, tooLong.c_str()), L"");
}

TEST_F(LangHost, ResourcesComeFromTheTranslationFirst) {
  OpenedFor lang(host_, 0x0407, 1);
  char buffer[16];
  EXPECT_EQ(GvLoadString(lang.handle, 1, buffer, sizeof buffer), 3);
  EXPECT_STREQ(buffer, "deu");
  // Version resources are in both: the translation's is found first, and
  // loading and sizing go to the module that holds it.
  HRSRC found = GvFindResource(lang.handle, MAKEINTRESOURCEA(1), MAKEINTRESOURCEA(16));
  ASSERT_NE(found, nullptr);
  EXPECT_NE(GvLoadResource(lang.handle, found), nullptr);
  HMODULE translation = GetModuleHandleA("langhost.deu");
  ASSERT_NE(translation, nullptr);
  EXPECT_EQ(GvSizeofResource(lang.handle, found), SizeofResource(translation, found));
  EXPECT_EQ(GvLoadMenu(lang.handle, MAKEINTRESOURCEA(5)), nullptr);  // nobody has one
  SIZE size = {-1, -1};
  EXPECT_FALSE(GvGetDialogSize(lang.handle, 77, nullptr, 0, &size));
}

TEST(LangLibrary, TranslatesTheLibrarysStringsUnlessTheProductVersionDiffers) {
  HMODULE library = GetModuleHandleA("GVTALC.dll");
  struct Case {
    DWORD wanted;
    const char *name;     // string 7001, the first INFO item's name
    const char *message;  // string 32002
    const char *shown;    // string 32000 through the ...Id wrappers
    const char *refusal;  // string 32005, one of the version check's
  } const cases[] = {
      {0x0409, "Archival Location", "$(AppName) is ready.", "The value must lie between 1 and 65,536.",
       "The version of the Marrowbeam Kernel is too old."},
      {0x0407, "Archivort", "$(AppName) ist bereit.", "Der Wert muss zwischen 1 und 65,536 liegen.",
       "Die Version des Marrowbeam Kernel ist zu alt."},
      // GVTALC.gvtest-ell is of product version 1.0.0.13.
      {0x0408, "Archival Location", "$(AppName) is ready.", "The value must lie between 1 and 65,536.",
       "The version of the Marrowbeam Kernel is too old."},
  };
  HWND window = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
  ASSERT_NE(window, nullptr);
  FOR_EACH_CASE(cases) {
    OpenedFor lang(library, c.wanted, 1);
    ASSERT_EQ(lang.result, S_OK);
    EXPECT_STREQ(GvGetString(lang.handle, 7001), c.name);
    EXPECT_STREQ(GvGetString(lang.handle, 7000), "IARL");  // codes are never translated
    EXPECT_STREQ(GvGetString(lang.handle, 32002), c.message);
    EXPECT_STREQ(GvGetString(lang.handle, 32005), c.refusal);
    char text[128] = "";
    GvSetWindowTextId(lang.handle, window, 32000, 1, 65536);
    GetWindowTextA(window, text, sizeof text);
    EXPECT_STREQ(text, c.shown);
  }
  DestroyWindow(window);
}

}  // namespace
