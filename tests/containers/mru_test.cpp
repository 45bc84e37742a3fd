// Recent-file lists: capacity, order, data blocks that stay with their slot,
// the lookup that stops at a gap, loading names into global blocks, and list
// names too long for a key path, all checked against the registry.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "gvtalc.h"
#include "support/cases.h"
#include "support/registry_sandbox.h"

namespace {

using gvtest::DwordText;
using Names = std::vector<std::string>;
const char kMissing[] = "-";
const std::string kLists = "Software\\Marrowbeam\\TALC\\1.0\\Metrics\\";

class Mru : public testing::Test {
 protected:
  void SetUp() override { gvtest::RemoveEverywhere(path_); }
  void TearDown() override { gvtest::RemoveEverywhere(path_); }
  const char *List() const { return list_.c_str(); }
  std::string Stored(const std::string &name) const {
    return gvtest::Stored(HKEY_CURRENT_USER, path_, name);
  }
  // Slot texts as stored, kMissing where there is no value.
  Names Slots(int count) const {
    Names slots;
    std::string text;
    for (int i = 0; i < count; ++i)
      slots.push_back(gvtest::ReadString(HKEY_CURRENT_USER, path_, "S" + std::to_string(1000 + i),
                                         &text) ? text : kMissing);
    return slots;
  }
  void Write(const std::string &name, DWORD type, const void *data, DWORD size) {
    ASSERT_TRUE(gvtest::WriteValue(HKEY_CURRENT_USER, path_, name, type, data, size));
  }
  // Slots 0.. as given; null leaves a slot without a value.
  void WriteSlots(std::initializer_list<const char *> texts) {
    int slot = 0;
    for (const char *text : texts) {
      if (text) Write("S" + std::to_string(1000 + slot), REG_SZ, text, lstrlenA(text) + 1);
      ++slot;
    }
  }
  void ListOf(int capacity, std::initializer_list<const char *> oldestFirst) {
    ASSERT_EQ(GvSetMRUNum(List(), capacity), S_OK);
    for (const char *name : oldestFirst) ASSERT_EQ(GvAddMRUNames(List(), name), 1) << name;
  }
  // GvLoadMRUNames, checking and freeing each global block.
  Names Load(int maxCount) {
    LPSTR names[320];
    for (LPSTR &p : names) p = reinterpret_cast<LPSTR>(0xdeadbeef);
    int n = GvLoadMRUNames(List(), names, maxCount);
    Names loaded(names, names + n);
    for (int i = 0; i < n; ++i) {
      HGLOBAL block = GlobalHandle(names[i]);
      EXPECT_GE(GlobalSize(block), strlen(names[i]) + 1);
      EXPECT_NE(GlobalFlags(block) & GMEM_LOCKCOUNT, 0u) << "handed out locked";
      GlobalUnlock(block);
      EXPECT_EQ(GlobalFree(block), nullptr);
    }
    EXPECT_EQ(names[n], reinterpret_cast<LPSTR>(0xdeadbeef)) << "written past the count";
    return loaded;
  }
  std::string list_ = gvtest::UniqueName("GvTestMru"), path_ = kLists + list_;
};

TEST_F(Mru, CapacityDefaultsToFifteenIsStoredAsIsAndReadClampedTo0To300) {
  EXPECT_EQ(GvGetMRUNum(List()), 15);
  const struct { int set, get; } cases[] = {
      {5, 5}, {0, 0}, {1, 1}, {300, 300}, {301, 300}, {1000000, 300}, {-4, 0}};
  FOR_EACH_CASE(cases) {
    EXPECT_EQ(GvSetMRUNum(List(), c.set), S_OK);
    EXPECT_EQ(Stored("100"), DwordText(c.set));
    EXPECT_EQ(GvGetMRUNum(List()), c.get);
  }
}

TEST_F(Mru, AddingPutsTheNameFirstAndShiftsOnlyWhatWasAboveIt) {
  const std::string longName = std::string(258, 'p') + "E" + std::string(41, 'p');
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
      {3, {}, {longName.c_str(), longName.c_str()}, {longName.substr(0, 259), kMissing}},
      {0, {}, {"x"}, {kMissing}},  // last: checked by loading below
  };
  FOR_EACH_CASE(cases) {
    gvtest::RemoveEverywhere(path_);
    WriteSlots(c.preset);
    ListOf(c.capacity, c.adds);
    EXPECT_EQ(Slots(static_cast<int>(c.slots.size())), c.slots);
  }
  EXPECT_TRUE(Load(10).empty()) << "capacity 0 loads nothing";
  ListOf(3, {"b", "a"});  // no name at all would hide the list behind an empty slot
  EXPECT_EQ(GvAddMRUNames(List(), nullptr), 0);
  EXPECT_EQ(Slots(3), (Names{"a", "b", kMissing}));
  gvtest::RemoveEverywhere(path_);  // the default capacity keeps fifteen names
  Names fifteen(1, kMissing);
  for (int i = 0; i < 17; ++i) {
    ASSERT_EQ(GvAddMRUNames(List(), ("name" + std::to_string(i)).c_str()), 1);
    if (i >= 2) fifteen.insert(fifteen.begin(), "name" + std::to_string(i));
  }
  EXPECT_EQ(Slots(16), fifteen);
}

TEST_F(Mru, LoadReturnsNamesInOrderUpToTheMaximumButAlwaysOneAndSkipsGaps) {
  EXPECT_TRUE(Load(0).empty());
  ListOf(4, {"c", "b", "a"});
  EXPECT_EQ(GvLoadMRUNames(List(), nullptr, 5), 0);
  const struct { int maxCount; Names names; } cases[] = {  // the maximum is tested after a store
      {10, {"a", "b", "c"}}, {3, {"a", "b", "c"}}, {2, {"a", "b"}}, {1, {"a"}}, {0, {"a"}},
      {-1, {"a"}}};
  FOR_EACH_CASE(cases) EXPECT_EQ(Load(c.maxCount), c.names);
  gvtest::RemoveEverywhere(path_);
  ASSERT_EQ(GvSetMRUNum(List(), 6), S_OK);
  WriteSlots({"a", nullptr, "", "d", nullptr, "f", "beyond"});
  EXPECT_EQ(Load(10), (Names{"a", "d", "f"}));
  ASSERT_EQ(GvSetMRUNum(List(), 4), S_OK);
  EXPECT_EQ(Load(10), (Names{"a", "d"}));
}

// Data goes to the slot where the lookup finds a name; it stays with that
// slot when names move, and a name behind a gap is never found.
TEST_F(Mru, DataFollowsTheSlotOfAListedName) {
  ListOf(3, {"c", "b", "a"});
  EXPECT_EQ(GvSetMRUNamesData(List(), "zzz", "data", 4), S_OK);
  const std::string block("\1\0\3\4\5\6", 6);
  EXPECT_EQ(GvSetMRUNamesData(List(), "B", block.data(), 6), S_OK);
  ASSERT_EQ(GvSetMRUNamesData(List(), "c", "12345", 5), S_OK);
  const DWORD negative = 0xFFFFFFF0;
  Write("3000", REG_DWORD, &negative, sizeof negative);
  EXPECT_EQ(GvAddMRUNames(List(), "c"), 1);  // [c, a, b]: slot 1 now holds "a"
  const char *values[] = {"B2500", "B2501", "B2502", "3000", "3001", "3002"};
  const Names stored = {kMissing,          gvtest::Typed(REG_BINARY, block),
                        gvtest::Typed(REG_BINARY, "12345"), DwordText(negative),
                        DwordText(6),      DwordText(5)};
  FOR_EACH_CASE(values) EXPECT_EQ(Stored(c), stored[i]);
  // size: GvGetMRUNamesDataSize, all ones for a found name with a size of 0
  // or more (kept so), 0 for a negative one and for a name not found, whose
  // buffer is left alone.
  const struct { const char *name; DWORD buffer, read, size; } cases[] = {
      {"a", 10, 6, 0xFFFFFFFF}, {"a", 6, 6, 0xFFFFFFFF}, {"a", 5, 0, 0xFFFFFFFF},
      {"b", 10, 5, 0xFFFFFFFF}, {"c", 10, 0, 0}, {"zzz", 0, 0, 0}, {nullptr, 0, 0, 0}};
  FOR_EACH_CASE(cases) {
    BYTE buffer[12];
    memset(buffer, 0xCC, sizeof buffer);
    EXPECT_EQ(GvGetMRUNamesData(List(), c.name, buffer, c.buffer), c.read);
    const std::string want = (c.read == 6 ? block : c.read ? "12345" : "") +
                             std::string(c.buffer - c.read, '\0') +
                             std::string(12 - c.buffer, '\xCC');
    EXPECT_EQ(std::string((char *)buffer, 12), want);
    DWORD size = 0xdeadbeef;
    EXPECT_EQ(GvGetMRUNamesDataSize(List(), c.name, &size), S_OK);
    EXPECT_EQ(size, c.size);
  }
  EXPECT_EQ(GvGetMRUNamesDataSize(List(), "a", nullptr), S_OK);
  EXPECT_EQ(GvGetMRUNamesData(List(), "a", nullptr, 4), 0u);
  EXPECT_EQ(GvSetMRUNamesData(List(), nullptr, "x", 1), S_OK);
  // A gap hides the names behind it from the lookup.
  gvtest::RemoveEverywhere(path_);
  ListOf(5, {});
  WriteSlots({"a", nullptr, "c"});
  Write("B2502", REG_BINARY, "CC", 2);
  EXPECT_EQ(GvSetMRUNamesData(List(), "c", "xx", 2), S_OK);
  EXPECT_EQ(Stored("B2501") + Stored("B2502"), kMissing + gvtest::Typed(REG_BINARY, "CC"));
  DWORD size = 0xdeadbeef;
  char buffer[4];
  EXPECT_EQ(GvGetMRUNamesDataSize(List(), "c", &size), S_OK);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(GvGetMRUNamesData(List(), "c", buffer, sizeof buffer), 0u);
  EXPECT_EQ(GvGetMRUNamesDataSize(List(), "a", &size), S_OK);  // no size stored: all ones too
  EXPECT_EQ(size, 0xFFFFFFFFu);
}

// A list name whose key path does not fit is refused; cut, it would name
// the list called by its first part, which must stay as it was.
TEST_F(Mru, ListNamesWhosePathDoesNotFitAreRefused) {
  list_.resize(259 - kLists.size(), 'm');
  path_ = kLists + list_;
  gvtest::RemoveEverywhere(path_);
  const std::string longer = list_ + "M";
  ListOf(2, {"b", "a"});
  ASSERT_EQ(GvSetMRUNamesData(List(), "a", "A", 1), S_OK);
  DWORD size = 0xdeadbeef;
  LPSTR names[2];
  EXPECT_EQ(GvSetMRUNum(longer.c_str(), 9), E_INVALIDARG);
  EXPECT_EQ(GvGetMRUNum(longer.c_str()), 0);
  EXPECT_EQ(GvAddMRUNames(longer.c_str(), "x"), 0);
  EXPECT_EQ(GvLoadMRUNames(longer.c_str(), names, 2), 0);
  EXPECT_EQ(GvSetMRUNamesData(longer.c_str(), "a", "X", 1), E_INVALIDARG);
  EXPECT_EQ(GvGetMRUNamesDataSize(longer.c_str(), "a", &size), E_INVALIDARG);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(GvGetMRUNamesData(longer.c_str(), "a", names, sizeof names), 0u);
  EXPECT_EQ(Stored("100"), DwordText(2));
  EXPECT_EQ(Slots(3), (Names{"a", "b", kMissing}));
  EXPECT_EQ(Stored("B2500"), gvtest::Typed(REG_BINARY, "A"));
  EXPECT_FALSE(gvtest::KeyExists(HKEY_CURRENT_USER, kLists + longer));
}

}  // namespace
