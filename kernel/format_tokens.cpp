// The formatter's token table: named texts that $(Name) expands, kept in a
// list of owned records sorted case-insensitively by name.
#include <cstring>

#include "kernel/format.h"
#include "kernel/intl.h"
#include "kernel/loadsteps.h"
#include "include/gvformat.h"
#include "include/gvlist.h"

namespace gv {
namespace {

// One allocation: the four fields, then the name, then the value.
struct TokenRecord {
  DWORD reserved;
  char *name;
  DWORD valueLength;
  char *value;
};

tGVLIST *g_tokens = nullptr;

int CALLBACK CompareName(DWORD, const void *key, const void *item) {
  return _stricmp(static_cast<const char *>(key), static_cast<const TokenRecord *>(item)->name);
}

int IndexOf(const char *name) {
  return GvList_FindSortedItemRange(g_tokens, name, 0, -1, CompareName);
}

void AddCharToken(const char *name, char value) {
  const char text[2] = {value, '\0'};
  AddToken(name, text);
}

}  // namespace

bool FindToken(const char *name, const char **value, DWORD *length) {
  if (!g_tokens || !name) return false;
  const int index = IndexOf(name);
  if (index < 0) return false;
  const TokenRecord *record = static_cast<const TokenRecord *>(GVLIST_ITEM(g_tokens, index));
  *value = record->value;
  *length = record->valueLength;
  return true;
}

void RegisterSeparatorTokens() {
  const IntlSeparators &s = Separators();
  AddCharToken("l", s.list);
  AddCharToken("list", s.list);
  AddCharToken("t", s.thousands);
  AddCharToken("thousand", s.thousands);
  AddCharToken("time", s.time);
  AddCharToken("d", s.decimal);
  AddCharToken("decimal", s.decimal);
  AddCharToken("date", s.date);
  AddCharToken("currency", s.currency);
  // Not reachable through $(...) (the scanner stops at the full stop);
  // they are there for lookups by name.
  AddCharToken("smpte.whole", s.smpteWhole);
  AddCharToken("smpte.fraction", s.smpteFraction);
}

HRESULT TextServices_Init() {
  GvList_CreateEx(&g_tokens, 4, 16, 16, GVLIST_OWNITEMS, nullptr, 0);
  ReadInternationals();  // takes the separators and registers their tokens
  return S_OK;
}

void TextServices_Term() {
  GvList_Destroy(g_tokens);
  g_tokens = nullptr;
}

bool AddToken(const char *name, const char *value) {
  if (!g_tokens) return false;
  if (!value) value = "";
  const int existing = IndexOf(name);
  if (existing >= 0) GvList_DeleteList(g_tokens, existing, 1, FALSE);

  const DWORD nameLength = static_cast<DWORD>(std::strlen(name));
  const DWORD valueLength = static_cast<DWORD>(std::strlen(value));
  const int at = GvList_FindSortedInsertIndexRange(g_tokens, name, 0, -1, CompareName);
  int index = -1;
  if (FAILED(GvList_AllocItem(g_tokens, nullptr, (nameLength + 1) + (valueLength + 1) + 20, at,
                              &index)) ||
      index < 0)
    return false;

  TokenRecord *record = static_cast<TokenRecord *>(GVLIST_ITEM(g_tokens, index));
  record->reserved = 0;
  record->name = reinterpret_cast<char *>(record + 1);
  std::memcpy(record->name, name, nameLength + 1);
  record->valueLength = valueLength;
  record->value = record->name + ((nameLength + 1 + 3) & ~3u);
  std::memcpy(record->value, value, valueLength + 1);
  return true;
}

bool DeleteToken(const char *name) {
  if (!g_tokens) return false;
  const int index = IndexOf(name);
  return index >= 0 && SUCCEEDED(GvList_DeleteList(g_tokens, index, 1, TRUE));
}

}  // namespace gv

GVAPI(BOOL) GvPrintF_AddToken(LPCSTR name, LPCSTR value) {
  return name && gv::AddToken(name, value) ? TRUE : FALSE;
}

GVAPI(BOOL) GvPrintF_DeleteToken(LPCSTR name) {
  return name && gv::DeleteToken(name) ? TRUE : FALSE;
}
