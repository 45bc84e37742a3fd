// A registry value changed for the length of a test and put back as it was
// (or removed again) when the scope ends.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace gvtest {

class ScopedValue {
 public:
  ScopedValue(HKEY root, std::string path, std::string name);
  ~ScopedValue();
  ScopedValue(const ScopedValue &) = delete;
  ScopedValue &operator=(const ScopedValue &) = delete;

  void Set(DWORD type, const void *data, DWORD size);
  void SetString(const std::string &text) { Set(REG_SZ, text.c_str(), DWORD(text.size() + 1)); }
  void SetDword(DWORD value) { Set(REG_DWORD, &value, 4); }
  void Remove();

 private:
  HKEY root_;
  std::string path_, name_;
  bool existed_;
  DWORD type_ = 0;
  std::vector<BYTE> data_;
};

// The wanted language of the library's translations (kernel setting 100).
constexpr char kKernelMetrics[] = "Software\\Marrowbeam\\TALC\\1.0\\Metrics\\Kernel";
constexpr char kInternational[] = "Control Panel\\International";

}  // namespace gvtest
