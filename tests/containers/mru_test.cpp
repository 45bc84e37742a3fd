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
  std::vector<std::string> Slots(int count) const {
    std::vector<std::string> slots;
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
  void WriteSlot(int slot, const char *text) {
    WriteRaw("S" + std::to_string(1000 + slot), REG_SZ, text, lstrlenA(text) + 1);
  }
  bool HasValue(const std::string &name) const {
    DWORD type;
    std::vector<BYTE> data;
    return gvtest::ReadValue(HKEY_CURRENT_USER, path_, name, &type, &data);
  }

  void Add(std::initializer_list<const char *> names) {
    for (const char *name : names) ASSERT_EQ(GvAddMRUNames(List(), name), 1) << name;
  }

  // GvLoadMRUNames, checking and freeing each global block.
  std::vector<std::string> Load(int maxCount) {
    LPSTR names[320];
    for (LPSTR &p : names) p = reinterpret_cast<LPSTR>(0xdeadbeef);
    int n = GvLoadMRUNames(List(), names, maxCount);
    std::vector<std::string> loaded;
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

using Names = std::vector<std::string>;

// ---- Capacity ---------------------------------------------------------------

TEST_F(Mru, CapacityDefaultsToFifteen) { EXPECT_EQ(GvGetMRUNum(List()), 15); }

TEST_F(Mru, CapacityIsStoredAsIsAndReadClampedTo0To300) {
  const struct {
    int set, get;
  } cases[] = {{5, 5}, {0, 0}, {1, 1}, {300, 300}, {301, 300}, {1000000, 300}, {-4, 0}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(testing::Message() << "capacity " << cases[i].set);
    EXPECT_EQ(GvSetMRUNum(List(), cases[i].set), S_OK);
    DWORD stored = 0;
    EXPECT_TRUE(gvtest::ReadDword(HKEY_CURRENT_USER, path_, "100", &stored));
    EXPECT_EQ(stored, static_cast<DWORD>(cases[i].set));
    EXPECT_EQ(GvGetMRUNum(List()), cases[i].get);
  }
}

// ---- Adding names -----------------------------------------------------------

TEST_F(Mru, AddingKeepsTheMostRecentFirst) {
  ASSERT_EQ(GvSetMRUNum(List(), 3), S_OK);
  Add({"c", "b", "a"});
  EXPECT_EQ(Slots(4), (Names{"a", "b", "c", kMissing}));
  Add({"b"});  // moves up; only the names above its old slot shift
  EXPECT_EQ(Slots(4), (Names{"b", "a", "c", kMissing}));
  Add({"d"});  // new: everything shifts, the last drops off
  EXPECT_EQ(Slots(4), (Names{"d", "b", "a", kMissing}));
  Add({"d"});
  EXPECT_EQ(Slots(4), (Names{"d", "b", "a", kMissing}));
}

TEST_F(Mru, NamesCompareWithoutCaseAndTheNewSpellingWins) {
  ASSERT_EQ(GvSetMRUNum(List(), 3), S_OK);
  Add({"c:\\c.wav", "b", "a"});
  Add({"C:\\C.WAV"});
  EXPECT_EQ(Slots(3), (Names{"C:\\C.WAV", "a", "b"}));
}

TEST_F(Mru, DefaultCapacityKeepsFifteenNames) {
  for (int i = 0; i < 17; ++i) Add({("name" + std::to_string(i)).c_str()});
  Names slots = Slots(16);
  for (int i = 0; i < 15; ++i) EXPECT_EQ(slots[i], "name" + std::to_string(16 - i)) << i;
  EXPECT_EQ(slots[15], kMissing);
}

TEST_F(Mru, ZeroCapacityStoresNothing) {
  ASSERT_EQ(GvSetMRUNum(List(), 0), S_OK);
  EXPECT_EQ(GvAddMRUNames(List(), "x"), 1);
  EXPECT_EQ(Slots(1), (Names{kMissing}));
  EXPECT_TRUE(Load(10).empty());
}

TEST_F(Mru, NamesAreCutTo259Characters) {
  std::string longName(300, 'p');
  longName[258] = 'E';
  Add({longName.c_str()});
  EXPECT_EQ(Slots(1)[0], longName.substr(0, 259));
  // A name cut the same way is found again rather than added twice.
  Add({longName.c_str()});
  EXPECT_EQ(Slots(2), (Names{longName.substr(0, 259), kMissing}));
}

TEST_F(Mru, AddingStopsAtTheFirstGap) {
  ASSERT_EQ(GvSetMRUNum(List(), 5), S_OK);
  WriteSlot(0, "a");
  WriteSlot(1, "");
  WriteSlot(2, "c");
  Add({"x"});
  EXPECT_EQ(Slots(4), (Names{"x", "a", "c", kMissing}));
}

TEST_F(Mru, NullArgumentsLeaveTheListAlone) {
  ASSERT_EQ(GvSetMRUNum(List(), 3), S_OK);
  Add({"b", "a"});
  EXPECT_EQ(GvAddMRUNames(List(), nullptr), 0);
  EXPECT_EQ(Slots(3), (Names{"a", "b", kMissing}));
  EXPECT_EQ(GvLoadMRUNames(List(), nullptr, 5), 0);
  EXPECT_EQ(GvSetMRUNamesData(List(), nullptr, "x", 1), S_OK);
  EXPECT_EQ(GvGetMRUNamesDataSize(List(), "a", nullptr), S_OK);
  EXPECT_EQ(GvGetMRUNamesData(List(), "a", nullptr, 4), 0u);
  EXPECT_FALSE(HasValue("B2500"));
}

// ---- Loading names ----------------------------------------------------------

TEST_F(Mru, LoadReturnsNamesInOrderUpToTheMaximum) {
  ASSERT_EQ(GvSetMRUNum(List(), 4), S_OK);
  Add({"c", "b", "a"});
  const struct {
    int maxCount;
    Names names;
  } cases[] = {
      {10, {"a", "b", "c"}},
      {3, {"a", "b", "c"}},
      {2, {"a", "b"}},
      {1, {"a"}},
      {0, {"a"}},   // the maximum is tested after a store
      {-1, {"a"}},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(testing::Message() << "maximum " << cases[i].maxCount);
    EXPECT_EQ(Load(cases[i].maxCount), cases[i].names);
  }
}

TEST_F(Mru, LoadOfAnEmptyListIsNothingEvenWithMaximumZero) {
  EXPECT_TRUE(Load(0).empty());
  EXPECT_TRUE(Load(10).empty());
}

TEST_F(Mru, LoadSkipsGapsAndReadsOnlyTheCapacity) {
  ASSERT_EQ(GvSetMRUNum(List(), 6), S_OK);
  WriteSlot(0, "a");
  WriteSlot(2, "");
  WriteSlot(3, "d");
  WriteSlot(5, "f");
  WriteSlot(6, "beyond");
  EXPECT_EQ(Load(10), (Names{"a", "d", "f"}));
  ASSERT_EQ(GvSetMRUNum(List(), 4), S_OK);
  EXPECT_EQ(Load(10), (Names{"a", "d"}));
}

// ---- Data blocks ------------------------------------------------------------

TEST_F(Mru, DataIsWrittenToTheSlotOfTheName) {
  ASSERT_EQ(GvSetMRUNum(List(), 3), S_OK);
  Add({"c", "b", "a"});
  EXPECT_EQ(GvSetMRUNamesData(List(), "B", "BBBB", 4), S_OK);
  DWORD type = 0;
  std::vector<BYTE> data;
  ASSERT_TRUE(gvtest::ReadValue(HKEY_CURRENT_USER, path_, "B2501", &type, &data));
  EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));
  EXPECT_EQ(std::string(data.begin(), data.end()), "BBBB");
  DWORD size = 0;
  EXPECT_TRUE(gvtest::ReadDword(HKEY_CURRENT_USER, path_, "3001", &size));
  EXPECT_EQ(size, 4u);
  EXPECT_FALSE(HasValue("B2500"));
  EXPECT_FALSE(HasValue("B2502"));
}

TEST_F(Mru, DataStaysWithItsSlotWhenNamesMove) {
  ASSERT_EQ(GvSetMRUNum(List(), 3), S_OK);
  Add({"c", "b", "a"});
  ASSERT_EQ(GvSetMRUNamesData(List(), "b", "BBBB", 4), S_OK);
  Add({"c"});  // [c, a, b]: slot 1 now holds "a"
  char buffer[8];
  EXPECT_EQ(GvGetMRUNamesData(List(), "a", buffer, sizeof buffer), 4u);
  EXPECT_EQ(std::string(buffer, 4), "BBBB");
  EXPECT_EQ(GvGetMRUNamesData(List(), "b", buffer, sizeof buffer), 0u);
  EXPECT_EQ(GvGetMRUNamesData(List(), "c", buffer, sizeof buffer), 0u);
}

TEST_F(Mru, DataOfAnUnlistedNameIsNotWritten) {
  ASSERT_EQ(GvSetMRUNum(List(), 3), S_OK);
  Add({"a"});
  EXPECT_EQ(GvSetMRUNamesData(List(), "zzz", "data", 4), S_OK);
  for (const char *name : {"B2500", "B2501", "B2502", "3000", "3001"}) EXPECT_FALSE(HasValue(name)) << name;
  char buffer[4];
  EXPECT_EQ(GvGetMRUNamesData(List(), "zzz", buffer, sizeof buffer), 0u);
}

TEST_F(Mru, ANameBehindAGapIsNeverFound) {
  ASSERT_EQ(GvSetMRUNum(List(), 5), S_OK);
  WriteSlot(0, "a");
  WriteSlot(2, "c");
  EXPECT_EQ(GvSetMRUNamesData(List(), "c", "CC", 2), S_OK);
  EXPECT_FALSE(HasValue("B2501"));
  EXPECT_FALSE(HasValue("B2502"));
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

TEST_F(Mru, DataSizeOfAListedNameIsAllOnes) {
  ASSERT_EQ(GvSetMRUNum(List(), 3), S_OK);
  Add({"c", "b", "a"});
  ASSERT_EQ(GvSetMRUNamesData(List(), "a", "12345", 5), S_OK);
  DWORD negative = 0xFFFFFFF0;
  WriteRaw("3002", REG_DWORD, &negative, sizeof negative);
  const struct {
    const char *name;
    DWORD size;
  } cases[] = {
      {"a", 0xFFFFFFFF},  // stored 5, clamped to the maximum -1
      {"b", 0xFFFFFFFF},  // no size stored: the default 0, clamped the same way
      {"c", 0},           // a negative stored size is clamped to the minimum
      {"zzz", 0},         // not listed
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(cases[i].name);
    DWORD size = 0xdeadbeef;
    EXPECT_EQ(GvGetMRUNamesDataSize(List(), cases[i].name, &size), S_OK);
    EXPECT_EQ(size, cases[i].size);
  }
}

TEST_F(Mru, GetDataFillsTheBufferAndZeroesTheRest) {
  ASSERT_EQ(GvSetMRUNum(List(), 3), S_OK);
  Add({"a"});
  const BYTE block[6] = {1, 2, 3, 4, 5, 6};
  ASSERT_EQ(GvSetMRUNamesData(List(), "a", block, sizeof block), S_OK);
  const struct {
    DWORD size, read;
  } cases[] = {{10, 6}, {6, 6}, {5, 0}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(testing::Message() << "buffer " << cases[i].size);
    BYTE buffer[12];
    memset(buffer, 0xCC, sizeof buffer);
    EXPECT_EQ(GvGetMRUNamesData(List(), "a", buffer, cases[i].size), cases[i].read);
    for (DWORD j = 0; j < cases[i].size; ++j)
      EXPECT_EQ(buffer[j], j < cases[i].read ? block[j] : 0) << "byte " << j;
    for (DWORD j = cases[i].size; j < sizeof buffer; ++j) EXPECT_EQ(buffer[j], 0xCC) << "canary " << j;
  }
}

}  // namespace
