// Window text through the formatter, on real windows: a top-level window
// holding a single-line and a multi-line edit control. These cases also
// stand for the message-box wrappers, which format the same way.
#include <gtest/gtest.h>

#include <string>

#include "gvtalc.h"
#include "support/cases.h"

namespace {

constexpr int kLineId = 100;
const std::string kLongFormat = std::string(2100, 'w') + "$d";

std::string TextOf(HWND window) {
  char text[4096] = "";
  GetWindowTextA(window, text, sizeof text);
  return text;
}

class WindowText : public ::testing::Test {
 protected:
  void SetUp() override {
    frame_ = CreateWindowExA(0, "STATIC", "frame", WS_OVERLAPPEDWINDOW, 0, 0, 400, 300, nullptr,
                             nullptr, nullptr, nullptr);
    ASSERT_NE(frame_, nullptr);
    line_ = CreateWindowExA(0, "EDIT", "", WS_CHILD | ES_AUTOHSCROLL, 0, 0, 300, 20, frame_,
                            reinterpret_cast<HMENU>(kLineId), nullptr, nullptr);
    log_ = CreateWindowExA(0, "EDIT", "", WS_CHILD | ES_MULTILINE | ES_AUTOVSCROLL, 0, 30, 300,
                           200, frame_, nullptr, nullptr, nullptr);
    ASSERT_TRUE(line_ && log_);
  }
  void TearDown() override { DestroyWindow(frame_); }
  HWND frame_ = nullptr, line_ = nullptr, log_ = nullptr;
};

TEST_F(WindowText, SetsTheFormattedTextAndReturnsItsLength) {
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
    EXPECT_EQ(c.set(frame_, line_), c.length);
    EXPECT_EQ(TextOf(line_), c.text);
  }
  GvPrintF_DeleteToken("AppName");
  // A failing platform call gives 0.
  HWND gone = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
  DestroyWindow(gone);
  EXPECT_EQ(GvSetWindowText(gone, "x %d", 1), 0);
  EXPECT_EQ(GvSetDlgItemText(frame_, 999, "x %d", 1), 0);
}

TEST_F(WindowText, EditLogAppendsLinesAndTildesContinueThem) {
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
