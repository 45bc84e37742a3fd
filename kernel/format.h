// Internals shared by the formatter, the message boxes and the window-text
// wrappers.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstddef>

namespace gv {

// Size of the buffers the wrappers format into.
constexpr size_t kWrapperBufferSize = 2048;

// Formats `format` with `args` into out. With capacity 0 the caller
// promises room for the whole result (GvVPrintF); otherwise the result is
// cut to capacity - 1 characters. Returns the length written.
int FormatText(char *out, size_t capacity, const char *format, va_list args);

// The text a wrapper shows: `format` formatted into `buffer` when it holds
// a '%' or '$', else `format` itself ("" for null).
const char *WrapperText(char (&buffer)[kWrapperBufferSize], const char *format,
                        va_list args);

// Shows a message box as GvMessageBox does once the calling thread has
// been accepted: owner resolved, the client's hook asked, the box centred.
int ShowMessageBox(HWND owner, const char *text, const char *caption, UINT style);

// ---- Token table ----------------------------------------------------------

// The value of the token `name` (case-insensitive); false when none.
bool FindToken(const char *name, const char **value, DWORD *length);

// Registers `name` with `value` (null for ""), replacing a token whose name
// differs only in case; false when no record can be had.
bool AddToken(const char *name, const char *value);

// Deletes the token `name` (any case); false when there was none.
bool DeleteToken(const char *name);

// (Re)registers the one-character tokens of the separators in force.
void RegisterSeparatorTokens();

// ---- Strings of the ...Id wrappers ----------------------------------------

// Loads string resource `id` for `language` into buffer; "" when missing.
void LoadFormatString(HANDLE language, UINT id, char *buffer, int size);

// The text an ...Id wrapper shows: string `id` formatted with `args`, always
// in `buffer`.
const char *WrapperTextFromId(char (&buffer)[kWrapperBufferSize], HANDLE language, UINT id,
                              va_list args);

}  // namespace gv
