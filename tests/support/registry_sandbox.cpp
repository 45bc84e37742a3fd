#include "support/registry_sandbox.h"

#include <gtest/gtest.h>

namespace gvtest {

bool KeyExists(HKEY root, const std::string &path) {
  HKEY key;
  if (RegOpenKeyExA(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
  RegCloseKey(key);
  return true;
}

bool ReadValue(HKEY root, const std::string &path, const std::string &name, DWORD *type,
               std::vector<BYTE> *data) {
  HKEY key;
  if (RegOpenKeyExA(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
  DWORD size = 0;
  LONG err = RegQueryValueExA(key, name.c_str(), nullptr, type, nullptr, &size);
  if (err == ERROR_SUCCESS) {
    data->assign(size, 0);
    err = RegQueryValueExA(key, name.c_str(), nullptr, type, data->data(), &size);
    data->resize(size);
  }
  RegCloseKey(key);
  return err == ERROR_SUCCESS;
}

bool ReadDword(HKEY root, const std::string &path, const std::string &name, DWORD *value) {
  DWORD type = 0;
  std::vector<BYTE> data;
  if (!ReadValue(root, path, name, &type, &data) || type != REG_DWORD || data.size() != 4)
    return false;
  memcpy(value, data.data(), 4);
  return true;
}

bool ReadString(HKEY root, const std::string &path, const std::string &name, std::string *value) {
  DWORD type = 0;
  std::vector<BYTE> data;
  if (!ReadValue(root, path, name, &type, &data) || type != REG_SZ) return false;
  value->assign(reinterpret_cast<const char *>(data.data()), data.size());
  while (!value->empty() && value->back() == '\0') value->pop_back();
  return true;
}

void DeleteTree(HKEY root, const std::string &path) { RegDeleteTreeA(root, path.c_str()); }

bool WriteValue(HKEY root, const std::string &path, const std::string &name, DWORD type,
                const void *data, DWORD size) {
  HKEY key;
  if (RegCreateKeyA(root, path.c_str(), &key) != ERROR_SUCCESS) return false;
  LONG err = RegSetValueExA(key, name.c_str(), 0, type, static_cast<const BYTE *>(data), size);
  RegCloseKey(key);
  return err == ERROR_SUCCESS;
}

std::string Typed(DWORD type, const std::string &bytes) {
  return std::to_string(type) + ":" + bytes;
}
std::string DwordText(DWORD value) {
  return Typed(REG_DWORD, std::string(reinterpret_cast<const char *>(&value), 4));
}
std::string Stored(HKEY root, const std::string &path, const std::string &name) {
  DWORD type = 0;
  std::vector<BYTE> data;
  if (!ReadValue(root, path, name, &type, &data)) return "-";
  return Typed(type, std::string(data.begin(), data.end()));
}

void RemoveEverywhere(const std::string &path) {
  for (HKEY hive : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
    DeleteTree(hive, path);
    RegDeleteKeyA(hive, path.c_str());
  }
}

std::string UniqueName(const std::string &prefix) {
  return prefix + "_" + std::to_string(GetCurrentProcessId()) + "_" +
         testing::UnitTest::GetInstance()->current_test_info()->name();
}

}  // namespace gvtest
