// Recent-file lists: capacity, order, data blocks that stay with their slot,
// the lookup that stops at a gap, and loading names into global blocks,
// all checked against the registry read directly.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "gvtalc.h"
#include "support/registry_sandbox.h"

namespace {

const char kMissing[] = "<missing>";
const std::string kLong = std::string(258, 'p') + "E" + std::string(41, 'p');
using Names = std::vector<std::string>;

class Mru : public testing::Test {
 protected:
  void SetUp() override {
    list_ = "GvTestMru_" + std::to_string(GetCurrentProcessId()) + "_" +
            testing::UnitTest::GetInstance()->current_test_info()->name();
    path_ = "Software\\Marrowbeam\\TALC\\1.0\\Metrics\\" + list_;
    Clean();
  }
  void TearDown() override { Clean(); }
  void Clean() {
    for (HKEY hive : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
      gvtest::DeleteTree(hive, path_);
      RegDeleteKeyA(hive, path_.c_str());
    }
  }
  const char *List() const { return list_.c_str(); }

  // Slot texts as stored, kMissing where there is no value.
  Names Slots(int count) const {
    Names slots;
    for (int i = 0; i < count; ++i) {
      std::string text;
      if (!gvtest::ReadString(HKEY_CURRENT_USER, path_, "S" + std::to_string(1000 + i), &text))
        text = kMissing;
      slots.push_back(text);
    }
    return slots;
  }
  void WriteRaw(const std::string &name, DWORD type, const void *data, DWORD size) {
    HKEY key;
    ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, path_.c_str(), &key), ERROR_SUCCESS);
    ASSERT_EQ(RegSetValueExA(key, name.c_str(), 0, type, static_cast<const BYTE *>(data), size),
              ERROR_SUCCESS);
    RegCloseKey(key);
  }
  // Slots 0.. as given; null leaves a slot without a value.
  void WriteSlots(std::initializer_list<const char *> texts) {
    int slot = 0;
    for (const char *text : texts) {
      if (text) WriteRaw("S" + std::to_string(1000 + slot), REG_SZ, text, lstrlenA(text) + 1);
      ++slot;
    }
  }
  // A value as read directly: its type, a colon and its bytes; "-" when missing.
  std::string Stored(const std::string &name) const {
    DWORD type = 0;
    std::vector<BYTE> data;
    if (!gvtest::ReadValue(HKEY_CURRENT_USER, path_, name, &type, &data)) return "-";
    return std::to_string(type) + ":" + std::string(data.begin(), data.end());
  }
  bool HasValue(const std::string &name) const { return Stored(name) != "-"; }
  static std::string Dword(DWORD v) {
    return std::to_string(REG_DWORD) + ":" + std::string(reinterpret_cast<char *>(&v), 4);
  }
  void Add(std::initializer_list<const char *> names) {
    for (const char *name : names) ASSERT_EQ(GvAddMRUNames(List(), name), 1) << name;
  }
  void ListOf(int capacity, std::initializer_list<const char *> oldestFirst) {
    ASSERT_EQ(GvSetMRUNum(List(), capacity), S_OK);
    Add(oldestFirst);
  }

  // GvLoadMRUNames, checking and freeing each global block.
  Names Load(int maxCount) {
    LPSTR names[320];
    for (LPSTR &p : names) p = reinterpret_cast<LPSTR>(0xdeadbeef);
    int n = GvLoadMRUNames(List(), names, maxCount);
    Names loaded;
    for (int i = 0; i < n; ++i) {
      loaded.push_back(names[i]);
      HGLOBAL block = GlobalHandle(names[i]);
      EXPECT_NE(block, nullptr);
      EXPECT_GE(GlobalSize(block), strlen(names[i]) + 1);
      EXPECT_NE(GlobalFlags(block) & GMEM_LOCKCOUNT, 0u) << "handed out locked";
      GlobalUnlock(block);
      EXPECT_EQ(GlobalFree(block), nullptr);
    }
    if (n < 320) {
      EXPECT_EQ(names[n], reinterpret_cast<LPSTR>(0xdeadbeef)) << "written past the count";
    }
    return loaded;
  }

  std::string list_, path_;
};

TEST_F(Mru, CapacityDefaultsToFifteenIsStoredAsIsAndReadClampedTo0To300) {
  EXPECT_EQ(GvGetMRUNum(List()), 15);
  const struct { int set, get; } cases[] = {
      {5, 5}, {0, 0}, {1, 1}, {300, 300}, {301, 300}, {1000000, 300}, {-4, 0}};
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << "capacity " << c.set);
    EXPECT_EQ(GvSetMRUNum(List(), c.set), S_OK);
    EXPECT_EQ(Stored("100"), Dword(c.set));
    EXPECT_EQ(GvGetMRUNum(List()), c.get);
  }
}

TEST_F(Mru, AddingPutsTheNameFirstAndShiftsOnlyWhatWasAboveIt) {
  const struct { int capacity; std::initializer_list<const char *> preset, adds; Names slots; }
      cases[] = {
      {3, {}, {"c", "b", "a"}, {"a", "b", "c", kMissing}},
      // Moving up shifts only the names above its old slot.
      {3, {}, {"c", "b", "a", "b"}, {"b", "a", "c", kMissing}},
      // A new name shifts everything, the last drops off; adding the top is a no-op.
      {3, {}, {"c", "b", "a", "b", "d", "d"}, {"d", "b", "a", kMissing}},
      // Names compare without case and the new spelling wins.
      {3, {}, {"c:\\c.wav", "b", "a", "C:\\C.WAV"}, {"C:\\C.WAV", "a", "b", kMissing}},
      // The list ends at the first empty slot.
      {5, {"a", "", "c"}, {"x"}, {"x", "a", "c", kMissing}},
      // Names are cut to 259 characters, and found again cut.
      {3, {}, {kLong.c_str(), kLong.c_str()}, {kLong.substr(0, 259), kMissing}},
      {0, {}, {"x"}, {kMissing}},  // last: checked by loading below
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    Clean();
    WriteSlots(cases[i].preset);
    ListOf(cases[i].capacity, cases[i].adds);
    EXPECT_EQ(Slots(static_cast<int>(cases[i].slots.size())), cases[i].slots);
  }
  EXPECT_TRUE(Load(10).empty()) << "capacity 0 loads nothing";
}

TEST_F(Mru, DefaultCapacityKeepsFifteenNames) {
  for (int i = 0; i < 17; ++i) Add({("name" + std::to_string(i)).c_str()});
  Names slots = Slots(16);
  for (int i = 0; i < 15; ++i) EXPECT_EQ(slots[i], "name" + std::to_string(16 - i)) << i;
  EXPECT_EQ(slots[15], kMissing);
}

TEST_F(Mru, NullArgumentsLeaveTheListAlone) {
  ListOf(3, {"b", "a"});
  EXPECT_EQ(GvAddMRUNames(List(), nullptr), 0);
  EXPECT_EQ(Slots(3), (Names{"a", "b", kMissing}));
  EXPECT_EQ(GvLoadMRUNames(List(), nullptr, 5), 0);
  EXPECT_EQ(GvSetMRUNamesData(List(), nullptr, "x", 1), S_OK);
  EXPECT_EQ(GvGetMRUNamesDataSize(List(), "a", nullptr), S_OK);
  EXPECT_EQ(GvGetMRUNamesData(List(), "a", nullptr, 4), 0u);
  EXPECT_FALSE(HasValue("B2500"));
}

TEST_F(Mru, LoadReturnsNamesInOrderUpToTheMaximumButAlwaysOne) {
  EXPECT_TRUE(Load(0).empty());
  EXPECT_TRUE(Load(10).empty());
  ListOf(4, {"c", "b", "a"});
  const struct { int maxCount; Names names; } cases[] = {  // the maximum is tested after a store
      {10, {"a", "b", "c"}}, {3, {"a", "b", "c"}}, {2, {"a", "b"}},
      {1, {"a"}}, {0, {"a"}}, {-1, {"a"}}};
  for (const auto &c : cases) EXPECT_EQ(Load(c.maxCount), c.names) << "maximum " << c.maxCount;
}

TEST_F(Mru, LoadSkipsGapsAndReadsOnlyTheCapacity) {
  ASSERT_EQ(GvSetMRUNum(List(), 6), S_OK);
  WriteSlots({"a", nullptr, "", "d", nullptr, "f", "beyond"});
  EXPECT_EQ(Load(10), (Names{"a", "d", "f"}));
  ASSERT_EQ(GvSetMRUNum(List(), 4), S_OK);
  EXPECT_EQ(Load(10), (Names{"a", "d"}));
}

TEST_F(Mru, DataIsWrittenToTheSlotOfAListedNameAndStaysWithThatSlot) {
  ListOf(3, {"c", "b", "a"});
  EXPECT_EQ(GvSetMRUNamesData(List(), "zzz", "data", 4), S_OK);
  for (const char *name : {"B2500", "B2501", "B2502", "3000", "3001", "3002"})
    EXPECT_FALSE(HasValue(name)) << name;
  const std::string block("\1\0\3\4\5\6", 6);
  EXPECT_EQ(GvSetMRUNamesData(List(), "B", block.data(), 6), S_OK);
  EXPECT_EQ(Stored("B2501"), std::to_string(REG_BINARY) + ":" + block);
  EXPECT_EQ(Stored("3001"), Dword(6));
  EXPECT_FALSE(HasValue("B2500") || HasValue("B2502"));

  Add({"c"});  // [c, a, b]: slot 1 now holds "a"
  const struct { const char *name; DWORD size, read; } cases[] = {
      {"a", 10, 6}, {"a", 6, 6}, {"a", 5, 0}, {"b", 10, 0}, {"c", 10, 0}};
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << c.name << " into " << c.size);
    BYTE buffer[12];
    memset(buffer, 0xCC, sizeof buffer);
    EXPECT_EQ(GvGetMRUNamesData(List(), c.name, buffer, c.size), c.read);
    for (DWORD j = 0; j < c.size; ++j) EXPECT_EQ(buffer[j], j < c.read ? block[j] : 0) << j;
    for (DWORD j = c.size; j < sizeof buffer; ++j) EXPECT_EQ(buffer[j], 0xCC) << "canary " << j;
  }
  char buffer[4];
  EXPECT_EQ(GvGetMRUNamesData(List(), "zzz", buffer, sizeof buffer), 0u);
}

TEST_F(Mru, DataSizeOfAListedNameIsAllOnes) {
  ListOf(3, {"c", "b", "a"});
  ASSERT_EQ(GvSetMRUNamesData(List(), "a", "12345", 5), S_OK);
  DWORD negative = 0xFFFFFFF0;
  WriteRaw("3002", REG_DWORD, &negative, sizeof negative);
  const struct { const char *name; DWORD size; } cases[] = {
      {"a", 0xFFFFFFFF},  // stored 5, clamped to the maximum -1
               {"b", 0xFFFFFFFF},  // no size stored: the default 0, clamped the same way
               {"c", 0},           // a negative stored size is clamped to the minimum
               {"zzz", 0}};        // not listed
  for (const auto &c : cases) {
    DWORD size = 0xdeadbeef;
    EXPECT_EQ(GvGetMRUNamesDataSize(List(), c.name, &size), S_OK) << c.name;
    EXPECT_EQ(size, c.size) << c.name;
  }
}

TEST_F(Mru, ANameBehindAGapIsNeverFound) {
  ASSERT_EQ(GvSetMRUNum(List(), 5), S_OK);
  WriteSlots({"a", nullptr, "c"});
  EXPECT_EQ(GvSetMRUNamesData(List(), "c", "CC", 2), S_OK);
  EXPECT_FALSE(HasValue("B2501") || HasValue("B2502"));
  DWORD size = 0xdeadbeef;
  EXPECT_EQ(GvGetMRUNamesDataSize(List(), "c", &size), S_OK);
  EXPECT_EQ(size, 0u);
  WriteRaw("B2502", REG_BINARY, "CC", 2);
  char buffer[4];
  EXPECT_EQ(GvGetMRUNamesData(List(), "c", buffer, sizeof buffer), 0u);
  // The name before the gap is found as usual.
  EXPECT_EQ(GvGetMRUNamesDataSize(List(), "a", &size), S_OK);
  EXPECT_EQ(size, 0xFFFFFFFFu);
}

}  // namespace
