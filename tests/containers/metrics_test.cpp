// Settings store: key paths (and names too long for one), value names by
// type and hive, reading with defaults and clamping, the library's own
// handle (-1), null handles and keys that could not be created, all checked
// against the registry read directly.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "gvtalc.h"
#include "support/cases.h"
#include "support/registry_sandbox.h"

namespace {

using gvtest::DwordText;
using gvtest::Stored;
using gvtest::Typed;
using std::string;
const DWORD kVersion = 0x0203ABCD;  // "2.3": the low word is ignored
const HKEY kUser = HKEY_CURRENT_USER, kMachine = HKEY_LOCAL_MACHINE;
const string kRoot = "Software\\Marrowbeam\\";

// Reads through `read(buffer, size)` into a 24-byte buffer preset to
// `canary`: the first `size` bytes must be `expected` followed by zeros, the
// rest untouched.
template <typename Read>
void ExpectFilled(Read read, DWORD size, const string &expected, BYTE canary) {
  char buffer[24];
  memset(buffer, canary, sizeof buffer);
  read(buffer, size);
  string want = expected + string(size - expected.size(), '\0');
  want += string(sizeof buffer - size, (char)canary);
  EXPECT_EQ(string(buffer, sizeof buffer), want);
}
void ExpectBinary(HGVMETRIC h, int id, DWORD size, DWORD result, const string &bytes) {
  ExpectFilled([&](char *b, DWORD n) { EXPECT_EQ(GvGetMetricBinary(h, id, b, n), result); }, size,
               bytes, 0xCC);
}
void ExpectText(HGVMETRIC h, int id, DWORD size, const char *def, BOOL keepEmpty, int result,
                const string &text) {
  ExpectFilled([&](char *b, DWORD n) {
    EXPECT_EQ(GvGetMetricStringEx(h, id, b, n, def, keepEmpty), result);
  }, size, text, 0xAA);
}

// An application of its own per test, removed from both hives afterwards.
class Metrics : public testing::Test {
 protected:
  void SetUp() override {
    gvtest::RemoveEverywhere(appRoot_);
    ASSERT_EQ(GvMetric_Open(&h_, app_.c_str(), kVersion, nullptr), S_OK);
  }
  void TearDown() override {
    EXPECT_EQ(GvMetric_Close(h_), 0);
    gvtest::RemoveEverywhere(appRoot_);
  }
  void Write(HKEY hive, const char *name, DWORD type, const void *data, DWORD size) {
    ASSERT_TRUE(gvtest::WriteValue(hive, path_, name, type, data, size));
  }
  void WriteDword(HKEY hive, const char *name, DWORD value) {
    Write(hive, name, REG_DWORD, &value, sizeof value);
  }
  string app_ = gvtest::UniqueName("GvTestMetrics"), appRoot_ = kRoot + app_,
         path_ = appRoot_ + "\\2.3\\Metrics";
  HGVMETRIC h_ = reinterpret_cast<HGVMETRIC>(0xdeadbeef);
};

TEST_F(Metrics, OpenCreatesThePathFromMajorMinorAndSubKeyInBothHives) {
  EXPECT_TRUE(gvtest::KeyExists(kUser, path_) && gvtest::KeyExists(kMachine, path_));
  // The longest sub-key whose path fits in 259 characters, and one more.
  const string fits(259 - path_.size() - 1, 's'), tooLong = fits + "s";
  const struct { DWORD version; const char *subKey; string tail; } cases[] = {
      {0x01000000, nullptr, "\\1.0\\Metrics"}, {0x0A0BFFFF, nullptr, "\\10.11\\Metrics"},
      {0xFFFE0000, nullptr, "\\255.254\\Metrics"}, {0, "Section", "\\0.0\\Metrics\\Section"},
      {0x02030000, "Deep\\Er", "\\2.3\\Metrics\\Deep\\Er"},
      {kVersion, fits.c_str(), "\\2.3\\Metrics\\" + fits}, {kVersion, tooLong.c_str(), ""}};
  FOR_EACH_CASE(cases) {
    HGVMETRIC h = reinterpret_cast<HGVMETRIC>(0xdeadbeef);
    const bool refused = c.tail.empty();
    ASSERT_EQ(GvMetric_Open(&h, app_.c_str(), c.version, c.subKey), refused ? E_INVALIDARG : S_OK);
    EXPECT_EQ(GvSetMetric(h, 1, 11), refused ? E_FAIL : S_OK);
    EXPECT_EQ(GvSetMetric(h, -1, 22), refused ? E_FAIL : S_OK);
    EXPECT_EQ(GvMetric_Close(h), 0);
    if (refused) {
      EXPECT_EQ(h, nullptr);
      continue;
    }
    EXPECT_EQ(Stored(kUser, appRoot_ + c.tail, "1"), DwordText(11));
    EXPECT_EQ(Stored(kMachine, appRoot_ + c.tail, "1"), DwordText(22));
  }
  EXPECT_EQ(GvMetric_Open(nullptr, app_.c_str(), kVersion, nullptr), E_INVALIDARG);
  EXPECT_EQ(GvMetric_Close(nullptr), 0);
}

// A name whose path does not fit must not be cut: cut, a 250-character
// name named the key of the application called by its first 239 characters,
// and DeleteAll removed that application's settings.
TEST(MetricsNames, NamesWhosePathDoesNotFitAreRefusedAndDeleteNothing) {
  string other = gvtest::UniqueName("GvTestVictim");
  other.resize(239, 'v');  // "Software\Marrowbeam\" + 239 characters = 259
  const string longest(259 - 32, 'n');  // with "\2.3\Metrics": exactly 259
  const string longName = other + string(11, 'x'), tooLong = longest + "n";
  // The other application's 2.0 settings, reached from its own key: a path
  // through it is longer than some registries take whole.
  HKEY roots[2];
  const DWORD stored[2] = {42, 43};
  for (int k = 0; k < 2; ++k) {
    ASSERT_EQ(RegCreateKeyA(k ? kMachine : kUser, (kRoot + other).c_str(), &roots[k]), 0);
    ASSERT_TRUE(gvtest::WriteValue(roots[k], "2.0\\Metrics", "1", REG_DWORD, &stored[k], 4));
  }
  HGVMETRIC h = nullptr;
  const struct { const char *app; DWORD version; } cases[] = {
      {nullptr, kVersion}, {"", kVersion}, {longName.c_str(), 0x02000000},
      {longName.c_str(), 0x01000000}, {tooLong.c_str(), kVersion}};
  FOR_EACH_CASE(cases) {
    h = reinterpret_cast<HGVMETRIC>(0xdeadbeef);
    EXPECT_EQ(GvMetric_Open(&h, c.app, c.version, nullptr), E_INVALIDARG);
    EXPECT_EQ(h, nullptr);
    EXPECT_EQ(GvMetric_DeleteAll(c.app, c.version), 0);
    for (int k = 0; k < 2; ++k)
      EXPECT_EQ(Stored(roots[k], "2.0\\Metrics", "1"), DwordText(stored[k])) << k;
    EXPECT_FALSE(gvtest::KeyExists(kUser, kRoot + "2.3\\Metrics"));
  }
  ASSERT_EQ(GvMetric_Open(&h, longest.c_str(), kVersion, nullptr), S_OK);
  EXPECT_EQ(GvSetMetric(h, 1, 5), S_OK);
  GvMetric_Close(h);
  EXPECT_EQ(Stored(kUser, kRoot + longest + "\\2.3\\Metrics", "1"), DwordText(5));
  GvMetric_DeleteAll(longest.c_str(), kVersion);
  EXPECT_FALSE(gvtest::KeyExists(kUser, kRoot + longest + "\\2.3\\Metrics"));
  for (HKEY root : roots) RegCloseKey(root);
  for (const string &app : {other, longest}) gvtest::RemoveEverywhere(kRoot + app);
}

TEST_F(Metrics, DeleteAllRemovesTheMetricsTreeOfOneVersionInBothHives) {
  HGVMETRIC sub = nullptr, other = nullptr;
  ASSERT_EQ(GvMetric_Open(&sub, app_.c_str(), kVersion, "Sub\\Deeper"), S_OK);
  ASSERT_EQ(GvMetric_Open(&other, app_.c_str(), 0x02040000, nullptr), S_OK);
  for (int id : {5, -5}) ASSERT_EQ(GvSetMetric(h_, id, 1) | GvSetMetricString(sub, id, "x"), S_OK);
  ASSERT_EQ(GvSetMetric(other, 7, 77), S_OK);
  GvMetric_Close(sub);
  EXPECT_EQ(GvMetric_DeleteAll(app_.c_str(), kVersion), 0);
  EXPECT_FALSE(gvtest::KeyExists(kUser, path_) || gvtest::KeyExists(kMachine, path_));
  EXPECT_TRUE(gvtest::KeyExists(kUser, appRoot_ + "\\2.3"));
  EXPECT_EQ(Stored(kUser, appRoot_ + "\\2.4\\Metrics", "7"), DwordText(77));
  EXPECT_EQ(GvGetMetric(other, 7), 77u);
  GvMetric_Close(other);
  EXPECT_EQ(GvMetric_DeleteAll(app_.c_str(), kVersion), 0) << "nothing left to delete";
}

// Each value is written (through the setter of its type, or directly for
// other types), found in its hive only, found by its own type only, and
// deleted alone.
TEST_F(Metrics, ValuesAreNamedByIdAndTypeInTheHiveOfTheIdsSign) {
  const string block("\x01\x00\xFE", 3), z("a\0\0\0\0\0\0\0", 8);
  const struct { int id; DWORD type; const char *name; string bytes; } cases[] = {
      {1000, REG_DWORD, "1000", "\x44\x33\x22\x11"}, {1000, REG_SZ, "S1000", string("text", 5)},
      {1000, REG_BINARY, "B1000", block}, {0, REG_DWORD, "0", "\x44\x33\x22\x11"},
      {0, REG_SZ, "S0", string("text", 5)}, {-3, REG_DWORD, "3", "\x44\x33\x22\x11"},
      {-3, REG_SZ, "S3", string("text", 5)}, {-3, REG_BINARY, "B3", block},
      {INT_MAX, REG_DWORD, "2147483647", "\x44\x33\x22\x11"},
      {-INT_MAX, REG_BINARY, "B2147483647", block},
      {5, REG_NONE, "Z5", z}, {-5, REG_EXPAND_SZ, "Z5", z}, {5, REG_MULTI_SZ, "Z5", z},
      {-5, REG_QWORD, "Z5", z}, {5, REG_DWORD_BIG_ENDIAN, "Z5", z}};
  FOR_EACH_CASE(cases) {
    HKEY hive = c.id < 0 ? kMachine : kUser, otherHive = c.id < 0 ? kUser : kMachine;
    HRESULT hr = c.type == REG_DWORD    ? GvSetMetric(h_, c.id, 0x11223344)
                 : c.type == REG_SZ     ? GvSetMetricString(h_, c.id, "text")
                 : c.type == REG_BINARY ? GvSetMetricBinary(h_, c.id, block.data(), 3)
                 : gvtest::WriteValue(hive, path_, c.name, c.type, z.data(), 8) ? S_OK : E_FAIL;
    EXPECT_EQ(hr, S_OK);
    EXPECT_EQ(Stored(hive, path_, c.name), Typed(c.type, c.bytes));
    EXPECT_EQ(Stored(otherHive, path_, c.name), "-");
    EXPECT_EQ(GvDoesMetricExist(h_, c.id, c.type), S_OK);
    EXPECT_EQ(GvDoesMetricExist(h_, -c.id, c.type), c.id ? S_FALSE : S_OK);
    EXPECT_EQ(GvDoesMetricExist(h_, c.id, c.type == REG_NONE ? REG_MULTI_SZ : REG_NONE), S_FALSE);
    EXPECT_EQ(GvDeleteMetric(h_, c.id, c.type), S_OK);
    EXPECT_EQ(Stored(hive, path_, c.name), "-");
    EXPECT_EQ(GvDeleteMetric(h_, c.id, c.type), E_FAIL) << "already gone";
  }
  // A name of another type is not found; deleting one type of an id in one
  // hive leaves the others.
  Write(kUser, "S13", REG_BINARY, "x", 1);
  EXPECT_EQ(GvDoesMetricExist(h_, 13, REG_SZ) | GvDoesMetricExist(h_, 13, REG_BINARY), S_FALSE);
  ASSERT_EQ(GvSetMetric(h_, 12, 1) | GvSetMetricString(h_, 12, "keep") | GvSetMetric(h_, -12, 2),
            S_OK);
  EXPECT_EQ(GvDeleteMetric(h_, 12, REG_DWORD), S_OK);
  EXPECT_EQ(Stored(kUser, path_, "S12"), Typed(REG_SZ, string("keep", 5)));
  EXPECT_EQ(Stored(kMachine, path_, "12"), DwordText(2));
}

TEST_F(Metrics, NumbersAreFourByteDwordsReadClampedOrFoldedToAFlag) {
  const DWORD stored[] = {3, 0, 0xFFFFFFF6 /* -10 */, 0x80000000, 200}, big[2] = {7, 7};
  for (int i = 0; i < 5; ++i) WriteDword(kUser, std::to_string(i + 1).c_str(), stored[i]);
  WriteDword(kMachine, "2", 0x80000000);  // the user's is 0
  Write(kUser, "6", REG_SZ, "42", 3);
  Write(kUser, "7", REG_BINARY, "\x07\x00\x00\x00", 4);
  Write(kUser, "8", REG_DWORD, big, 2);
  Write(kUser, "9", REG_DWORD, big, 8);
  // GvGetMetric, GvGetMetricEx(min, max, def) and GvGetMetricBool(def).
  const struct { int id, minimum, maximum, def; DWORD raw; int ex, flag; } cases[] = {
      {99, 5, 5, 99, 0, 99, 1},  // nothing stored, equal bounds: the default as it is
      {99, 1, 48, 99, 0, 48, 1},  {99, 1, 48, -99, 0, 1, 1},  {99, 1, 48, 0, 0, 1, 0},
      {1, 1, 48, 99, 3, 3, 1},    {1, 3, 3, 99, 3, 3, 1},     {1, 4, 48, 99, 3, 4, 1},
      {1, 1, 2, 0, 3, 2, 1},      {2, 1, 48, 1, 0, 1, 0},     {-2, 0, 0, 0, 0x80000000, INT_MIN, 1},
      {3, -5, 5, 0, 0xFFFFFFF6, -5, 1},  // compared as signed
      {3, 0, -1, 0, 0xFFFFFFF6, 0, 1},   // below the minimum first
      {4, 0, 100, 7, 0x80000000, 0, 1},  {4, INT_MIN, INT_MIN, 7, 0x80000000, INT_MIN, 1},
      {5, 5, 5, 0, 200, 200, 1},  // equal bounds: no clamping at all
      {5, 300, 1, 0, 200, 300, 1},  // crossed bounds: the minimum is tested first
      {-1, 0, 100, 60, 0, 60, 1},   // the machine-wide value of that name is missing
      {6, 0, 100, 50, 0, 50, 1},  {7, 0, 100, 50, 0, 50, 1},  // other types: the default
      {8, 0, 100, 0, 0, 0, 0},    {9, 0, 100, -3, 0, 0, 1},   // other sizes: the default
  };
  FOR_EACH_CASE(cases) {
    EXPECT_EQ(GvGetMetric(h_, c.id), c.raw);
    EXPECT_EQ(GvGetMetricEx(h_, c.id, c.minimum, c.maximum, c.def), c.ex);
    EXPECT_EQ(GvGetMetricBool(h_, c.id, c.def), c.flag);
  }
}

TEST_F(Metrics, BlocksAndTextsFillTheBufferAndFallBackAsDocumented) {
  const string block("\xDE\xAD\x00\xBE\xEF", 5);
  ASSERT_EQ(GvSetMetricBinary(h_, 12, block.data(), 5), S_OK);
  ASSERT_EQ(GvSetMetricBinary(h_, 4, "", 0), S_OK);  // a value of no bytes
  EXPECT_EQ(Stored(kUser, path_, "B4"), Typed(REG_BINARY, ""));
  EXPECT_EQ(GvDoesMetricExist(h_, 4, REG_BINARY), S_OK);
  Write(kUser, "B1", REG_SZ, "abc", 4);
  WriteDword(kUser, "B2", 7);
  const struct { int id; DWORD size, read; } blocks[] = {
      {12, 8, 5}, {12, 5, 5}, {12, 4, 0}, {12, 1, 0},  // too large: nothing
      {1, 6, 0},  {2, 6, 0},  {3, 6, 0},  {-1, 6, 0}, {4, 6, 0}};  // other type, missing, empty
  FOR_EACH_CASE(blocks) ExpectBinary(h_, c.id, c.size, c.read, block.substr(0, c.read));
  ASSERT_EQ(GvSetMetricString(h_, 1, "hello") | GvSetMetricString(h_, 2, ""), S_OK);
  // The terminator is stored too.
  EXPECT_EQ(Stored(kUser, path_, "S1"), Typed(REG_SZ, string("hello", 6)));
  EXPECT_EQ(Stored(kUser, path_, "S2"), Typed(REG_SZ, string(1, '\0')));
  Write(kUser, "S3", REG_EXPAND_SZ, "%x%", 4);
  Write(kUser, "S4", REG_SZ, "abcd", 4);  // unterminated
  const struct { int id; DWORD size; const char *def; BOOL keepEmpty; int result;
                 const char *text; } texts[] = {
      {1, 16, "dflt", FALSE, 5, "hello"},   {1, 6, "dflt", FALSE, 5, "hello"},  // just fits
      {1, 5, "xy", TRUE, 2, "xy"},          // too long for the buffer: the default
      {1, 5, nullptr, FALSE, 0, ""},
      {2, 16, "dflt", TRUE, 0, ""},         // a stored empty text is kept...
      {2, 16, "dflt", FALSE, 4, "dflt"},    // ...or replaced
      {2, 16, nullptr, FALSE, 0, ""},       {9, 16, nullptr, TRUE, 0, ""},  // missing
      {9, 16, "dflt", TRUE, 4, "dflt"},     {9, 4, "abcdefghij", FALSE, 3, "abc"},  // cut
      {9, 1, "abc", FALSE, 0, ""},          {3, 16, "d", FALSE, 1, "d"},    // another type
      {-1, 16, "m", FALSE, 1, "m"},         // machine-wide name missing
      {4, 4, "xy", FALSE, 2, "xy"},         // unterminated and filling the buffer
      {4, 6, "xy", FALSE, 4, "abcd"},       // terminated by zeroing the rest
  };
  FOR_EACH_CASE(texts) ExpectText(h_, c.id, c.size, c.def, c.keepEmpty, c.result, c.text);
}

// Reads give defaults (clamped or not as `clamped` says), writes fail and
// existence and deletion report that there is no key.
void ExpectNothingBehind(HGVMETRIC h, int id, bool clamped) {
  EXPECT_EQ(GvGetMetric(h, id), 0u);
  EXPECT_EQ(GvGetMetricEx(h, id, 1, 48, 99), clamped ? 48 : 99);
  EXPECT_EQ(GvGetMetricEx(h, id, 1, 48, -7), clamped ? 1 : -7);
  for (int def : {7, -3, 0}) EXPECT_EQ(GvGetMetricBool(h, id, def), clamped ? def != 0 : def);
  ExpectBinary(h, id, 6, 0, "");
  ExpectText(h, id, 6, nullptr, FALSE, 0, "");
  ExpectText(h, id, 6, "dflt", TRUE, 4, "dflt");
  EXPECT_EQ(GvDoesMetricExist(h, id, REG_DWORD), S_FALSE);
  EXPECT_EQ(GvDeleteMetric(h, id, REG_DWORD), S_FALSE);
  EXPECT_EQ(GvSetMetric(h, id, 1), E_FAIL);
  EXPECT_EQ(GvSetMetricBinary(h, id, "x", 1), E_FAIL);
  EXPECT_EQ(GvSetMetricString(h, id, "x"), E_FAIL);
}

TEST(MetricsNullHandle, ReadsGiveDefaultsUnclampedAndWritesFail) {
  ExpectNothingBehind(nullptr, 1, false);
}

// A volatile parent refuses lasting subkeys, so opening below it leaves both
// keys of the handle closed; every call then fails quietly.
TEST(MetricsWithoutKeys, ReadsGiveDefaultsClampedAndWritesFail) {
  const string app = gvtest::UniqueName("GvTestNoKeys"), appRoot = kRoot + app;
  for (HKEY hive : {kUser, kMachine}) {
    HKEY key;
    ASSERT_EQ(RegCreateKeyExA(hive, appRoot.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &key, nullptr), ERROR_SUCCESS);
    RegCloseKey(key);
  }
  HGVMETRIC h = nullptr;
  ASSERT_EQ(GvMetric_Open(&h, app.c_str(), 0x01000000, nullptr), S_OK);
  EXPECT_NE(h, nullptr) << "the handle is returned all the same";
  bool lasting = gvtest::KeyExists(kUser, appRoot + "\\1.0\\Metrics");
  if (!lasting)
    for (int id : {4, -4}) ExpectNothingBehind(h, id, true);
  GvMetric_Close(h);
  gvtest::RemoveEverywhere(appRoot);
  if (lasting) GTEST_SKIP() << "this registry lets lasting keys live under volatile ones";
}

TEST(KernelMetrics, HandleMinusOneReadsTheLibrarySettingsAndOnlyDeletes) {
  const HGVMETRIC k = GVMETRIC_KERNEL;
  const string path = kRoot + "TALC\\1.0\\Metrics\\Kernel";
  const DWORD user = 42, machine = 43;
  ASSERT_TRUE(gvtest::WriteValue(kUser, path, "987001", REG_DWORD, &user, 4) &&
              gvtest::WriteValue(kMachine, path, "987001", REG_DWORD, &machine, 4) &&
              gvtest::WriteValue(kUser, path, "S987001", REG_SZ, "kernel", 7) &&
              gvtest::WriteValue(kUser, path, "B987001", REG_BINARY, "\x01\x02", 2));
  EXPECT_EQ(GvGetMetric(k, 987001), 42u);
  EXPECT_EQ(GvGetMetric(k, -987001), 43u);
  EXPECT_EQ(GvGetMetricEx(k, 987001, 0, 10, 0), 10);
  EXPECT_EQ(GvGetMetricBool(k, 987001, 0), 1);
  ExpectText(k, 987001, 8, nullptr, FALSE, 6, "kernel");
  ExpectBinary(k, 987001, 4, 2, "\x01\x02");
  EXPECT_EQ(GvDoesMetricExist(k, 987001, REG_DWORD), S_OK);
  EXPECT_EQ(GvDoesMetricExist(k, 987002, REG_DWORD), S_FALSE);
  EXPECT_EQ(GvSetMetric(k, 987002, 1), E_FAIL);
  EXPECT_EQ(GvSetMetricString(k, 987002, "x"), E_FAIL);
  EXPECT_EQ(GvSetMetricBinary(k, 987002, "x", 1), E_FAIL);
  for (const char *name : {"987002", "S987002", "B987002"})
    EXPECT_EQ(Stored(kUser, path, name), "-") << name;
  EXPECT_EQ(GvDeleteMetric(k, 987001, REG_DWORD), S_OK);
  EXPECT_EQ(Stored(kUser, path, "987001"), "-");
  HKEY key;
  for (HKEY hive : {kUser, kMachine}) {
    if (RegOpenKeyA(hive, path.c_str(), &key) != ERROR_SUCCESS) continue;
    for (const char *name : {"987001", "S987001", "B987001"}) RegDeleteValueA(key, name);
    RegCloseKey(key);
  }
}

}  // namespace
