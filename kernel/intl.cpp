#include "kernel/intl.h"

namespace gv {

namespace {
IntlSeparators g_separators = UnitedStatesSeparators();
}  // namespace

IntlSeparators UnitedStatesSeparators() {
  IntlSeparators s;
  s.decimal = '.';
  s.thousands = ',';
  s.list = ',';
  s.time = ':';
  s.date = '/';
  s.currency = '$';
  s.smpteWhole = ':';
  s.smpteFraction = '.';
  return s;
}

const IntlSeparators &Separators() { return g_separators; }

void SetSeparators(const IntlSeparators &separators) { g_separators = separators; }

}  // namespace gv
