// Registry helpers for tests: direct reads of what the library wrote.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace gvtest {

bool KeyExists(HKEY root, const std::string &path);
// Reads a value directly; returns false when missing. `type` receives its type.
bool ReadValue(HKEY root, const std::string &path, const std::string &name, DWORD *type,
               std::vector<BYTE> *data);
bool ReadDword(HKEY root, const std::string &path, const std::string &name, DWORD *value);
bool ReadString(HKEY root, const std::string &path, const std::string &name, std::string *value);
// Deletes a key tree without going through the library.
void DeleteTree(HKEY root, const std::string &path);

}  // namespace gvtest
