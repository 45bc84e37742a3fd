// Registry helpers: subkey counts and recursive key deletion, checked
// against the registry read directly.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gvtalc.h"
#include "support/cases.h"
#include "support/registry_sandbox.h"

namespace {

// A key of its own per test under HKEY_CURRENT_USER\Software\GvTest.
class RegistryHelpers : public testing::Test {
 protected:
  void SetUp() override {
    root_ = "Software\\GvTest\\Registry_" + std::to_string(GetCurrentProcessId()) + "_" +
            testing::UnitTest::GetInstance()->current_test_info()->name();
    gvtest::DeleteTree(HKEY_CURRENT_USER, root_);
    ASSERT_TRUE(Create(""));
    ASSERT_EQ(RegOpenKeyA(HKEY_CURRENT_USER, root_.c_str(), &open_), ERROR_SUCCESS);
  }
  void TearDown() override {
    RegCloseKey(open_);
    gvtest::DeleteTree(HKEY_CURRENT_USER, root_);
  }
  // Makes root_ + below, with a value "v" when one is given.
  bool Create(const std::string &below, const char *value = nullptr) {
    HKEY key;
    if (RegCreateKeyA(HKEY_CURRENT_USER, (root_ + below).c_str(), &key) != ERROR_SUCCESS)
      return false;
    if (value)
      RegSetValueExA(key, "v", 0, REG_SZ, reinterpret_cast<const BYTE *>(value),
                     lstrlenA(value) + 1);
    return RegCloseKey(key) == ERROR_SUCCESS;
  }
  DWORD Count(const std::string &below, DWORD *size = nullptr) {
    return GvRegGetSubKeyCount(HKEY_CURRENT_USER, (root_ + below).c_str(), size);
  }
  std::string root_;
  HKEY open_ = nullptr;  // root_, opened
};

TEST_F(RegistryHelpers, SubKeyCountGivesCountAndLongestNamePlusOne) {
  const struct { std::vector<std::string> children; DWORD count, bufferSize; } cases[] = {
      {{}, 0, 1}, {{"a"}, 1, 2}, {{"a", "bbbbb", "cc"}, 3, 6},
      {{std::string(120, 'k'), "x"}, 2, 121}};
  FOR_EACH_CASE(cases) {
    const std::string parent = "\\case" + std::to_string(i);
    ASSERT_TRUE(Create(parent, "not a subkey"));
    for (const std::string &child : c.children) ASSERT_TRUE(Create(parent + "\\" + child));
    DWORD size = 0xdeadbeef;
    EXPECT_EQ(Count(parent, &size), c.count);
    EXPECT_EQ(size, c.bufferSize);
    EXPECT_EQ(Count(parent), c.count);
  }
  DWORD size = 0;
  EXPECT_EQ(GvRegGetSubKeyCount(open_, "case2", &size), 3u) << "relative to an open key";
  EXPECT_EQ(size, 6u);
  // A missing key: all ones, with a buffer size of one.
  size = 0xdeadbeef;
  EXPECT_EQ(Count("\\missing", &size), 0xFFFFFFFFu);
  EXPECT_EQ(size, 1u);
  EXPECT_EQ(Count("\\missing"), 0xFFFFFFFFu);
}

TEST_F(RegistryHelpers, DeleteKeyRemovesWholeTreesAndNothingElse) {
  ASSERT_TRUE(Create("\\keep\\child", "kept"));
  // 40 siblings, each with 3 children of 2 grandchildren, values everywhere:
  // deleting by upward index leaves every second sibling for a later pass.
  for (int s = 0; s < 40; ++s)
    for (int j = 0; j < 6; ++j)
      ASSERT_TRUE(Create("\\target\\s" + std::to_string(s) + "\\c" + std::to_string(j / 2) +
                             "\\g" + std::to_string(j % 2), "v"));
  ASSERT_EQ(Count("\\target"), 40u);
  std::string chain = "\\chain";
  for (int level = 0; level < 16; ++level) chain += "\\L" + std::to_string(level);
  ASSERT_TRUE(Create(chain, "deep") && Create("\\leaf", "leaf"));
  ASSERT_TRUE(Create("\\rel\\a\\b") && Create("\\rel\\c"));
  for (const char *tree : {"\\target", "\\chain", "\\leaf"})
    EXPECT_EQ(GvRegDeleteKey(HKEY_CURRENT_USER, (root_ + tree).c_str()), ERROR_SUCCESS) << tree;
  EXPECT_EQ(GvRegDeleteKey(open_, "rel"), ERROR_SUCCESS);
  for (const char *gone : {"\\target", "\\target\\s1", "\\chain", "\\leaf", "\\rel"})
    EXPECT_FALSE(gvtest::KeyExists(HKEY_CURRENT_USER, root_ + gone)) << gone;
  std::string kept;
  EXPECT_TRUE(gvtest::ReadString(HKEY_CURRENT_USER, root_ + "\\keep\\child", "v", &kept));
  EXPECT_EQ(kept, "kept");
  EXPECT_EQ(Count(""), 1u);
  // Refusals touch nothing; naming no subkey must not mean "everything below the open key".
  EXPECT_EQ(GvRegDeleteKey(HKEY_CURRENT_USER, (root_ + "\\missing").c_str()), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(GvRegDeleteKey(open_, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(GvRegDeleteKey(open_, ""), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Count(""), 1u);
}

}  // namespace
