// The formatting wrappers: message boxes (client hook, owner, default caption,
// centring; every box is answered by the test) and window text on real
// windows, whose cases stand for the message boxes too, formatted the same.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "gvtalc.h"
#include "support/cases.h"
#include "support/msgbox_catcher.h"

namespace {

const HWND kNoOwner = reinterpret_cast<HWND>(-1);
constexpr int kLineId = 100;
const std::string kLongFormat = std::string(2100, 'w') + "$d";

std::string TextOf(HWND window) {
  char text[4096] = "";
  GetWindowTextA(window, text, sizeof text);
  return text;
}

HWND g_main = nullptr;  // the main window recorded for the boxes
int g_answer = IDCANCEL;
// What the client hook has seen: "context owner style|text|caption" per box.
std::string g_seen;

int CALLBACK RecordingHook(DWORD context, HWND owner, LPCSTR text, LPCSTR caption, UINT style) {
  const std::string who =
      owner == g_main ? "main" : owner ? std::to_string(UINT_PTR(owner)) : "none";
  g_seen += std::to_string(context) + " " + who + " " + std::to_string(style) + "|" + text + "|" +
           (caption ? caption : "(null)");
  return g_answer;
}

// A top-level window, recorded as the application's main window, holding a
// single-line and a multi-line edit control.
class Wrappers : public ::testing::Test {
 protected:
  void SetUp() override {
    g_seen.clear();
    g_answer = IDCANCEL;
    g_main = main_ = CreateWindowExA(0, "STATIC", "main", WS_OVERLAPPEDWINDOW, 0, 0, 400, 300,
                                     nullptr, nullptr, nullptr, nullptr);
    line_ = CreateWindowExA(0, "EDIT", "", WS_CHILD | ES_AUTOHSCROLL, 0, 0, 300, 20, main_,
                            reinterpret_cast<HMENU>(kLineId), nullptr, nullptr);
    log_ = CreateWindowExA(0, "EDIT", "", WS_CHILD | ES_MULTILINE | ES_AUTOVSCROLL, 0, 30, 300,
                           200, main_, nullptr, nullptr, nullptr);
    ASSERT_TRUE(main_ && line_ && log_);
    ASSERT_TRUE(GvMsgBoxSetAppData(GetModuleHandleA(nullptr), main_, "Quill Caption"));
  }
  void TearDown() override {
    GvMsgBoxSetAppData(nullptr, nullptr, nullptr);
    DestroyWindow(main_);
  }
  HWND main_ = nullptr, line_ = nullptr, log_ = nullptr;
};

// The hook sees each box with its owner resolved (0: the main window's last
// active pop-up; -1: none; anything else as given), and its answer stands.
TEST_F(Wrappers, HookOwnerAndDefaultCaption) {
  gvtest::MsgBoxCatcher catcher;
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0x1234));
  const struct { int (*show)(); std::string seen; } cases[] = {
      {[] { return GvMessageBox(kNoOwner, "hello", "cap", MB_YESNO); }, "4660 none 4|hello|cap"},
      {[] { return GvMessageBox(nullptr, "t", nullptr, MB_OK); }, "4660 main 0|t|(null)"},
      {[] { return GvMessageBox(HWND(0x5678), "t", nullptr, MB_OK); }, "4660 22136 0|t|(null)"},
      {[] { return GvMsgBox(kNoOwner, MB_ICONHAND, "%d%% of $d", 50, 20000); },
       "4660 none 16|50% of 20,000|(null)"},
      {[] { return GvMsgBoxId(nullptr, kNoOwner, MB_OK, 32001, "take.wav"); },
       "4660 none 0|take.wav could not be opened.|(null)"},  // "%s could not be opened."
      // The self-test, with token "AppName" set for the time being.
      {[] { return GvBoon(kNoOwner); }, "4660 none 0|This is a test 123.45 4,567 00003 -- "
                                        "2.100  125,088.78900\n\n2.345\n\nQuill|(null)"},
  };
  FOR_EACH_CASE(cases) {
    g_seen.clear();
    g_answer = IDNO + static_cast<int>(i);
    EXPECT_EQ(c.show(), IDNO + static_cast<int>(i));
    EXPECT_EQ(g_seen, c.seen);
  }
  EXPECT_TRUE(catcher.Boxes().empty());
  char out[32];
  GvPrintF(out, "$(AppName)");
  EXPECT_STREQ(out, "$(AppName)");  // the self-test's token is gone again
  // Setting the record again clears the hook; a hook answering -1 lets the
  // box show; the default caption is cut to 135 characters.
  g_seen.clear();
  ASSERT_TRUE(GvMsgBoxSetAppData(nullptr, nullptr, "again"));
  EXPECT_EQ(GvMessageBox(nullptr, "no hook", nullptr, MB_OK), IDOK);
  EXPECT_EQ(g_seen, "");
  ASSERT_TRUE(GvMsgBoxSetAppData(nullptr, nullptr, std::string(200, 'c').c_str()));
  ASSERT_TRUE(GvMsgBoxSetHook(RecordingHook, 0));
  g_answer = -1;
  EXPECT_EQ(GvMessageBox(nullptr, "shown text", nullptr, MB_OK), IDOK);
  EXPECT_EQ(g_seen, "0 none 0|shown text|(null)");  // no main window: no owner
  ASSERT_EQ(catcher.Boxes().size(), 2u);
  EXPECT_EQ(catcher.Boxes()[0].caption, "again");
  EXPECT_EQ(catcher.Boxes()[1].caption, std::string(135, 'c'));
  EXPECT_EQ(catcher.Boxes()[1].text, "shown text");
}

// A box owned by a window away from the screen's centre is centred over it,
// unless it is the system's critical alert.
TEST_F(Wrappers, BoxIsCentredOverItsOwner) {
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

TEST_F(Wrappers, SetsTheFormattedTextAndReturnsItsLength) {
  ASSERT_TRUE(GvPrintF_AddToken("AppName", "Quill"));
  // String 32000 is "The value must lie between $d and $d.", 32002 "$(AppName) is ready.".
  const struct { int (*set)(HWND frame, HWND line); int length; std::string text; } cases[] = {
      {[](HWND, HWND l) { return GvSetWindowText(l, "Gain $.1z dB", -123); }, 13, "Gain -12.3 dB"},
      // Without an introducer the format is the text and no argument is read.
      {[](HWND, HWND l) { return GvSetWindowText(l, "50 {percent}", 1, 2, 3); }, 12,
       "50 {percent}"},
      {[](HWND, HWND l) { return GvSetWindowText(l, nullptr); }, 0, ""},
      {[](HWND f, HWND) { return GvSetDlgItemText(f, kLineId, "$I64d samples", 1234567890123LL); },
       25, "1,234,567,890,123 samples"},
      {[](HWND, HWND l) { return GvSetWindowTextId(nullptr, l, 32000, 1, 65536); }, 40,
       "The value must lie between 1 and 65,536."},
      {[](HWND f, HWND) { return GvSetDlgItemTextId(nullptr, f, kLineId, 32002); }, 15,
       "Quill is ready."},
      {[](HWND, HWND l) { return GvSetWindowTextId(nullptr, l, 31999); }, 0, ""},  // no such string
      // The wrappers' 2048-byte buffer cuts a longer result.
      {[](HWND, HWND l) { return GvSetWindowText(l, kLongFormat.c_str(), 1); }, 2047,
       std::string(2047, 'w')},
  };
  FOR_EACH_CASE(cases) {
    EXPECT_EQ(c.set(main_, line_), c.length);
    EXPECT_EQ(TextOf(line_), c.text);
  }
  GvPrintF_DeleteToken("AppName");
  // A failing platform call gives 0.
  HWND gone = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
  DestroyWindow(gone);
  EXPECT_EQ(GvSetWindowText(gone, "x %d", 1), 0);
  EXPECT_EQ(GvSetDlgItemText(main_, 999, "x %d", 1), 0);
  // The edit log appends lines; leading tildes continue the line.
  EXPECT_EQ(GvMEditPrintF(log_, nullptr), 0);
  EXPECT_EQ(GvMEditPrintF(log_, "take %d", 1), 6);
  EXPECT_EQ(GvMEditPrintF(log_, "take $d", 2000), 10);
  EXPECT_EQ(GvMEditPrintF(log_, "~~level %d", 5), 7);
  EXPECT_EQ(GvMEditPrintF(log_, "~ dB"), 3);
  EXPECT_EQ(GvMEditPrintF(log_, "end"), 3);
  EXPECT_EQ(TextOf(log_), "take 1\r\ntake 2,000\r\nlevel 5 dBend\r\n");
  EXPECT_EQ(GvMEditPrintF(log_, nullptr), 0);
  EXPECT_EQ(TextOf(log_), "");
}

}  // namespace
