// Strings of the ...Id wrappers, loaded through a language handle: its
// translation first, then its module. A null handle stands for the
// library's own.
#include "kernel/format.h"
#include "kernel/frame.h"
#include "kernel/lang.h"

namespace gv {

void LoadFormatString(HANDLE language, UINT id, char *buffer, int size) {
  if (size < 1) return;
  LangHandle *handle = language ? Usable(language) : OwnLanguage();
  if (handle) {
    LoadStringFrom(handle, id, buffer, size);
  } else if (LoadStringA(g_frame.module, id, buffer, size) <= 0) {
    buffer[0] = '\0';
  }
}

const char *WrapperTextFromId(char (&buffer)[kWrapperBufferSize], HANDLE language, UINT id,
                              va_list args) {
  char format[kWrapperBufferSize];
  LoadFormatString(language, id, format, sizeof format);
  const char *text = WrapperText(buffer, format, args);
  if (text != format) return text;
  lstrcpynA(buffer, format, sizeof buffer);  // the local format goes out of scope
  return buffer;
}

}  // namespace gv
