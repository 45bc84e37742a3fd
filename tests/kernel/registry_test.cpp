// Registry helpers: subkey counts and recursive key deletion, checked
// against the registry read directly.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gvtalc.h"
#include "support/registry_sandbox.h"

namespace {

// A key of its own per test under HKEY_CURRENT_USER\Software\GvTest.
class RegistryHelpers : public testing::Test {
 protected:
  void SetUp() override {
    root_ = "Software\\GvTest\\Registry_" + std::to_string(GetCurrentProcessId()) + "_" +
            testing::UnitTest::GetInstance()->current_test_info()->name();
    gvtest::DeleteTree(HKEY_CURRENT_USER, root_);
    ASSERT_TRUE(Create(root_));
    ASSERT_EQ(RegOpenKeyA(HKEY_CURRENT_USER, root_.c_str(), &open_), ERROR_SUCCESS);
  }
  void TearDown() override {
    RegCloseKey(open_);
    gvtest::DeleteTree(HKEY_CURRENT_USER, root_);
    RegDeleteKeyA(HKEY_CURRENT_USER, root_.c_str());
  }
  static bool Create(const std::string &path, const char *value = nullptr) {
    HKEY key;
    if (RegCreateKeyA(HKEY_CURRENT_USER, path.c_str(), &key) != ERROR_SUCCESS) return false;
    if (value)
      RegSetValueExA(key, "v", 0, REG_SZ, reinterpret_cast<const BYTE *>(value),
                     lstrlenA(value) + 1);
    RegCloseKey(key);
    return true;
  }
  bool Exists(const std::string &below) const {
    return gvtest::KeyExists(HKEY_CURRENT_USER, root_ + below);
  }
  std::string root_;
  HKEY open_ = nullptr;  // root_, opened
};

TEST_F(RegistryHelpers, SubKeyCountGivesCountAndLongestNamePlusOne) {
  const struct { std::vector<std::string> children; DWORD count, bufferSize; } cases[] = {
      {{}, 0, 1}, {{"a"}, 1, 2}, {{"a", "bbbbb", "cc"}, 3, 6},
      {{std::string(120, 'k'), "x"}, 2, 121}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    std::string parent = root_ + "\\case" + std::to_string(i);
    ASSERT_TRUE(Create(parent, "values are not subkeys"));
    for (const std::string &child : cases[i].children) ASSERT_TRUE(Create(parent + "\\" + child));
    DWORD size = 0xdeadbeef;
    EXPECT_EQ(GvRegGetSubKeyCount(HKEY_CURRENT_USER, parent.c_str(), &size), cases[i].count);
    EXPECT_EQ(size, cases[i].bufferSize);
    EXPECT_EQ(GvRegGetSubKeyCount(HKEY_CURRENT_USER, parent.c_str(), nullptr), cases[i].count);
  }
  DWORD size = 0;
  EXPECT_EQ(GvRegGetSubKeyCount(open_, "case2", &size), 3u) << "relative to an open key";
  EXPECT_EQ(size, 6u);
  // A missing key: all ones, with a buffer size of one.
  size = 0xdeadbeef;
  const std::string missing = root_ + "\\missing";
  EXPECT_EQ(GvRegGetSubKeyCount(HKEY_CURRENT_USER, missing.c_str(), &size), 0xFFFFFFFFu);
  EXPECT_EQ(size, 1u);
  EXPECT_EQ(GvRegGetSubKeyCount(HKEY_CURRENT_USER, missing.c_str(), nullptr), 0xFFFFFFFFu);
}

TEST_F(RegistryHelpers, DeleteKeyRemovesWholeTreesAndNothingElse) {
  const std::string target = root_ + "\\target";
  ASSERT_TRUE(Create(root_ + "\\keep\\child", "kept"));
  // 40 siblings, each with 3 children of 2 grandchildren, values everywhere:
  // deleting by upward index leaves every second sibling for a later pass.
  for (int i = 0; i < 40; ++i) {
    std::string sibling = target + "\\s" + std::to_string(i);
    for (int j = 0; j < 6; ++j)
      ASSERT_TRUE(Create(sibling + "\\c" + std::to_string(j / 2) + "\\g" + std::to_string(j % 2),
                         "v"));
    ASSERT_TRUE(Create(sibling, "v"));
  }
  ASSERT_EQ(GvRegGetSubKeyCount(HKEY_CURRENT_USER, target.c_str(), nullptr), 40u);
  std::string chain = "\\chain";
  for (int level = 0; level < 16; ++level) chain += "\\L" + std::to_string(level);
  ASSERT_TRUE(Create(root_ + chain, "bottom"));
  ASSERT_TRUE(Create(root_ + "\\leaf", "value"));
  ASSERT_TRUE(Create(root_ + "\\rel\\a\\b") && Create(root_ + "\\rel\\c"));

  EXPECT_EQ(GvRegDeleteKey(HKEY_CURRENT_USER, target.c_str()), ERROR_SUCCESS);
  EXPECT_EQ(GvRegDeleteKey(HKEY_CURRENT_USER, (root_ + "\\chain").c_str()), ERROR_SUCCESS);
  EXPECT_EQ(GvRegDeleteKey(HKEY_CURRENT_USER, (root_ + "\\leaf").c_str()), ERROR_SUCCESS);
  EXPECT_EQ(GvRegDeleteKey(open_, "rel"), ERROR_SUCCESS);
  for (const char *gone : {"\\target", "\\target\\s1", "\\chain", "\\leaf", "\\rel"})
    EXPECT_FALSE(Exists(gone)) << gone;
  std::string kept;
  EXPECT_TRUE(gvtest::ReadString(HKEY_CURRENT_USER, root_ + "\\keep\\child", "v", &kept));
  EXPECT_EQ(kept, "kept");
  EXPECT_EQ(GvRegGetSubKeyCount(HKEY_CURRENT_USER, root_.c_str(), nullptr), 1u);

  // Refusals touch nothing; naming no subkey must not mean "everything below the open key".
  EXPECT_EQ(GvRegDeleteKey(HKEY_CURRENT_USER, (root_ + "\\missing").c_str()), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(GvRegDeleteKey(open_, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(GvRegDeleteKey(open_, ""), ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(Exists("\\keep\\child"));
}

}  // namespace
