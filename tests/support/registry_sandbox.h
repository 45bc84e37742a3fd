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

// Writes a value directly, creating the key; false on failure.
bool WriteValue(HKEY root, const std::string &path, const std::string &name, DWORD type,
                const void *data, DWORD size);
// A value as read directly, "<type>:<bytes>", or "-" when it is missing;
// Typed and DwordText build the same form for comparisons.
std::string Stored(HKEY root, const std::string &path, const std::string &name);
std::string Typed(DWORD type, const std::string &bytes);
std::string DwordText(DWORD value);
// Removes the key itself and all below it, in both hives.
void RemoveEverywhere(const std::string &path);
// A name unique to this process and test: <prefix>_<process id>_<test name>.
std::string UniqueName(const std::string &prefix);

}  // namespace gvtest
