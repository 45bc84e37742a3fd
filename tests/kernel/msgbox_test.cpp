// Message boxes: the client hook, owner resolution, the wrappers and the
// centring of the box over its owner. Every box is answered by the test.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "gvtalc.h"
#include "support/msgbox_catcher.h"

namespace {

// Texts of the library's string table used by the ...Id wrappers.
constexpr UINT kRangeText = 32000;  // "The value must lie between $d and $d."
constexpr UINT kOpenText = 32001;   // "%s could not be opened."

struct Seen {
  int calls = 0;
  DWORD context = 0;
  HWND owner = nullptr;
  std::string text;
  std::string caption;
  bool captionNull = false;
  UINT style = 0;
  int answer = IDCANCEL;
};
Seen g_seen;

int CALLBACK RecordingHook(DWORD context, HWND owner, LPCSTR text, LPCSTR caption, UINT style) {
  ++g_seen.calls;
  g_seen.context = context;
  g_seen.owner = owner;
  g_seen.text = text ? text : "(null)";
  g_seen.captionNull = caption == nullptr;
  g_seen.caption = caption ? caption : "";
  g_seen.style = style;
  return g_seen.answer;
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

TEST_F(MessageBoxes, HookAnswerIsReturnedAndNoBoxShown) {
  gvtest::MsgBoxCatcher catcher;
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0x1234));
  g_seen.answer = IDNO;
  EXPECT_EQ(GvMessageBox(reinterpret_cast<HWND>(-1), "hello", "cap", MB_YESNO), IDNO);
  EXPECT_EQ(g_seen.calls, 1);
  EXPECT_EQ(g_seen.context, 0x1234u);
  EXPECT_EQ(g_seen.owner, nullptr);
  EXPECT_EQ(g_seen.text, "hello");
  EXPECT_EQ(g_seen.caption, "cap");
  EXPECT_EQ(g_seen.style, static_cast<UINT>(MB_YESNO));
  EXPECT_TRUE(catcher.Boxes().empty());
}

TEST_F(MessageBoxes, HookDecliningShowsTheBoxWithDefaultCaption) {
  gvtest::MsgBoxCatcher catcher;
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0));
  g_seen.answer = -1;
  EXPECT_EQ(GvMessageBox(reinterpret_cast<HWND>(-1), "shown text", nullptr, MB_OK), IDOK);
  EXPECT_EQ(g_seen.calls, 1);
  EXPECT_TRUE(g_seen.captionNull);
  ASSERT_EQ(catcher.Boxes().size(), 1u);
  EXPECT_EQ(catcher.Boxes()[0].caption, "Quill Caption");
  EXPECT_EQ(catcher.Boxes()[0].text, "shown text");
}

TEST_F(MessageBoxes, OwnerIsResolvedBeforeTheHook) {
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0));
  GvMessageBox(nullptr, "t", nullptr, MB_OK);
  EXPECT_EQ(g_seen.owner, GetLastActivePopup(main_));
  EXPECT_EQ(g_seen.owner, main_);
  GvMessageBox(reinterpret_cast<HWND>(-1), "t", nullptr, MB_OK);
  EXPECT_EQ(g_seen.owner, nullptr);
  HWND other = reinterpret_cast<HWND>(0x5678);
  GvMessageBox(other, "t", nullptr, MB_OK);
  EXPECT_EQ(g_seen.owner, other);

  GvMsgBoxSetAppData(nullptr, nullptr, nullptr);
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0));
  GvMessageBox(nullptr, "t", nullptr, MB_OK);
  EXPECT_EQ(g_seen.owner, nullptr);
}

TEST_F(MessageBoxes, SettingAppDataAgainClearsTheHook) {
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0));
  ASSERT_TRUE(GvMsgBoxSetAppData(nullptr, nullptr, "again"));
  gvtest::MsgBoxCatcher catcher;
  GvMessageBox(reinterpret_cast<HWND>(-1), "no hook", nullptr, MB_OK);
  EXPECT_EQ(g_seen.calls, 0);
  ASSERT_EQ(catcher.Boxes().size(), 1u);
  EXPECT_EQ(catcher.Boxes()[0].caption, "again");
}

TEST_F(MessageBoxes, DefaultCaptionIsCutTo135Characters) {
  const std::string caption(200, 'c');
  ASSERT_TRUE(GvMsgBoxSetAppData(nullptr, nullptr, caption.c_str()));
  gvtest::MsgBoxCatcher catcher;
  GvMessageBox(reinterpret_cast<HWND>(-1), "x", nullptr, MB_OK);
  ASSERT_EQ(catcher.Boxes().size(), 1u);
  EXPECT_EQ(catcher.Boxes()[0].caption, std::string(135, 'c'));
}

TEST_F(MessageBoxes, SelfTestTextReadsAsDocumented) {
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0));
  g_seen.answer = IDOK;
  EXPECT_EQ(GvBoon(reinterpret_cast<HWND>(-1)), IDOK);
  EXPECT_EQ(g_seen.text,
            "This is a test 123.45 4,567 00003 -- 2.100  125,088.78900\n\n2.345\n\nQuill");
  EXPECT_EQ(g_seen.style, 0u);
  EXPECT_TRUE(g_seen.captionNull);
  char out[32];
  GvPrintF(out, "$(AppName)");
  EXPECT_STREQ(out, "$(AppName)");  // the token is gone again
}

TEST_F(MessageBoxes, MsgBoxFormatsOnlyWithIntroducers) {
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0));
  GvMsgBox(reinterpret_cast<HWND>(-1), MB_OK, "plain {text}", 123);
  EXPECT_EQ(g_seen.text, "plain {text}");
  GvMsgBox(reinterpret_cast<HWND>(-1), MB_ICONHAND, "%d%% of $d", 50, 20000);
  EXPECT_EQ(g_seen.text, "50% of 20,000");
  EXPECT_EQ(g_seen.style, static_cast<UINT>(MB_ICONHAND));
  EXPECT_TRUE(g_seen.captionNull);
}

TEST_F(MessageBoxes, MsgBoxCutsTextAtItsBuffer) {
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0));
  const std::string format = std::string(3000, 'a') + "%d";
  GvMsgBox(reinterpret_cast<HWND>(-1), MB_OK, format.c_str(), 1);
  EXPECT_EQ(g_seen.text, std::string(2047, 'a'));
}

TEST_F(MessageBoxes, IdVariantTakesTheFormatFromTheStringTable) {
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0));
  GvMsgBoxId(nullptr, reinterpret_cast<HWND>(-1), MB_OK, kRangeText, 1000, 20000);
  EXPECT_EQ(g_seen.text, "The value must lie between 1,000 and 20,000.");
  GvMsgBoxId(nullptr, reinterpret_cast<HWND>(-1), MB_OK, kOpenText, "take.wav");
  EXPECT_EQ(g_seen.text, "take.wav could not be opened.");
  GvMsgBoxId(nullptr, reinterpret_cast<HWND>(-1), MB_OK, 31999);
  EXPECT_EQ(g_seen.text, "");
}

// The box's position, read once its modal loop runs; then it is answered.
RECT g_boxRect;
int g_boxes;
HWND g_box;
void CALLBACK ReadPositionAndAnswer(HWND, UINT, UINT_PTR timer, DWORD) {
  KillTimer(nullptr, timer);
  GetWindowRect(g_box, &g_boxRect);
  PostMessageA(g_box, WM_COMMAND, IDOK, 0);
}
LRESULT CALLBACK PositionHook(int code, WPARAM wParam, LPARAM lParam) {
  if (code == HCBT_ACTIVATE) {
    HWND box = reinterpret_cast<HWND>(wParam);
    char cls[16] = "";
    GetClassNameA(box, cls, sizeof cls);
    if (lstrcmpA(cls, "#32770") == 0 && g_box != box) {
      ++g_boxes;
      g_box = box;
      SetTimer(nullptr, 0, 1, ReadPositionAndAnswer);
    }
  }
  return CallNextHookEx(nullptr, code, wParam, lParam);
}

// Shows one box owned by a window away from the screen's centre and returns
// the centre of the box.
POINT ShowOwnedBox(HWND owner, const char *caption, UINT style) {
  g_boxes = 0;
  g_box = nullptr;
  HHOOK hook = SetWindowsHookExA(WH_CBT, PositionHook, nullptr, GetCurrentThreadId());
  EXPECT_EQ(GvMessageBox(owner, "centred?", caption, style), IDOK);
  UnhookWindowsHookEx(hook);
  EXPECT_EQ(g_boxes, 1);
  POINT centre = {(g_boxRect.left + g_boxRect.right) / 2, (g_boxRect.top + g_boxRect.bottom) / 2};
  return centre;
}

class CentredBoxes : public MessageBoxes {
 protected:
  void SetUp() override {
    MessageBoxes::SetUp();
    owner_ = CreateWindowExA(0, "STATIC", "owner", WS_POPUP | WS_VISIBLE, 40, 30, 600, 420,
                             nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(owner_, nullptr);
  }
  void TearDown() override {
    DestroyWindow(owner_);
    MessageBoxes::TearDown();
  }
  HWND owner_ = nullptr;
};

TEST_F(CentredBoxes, BoxIsCentredOverItsOwner) {
  const POINT centre = ShowOwnedBox(owner_, "Centring", MB_OK);
  EXPECT_NEAR(centre.x, 40 + 300, 1);
  EXPECT_NEAR(centre.y, 30 + 210, 1);
}

TEST_F(CentredBoxes, BoxWithTheDefaultCaptionIsCentredToo) {
  const POINT centre = ShowOwnedBox(owner_, nullptr, MB_OK | MB_ICONINFORMATION);
  EXPECT_NEAR(centre.x, 40 + 300, 1);
  EXPECT_NEAR(centre.y, 30 + 210, 1);
}

TEST_F(CentredBoxes, CriticalAlertIsLeftWhereTheSystemPutsIt) {
  const POINT centre = ShowOwnedBox(owner_, "Critical", MB_SYSTEMMODAL | MB_ICONHAND);
  EXPECT_FALSE(centre.x == 40 + 300 && centre.y == 30 + 210);
}

}  // namespace
