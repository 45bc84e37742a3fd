/*
 * gvinfo.h -- INFO and DISP lists of RIFF files, and the summary table of
 * the known INFO items.
 *
 * An INFO list is a "LIST" chunk of type "INFO" holding one chunk per item:
 * a four-character code (GVRIFF_FOURCC) and a zero-terminated string. A
 * DISP chunk holds a 4-byte clipboard format followed by its data.
 *
 * Both families work on a file handle from CreateFileA through the riff_
 * layer (gvriff.h) and keep their items in global memory blocks, locked
 * moveable and zero-filled. The lists free their own blocks
 * (infolist_Free, displist_Free); the caller owns the list records.
 *
 * Results are S_OK (0) or a code of gvriff.h; E_OUTOFMEMORY (0x8007000E)
 * when a block cannot be had. Damaged data (an INFO text without its zero
 * byte, a size past the end of the file or the enclosing chunk, a LIST
 * smaller than its type word, a DISP chunk shorter than its format word)
 * give GVRIFF_E_READ with the list freed and the file position restored.
 */
#ifndef GVINFO_H
#define GVINFO_H

#include "gvdefs.h"

#ifndef RC_INVOKED

#define GVINFO_ID_INFO 0x4F464E49UL /* "INFO" */
#define GVINFO_ID_DISP 0x50534944UL /* "DISP" */

/* One INFO item: its code and its text (a global block), or null when the
 * item is absent (null texts are not saved). */
typedef struct tGVINFOITEM {
  DWORD fcc;
  LPSTR pszText;
} tGVINFOITEM;

typedef struct tGVINFOLIST {
  DWORD nCount;
  tGVINFOITEM *pItems; /* one global block of nCount items */
} tGVINFOLIST;

/* One wanted DISP format: the caller sets dwFormat (a clipboard format
 * such as CF_TEXT or CF_DIB) before loading. */
typedef struct tGVDISPITEM {
  DWORD dwFormat;
  DWORD cbData;
  void *pData; /* global block of cbData bytes, or null */
} tGVDISPITEM;

typedef struct tGVDISPLIST {
  DWORD nCount;
  tGVDISPITEM *pItems; /* the caller's array of nCount entries */
} tGVDISPLIST;

/* A known INFO item of the summary table. */
typedef struct tGVSUMMARYITEM {
  char szCode[5];       /* "IART" */
  char szName[64];      /* display name, in the library's language */
  LPSTR pszDescription; /* one or two sentences of guidance */
} tGVSUMMARYITEM;

#define GVSUMMARY_COUNT 24

/* ---- INFO lists ---------------------------------------------------------- */

/* Loads the items of an INFO list. The file stands at the list's first
 * entry (after the "INFO" type) and *remaining holds the bytes of its
 * entries (riff_FindListChunk's size); *remaining is not changed. The list
 * is emptied first. Returns the number of entries found when that is below
 * 1 (0 for an empty list), else S_OK with the file after the last entry.
 * An entry of size 0 loads with a null text. On an error the list is freed
 * and the file returns to the first entry. A negative *remaining (a LIST
 * smaller than its type word) gives GVRIFF_E_READ. E_INVALIDARG for a null
 * list. */
GVAPI(HRESULT) infolist_Load(HANDLE file, tGVINFOLIST *list, LONG *remaining);
/* Writes the list as a "LIST" "INFO" chunk at the file position: one chunk
 * per item with a text, its size the text's length + 1. An odd size is
 * followed by a pad byte that is the low byte of the item's index in the
 * list (readers ignore pad bytes; files of the family's programs carry
 * these). *written (optional) receives the bytes written (0 for an empty
 * list, which writes nothing). S_OK or GVRIFF_E_WRITE. */
GVAPI(HRESULT) infolist_Save(HANDLE file, const tGVINFOLIST *list, DWORD *written);
/* Frees every text and the array; count 0. S_OK, also for null. */
GVAPI(HRESULT) infolist_Free(tGVINFOLIST *list);
/* Index of the first item with `code`, or GVRIFF_E_NOTFOUND. */
GVAPI(LONG) infolist_GetItemIndex(const tGVINFOLIST *list, DWORD code);
/* The text of the first item with `code`; null when absent. The pointer
 * stays the list's. */
GVAPI(LPSTR) infolist_GetItemText(const tGVINFOLIST *list, DWORD code);
/* Sets the item `code` to a copy of text. A new code is appended (with a
 * null text when text is null or ""); an existing one takes the text ("" is
 * kept as a one-byte text) or, for null, loses its text but stays in the
 * list. S_OK, E_OUTOFMEMORY or E_INVALIDARG. */
GVAPI(HRESULT) infolist_SetItem(tGVINFOLIST *list, DWORD code, LPCSTR text);
/* Makes *out a deep copy of *source (out is overwritten, not freed
 * first). S_OK; E_OUTOFMEMORY (out freed); E_INVALIDARG. */
GVAPI(HRESULT) infolist_Copy(tGVINFOLIST *out, const tGVINFOLIST *source);
/* 1 when both lists are given, hold as many items and item by item the
 * texts are both null or equal strings (codes are not compared); else 0. */
GVAPI(BOOL) infolist_Compare(const tGVINFOLIST *a, const tGVINFOLIST *b);
/* Finds the INFO list within *remaining bytes from the file position, then
 * its chunk `code`, and copies its text with the zero byte into buffer,
 * which must hold the chunk's size + 1 bytes. `reserved` is not read. The
 * file position is restored in every case. S_OK, a search error as it is,
 * GVRIFF_E_READ for damaged sizes, E_OUTOFMEMORY or E_INVALIDARG. */
GVAPI(HRESULT) infolist_GetStringFromFile(HANDLE file, DWORD code, LPSTR buffer, WORD reserved,
                                          LONG *remaining);

/* ---- The summary table ----------------------------------------------------
 * The 24 known INFO items, with names and descriptions from the library's
 * string table in its language (a translation module when one is chosen).
 * Loaded when the library loads and freed when it unloads. */

/* Loads the table. S_OK, also when loaded already; 0x8004E003 when memory
 * runs out (nothing stays loaded). */
GVAPI(HRESULT) GvSummary_LoadResources(void);
/* Frees the table. S_OK. */
GVAPI(HRESULT) GvSummary_FreeResources(void);
/* Item `index` (0 to 23) of the table; while nothing is loaded, or for
 * another index, an item whose code reads "Err ". The item stays the
 * library's. */
GVAPI(const tGVSUMMARYITEM *) GvSummary_GetItem(int index);
/* The item's code as a four-character code; 0 for null. */
GVAPI(DWORD) GvSummary_GetFCC(const tGVSUMMARYITEM *item);

/* ---- DISP lists ---------------------------------------------------------- */

/* Loads the data of the wanted formats from the DISP chunks among the
 * *remaining bytes (not changed) from the file position (inside the
 * enclosing chunk). Other chunks and formats are skipped; another chunk
 * that runs past the end of the file ends the scan with what was loaded
 * kept. Of several chunks of one format the last wins (the earlier block is
 * freed). The file position is restored. S_OK (also for a count of 0); on an
 * error the list's data are freed. */
GVAPI(HRESULT) displist_Load(HANDLE file, tGVDISPLIST *list, LONG *remaining);
/* Writes one "DISP" chunk (format word, then data, zero pad byte when odd)
 * per entry with data, in list order, at the file position. *written
 * (optional) receives the bytes written. S_OK or GVRIFF_E_WRITE;
 * E_INVALIDARG for a null list. */
GVAPI(HRESULT) displist_Save(HANDLE file, const tGVDISPLIST *list, DWORD *written);
/* The entry of `format`, or null. */
GVAPI(tGVDISPITEM *) displist_GetItem(const tGVDISPLIST *list, DWORD format);
/* Frees the data blocks (pointers null, sizes 0; formats kept). S_OK. */
GVAPI(HRESULT) displist_Free(tGVDISPLIST *list);
/* A device-dependent bitmap (screen-compatible; free it with DeleteObject)
 * made from the CF_DIB DISP chunk among the top-level chunks of the RIFF
 * file `fileName`: a BITMAPINFOHEADER of 40 or more bytes, its colour
 * table and its bits, which must all lie inside the chunk. Null when the
 * file cannot be read, holds no such chunk or the bitmap is damaged. */
GVAPI(HBITMAP) displist_CreateBitmapFromFile(LPCSTR fileName);

#endif /* RC_INVOKED */

#endif /* GVINFO_H */
