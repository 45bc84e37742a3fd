// The filters' common COM body and their table-driven values and data.
#include "graph/filter.h"

#include <cwchar>

#include "graph/stream_io.h"

namespace gv::graph {

namespace {
const IID kIidFilter = GV_IID_IGVFILTER_INIT;
constexpr uint32_t kDataVersion = 1;
constexpr size_t kMaxText = MAX_PATH - 1;
}  // namespace

Filter::Filter(const CLSID &clsid, std::vector<Field> fields, DWORD inputs, DWORD outputs)
    : clsid_(clsid), fields_(std::move(fields)), inputs_(inputs), outputs_(outputs) {
  for (const Field &f : fields_) numbers_.push_back(f.initial);
}

STDMETHODIMP Filter::QueryInterface(REFIID iid, void **result) {
  if (!result) return E_INVALIDARG;
  if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, kIidFilter)) {
    *result = static_cast<IGVFilter *>(this);
    AddRef();
    return S_OK;
  }
  *result = nullptr;
  return E_NOINTERFACE;
}

STDMETHODIMP_(ULONG) Filter::AddRef() { return ULONG(InterlockedIncrement(&refs_)); }

STDMETHODIMP_(ULONG) Filter::Release() {
  const LONG n = InterlockedDecrement(&refs_);
  if (n == 0) delete this;
  return ULONG(n);
}

STDMETHODIMP Filter::GetClassID(CLSID *clsid) {
  if (!clsid) return E_INVALIDARG;
  *clsid = clsid_;
  return S_OK;
}

STDMETHODIMP Filter::IsDirty() { return dirty_ ? S_OK : S_FALSE; }

uint64_t Filter::DataSize() const {
  uint64_t size = 4;
  for (const Field &f : fields_)
    size += f.kind == FieldKind::Text ? TextSize(text_) : f.kind == FieldKind::Word ? 4 : 8;
  return size;
}

STDMETHODIMP Filter::GetSizeMax(ULARGE_INTEGER *size) {
  if (!size) return E_INVALIDARG;
  size->QuadPart = DataSize();
  return S_OK;
}

STDMETHODIMP Filter::Save(IStream *stream, BOOL clearDirty) {
  if (!stream) return E_INVALIDARG;
  HRESULT hr = WriteU32(stream, kDataVersion);
  for (size_t i = 0; i < fields_.size() && SUCCEEDED(hr); ++i) {
    switch (fields_[i].kind) {
      case FieldKind::Text: hr = WriteText(stream, text_); break;
      case FieldKind::Word: hr = WriteU32(stream, uint32_t(numbers_[i])); break;
      case FieldKind::Real: hr = WriteDouble(stream, numbers_[i]); break;
    }
  }
  if (SUCCEEDED(hr) && clearDirty) dirty_ = false;
  return hr;
}

// Everything is read and checked before the filter takes any of it.
STDMETHODIMP Filter::Load(IStream *stream) {
  if (!stream) return E_INVALIDARG;
  if (running_) return E_ACCESSDENIED;
  uint32_t version = 0;
  HRESULT hr = ReadU32(stream, &version);
  if (FAILED(hr)) return hr;
  if (version != kDataVersion) return E_FAIL;
  std::vector<double> numbers(fields_.size());
  std::wstring text;
  for (size_t i = 0; i < fields_.size(); ++i) {
    const Field &f = fields_[i];
    if (f.kind == FieldKind::Text) {
      hr = ReadText(stream, kMaxText, &text);
    } else if (f.kind == FieldKind::Word) {
      uint32_t w = 0;
      hr = ReadU32(stream, &w);
      numbers[i] = w;
    } else {
      hr = ReadDouble(stream, &numbers[i]);
    }
    if (FAILED(hr)) return hr;
    if (f.kind != FieldKind::Text && !Valid(f, numbers[i])) return E_FAIL;
  }
  numbers_ = numbers;
  text_ = text;
  dirty_ = false;
  return S_OK;
}

STDMETHODIMP Filter::GetPins(DWORD *inputs, DWORD *outputs) {
  if (inputs) *inputs = inputs_;
  if (outputs) *outputs = outputs_;
  return S_OK;
}

const Field *Filter::Find(DWORD key) const {
  for (const Field &f : fields_)
    if (f.key == key) return &f;
  return nullptr;
}

bool Filter::Valid(const Field &f, double v) const {
  if (!(v >= f.min && v <= f.max)) return false;
  if (f.kind == FieldKind::Word && v != double(uint32_t(v))) return false;
  if (f.allowed.empty()) return true;
  for (double a : f.allowed)
    if (a == v) return true;
  return false;
}

double Filter::Number(DWORD key) const {
  const Field *f = Find(key);
  return f ? numbers_[size_t(f - fields_.data())] : 0.0;
}

STDMETHODIMP Filter::SetValue(DWORD key, double value) {
  const Field *f = Find(key);
  if (!f || f->kind == FieldKind::Text || !Valid(*f, value)) return E_INVALIDARG;
  if (running_) return E_ACCESSDENIED;
  numbers_[size_t(f - fields_.data())] = value;
  dirty_ = true;
  return S_OK;
}

STDMETHODIMP Filter::GetValue(DWORD key, double *value) {
  const Field *f = Find(key);
  if (!value || !f || f->kind == FieldKind::Text) return E_INVALIDARG;
  *value = numbers_[size_t(f - fields_.data())];
  return S_OK;
}

STDMETHODIMP Filter::SetText(DWORD key, LPCWSTR text) {
  const Field *f = Find(key);
  if (!text || !f || f->kind != FieldKind::Text || std::wcslen(text) > kMaxText)
    return E_INVALIDARG;
  if (running_) return E_ACCESSDENIED;
  text_ = text;
  dirty_ = true;
  return S_OK;
}

STDMETHODIMP Filter::GetText(DWORD key, LPWSTR text, DWORD chars) {
  const Field *f = Find(key);
  if (!text || !f || f->kind != FieldKind::Text || chars < text_.size() + 1) return E_INVALIDARG;
  std::wmemcpy(text, text_.c_str(), text_.size() + 1);
  return S_OK;
}

std::string Narrow(const std::wstring &text) {
  if (text.empty()) return std::string();
  const int n = WideCharToMultiByte(CP_ACP, 0, text.c_str(), int(text.size()), nullptr, 0,
                                    nullptr, nullptr);
  std::string out(size_t(n > 0 ? n : 0), '\0');
  if (n > 0)
    WideCharToMultiByte(CP_ACP, 0, text.c_str(), int(text.size()), &out[0], n, nullptr, nullptr);
  return out;
}

std::string FolderOf(const std::string &path) {
  const size_t slash = path.find_last_of("\\/:");
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

}  // namespace gv::graph
