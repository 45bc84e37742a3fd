// Reading and writing the little-endian fields of persistent data on a COM
// stream. Reads are exact: a short read is a failure, and every length is
// checked against what the stream still holds before anything is allocated.
#pragma once

#include <objidl.h>

#include <cstdint>
#include <string>

namespace gv::graph {

HRESULT WriteBytes(IStream *s, const void *data, ULONG size);
HRESULT WriteU32(IStream *s, uint32_t v);
HRESULT WriteU64(IStream *s, uint64_t v);
HRESULT WriteDouble(IStream *s, double v);
// 32-bit byte length (with the terminating zero), then the UTF-16 text.
HRESULT WriteText(IStream *s, const std::wstring &text);
// Bytes WriteText writes for `text`.
inline uint64_t TextSize(const std::wstring &text) { return 4 + 2 * (text.size() + 1); }

// Bytes between the stream's position and its end; false when the stream
// cannot tell.
bool Remaining(IStream *s, uint64_t *left);

HRESULT ReadBytes(IStream *s, void *data, ULONG size);  // E_FAIL when short
HRESULT ReadU32(IStream *s, uint32_t *v);
HRESULT ReadU64(IStream *s, uint64_t *v);
HRESULT ReadDouble(IStream *s, double *v);  // E_FAIL for NaN or infinity
// A text written by WriteText of at most maxChars characters: the length
// must be even, hold the zero, fit in the stream, and the text must end in
// its one zero. E_FAIL otherwise.
HRESULT ReadText(IStream *s, size_t maxChars, std::wstring *text);

}  // namespace gv::graph
