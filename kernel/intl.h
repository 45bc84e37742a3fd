// The separators of the user's international settings that the formatter
// and the number conversions use. This is the one place that holds them;
// reading the international settings fills it.
#pragma once

#include <windows.h>

#include "include/gvlang.h"

namespace gv {

struct IntlSeparators {
  char decimal;         // "sDecimal"
  char thousands;       // "sThousand"
  char list;            // "sList"
  char time;            // "sTime"
  char date;            // "sDate"
  char currency;        // first character of "sCurrency"
  char smpteWhole;      // always ':'
  char smpteFraction;   // always '.'
};

// The separators in force (United States values until settings are read).
const IntlSeparators &Separators();

// Replaces the separators in force. Callers re-register the separator
// tokens afterwards (RegisterSeparatorTokens in kernel/format.h).
void SetSeparators(const IntlSeparators &separators);

// The United States values.
IntlSeparators UnitedStatesSeparators();

// ---- The whole international record ----------------------------------------

// The record in force (the defaults until the settings are read).
const tGVINTERNATIONALS &Internationals();

// The record filled from the values under `key` (null: all defaults);
// a value missing, empty, not a string or too long for its field keeps
// its default.
void ReadInternationalsFrom(HKEY key, tGVINTERNATIONALS *out);

// Reads HKEY_CURRENT_USER\Control Panel\International into the record in
// force, takes its separators and re-registers the separator tokens.
void ReadInternationals();

// The separators a record names (the first character of each field).
IntlSeparators SeparatorsOf(const tGVINTERNATIONALS &record);

}  // namespace gv
