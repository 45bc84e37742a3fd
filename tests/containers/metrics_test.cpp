// Settings store: value names by type and hive, reading with defaults and
// clamping, the library's own handle (-1), null handles and keys that could
// not be created, all checked against the registry read directly.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "gvtalc.h"
#include "support/registry_sandbox.h"

namespace {

const DWORD kVersion = 0x0203ABCD;  // "2.3": the low word is ignored
const char kKernelPath[] = "Software\\Marrowbeam\\TALC\\1.0\\Metrics\\Kernel";
const HKEY kUser = HKEY_CURRENT_USER, kMachine = HKEY_LOCAL_MACHINE;

std::string UniqueApp(const char *family) {
  return std::string("GvTest") + family + "_" + std::to_string(GetCurrentProcessId()) + "_" +
         testing::UnitTest::GetInstance()->current_test_info()->name();
}

void WriteRaw(HKEY root, const std::string &path, const char *name, DWORD type, const void *data,
              DWORD size) {
  HKEY key;
  ASSERT_EQ(RegCreateKeyA(root, path.c_str(), &key), ERROR_SUCCESS);
  ASSERT_EQ(RegSetValueExA(key, name, 0, type, static_cast<const BYTE *>(data), size),
            ERROR_SUCCESS);
  RegCloseKey(key);
}

void WriteDword(HKEY root, const std::string &path, const char *name, DWORD value) {
  WriteRaw(root, path, name, REG_DWORD, &value, sizeof value);
}

// A value as read directly: its type, a colon and its bytes; "-" when missing.
std::string Stored(HKEY root, const std::string &path, const char *name) {
  DWORD type = 0;
  std::vector<BYTE> data;
  if (!gvtest::ReadValue(root, path, name, &type, &data)) return "-";
  return std::to_string(type) + ":" + std::string(data.begin(), data.end());
}
std::string Typed(DWORD type, const std::string &bytes) {
  return std::to_string(type) + ":" + bytes;
}
std::string Dword(DWORD v) {
  return Typed(REG_DWORD, std::string(reinterpret_cast<char *>(&v), 4));
}
bool ValueExists(HKEY root, const std::string &path, const char *name) {
  return Stored(root, path, name) != "-";
}

void RemoveApp(const std::string &appRoot) {
  for (HKEY hive : {kUser, kMachine}) {
    gvtest::DeleteTree(hive, appRoot);
    RegDeleteKeyA(hive, appRoot.c_str());
  }
}

// Reads through `read(buffer, size)` into a 24-byte buffer preset to
// `canary`: the first `size` bytes must be `expected` followed by zeros, the
// rest untouched.
template <typename Read>
void ExpectFilled(Read read, DWORD size, const std::string &expected, BYTE canary) {
  char buffer[24];
  memset(buffer, canary, sizeof buffer);
  read(buffer, size);
  for (DWORD j = 0; j < size; ++j)
    EXPECT_EQ(buffer[j], j < expected.size() ? expected[j] : 0) << "byte " << j;
  for (DWORD j = size; j < sizeof buffer; ++j)
    EXPECT_EQ(static_cast<BYTE>(buffer[j]), canary) << "canary " << j;
}
void ExpectBinary(HGVMETRIC h, int id, DWORD size, DWORD result, const std::string &bytes) {
  ExpectFilled([&](char *b, DWORD n) { EXPECT_EQ(GvGetMetricBinary(h, id, b, n), result); }, size,
               bytes, 0xCC);
}
void ExpectText(HGVMETRIC h, int id, DWORD size, const char *def, BOOL keepEmpty, int result,
                const std::string &text) {
  ExpectFilled(
      [&](char *b, DWORD n) {
        EXPECT_EQ(GvGetMetricStringEx(h, id, b, n, def, keepEmpty), result);
      },
      size, text, 0xAA);
}

// An application of its own per test, removed from both hives afterwards.
class Metrics : public testing::Test {
 protected:
  void SetUp() override {
    app_ = UniqueApp("Metrics");
    appRoot_ = "Software\\Marrowbeam\\" + app_;
    path_ = appRoot_ + "\\2.3\\Metrics";
    RemoveApp(appRoot_);
    h_ = reinterpret_cast<HGVMETRIC>(0xdeadbeef);
    ASSERT_EQ(GvMetric_Open(&h_, app_.c_str(), kVersion, nullptr), S_OK);
    ASSERT_NE(h_, nullptr);
  }
  void TearDown() override {
    EXPECT_EQ(GvMetric_Close(h_), 0);
    RemoveApp(appRoot_);
  }
  std::string app_, appRoot_, path_;
  HGVMETRIC h_ = nullptr;
};

// ---- Opening, closing, deleting ------------------------------------------

TEST_F(Metrics, OpenCreatesThePathFromMajorMinorAndSubKeyInBothHives) {
  EXPECT_TRUE(gvtest::KeyExists(kUser, path_) && gvtest::KeyExists(kMachine, path_));
  const struct { DWORD version; const char *subKey, *tail; } cases[] = {
      {0x01000000, nullptr, "\\1.0\\Metrics"},
      {0x0A0BFFFF, nullptr, "\\10.11\\Metrics"},
      {0xFFFE0000, nullptr, "\\255.254\\Metrics"},
      {0x00000000, "Section", "\\0.0\\Metrics\\Section"},
      {0x02030000, "Deep\\Er", "\\2.3\\Metrics\\Deep\\Er"}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.tail);
    HGVMETRIC h = reinterpret_cast<HGVMETRIC>(0xdeadbeef);
    ASSERT_EQ(GvMetric_Open(&h, app_.c_str(), c.version, c.subKey), S_OK);
    EXPECT_EQ(GvSetMetric(h, 1, 11), S_OK);
    EXPECT_EQ(GvSetMetric(h, -1, 22), S_OK);
    EXPECT_EQ(GvMetric_Close(h), 0);
    EXPECT_EQ(Stored(kUser, appRoot_ + c.tail, "1"), Dword(11));
    EXPECT_EQ(Stored(kMachine, appRoot_ + c.tail, "1"), Dword(22));
  }
}

TEST_F(Metrics, OpenAndDeleteAllRefuseMissingArgumentsAndCloseAcceptsNull) {
  EXPECT_EQ(GvMetric_Open(nullptr, app_.c_str(), kVersion, nullptr), E_INVALIDARG);
  EXPECT_EQ(GvMetric_Close(nullptr), 0);
  // Without a name the key path would lose a level and land elsewhere.
  for (const char *app : {static_cast<const char *>(nullptr), ""}) {
    HGVMETRIC h = reinterpret_cast<HGVMETRIC>(0xdeadbeef);
    EXPECT_EQ(GvMetric_Open(&h, app, kVersion, nullptr), E_INVALIDARG);
    EXPECT_EQ(h, nullptr);
    EXPECT_EQ(GvMetric_DeleteAll(app, kVersion), 0);
    EXPECT_FALSE(gvtest::KeyExists(kUser, "Software\\Marrowbeam\\2.3\\Metrics"));
  }
}

TEST_F(Metrics, DeleteAllRemovesTheMetricsTreeOfOneVersionInBothHives) {
  HGVMETRIC sub = nullptr, other = nullptr;
  ASSERT_EQ(GvMetric_Open(&sub, app_.c_str(), kVersion, "Sub\\Deeper"), S_OK);
  ASSERT_EQ(GvMetric_Open(&other, app_.c_str(), 0x02040000, nullptr), S_OK);
  for (int id : {5, -5}) {
    GvSetMetric(h_, id, 1);
    GvSetMetricString(sub, id, "x");
  }
  GvSetMetric(other, 7, 77);
  GvMetric_Close(sub);
  EXPECT_EQ(GvMetric_DeleteAll(app_.c_str(), kVersion), 0);
  EXPECT_FALSE(gvtest::KeyExists(kUser, path_));
  EXPECT_FALSE(gvtest::KeyExists(kMachine, path_));
  EXPECT_TRUE(gvtest::KeyExists(kUser, appRoot_ + "\\2.3"));
  EXPECT_EQ(Stored(kUser, appRoot_ + "\\2.4\\Metrics", "7"), Dword(77));
  EXPECT_EQ(GvGetMetric(other, 7), 77u);
  GvMetric_Close(other);
  EXPECT_EQ(GvMetric_DeleteAll(app_.c_str(), kVersion), 0) << "nothing left to delete";
  EXPECT_EQ(GvMetric_DeleteAll("GvTestNoSuchApplication", 0x01000000), 0);
}

// ---- Value names by type and hive ----------------------------------------

TEST_F(Metrics, SettersWriteTheNamedValueInTheHiveOfTheIdsSign) {
  const struct { int id; DWORD type; const char *name; } cases[] = {
      {1000, REG_DWORD, "1000"}, {1000, REG_SZ, "S1000"}, {1000, REG_BINARY, "B1000"},
      {0, REG_DWORD, "0"}, {0, REG_SZ, "S0"}, {-3, REG_DWORD, "3"}, {-3, REG_SZ, "S3"},
      {-3, REG_BINARY, "B3"}, {2147483647, REG_DWORD, "2147483647"},
      {-2147483647, REG_BINARY, "B2147483647"}};
  const std::string block("\x01\x00\xFE", 3);
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << "id " << c.id << " -> " << c.name);
    HRESULT hr = c.type == REG_DWORD ? GvSetMetric(h_, c.id, 0x11223344)
                 : c.type == REG_SZ  ? GvSetMetricString(h_, c.id, "text")
                                     : GvSetMetricBinary(h_, c.id, block.data(), 3);
    EXPECT_EQ(hr, S_OK);
    EXPECT_EQ(Stored(c.id < 0 ? kMachine : kUser, path_, c.name),
              c.type == REG_DWORD ? Typed(REG_DWORD, "\x44\x33\x22\x11")
              : c.type == REG_SZ  ? Typed(REG_SZ, std::string("text", 5))
                                  : Typed(REG_BINARY, block));
    EXPECT_FALSE(ValueExists(c.id < 0 ? kUser : kMachine, path_, c.name));
    EXPECT_EQ(GvDoesMetricExist(h_, c.id, c.type), S_OK);
  }
}

TEST_F(Metrics, OtherTypesUseTheZName) {
  const BYTE data[8] = {'a'};
  for (DWORD type : {REG_NONE, REG_EXPAND_SZ, REG_MULTI_SZ, REG_QWORD, REG_DWORD_BIG_ENDIAN}) {
    for (int id : {5, -5}) {
      SCOPED_TRACE(testing::Message() << "type " << type << " id " << id);
      HKEY hive = id < 0 ? kMachine : kUser;
      WriteRaw(hive, path_, "Z5", type, data, sizeof data);
      EXPECT_EQ(GvDoesMetricExist(h_, id, type), S_OK);
      EXPECT_EQ(GvDoesMetricExist(h_, id, type == REG_NONE ? REG_MULTI_SZ : REG_NONE), S_FALSE)
          << "same name, other type";
      EXPECT_EQ(GvDeleteMetric(h_, id, type), S_OK);
      EXPECT_FALSE(ValueExists(hive, path_, "Z5"));
    }
  }
}

// ---- Numbers ----------------------------------------------------------------

TEST_F(Metrics, GetMetricIsTheStoredFourByteDwordOrZero) {
  for (DWORD value : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(GvSetMetric(h_, 12, value), S_OK);
    EXPECT_EQ(Stored(kUser, path_, "12"), Dword(value));
    EXPECT_EQ(GvGetMetric(h_, 12), value);
  }
  const DWORD big[2] = {7, 7};
  WriteRaw(kUser, path_, "2", REG_BINARY, "\x07\x00\x00\x00", 4);
  WriteRaw(kUser, path_, "3", REG_SZ, "7", 2);
  WriteRaw(kUser, path_, "4", REG_DWORD, big, 2);
  WriteRaw(kUser, path_, "5", REG_DWORD, big, 8);
  WriteDword(kMachine, path_, "6", 66);
  for (int id : {2, 3, 4, 5, 6, 99}) EXPECT_EQ(GvGetMetric(h_, id), 0u) << "id " << id;
  EXPECT_EQ(GvGetMetric(h_, -6), 66u);
}

TEST_F(Metrics, GetMetricExClampsSignedAndGetMetricBoolFoldsToZeroOrOne) {
  const DWORD stored[] = {3, 0, 0xFFFFFFF6 /* -10 */, 0x80000000, 200};
  for (int i = 0; i < 5; ++i) WriteDword(kUser, path_, std::to_string(i + 1).c_str(), stored[i]);
  WriteRaw(kUser, path_, "6", REG_SZ, "42", 3);
  WriteDword(kMachine, path_, "2", 0x80000000);  // the user's is 0
  const struct { int id, minimum, maximum, def, expected; } cases[] = {
      {7, 5, 5, 99, 99},     // nothing stored, equal bounds: the default as it is
      {7, 1, 48, 99, 48},    // nothing stored: the default clamped
      {7, 1, 48, -99, 1},  {1, 1, 48, 99, 3}, {1, 3, 3, 99, 3}, {1, 4, 48, 99, 4},
      {1, 1, 2, 99, 2},    {2, 1, 48, 99, 1},
      {3, -5, 5, 0, -5},     // compared as signed
      {3, 0, -1, 0, 0},      // below the minimum first
      {4, 0, 100, 7, 0},   {4, INT_MIN, INT_MIN, 7, INT_MIN},
      {5, 5, 5, 0, 200},     // equal bounds: no clamping at all
      {5, 300, 1, 0, 300},   // crossed bounds: the minimum is tested first
      {6, 0, 100, 50, 50},   // another type reads as the default
      {-1, 0, 100, 60, 60},  // the machine-wide value of that name is missing
      {-2, 0, 0, 0, INT_MIN},  // the machine-wide value, not the user's
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    const auto &c = cases[i];
    EXPECT_EQ(GvGetMetricEx(h_, c.id, c.minimum, c.maximum, c.def), c.expected) << "case " << i;
  }
  const struct { int id, def, expected; } bools[] = {
      {1, 0, 1}, {2, 1, 0}, {-2, 0, 1}, {9, 7, 1}, {9, 0, 0}, {9, -3, 1}};
  for (size_t i = 0; i < sizeof bools / sizeof bools[0]; ++i)
    EXPECT_EQ(GvGetMetricBool(h_, bools[i].id, bools[i].def), bools[i].expected) << "bool " << i;
}

// ---- Blocks and texts ---------------------------------------------------

TEST_F(Metrics, BinaryReadsWholeBlocksOfItsOwnTypeAndZeroesTheRest) {
  const std::string block("\xDE\xAD\x00\xBE\xEF", 5);
  ASSERT_EQ(GvSetMetricBinary(h_, 12, block.data(), 5), S_OK);
  WriteRaw(kUser, path_, "B1", REG_SZ, "abc", 4);
  WriteDword(kUser, path_, "B2", 7);
  const struct { int id; DWORD size, expected; } cases[] = {
      {12, 8, 5}, {12, 5, 5}, {12, 4, 0}, {12, 1, 0},  // too large: nothing
               {1, 6, 0},  {2, 6, 0},  {3, 6, 0},  {-1, 6, 0}};  // other type, missing
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << "id " << c.id << " buffer " << c.size);
    ExpectBinary(h_, c.id, c.size, c.expected, block.substr(0, c.expected));
  }
  // An empty block is a value of no bytes.
  EXPECT_EQ(GvSetMetricBinary(h_, 4, "", 0), S_OK);
  EXPECT_EQ(Stored(kUser, path_, "B4"), Typed(REG_BINARY, ""));
  EXPECT_EQ(GvDoesMetricExist(h_, 4, REG_BINARY), S_OK);
}

TEST_F(Metrics, GetMetricStringExFallsBackAsDocumented) {
  GvSetMetricString(h_, 1, "hello");
  GvSetMetricString(h_, 2, "");
  // The terminator is stored too.
  EXPECT_EQ(Stored(kUser, path_, "S1"), Typed(REG_SZ, std::string("hello", 6)));
  EXPECT_EQ(Stored(kUser, path_, "S2"), Typed(REG_SZ, std::string(1, '\0')));
  WriteRaw(kUser, path_, "S3", REG_EXPAND_SZ, "%x%", 4);
  WriteRaw(kUser, path_, "S4", REG_SZ, "abcd", 4);  // unterminated
  const struct {
    int id;
    DWORD size;
    const char *def;
    BOOL keepEmpty;
    int result;
    const char *text;
  } cases[] = {
      {1, 16, "dflt", FALSE, 5, "hello"},
      {1, 6, "dflt", FALSE, 5, "hello"},      // just fits with its terminator
      {1, 5, "xy", TRUE, 2, "xy"},            // too long for the buffer: the default
      {1, 5, nullptr, FALSE, 0, ""},
      {2, 16, "dflt", TRUE, 0, ""},           // a stored empty text is kept...
      {2, 16, "dflt", FALSE, 4, "dflt"},      // ...or replaced
      {2, 16, nullptr, FALSE, 0, ""},
      {9, 16, nullptr, TRUE, 0, ""},          // missing, no default
      {9, 16, "dflt", TRUE, 4, "dflt"},
      {9, 4, "abcdefghij", FALSE, 3, "abc"},  // default cut to the buffer
      {9, 1, "abc", FALSE, 0, ""},
      {3, 16, "d", FALSE, 1, "d"},            // another type
      {-1, 16, "m", FALSE, 1, "m"},           // machine-wide name missing
      {4, 4, "xy", FALSE, 2, "xy"},           // unterminated and filling the buffer
      {4, 6, "xy", FALSE, 4, "abcd"},         // terminated by zeroing the rest
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    const auto &c = cases[i];
    SCOPED_TRACE(testing::Message() << "case " << i);
    ExpectText(h_, c.id, c.size, c.def, c.keepEmpty, c.result, c.text);
  }
}

// ---- Existence and deletion ---------------------------------------------

TEST_F(Metrics, ExistenceNeedsNameAndTypeAndDeletionTakesOnlyThatValue) {
  GvSetMetric(h_, 12, 1);
  GvSetMetricString(h_, 12, "keep");
  WriteRaw(kUser, path_, "S13", REG_BINARY, "x", 1);
  const struct { int id; DWORD type; HRESULT expected; } cases[] = {
      {12, REG_DWORD, S_OK},     {12, REG_BINARY, S_FALSE}, {-12, REG_DWORD, S_FALSE},
               {13, REG_SZ, S_FALSE},     {13, REG_BINARY, S_FALSE}, {14, REG_DWORD, S_FALSE}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i)
    EXPECT_EQ(GvDoesMetricExist(h_, cases[i].id, cases[i].type), cases[i].expected) << i;
  GvSetMetric(h_, -12, 2);
  EXPECT_EQ(GvDeleteMetric(h_, 12, REG_DWORD), S_OK);
  EXPECT_FALSE(ValueExists(kUser, path_, "12"));
  EXPECT_TRUE(ValueExists(kUser, path_, "S12"));
  EXPECT_TRUE(ValueExists(kMachine, path_, "12"));
  EXPECT_EQ(GvDeleteMetric(h_, 12, REG_DWORD), E_FAIL) << "already gone";
  EXPECT_EQ(GvDeleteMetric(h_, -12, REG_DWORD), S_OK);
  EXPECT_FALSE(ValueExists(kMachine, path_, "12"));
}

// ---- Null handles, the library's own handle, keys never created -----------

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
  const std::string app = UniqueApp("NoKeys"), appRoot = "Software\\Marrowbeam\\" + app;
  for (HKEY hive : {kUser, kMachine}) {
    HKEY key;
    ASSERT_EQ(RegCreateKeyExA(hive, appRoot.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(key);
  }
  HGVMETRIC h = nullptr;
  ASSERT_EQ(GvMetric_Open(&h, app.c_str(), 0x01000000, nullptr), S_OK);
  EXPECT_NE(h, nullptr) << "the handle is returned all the same";
  bool lasting = gvtest::KeyExists(kUser, appRoot + "\\1.0\\Metrics");
  for (int id : {4, -4}) {
    if (lasting) break;
    SCOPED_TRACE(id);
    ExpectNothingBehind(h, id, true);
  }
  GvMetric_Close(h);
  RemoveApp(appRoot);
  if (lasting) GTEST_SKIP() << "this registry lets lasting keys live under volatile ones";
}

TEST(KernelMetrics, HandleMinusOneReadsTheLibrarySettingsAndOnlyDeletes) {
  const HGVMETRIC k = GVMETRIC_KERNEL;
  WriteDword(kUser, kKernelPath, "987001", 42);
  WriteDword(kMachine, kKernelPath, "987001", 43);
  WriteRaw(kUser, kKernelPath, "S987001", REG_SZ, "kernel", 7);
  WriteRaw(kUser, kKernelPath, "B987001", REG_BINARY, "\x01\x02", 2);
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
    EXPECT_FALSE(ValueExists(kUser, kKernelPath, name)) << name;
  EXPECT_EQ(GvDeleteMetric(k, 987001, REG_DWORD), S_OK);
  EXPECT_FALSE(ValueExists(kUser, kKernelPath, "987001"));
  HKEY key;
  for (HKEY hive : {kUser, kMachine}) {
    if (RegOpenKeyA(hive, kKernelPath, &key) != ERROR_SUCCESS) continue;
    for (const char *name : {"987001", "S987001", "B987001"}) RegDeleteValueA(key, name);
    RegCloseKey(key);
  }
}

}  // namespace
