/*
 * gvformat.h -- the token formatter, message boxes and window text.
 *
 * Format strings follow printf with these differences:
 *   %%  and  $$        one '%' / one '$'
 *   $(Name)            the value of token Name (letters, digits and '_',
 *                      at most 260; case-insensitive). An unknown name is
 *                      copied as it stands, "$(" and ")" included; a name
 *                      not closed by ')' is copied and formatting goes on
 *                      behind it.
 *   %...c  %...s       through wsprintfA (one 32-bit argument)
 *   %...d i u x X      one 32-bit int; a directive beginning "%I6" (as in
 *                      %I64d) takes a 64-bit int
 *   %...e E f g G      one double; '.' becomes the decimal separator
 *   %.Nz               a 32-bit int counting 10^-N units, printed with N
 *                      decimals (%.2z of 12345 is 123.45); %z = %d
 *   %*  %,  %;  %:     the decimal, list, SMPTE fraction and SMPTE whole
 *                      separator; no argument
 *   $ in place of %    the same conversion; numbers are then grouped with
 *                      the thousands separator ($d of 4567 is 4,567)
 * A conversion directive runs until one of the characters * , : ; E G X c d
 * e f g i s u x z or for at most 260 characters; an unfinished one is copied
 * as it stands ('$' written as '%'). Note that 'o' does not end a directive:
 * "%o" runs on into the following text.
 *
 * Every conversion comes out whole, however large its width or precision
 * ("%.3000d" of 5 gives 2999 zeros and the 5). Two exceptions: a 'c' or 's'
 * directive holding more than the flags - # 0, a width, a precision and an
 * h, l or w prefix (one that runs on over another conversion, as "%p%s")
 * gives at most 1023 characters; and a conversion whose width and precision
 * ask for more than 0x3FFFFFFF characters ("%2147483647d"), or for more
 * memory than can be had, is copied as its directive.
 *
 * Tokens registered by the library: "d"/"decimal", "t"/"thousand",
 * "l"/"list", "time", "date", "currency" (one separator character each),
 * and "smpte.whole", "smpte.fraction" (not reachable through $(...)).
 *
 * Threads: the token table and the message-box record (application data,
 * hook, the centring of the box being shown) are process-wide and not
 * locked. Add and delete tokens, and set the record and hook, while no
 * other thread formats or shows a box. The owner-thread test compares
 * GetCurrentThread(), the same pseudo-handle in every thread, so it lets
 * every thread through.
 */
#ifndef GVFORMAT_H
#define GVFORMAT_H

#include "gvdefs.h"
#include <stdarg.h>

/* ---- Formatter ----------------------------------------------------------- */

/* Formats into out and returns the length written (without terminator).
 * There is no size argument: out must have room for the whole result, every
 * width, precision, string and token value at full length.
 * A null out returns 0 and writes nothing; a null format gives "". */
GVAPI(int) GvVPrintF(LPSTR out, LPCSTR format, va_list args);
GVAPIV(int) GvPrintF(LPSTR out, LPCSTR format, ...);

/* Registers token name (replacing one whose name differs only in case).
 * A null value is stored as "". FALSE for a null name or when no memory
 * can be had. */
GVAPI(BOOL) GvPrintF_AddToken(LPCSTR name, LPCSTR value);
/* Deletes token name (any case). FALSE when there was none. */
GVAPI(BOOL) GvPrintF_DeleteToken(LPCSTR name);

/* ---- Message boxes --------------------------------------------------------
 * Call GvMsgBoxSetAppData once at start; until then the message-box
 * functions show nothing and return 0. */

/* Sees every message box before it is shown. Return 0xFFFFFFFF (-1) to have
 * the box shown, anything else to use it as the box's result instead. */
typedef int (CALLBACK *GVMSGBOXHOOKPROC)(DWORD context, HWND owner, LPCSTR text,
                                          LPCSTR caption, UINT style);

/* Clears the application record (hook included) and stores the owner
 * thread, instance, main window and a copy of defaultCaption (at most 135
 * characters; null for none). Returns TRUE. */
GVAPI(BOOL) GvMsgBoxSetAppData(HINSTANCE instance, HWND mainWindow, LPCSTR defaultCaption);
/* Stores the hook (null removes it) and its context. FALSE outside the
 * thread recorded by GvMsgBoxSetAppData, else TRUE. */
GVAPI(BOOL) GvMsgBoxSetHook(GVMSGBOXHOOKPROC hook, DWORD context);
/* Shows a message box. owner 0 means the last active pop-up of the main
 * window (no owner without one); (HWND)-1 means no owner. A null caption
 * uses the default caption. Unless style is exactly MB_SYSTEMMODAL |
 * MB_ICONHAND, a box with that caption is centred over its owner. Returns
 * the hook's or MessageBoxA's result, 0 outside the recorded thread. */
GVAPI(int) GvMessageBox(HWND owner, LPCSTR text, LPCSTR caption, UINT style);
/* Formats format (when it holds '%' or '$'; 2048-byte buffer, longer
 * results are cut) and shows it with GvMessageBox(owner, text, null,
 * style). Returns GvMessageBox's result. */
GVAPIV(int) GvMsgBox(HWND owner, UINT style, LPCSTR format, ...);
/* The same with the format taken from string resource stringId, loaded
 * through the language handle `language` (gvlang.h: its translation first,
 * then its module); a null handle stands for GVTALC.dll's own. */
GVAPIV(int) GvMsgBoxId(HANDLE language, HWND owner, UINT style, UINT stringId, ...);

/* Shows the formatter's self-test text in a box owned by owner (tokens
 * "AppName" set to "Quill" for the time and deleted afterwards). Returns
 * the box's result. */
GVAPI(int) GvBoon(HWND owner);

/* ---- Window text ----------------------------------------------------------
 * Each formats as GvMsgBox does (2048-byte buffer) and returns the length of
 * the text set, or 0 when the platform call fails. A null format sets "". */

GVAPIV(int) GvSetWindowText(HWND window, LPCSTR format, ...);
GVAPIV(int) GvSetWindowTextId(HANDLE language, HWND window, UINT stringId, ...);
GVAPIV(int) GvSetDlgItemText(HWND dialog, int itemId, LPCSTR format, ...);
GVAPIV(int) GvSetDlgItemTextId(HANDLE language, HWND dialog, int itemId, UINT stringId, ...);
/* Appends a formatted line to a multi-line edit control (caret to the end,
 * then EM_REPLACESEL, not undoable, and "\r\n"). Leading '~' characters are
 * dropped; with at least one, no line break is added. A null format empties
 * the control and returns 0. Returns the formatted length. */
GVAPIV(int) GvMEditPrintF(HWND edit, LPCSTR format, ...);

#endif /* GVFORMAT_H */
