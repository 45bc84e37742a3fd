// Exact little-endian field I/O on COM streams for persistent data.
#include "graph/stream_io.h"

#include <cmath>
#include <vector>

namespace gv::graph {

HRESULT WriteBytes(IStream *s, const void *data, ULONG size) {
  ULONG put = 0;
  HRESULT hr = s->Write(data, size, &put);
  if (FAILED(hr)) return hr;
  return put == size ? S_OK : STG_E_MEDIUMFULL;
}

HRESULT WriteU32(IStream *s, uint32_t v) { return WriteBytes(s, &v, 4); }
HRESULT WriteU64(IStream *s, uint64_t v) { return WriteBytes(s, &v, 8); }
HRESULT WriteDouble(IStream *s, double v) { return WriteBytes(s, &v, 8); }

HRESULT WriteText(IStream *s, const std::wstring &text) {
  const uint32_t bytes = uint32_t(2 * (text.size() + 1));
  HRESULT hr = WriteU32(s, bytes);
  return SUCCEEDED(hr) ? WriteBytes(s, text.c_str(), bytes) : hr;
}

bool Remaining(IStream *s, uint64_t *left) {
  LARGE_INTEGER zero{};
  ULARGE_INTEGER here{}, end{};
  if (FAILED(s->Seek(zero, STREAM_SEEK_CUR, &here))) return false;
  if (FAILED(s->Seek(zero, STREAM_SEEK_END, &end))) return false;
  LARGE_INTEGER back;
  back.QuadPart = LONGLONG(here.QuadPart);
  if (FAILED(s->Seek(back, STREAM_SEEK_SET, nullptr))) return false;
  *left = end.QuadPart > here.QuadPart ? end.QuadPart - here.QuadPart : 0;
  return true;
}

HRESULT ReadBytes(IStream *s, void *data, ULONG size) {
  ULONG got = 0;
  HRESULT hr = s->Read(data, size, &got);
  if (FAILED(hr)) return hr;
  return got == size ? S_OK : E_FAIL;
}

HRESULT ReadU32(IStream *s, uint32_t *v) { return ReadBytes(s, v, 4); }
HRESULT ReadU64(IStream *s, uint64_t *v) { return ReadBytes(s, v, 8); }

HRESULT ReadDouble(IStream *s, double *v) {
  HRESULT hr = ReadBytes(s, v, 8);
  if (FAILED(hr)) return hr;
  return std::isfinite(*v) ? S_OK : E_FAIL;
}

HRESULT ReadText(IStream *s, size_t maxChars, std::wstring *text) {
  uint32_t bytes = 0;
  HRESULT hr = ReadU32(s, &bytes);
  if (FAILED(hr)) return hr;
  uint64_t left = 0;
  if (bytes < 2 || (bytes & 1) || bytes / 2 - 1 > maxChars || !Remaining(s, &left) ||
      bytes > left)
    return E_FAIL;
  std::vector<wchar_t> buffer(bytes / 2);
  hr = ReadBytes(s, buffer.data(), bytes);
  if (FAILED(hr)) return hr;
  const size_t chars = buffer.size() - 1;
  if (buffer[chars] != 0) return E_FAIL;
  for (size_t i = 0; i < chars; ++i)
    if (buffer[i] == 0) return E_FAIL;  // one zero, at the end
  text->assign(buffer.data(), chars);
  return S_OK;
}

}  // namespace gv::graph
