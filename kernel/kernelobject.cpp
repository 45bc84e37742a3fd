// The kernel object (IGVKernel) and the creator that serves the library's
// class by the interface identifier asked for.
#include <new>

#include "graph/builder.h"
#include "kernel/comserver.h"
#include "kernel/gmem.h"

namespace gv {

namespace {

const IID kIidKernel = GV_IID_IGVKERNEL_INIT;
const IID kIidGraphBuilder = GV_IID_IGVGRAPHBUILDER_INIT;
const IID kIidMidiSync = GV_IID_IGVMIDISYNC_INIT;
const IID kIidDevice1 = GV_IID_IGVDEVICE1_INIT;
const IID kIidDevice2 = GV_IID_IGVDEVICE2_INIT;

// Fields in this order: interface table, reference count, outer unknown
// (kept, not used), released callback.
class KernelObject final : public IGVKernel {
 public:
  KernelObject(IUnknown *outer, ReleasedCallback released)
      : outer_(outer), released_(released) {}

  STDMETHODIMP QueryInterface(REFIID iid, void **result) override {
    if (!result) return E_INVALIDARG;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, kIidKernel)) {
      *result = static_cast<IGVKernel *>(this);
      AddRef();
      return S_OK;
    }
    *result = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++refs_; }
  STDMETHODIMP_(ULONG) Release() override {
    if (--refs_ != 0) return refs_;
    if (released_) released_();
    Destroy(this);
    return 0;
  }
  STDMETHODIMP_(DWORD) GetVersion() override { return GvKernel_GetVersion(); }
  STDMETHODIMP CheckVersion(HWND owner, LPCSTR clientName, DWORD requiredVersion,
                            int interfaceLevel, DWORD reserved) override {
    return GvKernel_CheckVersion(owner, clientName, requiredVersion, interfaceLevel, reserved);
  }

  static void Destroy(KernelObject *k) {
    k->~KernelObject();
    GlobalFreePtr(k);
  }

 private:
  ULONG refs_ = 0;
  IUnknown *outer_;
  ReleasedCallback released_;
};

HRESULT MakeKernel(IUnknown *outer, REFIID iid, void **result, ReleasedCallback released) {
  void *p = GlobalAllocPtr(GMEM_FIXED | GMEM_ZEROINIT, sizeof(KernelObject));
  if (!p) return E_OUTOFMEMORY;
  KernelObject *k = new (p) KernelObject(outer, released);
  HRESULT hr = k->QueryInterface(iid, result);
  if (FAILED(hr)) KernelObject::Destroy(k);
  return hr;
}

// The device objects are not part of this build: their identifiers are
// recognised and answered with E_NOINTERFACE.
HRESULT NotAvailable(IUnknown *, REFIID, void **result, ReleasedCallback) {
  *result = nullptr;
  return E_NOINTERFACE;
}

struct Route {
  const IID *iid;
  ObjectCreator create;
};

const Route kRoutes[] = {
    {&IID_IUnknown, MakeKernel},       {&kIidKernel, MakeKernel},
    {&kIidGraphBuilder, graph::CreateGraphBuilder}, {&kIidMidiSync, NotAvailable},
    {&kIidDevice1, NotAvailable},      {&kIidDevice2, NotAvailable},
};

}  // namespace

HRESULT CreateKernelObject(IUnknown *outer, REFIID iid, void **result,
                           ReleasedCallback released) {
  for (const Route &r : kRoutes)
    if (IsEqualIID(iid, *r.iid)) return r.create(outer, iid, result, released);
  *result = nullptr;
  return E_NOINTERFACE;
}

}  // namespace gv
