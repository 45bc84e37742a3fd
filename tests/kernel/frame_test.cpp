// The library frame from a client (gvkernel.h): version contract, platform
// queries, colour hook, debug strip, registry helpers (read back directly),
// COM server and self-registration. Refusal texts, command-line cases and
// each family's power-user probe are checked on the internals.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "gvtalc.h"
#include "support/cases.h"
#include "support/msgbox_catcher.h"
#include "support/registry_sandbox.h"

namespace {

// The version check accepts without a box (its refusals and their box are
// checked through the kernel object); the platform queries answer for this
// process and platform.
TEST(KernelFrame, VersionAndPlatformQueries) {
  gvtest::MsgBoxCatcher catcher;
  EXPECT_EQ(GvKernel_GetVersion(), 0x0100000Cu);
  EXPECT_EQ(GvKernel_CheckVersion(nullptr, "Test Client", GVKERNEL_VERSION, 1, 0), S_OK);
  EXPECT_EQ(GvKernel_CheckVersion(nullptr, nullptr, 0, 1, 0), S_OK);
  EXPECT_TRUE(catcher.Boxes().empty());
  // A stable pointer into the process command line.
  const char *line = GetCommandLineA(), *tail = GvGetCommandLine();
  EXPECT_TRUE(tail > line && tail <= line + std::strlen(line));
  EXPECT_EQ(GvGetCommandLine(), tail);
  OSVERSIONINFOA os = {};
  os.dwOSVersionInfoSize = sizeof os;
  ASSERT_TRUE(GetVersionExA(&os));
  EXPECT_EQ(GvIsWin95(), os.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS ? TRUE : FALSE);
  // Whether a key can be made under HKEY_LOCAL_MACHINE (the probe itself,
  // for each family, is checked on the internals).
  HKEY key;
  const bool canWrite = RegCreateKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\GvTestProbe", &key) == 0;
  if (canWrite) RegCloseKey(key), RegDeleteKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\GvTestProbe");
  EXPECT_EQ(GvIsPowerUser(), canWrite ? TRUE : FALSE);
}

// The colour hook passes every message on to the default procedure; the
// debug strip writes, wraps and takes a null text, returning what releasing
// the screen context gives.
TEST(KernelFrame, ColourHookAndDebugStrip) {
  HWND window = CreateWindowExA(0, "STATIC", "four", WS_OVERLAPPED, 0, 0, 50, 50, nullptr,
                                nullptr, nullptr, nullptr);
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(GvKernel_UserPrefChanges(window, WM_GETTEXTLENGTH, 0, 0), 4);
  EXPECT_EQ(GvKernel_UserPrefChanges(window, WM_SYSCOLORCHANGE, 0, 0),
            DefWindowProcA(window, WM_SYSCOLORCHANGE, 0, 0));
  DestroyWindow(window);
  EXPECT_EQ(GvDebugString("first", FALSE), 1);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(GvDebugString("wrapping around the strip", TRUE), 1);
  EXPECT_EQ(GvDebugString(nullptr, TRUE), 1);
}

// A key of its own per test under HKEY_CURRENT_USER\Software\GvTest.
class RegistryHelpers : public testing::Test {
 protected:
  void SetUp() override {
    root_ = "Software\\GvTest\\Registry_" + std::to_string(GetCurrentProcessId()) + "_" +
            testing::UnitTest::GetInstance()->current_test_info()->name();
    gvtest::DeleteTree(HKEY_CURRENT_USER, root_);
    ASSERT_TRUE(Create(""));
    ASSERT_EQ(RegOpenKeyA(HKEY_CURRENT_USER, root_.c_str(), &open_), ERROR_SUCCESS);
  }
  void TearDown() override {
    RegCloseKey(open_);
    gvtest::DeleteTree(HKEY_CURRENT_USER, root_);
  }
  // Makes root_ + below, with a value "v" when one is given.
  bool Create(const std::string &below, const char *value = nullptr) {
    HKEY key;
    if (RegCreateKeyA(HKEY_CURRENT_USER, (root_ + below).c_str(), &key) != ERROR_SUCCESS)
      return false;
    if (value)
      RegSetValueExA(key, "v", 0, REG_SZ, reinterpret_cast<const BYTE *>(value),
                     lstrlenA(value) + 1);
    return RegCloseKey(key) == ERROR_SUCCESS;
  }
  DWORD Count(const std::string &below, DWORD *size = nullptr) {
    return GvRegGetSubKeyCount(HKEY_CURRENT_USER, (root_ + below).c_str(), size);
  }
  std::string root_;
  HKEY open_ = nullptr;  // root_, opened
};

TEST_F(RegistryHelpers, SubKeyCountAndDeleteKey) {
  const struct { std::vector<std::string> children; DWORD count, bufferSize; } cases[] = {
      {{}, 0, 1}, {{"a"}, 1, 2}, {{"a", "bbbbb", "cc"}, 3, 6},
      {{std::string(120, 'k'), "x"}, 2, 121}};
  FOR_EACH_CASE(cases) {
    const std::string parent = "\\case" + std::to_string(i);
    ASSERT_TRUE(Create(parent, "not a subkey"));
    for (const std::string &child : c.children) ASSERT_TRUE(Create(parent + "\\" + child));
    DWORD size = 0xdeadbeef;
    EXPECT_EQ(Count(parent, &size), c.count);
    EXPECT_EQ(size, c.bufferSize);
    EXPECT_EQ(Count(parent), c.count);
  }
  DWORD size = 0;
  EXPECT_EQ(GvRegGetSubKeyCount(open_, "case2", &size), 3u) << "relative to an open key";
  EXPECT_EQ(size, 6u);
  // A missing key: all ones, with a buffer size of one.
  size = 0xdeadbeef;
  EXPECT_EQ(Count("\\missing", &size), 0xFFFFFFFFu);
  EXPECT_EQ(size, 1u);
  EXPECT_EQ(Count("\\missing"), 0xFFFFFFFFu);
  // Deletion removes whole trees and nothing else.
  ASSERT_TRUE(Create("\\keep\\child", "kept"));
  // 40 siblings, each with 3 children of 2 grandchildren, values everywhere:
  // deleting by upward index leaves every second sibling for a later pass.
  for (int s = 0; s < 40; ++s)
    for (int j = 0; j < 6; ++j)
      ASSERT_TRUE(Create("\\target\\s" + std::to_string(s) + "\\c" + std::to_string(j / 2) +
                             "\\g" + std::to_string(j % 2), "v"));
  ASSERT_EQ(Count("\\target"), 40u);
  std::string chain = "\\chain";
  for (int level = 0; level < 16; ++level) chain += "\\L" + std::to_string(level);
  ASSERT_TRUE(Create(chain, "deep") && Create("\\leaf", "leaf"));
  ASSERT_TRUE(Create("\\rel\\a\\b") && Create("\\rel\\c"));
  for (const char *tree : {"\\target", "\\chain", "\\leaf"})
    EXPECT_EQ(GvRegDeleteKey(HKEY_CURRENT_USER, (root_ + tree).c_str()), ERROR_SUCCESS) << tree;
  EXPECT_EQ(GvRegDeleteKey(open_, "rel"), ERROR_SUCCESS);
  for (const char *gone : {"\\target", "\\target\\s1", "\\chain", "\\leaf", "\\rel"})
    EXPECT_FALSE(gvtest::KeyExists(HKEY_CURRENT_USER, root_ + gone)) << gone;
  std::string kept;
  EXPECT_TRUE(gvtest::ReadString(HKEY_CURRENT_USER, root_ + "\\keep\\child", "v", &kept));
  EXPECT_EQ(kept, "kept");
  EXPECT_EQ(Count(""), 5u) << "left: keep and the four count cases";
  // Refusals touch nothing; naming no subkey must not mean "everything below the open key".
  EXPECT_EQ(GvRegDeleteKey(HKEY_CURRENT_USER, (root_ + "\\missing").c_str()), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(GvRegDeleteKey(open_, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(GvRegDeleteKey(open_, ""), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Count(""), 5u);
}

const CLSID kClsidTalc = GV_CLSID_TALC_INIT;
const IID kIidKernel = GV_IID_IGVKERNEL_INIT, kIidGraph = GV_IID_IGVGRAPHBUILDER_INIT;
void *const kSentinel = reinterpret_cast<void *>(0xdeadbeef);

// "CLSID\{...}", the key a class is registered under.
std::string ClassKey(const CLSID &clsid) {
  WCHAR wide[64];
  char text[64];
  StringFromGUID2(clsid, wide, 64);
  WideCharToMultiByte(CP_ACP, 0, wide, -1, text, sizeof text, nullptr, nullptr);
  return std::string("CLSID\\") + text;
}

std::string ModulePath(HMODULE module) {
  char path[MAX_PATH] = "";
  GetModuleFileNameA(module, path, sizeof path);
  return path;
}

// The COM entry points are exported by name only, as COM finds them.
class ComServer : public testing::Test {
 protected:
  template <typename Fn>
  Fn Proc(const char *name) const {
    return reinterpret_cast<Fn>(reinterpret_cast<void *>(GetProcAddress(dll_, name)));
  }
  void SetUp() override {
    ASSERT_NE(dll_ = GetModuleHandleA("GVTALC.dll"), nullptr);
    getClassObject_ = Proc<HRESULT(WINAPI *)(REFCLSID, REFIID, void **)>("DllGetClassObject");
    canUnloadNow_ = Proc<HRESULT(WINAPI *)()>("DllCanUnloadNow");
    ASSERT_TRUE(getClassObject_ && canUnloadNow_);
    ASSERT_EQ(canUnloadNow_(), S_OK) << "an earlier test left something alive";
  }
  void TearDown() override { EXPECT_EQ(canUnloadNow_(), S_OK) << "this test left something alive"; }
  IClassFactory *Factory() {
    void *p = nullptr;
    EXPECT_EQ(getClassObject_(kClsidTalc, IID_IClassFactory, &p), S_OK);
    return static_cast<IClassFactory *>(p);
  }
  HMODULE dll_ = nullptr;
  HRESULT(WINAPI *getClassObject_)(REFCLSID, REFIID, void **) = nullptr;
  HRESULT(WINAPI *canUnloadNow_)() = nullptr;
};

// What `object` answers: itself for each of `own`, E_NOINTERFACE and null
// for `other`, E_INVALIDARG without a result slot.
void ExpectAnswers(IUnknown *object, std::initializer_list<const IID *> own, const IID &other) {
  void *p = nullptr;
  for (const IID *iid : own) {
    EXPECT_EQ(object->QueryInterface(*iid, &p), S_OK);
    EXPECT_EQ(p, object);
    object->Release();
  }
  p = kSentinel;
  EXPECT_EQ(object->QueryInterface(other, &p), E_NOINTERFACE);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(object->QueryInterface(IID_IUnknown, nullptr), E_INVALIDARG);
}

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

TEST_F(ComServer, ClassObjectFactoryLocksAndKernelObject) {
  const CLSID other = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};
  const struct { const CLSID *clsid; const IID *iid; HRESULT result; } cases[] = {
      {&kClsidTalc, &IID_IClassFactory, S_OK}, {&kClsidTalc, &IID_IUnknown, S_OK},
      {&kClsidTalc, &kIidKernel, E_NOINTERFACE}, {&kClsidTalc, &IID_IStream, E_NOINTERFACE},
      {&other, &IID_IClassFactory, E_FAIL},    {&kIidKernel, &IID_IClassFactory, E_FAIL},
  };
  FOR_EACH_CASE(cases) {
    void *p = kSentinel;
    EXPECT_EQ(getClassObject_(*c.clsid, *c.iid, &p), c.result);
    if (c.result == S_OK) {
      EXPECT_EQ(static_cast<IUnknown *>(p)->Release(), 0u);
    } else if (c.result == E_NOINTERFACE) {
      EXPECT_EQ(p, nullptr);
    }
  }
  EXPECT_EQ(getClassObject_(kClsidTalc, IID_IClassFactory, nullptr), E_INVALIDARG);
  // Each factory is new, counts exactly and refuses what it cannot make.
  IClassFactory *f = Factory(), *g = Factory();
  ASSERT_TRUE(f && g && f != g);
  EXPECT_EQ(g->Release(), 0u);
  EXPECT_EQ(canUnloadNow_(), S_OK) << "a factory does not hold the server";
  for (ULONG count : {2u, 3u}) EXPECT_EQ(f->AddRef(), count);
  for (ULONG count : {2u, 1u}) EXPECT_EQ(f->Release(), count);
  ExpectAnswers(f, {&IID_IClassFactory, &IID_IUnknown}, kIidKernel);
  void *p;
  Outer outer;
  const struct { IUnknown *outer; const IID *iid; HRESULT result; } refusals[] = {
      {&outer, &kIidKernel, CLASS_E_NOAGGREGATION}, {nullptr, &IID_IStream, E_NOINTERFACE},
      {nullptr, &IID_IClassFactory, E_NOINTERFACE}};
  FOR_EACH_CASE(refusals) {
    p = kSentinel;
    EXPECT_EQ(f->CreateInstance(c.outer, *c.iid, &p), c.result);
    EXPECT_EQ(p, nullptr);
  }
  EXPECT_EQ(f->CreateInstance(nullptr, kIidKernel, nullptr), E_INVALIDARG);
  EXPECT_EQ(canUnloadNow_(), S_OK);
  // A lock holds the server until unlocked, whatever becomes of the factory.
  EXPECT_EQ(f->LockServer(TRUE), S_OK);
  EXPECT_EQ(f->Release(), 0u);
  EXPECT_EQ(canUnloadNow_(), S_FALSE);
  f = Factory();
  for (BOOL lock : {TRUE, FALSE, FALSE}) {
    EXPECT_EQ(canUnloadNow_(), S_FALSE);
    EXPECT_EQ(f->LockServer(lock), S_OK);
  }
  EXPECT_EQ(canUnloadNow_(), S_OK);
  Proc<void(WINAPI *)()>("DllCanUnloadNowDone")();  // changes nothing
  // For IUnknown and IGVKernel, and aggregated for IUnknown: the kernel
  // object, not the graph builder, holding the server while it lives and
  // making the version check of the export, which tells the user why it
  // refuses.
  gvtest::MsgBoxCatcher catcher;
  const struct { IUnknown *outer; const IID *iid; } asks[] = {
      {nullptr, &IID_IUnknown}, {nullptr, &kIidKernel}, {&outer, &IID_IUnknown}};
  FOR_EACH_CASE(asks) {
    p = nullptr;
    ASSERT_EQ(f->CreateInstance(c.outer, *c.iid, &p), S_OK);
    auto *k = static_cast<IGVKernel *>(p);
    ExpectAnswers(k, {&IID_IUnknown, &kIidKernel}, kIidGraph);
    EXPECT_EQ(k->GetVersion(), 0x0100000Cu);
    EXPECT_EQ(k->CheckVersion(nullptr, "Co", 0x0100000C, 1, 0), S_OK);
    EXPECT_EQ(k->CheckVersion(nullptr, "Co", 0x0100000D, 1, 0), E_FAIL);  // a box, answered
    EXPECT_EQ(k->AddRef(), 2u);
    EXPECT_EQ(k->Release(), 1u);
    EXPECT_EQ(canUnloadNow_(), S_FALSE) << "a live kernel object holds the server";
    EXPECT_EQ(k->Release(), 0u);
  }
  EXPECT_EQ(outer.calls, 0) << "the outer unknown is stored, not used";
  ASSERT_EQ(catcher.Boxes().size(), 3u);
  EXPECT_EQ(catcher.Boxes()[2].caption, "Marrowbeam Kernel");
  EXPECT_TRUE(catcher.Boxes()[2].hasIcon);
  EXPECT_EQ(catcher.Boxes()[2].text, "The version of the Marrowbeam Kernel is too old.");
  EXPECT_EQ(f->Release(), 0u);
}

// "description|server path|threading model" of a class as stored, the model
// with its terminator and "?" when it is not REG_SZ; "" when there is no key.
std::string Registration(const CLSID &clsid) {
  const std::string key = ClassKey(clsid), server = key + "\\InProcServer32";
  std::string text, path;
  DWORD type = 0;
  std::vector<BYTE> model;
  if (!gvtest::KeyExists(HKEY_CLASSES_ROOT, key)) return "";
  gvtest::ReadString(HKEY_CLASSES_ROOT, key, "", &text);
  gvtest::ReadString(HKEY_CLASSES_ROOT, server, "", &path);
  gvtest::ReadValue(HKEY_CLASSES_ROOT, server, "ThreadingModel", &type, &model);
  return text + "|" + path + "|" + std::string(model.begin(), model.end()) +
         (type == REG_SZ ? "" : "?");
}

const std::string kBoth("Both", 5);

TEST_F(ComServer, LoadingRegsvr32AndRegisterServerRegisterTheClass) {
  const std::string dll = ModulePath(dll_), registered = "Marrowbeam TALC|" + dll + "|" + kBoth;
  const auto reg = Proc<HRESULT(WINAPI *)()>("DllRegisterServer");
  const auto unreg = Proc<HRESULT(WINAPI *)()>("DllUnregisterServer");
  ASSERT_TRUE(reg && unreg);
  const struct { std::function<long()> act; std::string registration; } steps[] = {
      {[] { return 0L; }, registered}, {unreg, ""}, {reg, registered},  // loading registered it
      // As installers do.
      {[&] { return std::system(("regsvr32.exe /s /u \"" + dll + "\"").c_str()); }, ""},
      {[&] { return std::system(("regsvr32.exe /s \"" + dll + "\"").c_str()); }, registered},
  };
  FOR_EACH_CASE(steps) {
    EXPECT_EQ(c.act(), 0);
    EXPECT_EQ(Registration(kClsidTalc), c.registration);
  }
  // Every load registers again: a copy of the library, loaded, names itself.
  const std::string copy = dll.substr(0, dll.find_last_of('\\') + 1) + "GVTALC_copy.dll";
  ASSERT_TRUE(CopyFileA(dll.c_str(), copy.c_str(), FALSE));
  HMODULE second = LoadLibraryA(copy.c_str());
  EXPECT_NE(second, nullptr);
  EXPECT_EQ(Registration(kClsidTalc), "Marrowbeam TALC|" + copy + "|" + kBoth);
  if (second) FreeLibrary(second);
  DeleteFileA(copy.c_str());
  EXPECT_EQ(reg(), S_OK);  // leave the class registered for this library
  EXPECT_EQ(Registration(kClsidTalc), registered);
}

TEST_F(ComServer, RegisterServerServesClientClassesToo) {
  EXPECT_EQ(GvRegisterServer(dll_, nullptr, "x", TRUE), E_FAIL);
  const CLSID mine = {0x0BADF00D, 0x1111, 0x2222, {0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA}};
  HMODULE exe = GetModuleHandleA(nullptr);
  ASSERT_EQ(GvRegisterServer(exe, &mine, "Client Class", TRUE), S_OK);
  EXPECT_EQ(Registration(mine), "Client Class|" + ModulePath(exe) + "|" + kBoth);
  EXPECT_EQ(GvRegisterServer(exe, &mine, "Client Class", FALSE), S_OK);
  EXPECT_EQ(Registration(mine), "");
  EXPECT_NE(Registration(kClsidTalc), "");
  EXPECT_EQ(GvRegisterServer(exe, &mine, "Client Class", FALSE), S_OK) << "nothing to remove";
  // Registering again over an old entry replaces its texts.
  ASSERT_EQ(GvRegisterServer(exe, &mine, "Old Name", TRUE), S_OK);
  ASSERT_EQ(GvRegisterServer(dll_, &mine, "New Name", TRUE), S_OK);
  EXPECT_EQ(Registration(mine), "New Name|" + ModulePath(dll_) + "|" + kBoth);
  EXPECT_EQ(GvRegisterServer(exe, &mine, nullptr, FALSE), S_OK);
  EXPECT_EQ(Registration(mine), "");
}

}  // namespace
