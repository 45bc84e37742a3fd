// The in-process COM server: class table, class factory, unload test.
#include <new>

#include "kernel/comserver.h"
#include "kernel/frame.h"
#include "kernel/gmem.h"
#include "kernel/registry.h"

namespace gv {

namespace {

// The library's one class; everything else in the library refers to it
// through TalcClassId().
const CLSID kClsidTalc = GV_CLSID_TALC_INIT;

struct ClassEntry {
  const CLSID *clsid;
  ObjectCreator create;
};

const ClassEntry kClassTable[] = {
    {&kClsidTalc, CreateKernelObject},
    {nullptr, nullptr},
};

// Fields in this order: interface table, reference count, the class it serves.
class ClassFactory final : public IClassFactory {
 public:
  explicit ClassFactory(const CLSID &clsid) : clsid_(clsid) {}

  STDMETHODIMP QueryInterface(REFIID iid, void **result) override {
    if (!result) return E_INVALIDARG;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IClassFactory)) {
      *result = static_cast<IClassFactory *>(this);
      AddRef();
      return S_OK;
    }
    *result = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++refs_; }
  STDMETHODIMP_(ULONG) Release() override {
    if (--refs_ == 0) {
      Destroy(this);
      return 0;
    }
    return refs_;
  }
  STDMETHODIMP CreateInstance(IUnknown *outer, REFIID iid, void **result) override {
    if (!result) return E_INVALIDARG;
    *result = nullptr;
    if (outer && !IsEqualIID(iid, IID_IUnknown)) return CLASS_E_NOAGGREGATION;
    HRESULT hr = E_NOINTERFACE;
    for (const ClassEntry *e = kClassTable; e->create; ++e)
      if (IsEqualCLSID(*e->clsid, clsid_)) hr = e->create(outer, iid, result, ObjectReleased);
    if (SUCCEEDED(hr)) ++g_frame.liveObjects;
    return hr;
  }
  STDMETHODIMP LockServer(BOOL lock) override {
    if (lock) {
      ++g_frame.serverLocks;
    } else {
      --g_frame.serverLocks;
      CanUnloadServer();
    }
    return S_OK;
  }

  static ClassFactory *Make(const CLSID &clsid) {
    void *p = GlobalAllocPtr(GMEM_FIXED | GMEM_ZEROINIT, sizeof(ClassFactory));
    return p ? new (p) ClassFactory(clsid) : nullptr;
  }
  static void Destroy(ClassFactory *f) {
    f->~ClassFactory();
    GlobalFreePtr(f);
  }

 private:
  ULONG refs_ = 0;
  CLSID clsid_;
};

}  // namespace

bool CanUnloadServer() {
  return g_frame.liveObjects == 0 && g_frame.serverLocks == 0 && g_frame.otherHolds == 0;
}

LONG ObjectReleased() {
  LONG n = --g_frame.liveObjects;
  CanUnloadServer();
  return n;
}

const CLSID &TalcClassId() { return kClsidTalc; }

}  // namespace gv

using gv::g_frame;

GVAPI(HRESULT) DllGetClassObject(REFCLSID clsid, REFIID iid, void **result) {
  if (g_frame.refuseClassObjects) return E_ACCESSDENIED;
  if (!gv::kClassTable[0].create) return E_FAIL;
  if (!result) return E_INVALIDARG;  // nowhere to put a factory
  HRESULT hr = E_FAIL;
  // The walk goes on past a match; an unknown class stays E_FAIL.
  for (const gv::ClassEntry *e = gv::kClassTable; e->create; ++e) {
    if (!IsEqualCLSID(*e->clsid, clsid)) continue;
    gv::ClassFactory *f = gv::ClassFactory::Make(clsid);
    if (!f) {
      hr = E_OUTOFMEMORY;
      continue;
    }
    hr = f->QueryInterface(iid, result);
    if (FAILED(hr)) gv::ClassFactory::Destroy(f);
  }
  return hr;
}

GVAPI(HRESULT) DllCanUnloadNow(void) { return gv::CanUnloadServer() ? S_OK : S_FALSE; }

GVAPI(void) DllCanUnloadNowDone(void) {}

GVAPI(HRESULT) DllRegisterServer(void) {
  return gv::RegisterServer(g_frame.module, gv::TalcClassId(), gv::kComDescription, true);
}

GVAPI(HRESULT) DllUnregisterServer(void) {
  return gv::RegisterServer(g_frame.module, gv::TalcClassId(), gv::kComDescription, false);
}
