// The summary table: the known INFO items with their display names and
// descriptions, from the library's string table in its language.
#include <cstdlib>
#include <cstring>

#include "files/info.h"
#include "kernel/lang.h"
#include "kernel/loadsteps.h"
#include "include/gvlist.h"

namespace gv::info {
namespace {

// For item k: code string 7000 + 3k, name 7001 + 3k, description 7002 + 3k.
constexpr UINT kFirstString = 7000;
constexpr HRESULT kSummaryOutOfMemory = static_cast<HRESULT>(0x8004E003L);

tGVLIST *g_items = nullptr;
const tGVSUMMARYITEM kErrorItem = {"Err ", "", nullptr};

int LoadText(UINT id, char *buffer, int size) {
  LangHandle *language = OwnLanguage();
  if (language) return LoadStringFrom(language, id, buffer, size);
  buffer[0] = '\0';
  return 0;
}

void FreeItem(tGVSUMMARYITEM *item) {
  if (!item) return;
  std::free(item->pszDescription);
  std::free(item);
}

void FreeAll() {
  if (!g_items) return;
  for (int i = 0; i < g_items->count; ++i)
    FreeItem(static_cast<tGVSUMMARYITEM *>(GVLIST_ITEM(g_items, i)));
  GvList_Destroy(g_items);
  g_items = nullptr;
}

tGVSUMMARYITEM *MakeItem(int k) {
  auto *item = static_cast<tGVSUMMARYITEM *>(std::calloc(1, sizeof(tGVSUMMARYITEM)));
  if (!item) return nullptr;
  const UINT id = kFirstString + 3 * UINT(k);
  LoadText(id, item->szCode, sizeof item->szCode);
  LoadText(id + 1, item->szName, sizeof item->szName);
  char description[256];
  LoadText(id + 2, description, sizeof description);
  if (!(item->pszDescription = static_cast<char *>(std::malloc(std::strlen(description) + 1)))) {
    FreeItem(item);
    return nullptr;
  }
  std::strcpy(item->pszDescription, description);
  return item;
}

}  // namespace

HRESULT LoadSummary() {
  if (g_items) return S_OK;
  if (FAILED(GvList_CreateEx(&g_items, sizeof(void *), GVSUMMARY_COUNT, GVSUMMARY_COUNT, 0,
                             nullptr, 0)))
    return kSummaryOutOfMemory;
  for (int k = 0; k < GVSUMMARY_COUNT; ++k) {
    tGVSUMMARYITEM *item = MakeItem(k);
    if (!item || FAILED(GvList_InsertList(g_items, -1, &item, 1))) {
      FreeItem(item);
      FreeAll();
      return kSummaryOutOfMemory;
    }
  }
  return S_OK;
}

const tGVSUMMARYITEM *SummaryItem(int index) {
  if (!g_items || index < 0 || index >= g_items->count) return &kErrorItem;
  return static_cast<const tGVSUMMARYITEM *>(GVLIST_ITEM(g_items, index));
}

}  // namespace gv::info

namespace gv {
void Summary_LoadResources() { info::LoadSummary(); }
void Summary_FreeResources() { info::FreeAll(); }
}  // namespace gv

GVAPI(HRESULT) GvSummary_LoadResources(void) { return gv::info::LoadSummary(); }

GVAPI(HRESULT) GvSummary_FreeResources(void) {
  gv::info::FreeAll();
  return S_OK;
}

GVAPI(const tGVSUMMARYITEM *) GvSummary_GetItem(int index) { return gv::info::SummaryItem(index); }

GVAPI(DWORD) GvSummary_GetFCC(const tGVSUMMARYITEM *item) {
  if (!item) return 0;
  const BYTE *c = reinterpret_cast<const BYTE *>(item->szCode);
  return MAKELONG(MAKEWORD(c[0], c[1]), MAKEWORD(c[2], c[3]));
}
