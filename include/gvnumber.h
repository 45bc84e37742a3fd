/*
 * gvnumber.h -- number and string conversions for edit fields and labels.
 *
 * Every parse skips leading white space, reads the number and stops at the
 * first character that cannot belong to it. When `end` is not null it
 * receives the position where reading stopped, so a caller can walk a list
 * of numbers in one string. A null text reads as an empty one. The
 * thousands and decimal separators are the user's (single characters; ","
 * and "." under United States settings).
 *
 * Threads: the conversions share nothing but the separators, which the
 * library reads at load, and may be called from any thread. The decibel
 * labels come from one ring of buffers shared by the whole process, without
 * a lock: a label may be overwritten by another thread's call at any time.
 */
#ifndef GVNUMBER_H
#define GVNUMBER_H

#include "gvdefs.h"

/* ---- Parsing -------------------------------------------------------------
 * Decimal forms: digits, with thousands separators skipped wherever they
 * stand; no overflow check (the value wraps). The signed forms accept one
 * '-' right after the white space. A text that is empty after the white
 * space gives 0 with `end` at that position. */
GVAPI(DWORD) GvAsciiToDWordToken(LPCSTR text, LPSTR *end);
GVAPI(ULONGLONG) GvAsciiToDWordLongToken(LPCSTR text, LPSTR *end);
GVAPI(LONG) GvAsciiToLongToken(LPCSTR text, LPSTR *end);
GVAPI(LONGLONG) GvAsciiToLongLongToken(LPCSTR text, LPSTR *end);
/* Hexadecimal digits 0-9, A-F, a-f. A "0x" prefix is skipped only when it
 * is the whole rest of the text: "0x1F" reads as 0 and stops at the 'x'.
 * Pass bare digits. */
GVAPI(DWORD) GvHexToDWordToken(LPCSTR text, LPSTR *end);
GVAPI(ULONGLONG) GvHexToDWordLongToken(LPCSTR text, LPSTR *end);
/* Optional '-', integer digits (thousands separators skipped), the decimal
 * separator (the last one before the next white space) and fraction digits.
 * With a fraction, `end` is the end of the blank-delimited token. 5e-12 is
 * added to every result before the sign is applied, so the result is never
 * exactly 0. */
GVAPI(double) GvAsciiToDoubleToken(LPCSTR text, LPSTR *end);

/* ---- Checked parsing -----------------------------------------------------
 * v = the basic parse. When v is 0 and reading stopped at something other
 * than the terminator or white space, v = def. `end` receives the stop
 * position. Then v is clamped to minimum..maximum (the default too). */
GVAPI(DWORD) GvAsciiToDWordTokenEx(LPCSTR text, DWORD def, DWORD minimum, DWORD maximum,
                                   LPSTR *end);
GVAPI(ULONGLONG) GvAsciiToDWordLongTokenEx(LPCSTR text, ULONGLONG def, ULONGLONG minimum,
                                           ULONGLONG maximum, LPSTR *end);
GVAPI(LONG) GvAsciiToLongTokenEx(LPCSTR text, LONG def, LONG minimum, LONG maximum,
                                 LPSTR *end);
GVAPI(LONGLONG) GvAsciiToLongLongTokenEx(LPCSTR text, LONGLONG def, LONGLONG minimum,
                                         LONGLONG maximum, LPSTR *end);
GVAPI(DWORD) GvHexToDWordTokenEx(LPCSTR text, DWORD def, DWORD minimum, DWORD maximum,
                                 LPSTR *end);
GVAPI(ULONGLONG) GvHexToDWordLongTokenEx(LPCSTR text, ULONGLONG def, ULONGLONG minimum,
                                         ULONGLONG maximum, LPSTR *end);
/* The real parse never yields exactly 0 (see above), so `def` only matters
 * through its clamping. */
GVAPI(double) GvAsciiToDoubleTokenEx(LPCSTR text, double def, double minimum, double maximum,
                                     LPSTR *end);

/* ---- Printing ------------------------------------------------------------
 * Write the number and a terminator into `out` (27 bytes always suffice for
 * the integer forms, 38 for GvDoubleToAscii). With `commas`, values of 1000 and more are grouped with
 * the thousands separator. The result is the length WITHOUT a leading
 * minus sign: add 1 for a negative value to get the text's length. */
GVAPI(int) GvDWordToAscii(DWORD value, LPSTR out, BOOL commas);
GVAPI(int) GvLongToAscii(LONG value, LPSTR out, BOOL commas);
GVAPI(int) GvDWordLongToAscii(ULONGLONG value, LPSTR out, BOOL commas);
GVAPI(int) GvLongLongToAscii(LONGLONG value, LPSTR out, BOOL commas);
/* Note the order: buffer first. decimals is limited to 9; the value is
 * rounded half up at that many decimals, the fraction always printed with
 * exactly `decimals` digits behind the decimal separator. A negative value
 * that rounds to zero prints without a sign. Magnitudes beyond the 64-bit
 * range print as 18446744073709551615. Result as above (no sign counted). */
GVAPI(int) GvDoubleToAscii(LPSTR out, double value, UINT decimals, BOOL commas);

/* ---- String helpers ------------------------------------------------------ */

/* Groups, in place, the digits left of the decimal separator by three with
 * the thousands separator. Leading white space and zeros are passed over
 * (nothing else left: the text becomes "0"); the text is cut at the first
 * white space after the number; a leading '-' is not a digit. The buffer
 * needs room for the separators. Returns the new length. */
GVAPI(int) GvInsertCommas(LPSTR text);
/* Removes leading and trailing white space in place; returns the new length. */
GVAPI(int) GvStripWhiteSpace(LPSTR text);
/* Copies source into dest (size is NOT consulted: dest must hold source)
 * and strips white space. Returns dest, or null when source or dest is null
 * or the result is empty. */
GVAPI(LPSTR) GvPrepareName(LPCSTR source, LPSTR dest, UINT size);
/* Writes the four bytes of the code in memory order (low byte first) and a
 * terminator into out (5 bytes). Returns out. */
GVAPI(LPSTR) GvFourCCToString(DWORD fourcc, LPSTR out);

/* Decibel labels. value is a fixed-point count of 10^-decimals dB
 * (decimals clamped to 0..9), grouped like "$" conversions of GvPrintF;
 * unit appends " dB". When floor is not 0 and value <= floor the result is
 * the static text "-Inf.". Otherwise the text lives in a ring of 24-byte
 * buffers inside the library and is overwritten by later calls: copy what
 * you keep. A label longer than 23 characters is cut. `language` is not
 * read yet; pass the language handle of your module or null. */
GVAPI(LPCSTR) GvGetdBStringFixed(HANDLE language, LONG value, int decimals, LONG floor,
                                 BOOL unit);
/* The same for a float; decimals 0 prints the value truncated toward zero. */
GVAPI(LPCSTR) GvGetdBStringFloat(HANDLE language, float value, int decimals, float floor,
                                 BOOL unit);

/* Shortens text (a buffer of `size` bytes) with a trailing "..." until it
 * fits width - 2 pixels in the font selected into dc. A text that fits, one
 * that would have to be shortened to nothing, and any failed measurement
 * leave text unchanged. */
GVAPI(void) GvCalcStringEllipsis(HDC dc, LPSTR text, int size, int width);

#endif /* GVNUMBER_H */
