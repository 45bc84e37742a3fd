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

void WriteRawDword(HKEY root, const std::string &path, const char *name, DWORD value) {
  WriteRaw(root, path, name, REG_DWORD, &value, sizeof value);
}

bool ValueExists(HKEY root, const std::string &path, const char *name) {
  DWORD type;
  std::vector<BYTE> data;
  return gvtest::ReadValue(root, path, name, &type, &data);
}

void DeleteRawValue(HKEY root, const std::string &path, const char *name) {
  HKEY key;
  if (RegOpenKeyA(root, path.c_str(), &key) != ERROR_SUCCESS) return;
  RegDeleteValueA(key, name);
  RegCloseKey(key);
}

// An application of its own per test, removed from both hives afterwards.
class Metrics : public testing::Test {
 protected:
  void SetUp() override {
    app_ = UniqueApp("Metrics");
    appRoot_ = "Software\\Marrowbeam\\" + app_;
    path_ = appRoot_ + "\\2.3\\Metrics";
    Clean();
    h_ = reinterpret_cast<HGVMETRIC>(0xdeadbeef);
    ASSERT_EQ(GvMetric_Open(&h_, app_.c_str(), kVersion, nullptr), S_OK);
    ASSERT_NE(h_, nullptr);
  }
  void TearDown() override {
    EXPECT_EQ(GvMetric_Close(h_), 0);
    Clean();
  }
  void Clean() {
    gvtest::DeleteTree(HKEY_CURRENT_USER, appRoot_);
    RegDeleteKeyA(HKEY_CURRENT_USER, appRoot_.c_str());
    gvtest::DeleteTree(HKEY_LOCAL_MACHINE, appRoot_);
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, appRoot_.c_str());
  }

  std::string app_, appRoot_, path_;
  HGVMETRIC h_ = nullptr;
};

// ---- Opening, closing, deleting ------------------------------------------

TEST_F(Metrics, OpenCreatesTheKeyInBothHives) {
  EXPECT_TRUE(gvtest::KeyExists(HKEY_CURRENT_USER, path_));
  EXPECT_TRUE(gvtest::KeyExists(HKEY_LOCAL_MACHINE, path_));
}

TEST_F(Metrics, OpenFormsThePathFromMajorMinorAndSubKey) {
  struct Case {
    DWORD version;
    const char *subKey;
    const char *tail;
  };
  const Case cases[] = {
      {0x01000000, nullptr, "\\1.0\\Metrics"},
      {0x0A0BFFFF, nullptr, "\\10.11\\Metrics"},
      {0xFFFE0000, nullptr, "\\255.254\\Metrics"},
      {0x00000000, "Section", "\\0.0\\Metrics\\Section"},
      {0x02030000, "Deep\\Er", "\\2.3\\Metrics\\Deep\\Er"},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    HGVMETRIC h = reinterpret_cast<HGVMETRIC>(0xdeadbeef);
    ASSERT_EQ(GvMetric_Open(&h, app_.c_str(), cases[i].version, cases[i].subKey), S_OK);
    EXPECT_EQ(GvSetMetric(h, 1, 11), S_OK);
    EXPECT_EQ(GvSetMetric(h, -1, 22), S_OK);
    EXPECT_EQ(GvMetric_Close(h), 0);
    DWORD v = 0;
    EXPECT_TRUE(gvtest::ReadDword(HKEY_CURRENT_USER, appRoot_ + cases[i].tail, "1", &v));
    EXPECT_EQ(v, 11u);
    EXPECT_TRUE(gvtest::ReadDword(HKEY_LOCAL_MACHINE, appRoot_ + cases[i].tail, "1", &v));
    EXPECT_EQ(v, 22u);
  }
}

TEST_F(Metrics, OpenWithoutAnOutHandleIsInvalidArg) {
  EXPECT_EQ(GvMetric_Open(nullptr, app_.c_str(), kVersion, nullptr), E_INVALIDARG);
}

TEST_F(Metrics, OpenAndDeleteAllNeedAnApplicationName) {
  // Without a name the key path would lose a level and land elsewhere.
  for (const char *app : {static_cast<const char *>(nullptr), ""}) {
    SCOPED_TRACE(app ? "empty" : "null");
    HGVMETRIC h = reinterpret_cast<HGVMETRIC>(0xdeadbeef);
    EXPECT_EQ(GvMetric_Open(&h, app, kVersion, nullptr), E_INVALIDARG);
    EXPECT_EQ(h, nullptr);
    EXPECT_EQ(GvMetric_DeleteAll(app, kVersion), 0);
    EXPECT_FALSE(gvtest::KeyExists(HKEY_CURRENT_USER, "Software\\Marrowbeam\\2.3\\Metrics"));
  }
}

TEST_F(Metrics, CloseAcceptsNull) { EXPECT_EQ(GvMetric_Close(nullptr), 0); }

TEST_F(Metrics, DeleteAllRemovesTheMetricsTreeOfOneVersionInBothHives) {
  HGVMETRIC sub = nullptr, other = nullptr;
  ASSERT_EQ(GvMetric_Open(&sub, app_.c_str(), kVersion, "Sub\\Deeper"), S_OK);
  ASSERT_EQ(GvMetric_Open(&other, app_.c_str(), 0x02040000, nullptr), S_OK);
  GvSetMetric(h_, 5, 1);
  GvSetMetric(h_, -5, 1);
  GvSetMetricString(sub, 6, "x");
  GvSetMetricString(sub, -6, "x");
  GvSetMetric(other, 7, 77);
  GvMetric_Close(sub);

  EXPECT_EQ(GvMetric_DeleteAll(app_.c_str(), kVersion), 0);
  EXPECT_FALSE(gvtest::KeyExists(HKEY_CURRENT_USER, path_));
  EXPECT_FALSE(gvtest::KeyExists(HKEY_LOCAL_MACHINE, path_));
  EXPECT_TRUE(gvtest::KeyExists(HKEY_CURRENT_USER, appRoot_ + "\\2.3"));
  DWORD v = 0;
  EXPECT_TRUE(gvtest::ReadDword(HKEY_CURRENT_USER, appRoot_ + "\\2.4\\Metrics", "7", &v));
  EXPECT_EQ(v, 77u);
  EXPECT_EQ(GvGetMetric(other, 7), 77u);
  GvMetric_Close(other);

  EXPECT_EQ(GvMetric_DeleteAll(app_.c_str(), kVersion), 0) << "nothing left to delete";
  EXPECT_EQ(GvMetric_DeleteAll("GvTestNoSuchApplication", 0x01000000), 0);
}

// ---- Value names by type and hive ----------------------------------------

struct NameCase {
  int id;
  DWORD type;
  bool machine;
  const char *name;
};

const NameCase kNameCases[] = {
    {1000, REG_DWORD, false, "1000"},
    {1000, REG_SZ, false, "S1000"},
    {1000, REG_BINARY, false, "B1000"},
    {0, REG_DWORD, false, "0"},
    {0, REG_SZ, false, "S0"},
    {-3, REG_DWORD, true, "3"},
    {-3, REG_SZ, true, "S3"},
    {-3, REG_BINARY, true, "B3"},
    {2147483647, REG_DWORD, false, "2147483647"},
    {-2147483647, REG_BINARY, true, "B2147483647"},
};

TEST_F(Metrics, SettersWriteTheNamedValueInTheHiveOfTheIdsSign) {
  const BYTE block[3] = {0x01, 0x00, 0xFE};
  for (size_t i = 0; i < sizeof kNameCases / sizeof kNameCases[0]; ++i) {
    const NameCase &c = kNameCases[i];
    SCOPED_TRACE(testing::Message() << "case " << i << " id " << c.id << " -> " << c.name);
    HRESULT hr = c.type == REG_DWORD    ? GvSetMetric(h_, c.id, 0x11223344)
                 : c.type == REG_SZ     ? GvSetMetricString(h_, c.id, "text")
                                        : GvSetMetricBinary(h_, c.id, block, sizeof block);
    EXPECT_EQ(hr, S_OK);
    HKEY hive = c.machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
    HKEY otherHive = c.machine ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
    DWORD type = 0;
    std::vector<BYTE> data;
    ASSERT_TRUE(gvtest::ReadValue(hive, path_, c.name, &type, &data));
    EXPECT_EQ(type, c.type);
    std::vector<BYTE> expected;
    if (c.type == REG_DWORD) expected = {0x44, 0x33, 0x22, 0x11};
    if (c.type == REG_SZ) expected = {'t', 'e', 'x', 't', 0};
    if (c.type == REG_BINARY) expected.assign(block, block + sizeof block);
    EXPECT_EQ(data, expected);
    EXPECT_FALSE(ValueExists(otherHive, path_, c.name));
    EXPECT_EQ(GvDoesMetricExist(h_, c.id, c.type), S_OK);
  }
}

TEST_F(Metrics, OneIdCarriesOneValueOfEachTypeAndEachSign) {
  GvSetMetric(h_, 5, 111);
  GvSetMetric(h_, -5, 222);
  GvSetMetricString(h_, 5, "five");
  GvSetMetricBinary(h_, 5, "\x05", 1);
  EXPECT_EQ(GvGetMetric(h_, 5), 111u);
  EXPECT_EQ(GvGetMetric(h_, -5), 222u);
  char text[16];
  EXPECT_EQ(GvGetMetricStringEx(h_, 5, text, sizeof text, nullptr, FALSE), 4);
  EXPECT_STREQ(text, "five");
  BYTE b[4];
  EXPECT_EQ(GvGetMetricBinary(h_, 5, b, sizeof b), 1u);
  EXPECT_EQ(b[0], 5);
  DWORD v = 0;
  EXPECT_TRUE(gvtest::ReadDword(HKEY_CURRENT_USER, path_, "5", &v));
  EXPECT_EQ(v, 111u);
  EXPECT_TRUE(gvtest::ReadDword(HKEY_LOCAL_MACHINE, path_, "5", &v));
  EXPECT_EQ(v, 222u);
}

TEST_F(Metrics, OtherTypesUseTheZName) {
  const DWORD types[] = {REG_NONE, REG_EXPAND_SZ, REG_MULTI_SZ, REG_QWORD, REG_DWORD_BIG_ENDIAN};
  const BYTE data[8] = {'a', 0, 0, 0, 0, 0, 0, 0};
  for (DWORD type : types) {
    for (int id : {5, -5}) {
      SCOPED_TRACE(testing::Message() << "type " << type << " id " << id);
      HKEY hive = id < 0 ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
      WriteRaw(hive, path_, "Z5", type, data, sizeof data);
      EXPECT_EQ(GvDoesMetricExist(h_, id, type), S_OK);
      EXPECT_EQ(GvDoesMetricExist(h_, id, type == REG_NONE ? REG_MULTI_SZ : REG_NONE), S_FALSE)
          << "same name, other type";
      EXPECT_EQ(GvDeleteMetric(h_, id, type), S_OK);
      EXPECT_FALSE(ValueExists(hive, path_, "Z5"));
    }
  }
}

// ---- Reading numbers --------------------------------------------------------

TEST_F(Metrics, GetMetricIsZeroUnlessAFourByteDword) {
  const DWORD big[2] = {7, 7};
  WriteRawDword(HKEY_CURRENT_USER, path_, "1", 0xCAFEBABE);
  WriteRaw(HKEY_CURRENT_USER, path_, "2", REG_BINARY, "\x07\x00\x00\x00", 4);
  WriteRaw(HKEY_CURRENT_USER, path_, "3", REG_SZ, "7", 2);
  WriteRaw(HKEY_CURRENT_USER, path_, "4", REG_DWORD, big, 2);
  WriteRaw(HKEY_CURRENT_USER, path_, "5", REG_DWORD, big, 8);
  WriteRawDword(HKEY_LOCAL_MACHINE, path_, "6", 66);
  const struct {
    int id;
    DWORD value;
  } cases[] = {{1, 0xCAFEBABE}, {2, 0}, {3, 0}, {4, 0}, {5, 0}, {6, 0}, {-6, 66}, {99, 0}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(testing::Message() << "id " << cases[i].id);
    EXPECT_EQ(GvGetMetric(h_, cases[i].id), cases[i].value);
  }
}

TEST_F(Metrics, GetMetricExClampsSignedUnlessTheBoundsAreEqual) {
  WriteRawDword(HKEY_CURRENT_USER, path_, "1", 3);
  WriteRawDword(HKEY_CURRENT_USER, path_, "2", 0);
  WriteRawDword(HKEY_CURRENT_USER, path_, "3", 0xFFFFFFF6);  // -10
  WriteRawDword(HKEY_CURRENT_USER, path_, "4", 0x80000000);
  WriteRawDword(HKEY_CURRENT_USER, path_, "5", 200);
  WriteRaw(HKEY_CURRENT_USER, path_, "6", REG_SZ, "42", 3);
  struct Case {
    int id, minimum, maximum, def, expected;
  };
  const Case cases[] = {
      {7, 5, 5, 99, 99},     // nothing stored, equal bounds: the default as it is
      {7, 1, 48, 99, 48},    // nothing stored: the default clamped
      {7, 1, 48, -99, 1},
      {1, 1, 48, 99, 3},     // in range
      {1, 3, 3, 99, 3},
      {1, 4, 48, 99, 4},
      {1, 1, 2, 99, 2},
      {2, 1, 48, 99, 1},
      {3, -5, 5, 0, -5},     // compared as signed
      {3, 0, -1, 0, 0},      // below the minimum first
      {4, 0, 100, 7, 0},
      {4, INT_MIN, INT_MIN, 7, INT_MIN},
      {5, 5, 5, 0, 200},     // equal bounds: no clamping at all
      {5, 300, 1, 0, 300},   // crossed bounds: the minimum is tested first
      {6, 0, 100, 50, 50},   // another type reads as the default
      {-1, 0, 100, 60, 60},  // the machine-wide value of that name is missing
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    const Case &c = cases[i];
    SCOPED_TRACE(testing::Message() << "case " << i);
    EXPECT_EQ(GvGetMetricEx(h_, c.id, c.minimum, c.maximum, c.def), c.expected);
  }
}

TEST_F(Metrics, GetMetricBoolFoldsToZeroOrOne) {
  WriteRawDword(HKEY_CURRENT_USER, path_, "1", 5);
  WriteRawDword(HKEY_CURRENT_USER, path_, "2", 0);
  WriteRawDword(HKEY_LOCAL_MACHINE, path_, "3", 0x80000000);
  const struct {
    int id, def, expected;
  } cases[] = {{1, 0, 1}, {2, 1, 0}, {-3, 0, 1}, {9, 7, 1}, {9, 0, 0}, {9, -3, 1}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(GvGetMetricBool(h_, cases[i].id, cases[i].def), cases[i].expected);
  }
}

TEST_F(Metrics, SetMetricWritesAFourByteDword) {
  for (DWORD value : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(value);
    EXPECT_EQ(GvSetMetric(h_, 12, value), S_OK);
    DWORD read = ~value;
    EXPECT_TRUE(gvtest::ReadDword(HKEY_CURRENT_USER, path_, "12", &read));
    EXPECT_EQ(read, value);
    EXPECT_EQ(GvGetMetric(h_, 12), value);
  }
}

// ---- Blocks ---------------------------------------------------------------

TEST_F(Metrics, BinaryRoundTripsExactlyAndZeroesTheRestOfTheBuffer) {
  const BYTE block[5] = {0xDE, 0xAD, 0x00, 0xBE, 0xEF};
  ASSERT_EQ(GvSetMetricBinary(h_, 12, block, sizeof block), S_OK);
  DWORD type = 0;
  std::vector<BYTE> data;
  ASSERT_TRUE(gvtest::ReadValue(HKEY_CURRENT_USER, path_, "B12", &type, &data));
  EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));
  EXPECT_EQ(data, std::vector<BYTE>(block, block + 5));

  struct Case {
    DWORD size, expected;
  };
  const Case cases[] = {{8, 5}, {5, 5}, {4, 0}, {1, 0}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(testing::Message() << "buffer " << cases[i].size);
    BYTE buffer[12];
    memset(buffer, 0xCC, sizeof buffer);
    EXPECT_EQ(GvGetMetricBinary(h_, 12, buffer, cases[i].size), cases[i].expected);
    for (DWORD j = 0; j < cases[i].size; ++j)
      EXPECT_EQ(buffer[j], j < cases[i].expected ? block[j] : 0) << "byte " << j;
    for (DWORD j = cases[i].size; j < sizeof buffer; ++j) EXPECT_EQ(buffer[j], 0xCC) << "canary " << j;
  }
}

TEST_F(Metrics, BinaryOfAnotherTypeOrMissingReadsAsNothing) {
  WriteRaw(HKEY_CURRENT_USER, path_, "B1", REG_SZ, "abc", 4);
  WriteRawDword(HKEY_CURRENT_USER, path_, "B2", 7);
  for (int id : {1, 2, 3, -1}) {
    SCOPED_TRACE(id);
    BYTE buffer[8];
    memset(buffer, 0xCC, sizeof buffer);
    EXPECT_EQ(GvGetMetricBinary(h_, id, buffer, 6), 0u);
    for (int j = 0; j < 6; ++j) EXPECT_EQ(buffer[j], 0);
    EXPECT_EQ(buffer[6], 0xCC);
  }
}

TEST_F(Metrics, EmptyBinaryIsAValueOfNoBytes) {
  EXPECT_EQ(GvSetMetricBinary(h_, 4, "", 0), S_OK);
  DWORD type = 0;
  std::vector<BYTE> data(1);
  ASSERT_TRUE(gvtest::ReadValue(HKEY_CURRENT_USER, path_, "B4", &type, &data));
  EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));
  EXPECT_TRUE(data.empty());
  EXPECT_EQ(GvDoesMetricExist(h_, 4, REG_BINARY), S_OK);
}

// ---- Texts ------------------------------------------------------------------

TEST_F(Metrics, SetMetricStringWritesTheTerminatorToo) {
  for (const char *text : {"", "a", "hello world"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(GvSetMetricString(h_, 8, text), S_OK);
    DWORD type = 0;
    std::vector<BYTE> data;
    ASSERT_TRUE(gvtest::ReadValue(HKEY_CURRENT_USER, path_, "S8", &type, &data));
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(data.size(), strlen(text) + 1);
  }
}

TEST_F(Metrics, GetMetricStringExFallsBackAsDocumented) {
  GvSetMetricString(h_, 1, "hello");
  GvSetMetricString(h_, 2, "");
  WriteRaw(HKEY_CURRENT_USER, path_, "S3", REG_EXPAND_SZ, "%x%", 4);
  struct Case {
    int id;
    DWORD size;
    const char *def;
    BOOL keepEmpty;
    int result;
    const char *text;
  };
  const Case cases[] = {
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
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    const Case &c = cases[i];
    SCOPED_TRACE(testing::Message() << "case " << i);
    char buffer[24];
    memset(buffer, 0xAA, sizeof buffer);
    EXPECT_EQ(GvGetMetricStringEx(h_, c.id, buffer, c.size, c.def, c.keepEmpty), c.result);
    EXPECT_EQ(std::string(buffer, strnlen(buffer, c.size)), c.text);
    for (DWORD j = static_cast<DWORD>(strlen(c.text)); j < c.size; ++j)
      EXPECT_EQ(buffer[j], 0) << "byte " << j;
    for (DWORD j = c.size; j < sizeof buffer; ++j)
      EXPECT_EQ(static_cast<BYTE>(buffer[j]), 0xAA) << "canary " << j;
  }
}

TEST_F(Metrics, AnUnterminatedTextThatFillsTheBufferIsNotHandedOutUnterminated) {
  WriteRaw(HKEY_CURRENT_USER, path_, "S1", REG_SZ, "abcd", 4);
  char buffer[6];
  memset(buffer, 0x55, sizeof buffer);
  int n = GvGetMetricStringEx(h_, 1, buffer, 4, "xy", FALSE);
  EXPECT_EQ(n, 2);
  EXPECT_STREQ(buffer, "xy");
  EXPECT_EQ(buffer[4], 0x55);
  // With room to spare the terminator comes from zeroing the rest.
  memset(buffer, 0x55, sizeof buffer);
  GvGetMetricStringEx(h_, 1, buffer, 6, "xy", FALSE);
  EXPECT_STREQ(buffer, "abcd");
}

// ---- Existence and deletion ---------------------------------------------

TEST_F(Metrics, DoesMetricExistNeedsNameAndType) {
  GvSetMetric(h_, 12, 1);
  WriteRaw(HKEY_CURRENT_USER, path_, "S13", REG_BINARY, "x", 1);
  const struct {
    int id;
    DWORD type;
    HRESULT expected;
  } cases[] = {{12, REG_DWORD, S_OK},     {12, REG_SZ, S_FALSE},  {12, REG_BINARY, S_FALSE},
               {-12, REG_DWORD, S_FALSE}, {13, REG_SZ, S_FALSE},  {13, REG_BINARY, S_FALSE},
               {14, REG_DWORD, S_FALSE}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(GvDoesMetricExist(h_, cases[i].id, cases[i].type), cases[i].expected);
  }
}

TEST_F(Metrics, DeleteMetricRemovesOnlyThatValue) {
  GvSetMetric(h_, 12, 1);
  GvSetMetricString(h_, 12, "keep");
  GvSetMetric(h_, -12, 2);
  EXPECT_EQ(GvDeleteMetric(h_, 12, REG_DWORD), S_OK);
  EXPECT_FALSE(ValueExists(HKEY_CURRENT_USER, path_, "12"));
  EXPECT_TRUE(ValueExists(HKEY_CURRENT_USER, path_, "S12"));
  EXPECT_TRUE(ValueExists(HKEY_LOCAL_MACHINE, path_, "12"));
  EXPECT_EQ(GvDeleteMetric(h_, 12, REG_DWORD), E_FAIL) << "already gone";
  EXPECT_EQ(GvDeleteMetric(h_, -12, REG_DWORD), S_OK);
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, path_, "12"));
}

// ---- Null handles ---------------------------------------------------------

TEST(MetricsNullHandle, ReadsGiveDefaultsUnclampedAndWritesFail) {
  EXPECT_EQ(GvGetMetric(nullptr, 1), 0u);
  EXPECT_EQ(GvGetMetricEx(nullptr, 1, 1, 48, 99), 99);
  EXPECT_EQ(GvGetMetricEx(nullptr, 1, 1, 48, -7), -7);
  EXPECT_EQ(GvGetMetricBool(nullptr, 1, 7), 7);
  EXPECT_EQ(GvGetMetricBool(nullptr, 1, -3), -3);
  EXPECT_EQ(GvGetMetricBool(nullptr, 1, 0), 0);

  BYTE block[8];
  memset(block, 0xCC, sizeof block);
  EXPECT_EQ(GvGetMetricBinary(nullptr, 1, block, 6), 0u);
  for (int j = 0; j < 6; ++j) EXPECT_EQ(block[j], 0);
  EXPECT_EQ(block[6], 0xCC);

  char text[8];
  memset(text, 0xAA, sizeof text);
  EXPECT_EQ(GvGetMetricStringEx(nullptr, 1, text, 6, nullptr, FALSE), 0);
  for (int j = 0; j < 6; ++j) EXPECT_EQ(text[j], 0);
  EXPECT_EQ(static_cast<BYTE>(text[6]), 0xAA);
  EXPECT_EQ(GvGetMetricStringEx(nullptr, 1, text, 6, "dflt", TRUE), 4);
  EXPECT_STREQ(text, "dflt");

  EXPECT_EQ(GvDoesMetricExist(nullptr, 1, REG_DWORD), S_FALSE);
  EXPECT_EQ(GvDeleteMetric(nullptr, 1, REG_DWORD), S_FALSE);
  EXPECT_EQ(GvSetMetric(nullptr, 1, 1), E_FAIL);
  EXPECT_EQ(GvSetMetricBinary(nullptr, 1, "x", 1), E_FAIL);
  EXPECT_EQ(GvSetMetricString(nullptr, 1, "x"), E_FAIL);
}

// ---- The library's own handle ---------------------------------------------

class KernelMetrics : public testing::Test {
 protected:
  void TearDown() override {
    for (const char *name : {"987001", "S987001", "B987001", "987002", "S987002", "B987002"})
      DeleteRawValue(HKEY_CURRENT_USER, kKernelPath, name);
    DeleteRawValue(HKEY_LOCAL_MACHINE, kKernelPath, "987001");
  }
};

TEST_F(KernelMetrics, HandleMinusOneReadsTheLibrarySettings) {
  WriteRawDword(HKEY_CURRENT_USER, kKernelPath, "987001", 42);
  WriteRawDword(HKEY_LOCAL_MACHINE, kKernelPath, "987001", 43);
  WriteRaw(HKEY_CURRENT_USER, kKernelPath, "S987001", REG_SZ, "kernel", 7);
  WriteRaw(HKEY_CURRENT_USER, kKernelPath, "B987001", REG_BINARY, "\x01\x02", 2);
  EXPECT_EQ(GvGetMetric(GVMETRIC_KERNEL, 987001), 42u);
  EXPECT_EQ(GvGetMetric(GVMETRIC_KERNEL, -987001), 43u);
  EXPECT_EQ(GvGetMetricEx(GVMETRIC_KERNEL, 987001, 0, 10, 0), 10);
  EXPECT_EQ(GvGetMetricBool(GVMETRIC_KERNEL, 987001, 0), 1);
  char text[16];
  EXPECT_EQ(GvGetMetricStringEx(GVMETRIC_KERNEL, 987001, text, sizeof text, nullptr, FALSE), 6);
  EXPECT_STREQ(text, "kernel");
  BYTE block[4];
  EXPECT_EQ(GvGetMetricBinary(GVMETRIC_KERNEL, 987001, block, sizeof block), 2u);
  EXPECT_EQ(GvDoesMetricExist(GVMETRIC_KERNEL, 987001, REG_DWORD), S_OK);
  EXPECT_EQ(GvDoesMetricExist(GVMETRIC_KERNEL, 987002, REG_DWORD), S_FALSE);
}

TEST_F(KernelMetrics, HandleMinusOneIsReadOnlyExceptForDeletion) {
  EXPECT_EQ(GvSetMetric(GVMETRIC_KERNEL, 987002, 1), E_FAIL);
  EXPECT_EQ(GvSetMetricString(GVMETRIC_KERNEL, 987002, "x"), E_FAIL);
  EXPECT_EQ(GvSetMetricBinary(GVMETRIC_KERNEL, 987002, "x", 1), E_FAIL);
  EXPECT_FALSE(ValueExists(HKEY_CURRENT_USER, kKernelPath, "987002"));
  EXPECT_FALSE(ValueExists(HKEY_CURRENT_USER, kKernelPath, "S987002"));
  EXPECT_FALSE(ValueExists(HKEY_CURRENT_USER, kKernelPath, "B987002"));

  WriteRawDword(HKEY_CURRENT_USER, kKernelPath, "987001", 42);
  EXPECT_EQ(GvDeleteMetric(GVMETRIC_KERNEL, 987001, REG_DWORD), S_OK);
  EXPECT_FALSE(ValueExists(HKEY_CURRENT_USER, kKernelPath, "987001"));
}

// ---- Keys that could not be created ---------------------------------------

// A volatile parent refuses lasting subkeys, so opening below it leaves both
// keys of the handle closed.
class MetricsWithoutKeys : public testing::Test {
 protected:
  void SetUp() override {
    app_ = UniqueApp("NoKeys");
    appRoot_ = "Software\\Marrowbeam\\" + app_;
    for (HKEY hive : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
      HKEY key;
      ASSERT_EQ(RegCreateKeyExA(hive, appRoot_.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                                KEY_ALL_ACCESS, nullptr, &key, nullptr),
                ERROR_SUCCESS);
      RegCloseKey(key);
    }
    ASSERT_EQ(GvMetric_Open(&h_, app_.c_str(), 0x01000000, nullptr), S_OK);
    ASSERT_NE(h_, nullptr) << "the handle is returned all the same";
    if (gvtest::KeyExists(HKEY_CURRENT_USER, appRoot_ + "\\1.0\\Metrics"))
      GTEST_SKIP() << "this registry lets lasting keys live under volatile ones";
  }
  void TearDown() override {
    GvMetric_Close(h_);
    for (HKEY hive : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
      gvtest::DeleteTree(hive, appRoot_);
      RegDeleteKeyA(hive, appRoot_.c_str());
    }
  }
  std::string app_, appRoot_;
  HGVMETRIC h_ = nullptr;
};

TEST_F(MetricsWithoutKeys, EverythingFailsQuietly) {
  for (int id : {4, -4}) {
    SCOPED_TRACE(id);
    EXPECT_EQ(GvSetMetric(h_, id, 1), E_FAIL);
    EXPECT_EQ(GvSetMetricString(h_, id, "x"), E_FAIL);
    EXPECT_EQ(GvSetMetricBinary(h_, id, "x", 1), E_FAIL);
    EXPECT_EQ(GvGetMetric(h_, id), 0u);
    EXPECT_EQ(GvGetMetricEx(h_, id, 1, 48, 99), 48);
    EXPECT_EQ(GvGetMetricBool(h_, id, 7), 1);
    char text[8];
    EXPECT_EQ(GvGetMetricStringEx(h_, id, text, sizeof text, "d", FALSE), 1);
    BYTE block[4] = {1, 1, 1, 1};
    EXPECT_EQ(GvGetMetricBinary(h_, id, block, sizeof block), 0u);
    EXPECT_EQ(block[3], 0);
    EXPECT_EQ(GvDoesMetricExist(h_, id, REG_DWORD), S_FALSE);
    EXPECT_EQ(GvDeleteMetric(h_, id, REG_DWORD), S_FALSE);
  }
}

}  // namespace
