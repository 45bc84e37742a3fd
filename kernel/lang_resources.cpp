// Resources through a language handle: each request goes to the modules of
// its search list in turn, translation first, and the first answer wins.
#include "kernel/lang.h"

namespace gv {
namespace {

template <typename Result, typename Load>
Result FirstAnswer(HANDLE language, Load load) {
  LangHandle *handle = Usable(language);
  if (!handle) return Result();
  for (HINSTANCE *m = handle->search; *m; ++m)
    if (Result result = load(*m)) return result;
  return Result();
}

// The module of the search list whose image holds `address`, or null.
HINSTANCE Holder(LangHandle *handle, const void *address) {
  MEMORY_BASIC_INFORMATION info;
  if (!VirtualQuery(address, &info, sizeof info)) return nullptr;
  for (HINSTANCE *m = handle->search; *m; ++m)
    if (info.AllocationBase == *m) return *m;
  return nullptr;
}

// A resource handle belongs to one module: ask that one, since another
// module would read it against its own image.
template <typename Result, typename Use>
Result FromHolder(HANDLE language, HRSRC resource, Use use) {
  LangHandle *handle = Usable(language);
  if (!handle || !resource) return Result();
  if (HINSTANCE holder = Holder(handle, resource)) return use(holder);
  return FirstAnswer<Result>(language, use);
}

// The modal boxes: -1 is the platform's "could not be made", so the next
// module is asked; the last module's answer stands.
template <typename Show>
INT_PTR ModalAnswer(HANDLE language, Show show) {
  LangHandle *handle = Usable(language);
  if (!handle) return 0;
  INT_PTR result = 0;
  for (HINSTANCE *m = handle->search; *m; ++m)
    if ((result = show(*m)) != 0 && result != -1) break;
  return result;
}

}  // namespace

int LoadStringFrom(LangHandle *handle, UINT id, char *buffer, int size) {
  if (size < 1) return 0;
  for (HINSTANCE *m = handle->search; *m; ++m)
    if (int length = LoadStringA(*m, id, buffer, size)) return length;
  buffer[0] = '\0';
  return 0;
}

}  // namespace gv

GVAPI(int) GvLoadString(HANDLE language, UINT id, LPSTR buffer, int size) {
  if (!buffer || size < 1) return 0;
  gv::LangHandle *handle = gv::Usable(language);
  if (!handle) {
    buffer[0] = '\0';
    return 0;
  }
  return gv::LoadStringFrom(handle, id, buffer, size);
}

GVAPI(HMENU) GvLoadMenu(HANDLE language, LPCSTR name) {
  return gv::FirstAnswer<HMENU>(language, [&](HINSTANCE m) { return LoadMenuA(m, name); });
}

GVAPI(HACCEL) GvLoadAccelerators(HANDLE language, LPCSTR name) {
  return gv::FirstAnswer<HACCEL>(language,
                                 [&](HINSTANCE m) { return LoadAcceleratorsA(m, name); });
}

GVAPI(HBITMAP) GvLoadBitmap(HANDLE language, LPCSTR name) {
  return gv::FirstAnswer<HBITMAP>(language, [&](HINSTANCE m) { return LoadBitmapA(m, name); });
}

GVAPI(HCURSOR) GvLoadCursor(HANDLE language, LPCSTR name) {
  return gv::FirstAnswer<HCURSOR>(language, [&](HINSTANCE m) { return LoadCursorA(m, name); });
}

GVAPI(HICON) GvLoadIcon(HANDLE language, LPCSTR name) {
  return gv::FirstAnswer<HICON>(language, [&](HINSTANCE m) { return LoadIconA(m, name); });
}

GVAPI(HANDLE) GvLoadImage(HANDLE language, LPCSTR name, UINT type, int width, int height,
                          UINT flags) {
  return gv::FirstAnswer<HANDLE>(
      language, [&](HINSTANCE m) { return LoadImageA(m, name, type, width, height, flags); });
}

GVAPI(HRSRC) GvFindResource(HANDLE language, LPCSTR name, LPCSTR type) {
  return gv::FirstAnswer<HRSRC>(language, [&](HINSTANCE m) { return FindResourceA(m, name, type); });
}

GVAPI(HGLOBAL) GvLoadResource(HANDLE language, HRSRC resource) {
  return gv::FromHolder<HGLOBAL>(language, resource,
                                 [&](HINSTANCE m) { return LoadResource(m, resource); });
}

GVAPI(DWORD) GvSizeofResource(HANDLE language, HRSRC resource) {
  return gv::FromHolder<DWORD>(language, resource,
                               [&](HINSTANCE m) { return SizeofResource(m, resource); });
}

GVAPI(HWND) GvCreateDialogParam(HANDLE language, LPCSTR templateName, HWND parent, DLGPROC proc,
                                LPARAM param) {
  return gv::FirstAnswer<HWND>(language, [&](HINSTANCE m) {
    return CreateDialogParamA(m, templateName, parent, proc, param);
  });
}

GVAPI(HWND) GvCreateDialogIndirectParam(HANDLE language, LPCDLGTEMPLATEA dialogTemplate,
                                        HWND parent, DLGPROC proc, LPARAM param) {
  return gv::FirstAnswer<HWND>(language, [&](HINSTANCE m) {
    return CreateDialogIndirectParamA(m, dialogTemplate, parent, proc, param);
  });
}

GVAPI(INT_PTR) GvDialogBoxParam(HANDLE language, LPCSTR templateName, HWND parent, DLGPROC proc,
                                LPARAM param) {
  return gv::ModalAnswer(language, [&](HINSTANCE m) {
    return DialogBoxParamA(m, templateName, parent, proc, param);
  });
}

GVAPI(INT_PTR) GvDialogBoxIndirectParam(HANDLE language, LPCDLGTEMPLATEA dialogTemplate,
                                        HWND parent, DLGPROC proc, LPARAM param) {
  return gv::ModalAnswer(language, [&](HINSTANCE m) {
    return DialogBoxIndirectParamA(m, dialogTemplate, parent, proc, param);
  });
}

GVAPI(BOOL) GvGetDialogSize(HANDLE language, WORD templateId, DLGPROC proc, LPARAM param,
                            SIZE *size) {
  if (!size) return FALSE;
  HWND dialog =
      GvCreateDialogParam(language, MAKEINTRESOURCEA(templateId), GetDesktopWindow(), proc, param);
  if (!dialog) return FALSE;
  RECT r;
  GetWindowRect(dialog, &r);
  size->cx = r.right - r.left;
  size->cy = r.bottom - r.top;
  DestroyWindow(dialog);
  return TRUE;
}
