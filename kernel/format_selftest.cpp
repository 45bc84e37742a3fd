// The formatter's self-test: one box that exercises grouping, fixed point,
// the decimal separator token and a client token.
#include "kernel/format.h"
#include "include/gvformat.h"

GVAPI(int) GvBoon(HWND owner) {
  gv::AddToken("AppName", "Quill");
  const int result =
      GvMsgBox(owner, 0,
               "This is a test $.2z $d %.05d -- $.3f  $.5lf\n\n2$(d)345\n\n$(AppName)", 12345,
               4567, 3, 2.0999999046325684, 125088.789);
  gv::DeleteToken("AppName");
  return result;
}
