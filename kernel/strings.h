// Internals of the string conversions that the formatter and the number
// printing share.
#pragma once

namespace gv {

// Groups, in place, the digits of the number in `text` with the thousands
// separator in force (GvInsertCommas); returns the new length.
int InsertCommas(char *text);

}  // namespace gv
