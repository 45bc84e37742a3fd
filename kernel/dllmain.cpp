// Library entry: the load and unload sequences of GVTALC.dll.
#include "kernel/comserver.h"
#include "kernel/frame.h"
#include "kernel/gmem.h"
#include "kernel/loadsteps.h"
#include "kernel/registry.h"
#include "include/gvkernel.h"

namespace gv {
namespace {

bool Load(HINSTANCE module) {
  // Platform flag first, then the module handle the other steps need.
  GvIsWin95();
  g_frame.module = module;

  // The library's own settings; a failure leaves a handle that reads defaults.
  GvMetric_Open(&g_frame.kernelSettings, "TALC", kKernelVersion, "Kernel");

  TextServices_Init();  // always reports success

  HRESULT hr = Language_OpenOwn(&g_frame.languageModule, module);
  if (SUCCEEDED(hr)) {
    UiColours_Load();
    Controls_Init();
    // Re-registering on every load is deliberate: a process that may not
    // write HKEY_CLASSES_ROOT cannot load the library.
    hr = RegisterServer(module, TalcClassId(), kComDescription, true);
  }
  if (SUCCEEDED(hr)) {
    g_frame.scratch = GlobalAllocPtr(GMEM_MOVEABLE, kScratchSize);
    if (g_frame.scratch)
      g_frame.scratchSize = kScratchSize;
    else
      hr = E_FAIL;
  }
  Summary_LoadResources();  // whatever happened before
  return SUCCEEDED(hr);
}

void Unload() {
  Summary_FreeResources();
  if (g_frame.scratch) {
    GlobalFreePtr(g_frame.scratch);
    g_frame.scratch = nullptr;
    g_frame.scratchSize = 0;
  }
  UiDrawingObjects_Release();
  Controls_Term();
  Language_Close(g_frame.languageModule);
  g_frame.languageModule = nullptr;
  TextServices_Term();
  GvMetric_Close(g_frame.kernelSettings);
  g_frame.kernelSettings = nullptr;
  g_frame.module = nullptr;
}

}  // namespace
}  // namespace gv

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      return gv::Load(module) ? TRUE : FALSE;
    case DLL_PROCESS_DETACH:
      gv::Unload();
      return TRUE;
    default:
      return TRUE;
  }
}
