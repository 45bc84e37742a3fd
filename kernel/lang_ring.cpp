// The ring of scratch text a language handle hands strings out from, and
// the conversions between ANSI and UTF-16 that use it.
#include <cstring>
#include <cwchar>

#include "kernel/lang.h"

namespace gv {
namespace {

// Where the ring is advanced to after `used` bytes: room for a terminator,
// on a 4-byte boundary.
DWORD Advance(DWORD offset, DWORD used) { return offset + ((used + 4) & ~3u); }

}  // namespace

char *RingArea(LangHandle *handle, DWORD bytes) {
  // Every area keeps a byte behind it for a terminator.
  if (!handle->ring || bytes >= handle->ringSize) return nullptr;
  if (handle->ringOffset > handle->ringSize - handle->ringReserve) handle->ringOffset = 0;
  // Larger than the reserve and past the end: start again rather than overrun.
  if (bytes >= handle->ringSize - handle->ringOffset) handle->ringOffset = 0;
  char *area = handle->ring + handle->ringOffset;
  if (bytes == 0) area[0] = '\0';
  handle->ringOffset = Advance(handle->ringOffset, bytes);
  return area;
}

char *RingString(LangHandle *handle, UINT id) {
  if (handle->ringOffset > handle->ringSize - handle->ringReserve) handle->ringOffset = 0;
  char *area = handle->ring + handle->ringOffset;
  const int space = static_cast<int>(handle->ringSize - handle->ringOffset);
  int length = LoadStringFrom(handle, id, area, space);
  if (length <= 0) {
    area[0] = '\0';
    length = 0;
  }
  handle->ringOffset = Advance(handle->ringOffset, static_cast<DWORD>(length));
  return area;
}

}  // namespace gv

GVAPI(LPSTR) GvGetStringBuffer(HANDLE language, UINT bytes) {
  gv::LangHandle *handle = gv::Usable(language);
  return handle ? gv::RingArea(handle, bytes) : nullptr;
}

GVAPI(LPSTR) GvGetString(HANDLE language, UINT id) {
  static char empty[1];
  gv::LangHandle *handle = gv::Usable(language);
  if (!handle || !handle->ring) {
    empty[0] = '\0';
    return empty;
  }
  return gv::RingString(handle, id);
}

GVAPI(LPWSTR) GvGetWideFromPrintString(HANDLE language, LPCSTR text) {
  static wchar_t empty[1];
  gv::LangHandle *handle = gv::Usable(language);
  empty[0] = L'\0';
  if (!handle || !text) return empty;
  const size_t length = std::strlen(text);
  if (length >= 0x7FFFFFF) return empty;
  const DWORD characters = static_cast<DWORD>(length + 1);
  wchar_t *area = reinterpret_cast<wchar_t *>(gv::RingArea(handle, characters * 2));
  if (!area) return empty;
  if (MultiByteToWideChar(CP_ACP, 0, text, -1, area, static_cast<int>(characters)) == 0)
    area[0] = L'\0';
  return area;
}

GVAPI(LPSTR) GvGetPrintFromWideString(HANDLE language, LPCWSTR text) {
  static char empty[1];
  gv::LangHandle *handle = gv::Usable(language);
  empty[0] = '\0';
  if (!handle || !text) return empty;
  const size_t length = std::wcslen(text);
  if (length >= 0x7FFFFFF) return empty;
  const DWORD bytes = static_cast<DWORD>(length * 2);
  char *area = gv::RingArea(handle, bytes);
  if (!area) return empty;
  // The ring's rounding leaves at least one byte past the request.
  if (WideCharToMultiByte(CP_ACP, 0, text, -1, area, static_cast<int>(bytes + 1), nullptr,
                          nullptr) == 0)
    area[0] = '\0';
  return area;
}
