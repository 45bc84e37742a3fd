#include "support/registry_sandbox.h"

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

}  // namespace gvtest
