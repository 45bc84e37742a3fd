// The in-process COM server: class object, factory and kernel object
// reference counts, aggregation, the unload test and self-registration.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gvtalc.h"
#include "support/msgbox_catcher.h"
#include "support/registry_sandbox.h"

namespace {

const CLSID kClsidTalc = GV_CLSID_TALC_INIT;
const IID kIidKernel = GV_IID_IGVKERNEL_INIT;
const char kClassKey[] = "CLSID\\{B4128601-702E-11D1-8253-00009290DD44}";
void *const kSentinel = reinterpret_cast<void *>(0xdeadbeef);

// The COM entry points are exported by name only, as COM finds them.
using GetClassObjectFn = HRESULT(WINAPI *)(REFCLSID, REFIID, void **);
using NoArgFn = HRESULT(WINAPI *)();

class ComServer : public testing::Test {
 protected:
  template <typename Fn>
  Fn Proc(const char *name) const {
    return reinterpret_cast<Fn>(reinterpret_cast<void *>(GetProcAddress(dll_, name)));
  }
  void SetUp() override {
    ASSERT_NE(dll_ = GetModuleHandleA("GVTALC.dll"), nullptr);
    getClassObject_ = Proc<GetClassObjectFn>("DllGetClassObject");
    canUnloadNow_ = Proc<NoArgFn>("DllCanUnloadNow");
    register_ = Proc<NoArgFn>("DllRegisterServer");
    unregister_ = Proc<NoArgFn>("DllUnregisterServer");
    ASSERT_TRUE(getClassObject_ && canUnloadNow_ && register_ && unregister_);
    ASSERT_EQ(canUnloadNow_(), S_OK) << "an earlier test left something alive";
  }
  void TearDown() override { EXPECT_EQ(canUnloadNow_(), S_OK) << "this test left something alive"; }
  IClassFactory *Factory() {
    void *p = nullptr;
    EXPECT_EQ(getClassObject_(kClsidTalc, IID_IClassFactory, &p), S_OK);
    return static_cast<IClassFactory *>(p);
  }
  std::string DllPath() const {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(dll_, path, sizeof path);
    return path;
  }
  HMODULE dll_ = nullptr;
  GetClassObjectFn getClassObject_ = nullptr;
  NoArgFn canUnloadNow_ = nullptr, register_ = nullptr, unregister_ = nullptr;
};

// An outer object for aggregation; the kernel object keeps it but never calls it.
class Outer : public IUnknown {
 public:
  STDMETHODIMP QueryInterface(REFIID, void **result) override {
    return ++calls, *result = nullptr, E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++calls, 2; }
  STDMETHODIMP_(ULONG) Release() override { return ++calls, 1; }
  int calls = 0;
};

// ---- Class object and factory ---------------------------------------------

TEST_F(ComServer, ClassObjectAnswersPerClassAndInterface) {
  const CLSID other = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};
  const struct { const CLSID *clsid; const IID *iid; HRESULT result; } cases[] = {
      {&kClsidTalc, &IID_IClassFactory, S_OK}, {&kClsidTalc, &IID_IUnknown, S_OK},
      {&kClsidTalc, &kIidKernel, E_NOINTERFACE}, {&kClsidTalc, &IID_IStream, E_NOINTERFACE},
      {&other, &IID_IClassFactory, E_FAIL},    {&kIidKernel, &IID_IClassFactory, E_FAIL},
  };
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    void *p = kSentinel;
    EXPECT_EQ(getClassObject_(*cases[i].clsid, *cases[i].iid, &p), cases[i].result);
    if (cases[i].result == S_OK) {
      ASSERT_NE(p, nullptr);
      EXPECT_EQ(static_cast<IUnknown *>(p)->Release(), 0u);
    } else if (cases[i].result == E_NOINTERFACE) {
      EXPECT_EQ(p, nullptr);
    }
  }
  EXPECT_EQ(getClassObject_(kClsidTalc, IID_IClassFactory, nullptr), E_INVALIDARG);
}

TEST_F(ComServer, EachFactoryIsNewCountsExactlyAndRefusesWhatItCannotMake) {
  IClassFactory *f = Factory(), *g = Factory();
  ASSERT_TRUE(f && g);
  EXPECT_NE(f, g);
  EXPECT_EQ(g->Release(), 0u);
  EXPECT_EQ(canUnloadNow_(), S_OK) << "a factory does not hold the server";
  for (ULONG count : {2u, 3u}) EXPECT_EQ(f->AddRef(), count);
  for (ULONG count : {2u, 1u}) EXPECT_EQ(f->Release(), count);
  void *p = nullptr;
  EXPECT_EQ(f->QueryInterface(IID_IClassFactory, &p), S_OK);
  EXPECT_EQ(p, f);
  EXPECT_EQ(f->QueryInterface(IID_IUnknown, &p), S_OK);
  EXPECT_EQ(p, f);
  p = kSentinel;
  EXPECT_EQ(f->QueryInterface(kIidKernel, &p), E_NOINTERFACE);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(f->QueryInterface(IID_IUnknown, nullptr), E_INVALIDARG);

  Outer outer;
  const struct { IUnknown *outer; const IID *iid; HRESULT result; } cases[] = {
      {&outer, &kIidKernel, CLASS_E_NOAGGREGATION},
      {nullptr, &IID_IStream, E_NOINTERFACE},
      {nullptr, &IID_IClassFactory, E_NOINTERFACE}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    p = kSentinel;
    EXPECT_EQ(f->CreateInstance(cases[i].outer, *cases[i].iid, &p), cases[i].result) << i;
    EXPECT_EQ(p, nullptr) << i;
  }
  EXPECT_EQ(f->CreateInstance(nullptr, kIidKernel, nullptr), E_INVALIDARG);
  EXPECT_EQ(canUnloadNow_(), S_OK);
  for (ULONG count : {2u, 1u, 0u}) EXPECT_EQ(f->Release(), count);
}

// ---- CreateInstance ----------------------------------------------------

// For IUnknown and IGVKernel, and aggregated for IUnknown: the kernel object,
// not the graph builder, holding the server while it lives.
TEST_F(ComServer, CreateInstanceMakesTheKernelObject) {
  IClassFactory *f = Factory();
  ASSERT_NE(f, nullptr);
  Outer outer;
  const struct { IUnknown *outer; const IID *iid; } asks[] = {
      {nullptr, &IID_IUnknown}, {nullptr, &kIidKernel}, {&outer, &IID_IUnknown}};
  for (size_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    void *p = nullptr, *kernel = nullptr, *graph = kSentinel;
    ASSERT_EQ(f->CreateInstance(asks[i].outer, *asks[i].iid, &p), S_OK);
    auto *unknown = static_cast<IUnknown *>(p);
    ASSERT_EQ(unknown->QueryInterface(kIidKernel, &kernel), S_OK);
    EXPECT_EQ(kernel, p);
    const IID graphIid = GV_IID_IGVGRAPHBUILDER_INIT;
    EXPECT_EQ(unknown->QueryInterface(graphIid, &graph), E_NOINTERFACE);
    EXPECT_EQ(graph, nullptr);
    EXPECT_EQ(unknown->QueryInterface(kIidKernel, nullptr), E_INVALIDARG);
    EXPECT_EQ(static_cast<IGVKernel *>(kernel)->GetVersion(), 0x0100000Cu);
    EXPECT_EQ(unknown->AddRef(), 3u);
    for (ULONG count : {2u, 1u}) EXPECT_EQ(unknown->Release(), count);
    EXPECT_EQ(canUnloadNow_(), S_FALSE) << "a live kernel object holds the server";
    EXPECT_EQ(unknown->Release(), 0u);
    EXPECT_EQ(canUnloadNow_(), S_OK);
  }
  EXPECT_EQ(outer.calls, 0) << "the outer unknown is stored, not used";
  EXPECT_EQ(f->Release(), 0u);
}

TEST_F(ComServer, LockServerHoldsTheServerUntilUnlocked) {
  IClassFactory *f = Factory();
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(f->LockServer(TRUE), S_OK);
  f->Release();
  EXPECT_EQ(canUnloadNow_(), S_FALSE);
  f = Factory();
  EXPECT_EQ(f->LockServer(TRUE), S_OK);
  EXPECT_EQ(f->LockServer(FALSE), S_OK);
  EXPECT_EQ(canUnloadNow_(), S_FALSE);
  EXPECT_EQ(f->LockServer(FALSE), S_OK);
  EXPECT_EQ(canUnloadNow_(), S_OK);
  f->Release();
  // The "done" notification changes nothing.
  auto done = Proc<void(WINAPI *)()>("DllCanUnloadNowDone");
  ASSERT_NE(done, nullptr);
  done();
  EXPECT_EQ(canUnloadNow_(), S_OK);
}

TEST_F(ComServer, CoCreateInstanceGivesAWorkingKernelObject) {
  // Any apartment will do: the class is registered for both threading models.
  HRESULT init = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  ASSERT_TRUE(SUCCEEDED(init) || init == RPC_E_CHANGED_MODE) << std::hex << init;
  IGVKernel *kernel = nullptr;
  ASSERT_EQ(CoCreateInstance(kClsidTalc, nullptr, CLSCTX_INPROC_SERVER, kIidKernel,
                             reinterpret_cast<void **>(&kernel)),
            S_OK);
  ASSERT_NE(kernel, nullptr);
  EXPECT_EQ(kernel->GetVersion(), 0x0100000Cu);
  EXPECT_EQ(canUnloadNow_(), S_FALSE);
  {  // the same version check as the export
    gvtest::MsgBoxCatcher catcher;
    EXPECT_EQ(kernel->CheckVersion(nullptr, "Co Client", GVKERNEL_VERSION, 1, 0), S_OK);
    EXPECT_EQ(kernel->CheckVersion(nullptr, "Co Client", GVKERNEL_VERSION + 1, 3, 0), E_FAIL);
    ASSERT_EQ(catcher.Boxes().size(), 1u);
    EXPECT_EQ(catcher.Boxes()[0].caption, "Marrowbeam Kernel");
    EXPECT_EQ(catcher.Boxes()[0].text, "The version of the Marrowbeam Kernel is incompatible with "
                                       "the following client:\n\nCo Client.");
  }
  EXPECT_EQ(kernel->Release(), 0u);
  EXPECT_EQ(canUnloadNow_(), S_OK);
  if (SUCCEEDED(init)) CoUninitialize();
}

// ---- Registration -------------------------------------------------------

// The class key's text, its in-process server (any case) and a REG_SZ "Both"
// as its threading model, read directly.
void ExpectRegistered(const char *classKey, const std::string &description,
                      const std::string &modulePath) {
  const std::string server = std::string(classKey) + "\\InProcServer32";
  std::string text, path;
  EXPECT_TRUE(gvtest::ReadString(HKEY_CLASSES_ROOT, classKey, "", &text) && text == description)
      << text;
  EXPECT_TRUE(gvtest::ReadString(HKEY_CLASSES_ROOT, server, "", &path) &&
              lstrcmpiA(path.c_str(), modulePath.c_str()) == 0) << path;
  DWORD type = 0;
  std::vector<BYTE> data;
  ASSERT_TRUE(gvtest::ReadValue(HKEY_CLASSES_ROOT, server, "ThreadingModel", &type, &data));
  EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
  EXPECT_EQ(std::string(data.begin(), data.end()), std::string("Both", 5));
}

// Runs `command` (found on the search path), its output going nowhere, and
// returns its exit code.
DWORD RunAndWait(std::string command) {
  SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
  HANDLE nul = CreateFileA("NUL", GENERIC_WRITE, FILE_SHARE_WRITE, &inherit, OPEN_EXISTING, 0,
                           nullptr);
  STARTUPINFOA si = {};
  si.cb = sizeof si;
  si.dwFlags = STARTF_USESTDHANDLES;
  si.hStdOutput = si.hStdError = nul;
  PROCESS_INFORMATION pi = {};
  BOOL started = CreateProcessA(nullptr, &command[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                &si, &pi);
  if (nul != INVALID_HANDLE_VALUE) CloseHandle(nul);
  if (!started) return 0xFFFFFFFF;
  DWORD code = 0xFFFFFFFE;
  if (WaitForSingleObject(pi.hProcess, 20000) == WAIT_OBJECT_0)
    GetExitCodeProcess(pi.hProcess, &code);
  CloseHandle(pi.hThread);
  CloseHandle(pi.hProcess);
  return code;
}

TEST_F(ComServer, LoadingRegsvr32AndRegisterServerRegisterTheClass) {
  const std::string dll = DllPath();
  ExpectRegistered(kClassKey, "Marrowbeam TALC", dll);
  ASSERT_EQ(unregister_(), S_OK);
  EXPECT_FALSE(gvtest::KeyExists(HKEY_CLASSES_ROOT, kClassKey));
  EXPECT_EQ(unregister_(), S_OK) << "unregistering twice is harmless";
  ASSERT_EQ(register_(), S_OK);
  ExpectRegistered(kClassKey, "Marrowbeam TALC", dll);
  // Every load registers again: another process that loads the library, running no test.
  ASSERT_EQ(unregister_(), S_OK);
  char exe[MAX_PATH];
  GetModuleFileNameA(nullptr, exe, sizeof exe);
  EXPECT_EQ(RunAndWait("\"" + std::string(exe) + "\" --gtest_filter=-*"), 0u);
  ExpectRegistered(kClassKey, "Marrowbeam TALC", dll);
  EXPECT_EQ(RunAndWait("regsvr32.exe /s /u \"" + dll + "\""), 0u);
  EXPECT_FALSE(gvtest::KeyExists(HKEY_CLASSES_ROOT, kClassKey));
  EXPECT_EQ(RunAndWait("regsvr32.exe /s \"" + dll + "\""), 0u);
  ExpectRegistered(kClassKey, "Marrowbeam TALC", dll);
  register_();  // whatever happened, leave the class registered
}

TEST_F(ComServer, RegisterServerServesClientClassesToo) {
  EXPECT_EQ(GvRegisterServer(dll_, nullptr, "x", TRUE), E_FAIL);
  const CLSID mine = {0x0BADF00D, 0x1111, 0x2222, {0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA}};
  const char key[] = "CLSID\\{0BADF00D-1111-2222-3344-5566778899AA}";
  HMODULE exe = GetModuleHandleA(nullptr);
  char exePath[MAX_PATH];
  GetModuleFileNameA(exe, exePath, sizeof exePath);

  ASSERT_EQ(GvRegisterServer(exe, &mine, "Client Class", TRUE), S_OK);
  ExpectRegistered(key, "Client Class", exePath);
  // A subkey of the client's own goes with the class key.
  HKEY extra;
  const std::string deeper = std::string(key) + "\\ProgID\\deeper";
  ASSERT_EQ(RegCreateKeyA(HKEY_CLASSES_ROOT, deeper.c_str(), &extra), ERROR_SUCCESS);
  RegCloseKey(extra);
  EXPECT_EQ(GvRegisterServer(exe, &mine, "Client Class", FALSE), S_OK);
  EXPECT_FALSE(gvtest::KeyExists(HKEY_CLASSES_ROOT, key));
  EXPECT_TRUE(gvtest::KeyExists(HKEY_CLASSES_ROOT, kClassKey));
  EXPECT_EQ(GvRegisterServer(exe, &mine, "Client Class", FALSE), S_OK) << "nothing to remove";

  // Registering again over an old entry replaces its texts.
  ASSERT_EQ(GvRegisterServer(exe, &mine, "Old Name", TRUE), S_OK);
  ASSERT_EQ(GvRegisterServer(dll_, &mine, "New Name", TRUE), S_OK);
  ExpectRegistered(key, "New Name", DllPath());
  EXPECT_EQ(GvRegisterServer(exe, &mine, nullptr, FALSE), S_OK);
  EXPECT_FALSE(gvtest::KeyExists(HKEY_CLASSES_ROOT, key));
}

}  // namespace
