#include "support/scoped_value.h"

#include "support/registry_sandbox.h"

namespace gvtest {

ScopedValue::ScopedValue(HKEY root, std::string path, std::string name)
    : root_(root), path_(std::move(path)), name_(std::move(name)) {
  existed_ = ReadValue(root_, path_, name_, &type_, &data_);
}

ScopedValue::~ScopedValue() {
  if (existed_)
    WriteValue(root_, path_, name_, type_, data_.data(), DWORD(data_.size()));
  else
    Remove();
}

void ScopedValue::Set(DWORD type, const void *data, DWORD size) {
  WriteValue(root_, path_, name_, type, data, size);
}

void ScopedValue::Remove() {
  HKEY key;
  if (RegOpenKeyExA(root_, path_.c_str(), 0, KEY_SET_VALUE, &key) != ERROR_SUCCESS) return;
  RegDeleteValueA(key, name_.c_str());
  RegCloseKey(key);
}

}  // namespace gvtest
