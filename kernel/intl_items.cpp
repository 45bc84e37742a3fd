// The international record handed to clients, whole or one item at a time.
#include <cstring>

#include "kernel/intl.h"

namespace {

// The text items' fields, by item number; null for the others.
const char *TextField(const tGVINTERNATIONALS &r, UINT item) {
  switch (item) {
    case 11: return r.s1159;
    case 12: return r.s2359;
    case 13: return r.sCountry;
    case 17: return r.sLanguage;
    case 19: return r.sLongDate;
    case 20: return r.sShortDate;
    default: return nullptr;
  }
}

// The one-character items' fields.
const char *CharField(const tGVINTERNATIONALS &r, UINT item) {
  switch (item) {
    case 14: return r.sCurrency;
    case 15: return r.sDate;
    case 16: return r.sDecimal;
    case 18: return r.sList;
    case 21: return r.sThousand;
    case 22: return r.sTime;
    case 100: return r.sSmpteFraction;
    case 101: return r.sSmpteWhole;
    default: return nullptr;
  }
}

}  // namespace

GVAPI(HRESULT) GvLang_GetInternationals(tGVINTERNATIONALS *out, UINT size) {
  if (!out) {
    gv::ReadInternationals();
    return S_OK;
  }
  std::memset(out, 0, size);
  const UINT copied = size < GVINTERNATIONALS_SIZE ? size : GVINTERNATIONALS_SIZE;
  std::memcpy(out, &gv::Internationals(), copied);
  if (size >= sizeof out->cbSize) out->cbSize = copied;
  return S_OK;
}

GVAPI(int) GvGetInat(UINT item, LPSTR buffer) {
  if (buffer) buffer[0] = '\0';
  const tGVINTERNATIONALS &r = gv::Internationals();
  if (item <= 10) {
    DWORD value;
    std::memcpy(&value, reinterpret_cast<const char *>(&r.iCountry) + item * 4, sizeof value);
    return static_cast<int>(value);
  }
  if (const char *text = TextField(r, item)) {
    if (buffer) std::strcpy(buffer, text);
    return static_cast<int>(std::strlen(text));
  }
  if (const char *c = CharField(r, item)) return static_cast<signed char>(c[0]);
  return 0;
}
