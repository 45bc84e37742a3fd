/*
 * gvlang.h -- language modules, resources through them, and the user's
 * international settings.
 *
 * A translation of a module (GVTALC.dll or a client program) is a
 * resource-only module beside it under the same base name with another
 * extension ("GVTALC.deu" for GVTALC.dll), whose version resource carries
 * the string values "GvLangName" (the language's name) and "GvLangID"
 * ("SBCS:0407": character set, a colon, the language identifier in hex),
 * and the same product version as the module it translates.
 *
 * A language handle, opened for a module by GvLang_Open, records which
 * translation was chosen and serves every resource request: the
 * translation first, then the module itself. It also owns a ring of
 * scratch text: strings handed out from it (GvGetString, the conversions)
 * stay valid only until the ring has gone round. Copy what you keep.
 * Handles are used from one thread at a time.
 */
#ifndef GVLANG_H
#define GVLANG_H

#include "gvdefs.h"

#ifndef RC_INVOKED

#include <winver.h> /* VS_FIXEDFILEINFO, left out by WIN32_LEAN_AND_MEAN */

/* Character sets named by "GvLangID". */
#define GVLANG_CHARSET_UNKNOWN 0
#define GVLANG_CHARSET_SBCS    1
#define GVLANG_CHARSET_DBCS    2
#define GVLANG_CHARSET_UNICODE 3

/* A module's language information (GvLang_GetVersionInfo). */
typedef struct tGVLANGINFO {
  VS_FIXEDFILEINFO fixed; /* the module's fixed version information */
  char szName[64];        /* "GvLangName" */
  DWORD dwCharSet;        /* GVLANG_CHARSET_ */
  DWORD dwLangID;         /* the hexadecimal number behind the colon of "GvLangID" */
} tGVLANGINFO;

/* The user's international settings: 252 bytes, read from
 * HKEY_CURRENT_USER\Control Panel\International. A value that is missing,
 * empty, not a string, or too long for its field reads as the default
 * given in brackets. */
typedef struct tGVINTERNATIONALS {
  DWORD cbSize;           /* bytes copied (GvLang_GetInternationals) */
  DWORD iCountry;         /* item 0, "iCountry" (1) */
  DWORD iCurrDigits;      /* item 1, "iCurrDigits" (2) */
  DWORD iCurrency;        /* item 2, "iCurrency" (0) */
  DWORD iDate;            /* item 3, "iDate" (0) */
  DWORD iDigits;          /* item 4, "iDigits" (2) */
  DWORD iLZero;           /* item 5, "iLZero" (1) */
  DWORD iMeasure;         /* item 6, "iMeasure" (1) */
  DWORD iNegCurr;         /* item 7, "iNegCurr" (1) */
  DWORD iTime;            /* item 8, "iTime" (0) */
  DWORD iTLZero;          /* item 9, "iTLZero" (0) */
  DWORD dwLocale;         /* item 10, "Locale" (1033) */
  char s1159[16];         /* item 11, "s1159" ("AM") */
  char s2359[16];         /* item 12, "s2359" ("PM") */
  char sCountry[64];      /* item 13, "sCountry" ("United States") */
  char sCurrency[5];      /* item 14, "sCurrency" ("$") */
  char sDate[5];          /* item 15, "sDate" ("/") */
  char sDecimal[5];       /* item 16, "sDecimal" (".") */
  char sLanguage[4];      /* item 17, "sLanguage" ("ENU") */
  char sList[5];          /* item 18, "sList" (",") */
  char sLongDate[32];     /* item 19, "sLongDate" ("dddd, MMMM dd, yyyy") */
  char sShortDate[32];    /* item 20, "sShortDate" ("M/d/yy") */
  char sThousand[5];      /* item 21, "sThousand" (",") */
  char sTime[5];          /* item 22, "sTime" (":") */
  char sSmpteFraction[5]; /* item 100, always "." */
  char sSmpteWhole[5];    /* item 101, always ":" */
} tGVINTERNATIONALS;

#define GVINTERNATIONALS_SIZE 252

/* ---- Language handles --------------------------------------------------- */

/* Opens a language handle for `module`. *result is set to null first.
 * The wanted language is kernel setting 100 (the system's default
 * language when it is not set). When it is the module's own language no
 * translation is used; otherwise the files beside the module named like it
 * with any extension but .exe and .dll are tried in the order the folder
 * lists them: the first whose product version equals the module's, whose
 * language is the wanted one and whose character set `charsetRule` accepts
 * (1: single-byte only; 2: all but Unicode; other values: all) is loaded
 * by its bare file name, so it is found when it lies beside the program
 * (or on the module search path). Not finding one is not an error.
 * ringSize: 0 gives 8192 bytes, 1 to 2048 give 2048, larger values are
 * taken as they are.
 * S_OK; E_FAIL when the module's file name cannot be had; E_OUTOFMEMORY.
 * Close with GvLang_Close. */
GVAPI(HRESULT) GvLang_Open(HANDLE *result, HINSTANCE module, int charsetRule, DWORD ringSize);
/* Frees the translation, the ring and the handle. S_OK, also for null. */
GVAPI(HRESULT) GvLang_Close(HANDLE language);
/* Fills *info (zeroed first) from the version resource of fileName.
 * S_OK when "GvLangName" was found; E_FAIL when the file has no version
 * information; E_NOTIMPL when it cannot be read, has no translation table
 * or lacks "GvLangName"; E_INVALIDARG for a null argument. */
GVAPI(HRESULT) GvLang_GetVersionInfo(LPCSTR fileName, tGVLANGINFO *info);
/* With a record: zeroes `size` bytes of it, copies the first min(size, 252)
 * bytes of the settings in force and stores that count in cbSize (when
 * size is at least 4). With null: reads the settings from the registry
 * again, after which the formatter's separator tokens, "$" grouping and
 * the number conversions follow them. Always S_OK. */
GVAPI(HRESULT) GvLang_GetInternationals(tGVINTERNATIONALS *out, UINT size);
/* One international item by its number (see tGVINTERNATIONALS). buffer,
 * when given, is set to "" first. Items 0-10 return the number; 11, 12, 13,
 * 17, 19 and 20 copy the text into buffer (which must hold the field: up
 * to 64 bytes) and return its length; 14, 15, 16, 18, 21, 22, 100 and 101
 * return their first character (signed); any other item returns 0. */
GVAPI(int) GvGetInat(UINT item, LPSTR buffer);

/* ---- The string ring ------------------------------------------------------
 * A request that does not fit the rest of the ring (once past its last
 * 1024 bytes) starts again at its beginning; requests up to 1024 bytes are
 * always served. A request larger than the whole ring gets null. */

/* `bytes` of scratch from the ring (for 0 bytes an empty string); null for
 * a null handle or when it cannot be had. */
GVAPI(LPSTR) GvGetStringBuffer(HANDLE language, UINT bytes);
/* String resource `id`, loaded into the ring; "" when no module has it or
 * for a null handle. */
GVAPI(LPSTR) GvGetString(HANDLE language, UINT id);
/* text (ANSI, system code page) as UTF-16 in the ring; a static L"" when
 * it does not fit or for null arguments. */
GVAPI(LPWSTR) GvGetWideFromPrintString(HANDLE language, LPCSTR text);
/* text (UTF-16) as ANSI in the ring; a static "" when it does not fit or
 * for null arguments. */
GVAPI(LPSTR) GvGetPrintFromWideString(HANDLE language, LPCWSTR text);

/* ---- Resources ------------------------------------------------------------
 * Each asks the translation, then the module, and returns the first
 * success; null (or 0) for a null handle or when neither has it. */

GVAPI(int) GvLoadString(HANDLE language, UINT id, LPSTR buffer, int size);
GVAPI(HMENU) GvLoadMenu(HANDLE language, LPCSTR name);
GVAPI(HACCEL) GvLoadAccelerators(HANDLE language, LPCSTR name);
GVAPI(HBITMAP) GvLoadBitmap(HANDLE language, LPCSTR name);
GVAPI(HCURSOR) GvLoadCursor(HANDLE language, LPCSTR name);
GVAPI(HICON) GvLoadIcon(HANDLE language, LPCSTR name);
GVAPI(HANDLE) GvLoadImage(HANDLE language, LPCSTR name, UINT type, int width, int height,
                          UINT flags);
GVAPI(HRSRC) GvFindResource(HANDLE language, LPCSTR name, LPCSTR type);
/* The resource must come from GvFindResource on the same handle: each
 * module of the handle is asked in turn and the one that holds it answers. */
GVAPI(HGLOBAL) GvLoadResource(HANDLE language, HRSRC resource);
GVAPI(DWORD) GvSizeofResource(HANDLE language, HRSRC resource);
GVAPI(HWND) GvCreateDialogParam(HANDLE language, LPCSTR templateName, HWND parent,
                                DLGPROC proc, LPARAM param);
GVAPI(HWND) GvCreateDialogIndirectParam(HANDLE language, LPCDLGTEMPLATEA dialogTemplate,
                                        HWND parent, DLGPROC proc, LPARAM param);
/* The modal boxes return the dialog's result. Like the other wrappers they
 * stop at the first non-zero answer, and they also pass on -1 (the box could
 * not be made from that module). So a box its user ends with 0 is shown
 * again from the next module of the search list: give such a box a non-zero
 * result for every way it can end. The last module's answer stands. */
GVAPI(INT_PTR) GvDialogBoxParam(HANDLE language, LPCSTR templateName, HWND parent, DLGPROC proc,
                                LPARAM param);
GVAPI(INT_PTR) GvDialogBoxIndirectParam(HANDLE language, LPCDLGTEMPLATEA dialogTemplate,
                                        HWND parent, DLGPROC proc, LPARAM param);
/* Creates dialog `templateId` as a child of the desktop, stores the width
 * and height of its window in *size and destroys it. TRUE, or FALSE when
 * it could not be created (or size is null). */
GVAPI(BOOL) GvGetDialogSize(HANDLE language, WORD templateId, DLGPROC proc, LPARAM param,
                            SIZE *size);

#endif /* RC_INVOKED */

#endif /* GVLANG_H */
