// Message boxes: the client hook, owner resolution, the default caption, the
// formatting wrappers and the centring of the box over its owner. Every box
// is answered by the test. (The wrappers' formatting itself is checked on
// window text, which shares it.)
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "gvtalc.h"
#include "support/cases.h"
#include "support/msgbox_catcher.h"

namespace {

const HWND kNoOwner = reinterpret_cast<HWND>(-1);

// What the client hook saw last; it answers with `answer`.
struct Seen {
  int calls = 0;
  DWORD context = 0;
  HWND owner = nullptr;
  std::string text, caption = "(null)";
  UINT style = 0;
  int answer = IDCANCEL;
} g_seen;

int CALLBACK RecordingHook(DWORD context, HWND owner, LPCSTR text, LPCSTR caption, UINT style) {
  const int answer = g_seen.answer, calls = g_seen.calls + 1;
  g_seen = {calls, context, owner, text, caption ? caption : "(null)", style, answer};
  return answer;
}

class MessageBoxes : public ::testing::Test {
 protected:
  void SetUp() override {
    g_seen = Seen();
    main_ = CreateWindowExA(0, "STATIC", "main", WS_OVERLAPPEDWINDOW, 0, 0, 200, 100, nullptr,
                            nullptr, nullptr, nullptr);
    ASSERT_NE(main_, nullptr);
    ASSERT_TRUE(GvMsgBoxSetAppData(GetModuleHandleA(nullptr), main_, "Quill Caption"));
  }
  void TearDown() override {
    GvMsgBoxSetAppData(nullptr, nullptr, nullptr);
    DestroyWindow(main_);
  }
  HWND main_ = nullptr;
};

TEST_F(MessageBoxes, HookOwnerAndDefaultCaption) {
  gvtest::MsgBoxCatcher catcher;
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0x1234));
  g_seen.answer = IDNO;
  EXPECT_EQ(GvMessageBox(kNoOwner, "hello", "cap", MB_YESNO), IDNO);
  EXPECT_EQ(g_seen.calls, 1);
  EXPECT_EQ(g_seen.context, 0x1234u);
  EXPECT_EQ(g_seen.text, "hello");
  EXPECT_EQ(g_seen.caption, "cap");
  EXPECT_EQ(g_seen.style, static_cast<UINT>(MB_YESNO));
  EXPECT_TRUE(catcher.Boxes().empty());
  // 0: the main window's last active pop-up; -1: none; anything else as given.
  const struct { HWND given, resolved; } owners[] = {
      {nullptr, GetLastActivePopup(main_)}, {nullptr, main_}, {kNoOwner, nullptr},
      {reinterpret_cast<HWND>(0x5678), reinterpret_cast<HWND>(0x5678)}};
  FOR_EACH_CASE(owners) {
    GvMessageBox(c.given, "t", nullptr, MB_OK);
    EXPECT_EQ(g_seen.owner, c.resolved);
  }
  // Setting the record again clears the hook; with no main window, no owner.
  GvMsgBoxSetAppData(nullptr, nullptr, nullptr);
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0));
  GvMessageBox(nullptr, "t", nullptr, MB_OK);
  EXPECT_EQ(g_seen.owner, nullptr);
  ASSERT_TRUE(GvMsgBoxSetAppData(nullptr, nullptr, "again"));
  g_seen.calls = 0;
  GvMessageBox(kNoOwner, "no hook", nullptr, MB_OK);
  EXPECT_EQ(g_seen.calls, 0);
  // A hook answering -1 lets the box show; a long default caption is cut to 135.
  ASSERT_TRUE(GvMsgBoxSetAppData(nullptr, nullptr, std::string(200, 'c').c_str()));
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0));
  g_seen.answer = -1;
  EXPECT_EQ(GvMessageBox(kNoOwner, "shown text", nullptr, MB_OK), IDOK);
  EXPECT_EQ(g_seen.caption, "(null)");
  ASSERT_EQ(catcher.Boxes().size(), 2u);
  EXPECT_EQ(catcher.Boxes()[0].caption, "again");
  EXPECT_EQ(catcher.Boxes()[1].caption, std::string(135, 'c'));
  EXPECT_EQ(catcher.Boxes()[1].text, "shown text");
}

TEST_F(MessageBoxes, WrappersAndTheSelfTestShowTheirText) {
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0));
  g_seen.answer = IDOK;
  EXPECT_EQ(GvBoon(kNoOwner), IDOK);
  EXPECT_EQ(g_seen.text,
            "This is a test 123.45 4,567 00003 -- 2.100  125,088.78900\n\n2.345\n\nQuill");
  EXPECT_EQ(g_seen.style, 0u);
  EXPECT_EQ(g_seen.caption, "(null)");
  char out[32];
  GvPrintF(out, "$(AppName)");
  EXPECT_STREQ(out, "$(AppName)");  // the token is gone again
  GvMsgBox(kNoOwner, MB_ICONHAND, "%d%% of $d", 50, 20000);
  EXPECT_EQ(g_seen.text, "50% of 20,000");
  EXPECT_EQ(g_seen.style, static_cast<UINT>(MB_ICONHAND));
  EXPECT_EQ(g_seen.caption, "(null)");
  GvMsgBoxId(nullptr, kNoOwner, MB_OK, 32001, "take.wav");  // "%s could not be opened."
  EXPECT_EQ(g_seen.text, "take.wav could not be opened.");
}

// A box owned by a window away from the screen's centre is centred over it,
// unless it is the system's critical alert.
TEST_F(MessageBoxes, BoxIsCentredOverItsOwner) {
  HWND owner = CreateWindowExA(0, "STATIC", "owner", WS_POPUP | WS_VISIBLE, 40, 30, 600, 420,
                               nullptr, nullptr, nullptr, nullptr);
  ASSERT_NE(owner, nullptr);
  const struct { const char *caption; UINT style; bool centred; } cases[] = {
      {"Centring", MB_OK, true},
      {nullptr, MB_OK | MB_ICONINFORMATION, true},  // the default caption
      {"Critical", MB_SYSTEMMODAL | MB_ICONHAND, false}};
  FOR_EACH_CASE(cases) {
    gvtest::MsgBoxCatcher catcher;
    EXPECT_EQ(GvMessageBox(owner, "centred?", c.caption, c.style), IDOK);
    ASSERT_EQ(catcher.Boxes().size(), 1u);
    const RECT &r = catcher.Boxes()[0].rect;
    const bool centred = std::abs((r.left + r.right) / 2 - 340) <= 1 &&
                         std::abs((r.top + r.bottom) / 2 - 240) <= 1;
    EXPECT_EQ(centred, c.centred) << r.left << "," << r.top << " " << r.right << "," << r.bottom;
  }
  DestroyWindow(owner);
}

}  // namespace
