// The separators of the user's international settings that the formatter
// and the number conversions use. This is the one place that holds them;
// reading the international settings fills it.
#pragma once

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

}  // namespace gv
