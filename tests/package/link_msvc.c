/* A client linked the Microsoft way (clang for i686-pc-windows-msvc, lld-link
 * with SafeSEH on) against GVTALC.lib. No SDK headers here, so it declares
 * what it uses and starts without a C runtime. */
typedef unsigned long DWORD;
typedef long HRESULT;

__declspec(dllimport) HRESULT __stdcall GvKernel_CheckVersion(void *owner, const char *client,
                                                             DWORD version, int level,
                                                             DWORD reserved);
__declspec(dllimport) DWORD __stdcall GvKernel_GetVersion(void);
__declspec(dllimport) int __cdecl GvPrintF(char *out, const char *format, ...);
__declspec(dllimport) void __stdcall ExitProcess(unsigned code);

/* Exit code 0 when the stdcall and the cdecl imports both bind: the version
 * comes back as text through GvPrintF. */
void __cdecl start(void) {
  static const char want[] = "0100000C";
  char text[32];
  unsigned i, code = 0;
  if (GvKernel_CheckVersion(0, "link_msvc", 0x0100000C, 1, 0) != 0) ExitProcess(1);
  GvPrintF(text, "%08lX", GvKernel_GetVersion());
  for (i = 0; i < sizeof want; ++i)
    if (text[i] != want[i]) code = 2;
  ExitProcess(code);
}
