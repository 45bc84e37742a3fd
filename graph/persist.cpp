// Saving graphs to, and making them from, COM streams, memory blocks and
// open files. The memory and file forms are a 32-bit length, then the
// stream form: the graph's class identifier and its own data.
#include <cstring>

#include "include/gvgraph.h"

namespace gv::graph {

namespace {

const IID kIidGraphBuilder = GV_IID_IGVGRAPHBUILDER_INIT;

// A memory or file form longer than this is refused unread: no graph comes
// near it (64 filters, their file names, and names and labels of at most
// 32767 characters).
constexpr DWORD kMaxGraphBytes = 16u << 20;

// A memory stream that frees its memory on release, released on scope exit.
struct MemStream {
  IStream *s = nullptr;
  HRESULT Create() { return CreateStreamOnHGlobal(nullptr, TRUE, &s); }
  ~MemStream() {
    if (s) s->Release();
  }
};

HRESULT SeekTo(IStream *s, LONGLONG offset, DWORD origin, ULARGE_INTEGER *pos = nullptr) {
  LARGE_INTEGER li;
  li.QuadPart = offset;
  return s->Seek(li, origin, pos);
}

// The memory form of `graph` in a new locked moveable block.
HRESULT SaveToBlock(IGVGraphBuilder *graph, void **block, DWORD *size) {
  MemStream m;
  HRESULT hr = m.Create();
  if (FAILED(hr)) return hr;
  const DWORD zero = 0;
  ULONG put = 0;
  hr = m.s->Write(&zero, 4, &put);
  if (SUCCEEDED(hr)) hr = GvGraph_SaveToStream(graph, m.s);
  ULARGE_INTEGER total{};
  if (SUCCEEDED(hr)) hr = SeekTo(m.s, 0, STREAM_SEEK_CUR, &total);
  if (SUCCEEDED(hr)) hr = SeekTo(m.s, 0, STREAM_SEEK_SET);
  if (FAILED(hr)) return hr;
  if (total.QuadPart < 4 || total.QuadPart > 0xFFFFFFFFull) return E_FAIL;
  const DWORD length = DWORD(total.QuadPart) - 4;
  hr = m.s->Write(&length, 4, &put);
  if (FAILED(hr)) return hr;
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, SIZE_T(total.QuadPart));
  void *p = h ? GlobalLock(h) : nullptr;
  if (!p) {
    if (h) GlobalFree(h);
    return E_OUTOFMEMORY;
  }
  ULONG got = 0;
  hr = SeekTo(m.s, 0, STREAM_SEEK_SET);
  if (SUCCEEDED(hr)) hr = m.s->Read(p, DWORD(total.QuadPart), &got);
  if (FAILED(hr)) {
    GlobalUnlock(h);
    GlobalFree(h);
    return hr;
  }
  *block = p;
  *size = got;
  return S_OK;
}

void FreeBlock(void *p) {
  HGLOBAL h = GlobalHandle(p);
  GlobalUnlock(h);
  GlobalFree(h);
}

// The stream form in `data` through a memory stream.
HRESULT CreateFromBytes(IGVGraphBuilder **graph, const void *data, DWORD length) {
  MemStream m;
  HRESULT hr = m.Create();
  if (FAILED(hr)) return hr;
  ULONG put = 0;
  hr = m.s->Write(data, length, &put);
  if (SUCCEEDED(hr)) hr = SeekTo(m.s, 0, STREAM_SEEK_SET);
  if (FAILED(hr)) return hr;
  return GvGraph_CreateFromStream(graph, m.s);
}

}  // namespace

}  // namespace gv::graph

using namespace gv::graph;

GVAPI(HRESULT) GvGraph_SaveToStream(IGVGraphBuilder *graph, IStream *stream) {
  if (!graph || !stream) return E_INVALIDARG;
  CLSID clsid;
  HRESULT hr = graph->GetClassID(&clsid);
  if (FAILED(hr)) return hr;
  hr = WriteClassStm(stream, clsid);
  if (FAILED(hr)) return hr;
  return graph->Save(stream, TRUE);
}

GVAPI(HRESULT) GvGraph_CreateFromStream(IGVGraphBuilder **graph, IStream *stream) {
  if (!graph || !stream) return E_INVALIDARG;
  CLSID clsid = CLSID_NULL;
  ReadClassStm(stream, &clsid);  // a failed read leaves a class nobody serves
  HRESULT hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                                kIidGraphBuilder, reinterpret_cast<void **>(graph));
  if (FAILED(hr)) return hr;
  return (*graph)->Load(stream);
}

GVAPI(HRESULT) GvGraph_SaveToMem(IGVGraphBuilder *graph, void **block, DWORD *size) {
  if (!graph || !block || !size) return E_INVALIDARG;
  return SaveToBlock(graph, block, size);
}

GVAPI(HRESULT) GvGraph_CreateFromMem(IGVGraphBuilder **graph, void *block, DWORD size) {
  if (!graph) return E_INVALIDARG;
  *graph = nullptr;
  if (!block) return E_INVALIDARG;
  // The length word says how much follows; `size` is not looked at. The
  // length is trusted only as far as the block can be seen to hold it: the
  // size of a global memory block bounds it. GlobalHandle and GlobalSize
  // bound only blocks from GlobalAlloc; any other memory is read as far as
  // its length word says (up to kMaxGraphBytes), as the caller vouches.
  (void)size;
  DWORD length;
  std::memcpy(&length, block, 4);
  SIZE_T held = 0;
  HGLOBAL h = GlobalHandle(block);
  if (h && GlobalLock(h) == block) {
    held = GlobalSize(h);
    GlobalUnlock(h);
  }
  if (length > kMaxGraphBytes || (held && (held < 4 || length > held - 4))) return E_FAIL;
  return CreateFromBytes(graph, static_cast<BYTE *>(block) + 4, length);
}

GVAPI(HRESULT) GvGraph_SaveToFile(IGVGraphBuilder *graph, HANDLE file, DWORD *written) {
  if (!graph || !written) return E_INVALIDARG;
  void *block = nullptr;
  DWORD size = 0;
  HRESULT hr = SaveToBlock(graph, &block, &size);
  if (FAILED(hr)) return hr;
  *written = size;
  WriteFile(file, block, size, written, nullptr);  // the count tells
  FreeBlock(block);
  return S_OK;
}

GVAPI(HRESULT) GvGraph_CreateFromFile(IGVGraphBuilder **graph, HANDLE file) {
  if (!graph) return E_INVALIDARG;
  *graph = nullptr;
  DWORD length = 0, got = 0;
  if (!ReadFile(file, &length, 4, &got, nullptr) || got != 4) return S_FALSE;
  // A length past any graph is treated as memory that cannot be had.
  HGLOBAL h = length <= kMaxGraphBytes ? GlobalAlloc(GMEM_MOVEABLE, length ? length : 1) : nullptr;
  void *p = h ? GlobalLock(h) : nullptr;
  if (!p) {
    if (h) GlobalFree(h);
    LONG high = 0;
    SetFilePointer(file, LONG(length), &high, FILE_CURRENT);
    return E_OUTOFMEMORY;
  }
  const bool ok = ReadFile(file, p, length, &got, nullptr) && got == length;
  HRESULT hr = S_FALSE;
  if (ok) hr = CreateFromBytes(graph, p, length);
  GlobalUnlock(h);
  GlobalFree(h);
  return hr;
}
