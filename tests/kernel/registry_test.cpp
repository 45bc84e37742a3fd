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
  }
  void TearDown() override {
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

  std::string root_;
};

TEST_F(RegistryHelpers, SubKeyCountOfAMissingKeyIsAllOnesWithBufferSizeOne) {
  DWORD size = 0xdeadbeef;
  EXPECT_EQ(GvRegGetSubKeyCount(HKEY_CURRENT_USER, (root_ + "\\missing").c_str(), &size),
            0xFFFFFFFFu);
  EXPECT_EQ(size, 1u);
  EXPECT_EQ(GvRegGetSubKeyCount(HKEY_CURRENT_USER, (root_ + "\\missing").c_str(), nullptr),
            0xFFFFFFFFu);
}

TEST_F(RegistryHelpers, SubKeyCountGivesCountAndLongestNamePlusOne) {
  struct Case {
    std::vector<std::string> children;
    DWORD count;
    DWORD bufferSize;
  };
  const Case cases[] = {
      {{}, 0, 1},
      {{"a"}, 1, 2},
      {{"a", "bbbbb", "cc"}, 3, 6},
      {{std::string(120, 'k'), "x"}, 2, 121},
  };
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
}

TEST_F(RegistryHelpers, SubKeyCountWorksRelativeToAnOpenKey) {
  ASSERT_TRUE(Create(root_ + "\\p\\one"));
  ASSERT_TRUE(Create(root_ + "\\p\\two"));
  HKEY key;
  ASSERT_EQ(RegOpenKeyA(HKEY_CURRENT_USER, root_.c_str(), &key), ERROR_SUCCESS);
  DWORD size = 0;
  EXPECT_EQ(GvRegGetSubKeyCount(key, "p", &size), 2u);
  EXPECT_EQ(size, 4u);
  RegCloseKey(key);
}

TEST_F(RegistryHelpers, DeleteKeyRemovesAWideDeepTreeAndSparesItsSiblings) {
  const std::string target = root_ + "\\target";
  ASSERT_TRUE(Create(root_ + "\\keep\\child", "kept"));
  // 40 siblings, each with 3 children of 2 grandchildren, values everywhere:
  // deleting by upward index leaves every second sibling for a later pass.
  for (int i = 0; i < 40; ++i) {
    std::string sibling = target + "\\s" + std::to_string(i);
    for (int j = 0; j < 3; ++j)
      for (int k = 0; k < 2; ++k)
        ASSERT_TRUE(Create(sibling + "\\c" + std::to_string(j) + "\\g" + std::to_string(k), "v"));
    ASSERT_TRUE(Create(sibling, "v"));
  }
  ASSERT_EQ(GvRegGetSubKeyCount(HKEY_CURRENT_USER, target.c_str(), nullptr), 40u);

  EXPECT_EQ(GvRegDeleteKey(HKEY_CURRENT_USER, target.c_str()), ERROR_SUCCESS);

  EXPECT_FALSE(gvtest::KeyExists(HKEY_CURRENT_USER, target));
  EXPECT_FALSE(gvtest::KeyExists(HKEY_CURRENT_USER, target + "\\s1"));
  std::string kept;
  EXPECT_TRUE(gvtest::ReadString(HKEY_CURRENT_USER, root_ + "\\keep\\child", "v", &kept));
  EXPECT_EQ(kept, "kept");
  EXPECT_EQ(GvRegGetSubKeyCount(HKEY_CURRENT_USER, root_.c_str(), nullptr), 1u);
}

TEST_F(RegistryHelpers, DeleteKeyRemovesALongChain) {
  std::string deepest = root_ + "\\chain";
  for (int level = 0; level < 16; ++level) deepest += "\\L" + std::to_string(level);
  ASSERT_TRUE(Create(deepest, "bottom"));
  EXPECT_EQ(GvRegDeleteKey(HKEY_CURRENT_USER, (root_ + "\\chain").c_str()), ERROR_SUCCESS);
  EXPECT_FALSE(gvtest::KeyExists(HKEY_CURRENT_USER, root_ + "\\chain"));
  EXPECT_TRUE(gvtest::KeyExists(HKEY_CURRENT_USER, root_));
}

TEST_F(RegistryHelpers, DeleteKeyRemovesALeafWithValues) {
  ASSERT_TRUE(Create(root_ + "\\leaf", "value"));
  EXPECT_EQ(GvRegDeleteKey(HKEY_CURRENT_USER, (root_ + "\\leaf").c_str()), ERROR_SUCCESS);
  EXPECT_FALSE(gvtest::KeyExists(HKEY_CURRENT_USER, root_ + "\\leaf"));
}

TEST_F(RegistryHelpers, DeleteKeyOfAMissingKeyReportsFileNotFound) {
  EXPECT_EQ(GvRegDeleteKey(HKEY_CURRENT_USER, (root_ + "\\missing").c_str()),
            ERROR_FILE_NOT_FOUND);
  EXPECT_TRUE(gvtest::KeyExists(HKEY_CURRENT_USER, root_));
}

TEST_F(RegistryHelpers, DeleteKeyWithoutASubKeyNameTouchesNothing) {
  ASSERT_TRUE(Create(root_ + "\\child\\grandchild", "v"));
  HKEY key;
  ASSERT_EQ(RegOpenKeyA(HKEY_CURRENT_USER, root_.c_str(), &key), ERROR_SUCCESS);
  // Naming no subkey must not mean "everything below the open key".
  EXPECT_EQ(GvRegDeleteKey(key, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(GvRegDeleteKey(key, ""), ERROR_INVALID_PARAMETER);
  RegCloseKey(key);
  EXPECT_TRUE(gvtest::KeyExists(HKEY_CURRENT_USER, root_ + "\\child\\grandchild"));
}

TEST_F(RegistryHelpers, DeleteKeyWorksRelativeToAnOpenKey) {
  ASSERT_TRUE(Create(root_ + "\\rel\\a\\b"));
  ASSERT_TRUE(Create(root_ + "\\rel\\c"));
  HKEY key;
  ASSERT_EQ(RegOpenKeyA(HKEY_CURRENT_USER, root_.c_str(), &key), ERROR_SUCCESS);
  EXPECT_EQ(GvRegDeleteKey(key, "rel"), ERROR_SUCCESS);
  RegCloseKey(key);
  EXPECT_FALSE(gvtest::KeyExists(HKEY_CURRENT_USER, root_ + "\\rel"));
}

}  // namespace
