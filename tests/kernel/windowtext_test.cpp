// Window text through the formatter, on real windows: a top-level window
// holding a single-line and a multi-line edit control.
#include <gtest/gtest.h>

#include <string>

#include "gvtalc.h"

namespace {

constexpr int kLineId = 100;
constexpr int kLogId = 101;
constexpr UINT kRangeText = 32000;  // "The value must lie between $d and $d."
constexpr UINT kReadyText = 32002;  // "$(AppName) is ready."

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
                           200, frame_, reinterpret_cast<HMENU>(kLogId), nullptr, nullptr);
    ASSERT_NE(line_, nullptr);
    ASSERT_NE(log_, nullptr);
  }
  void TearDown() override { DestroyWindow(frame_); }
  HWND frame_ = nullptr, line_ = nullptr, log_ = nullptr;
};

TEST_F(WindowText, FormatsIntoTheWindowAndReturnsTheLength) {
  EXPECT_EQ(GvSetWindowText(line_, "Gain $.1z dB", -123), 13);
  EXPECT_EQ(TextOf(line_), "Gain -12.3 dB");
  EXPECT_EQ(GvSetWindowText(frame_, "%d%% done", 40), 8);
  EXPECT_EQ(TextOf(frame_), "40% done");
}

TEST_F(WindowText, TextWithoutIntroducersIsSetAsItStands) {
  EXPECT_EQ(GvSetWindowText(line_, "50 {percent}", 1, 2, 3), 12);
  EXPECT_EQ(TextOf(line_), "50 {percent}");
  EXPECT_EQ(GvSetWindowText(line_, nullptr), 0);
  EXPECT_EQ(TextOf(line_), "");
}

TEST_F(WindowText, FailureOfThePlatformCallReturnsZero) {
  HWND gone = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
  DestroyWindow(gone);
  EXPECT_EQ(GvSetWindowText(gone, "x %d", 1), 0);
  EXPECT_EQ(GvSetDlgItemText(frame_, 999, "x %d", 1), 0);
}

TEST_F(WindowText, DialogItemTextByIdentifier) {
  EXPECT_EQ(GvSetDlgItemText(frame_, kLineId, "$I64d samples", 1234567890123LL), 25);
  EXPECT_EQ(TextOf(line_), "1,234,567,890,123 samples");
}

TEST_F(WindowText, IdVariantsTakeTheFormatFromTheStringTable) {
  EXPECT_EQ(GvSetWindowTextId(nullptr, line_, kRangeText, 1, 65536), 40);
  EXPECT_EQ(TextOf(line_), "The value must lie between 1 and 65,536.");
  ASSERT_TRUE(GvPrintF_AddToken("AppName", "Quill"));
  EXPECT_EQ(GvSetDlgItemTextId(nullptr, frame_, kLineId, kReadyText), 15);
  EXPECT_EQ(TextOf(line_), "Quill is ready.");
  GvPrintF_DeleteToken("AppName");
  EXPECT_EQ(GvSetWindowTextId(nullptr, line_, 31999), 0);  // no such string: empty text
  EXPECT_EQ(TextOf(line_), "");
}

TEST_F(WindowText, LongResultIsCutToTheWrapperBuffer) {
  const std::string format = std::string(2100, 'w') + "$d";
  EXPECT_EQ(GvSetWindowText(line_, format.c_str(), 1), 2047);
  EXPECT_EQ(TextOf(line_), std::string(2047, 'w'));
}

TEST_F(WindowText, EditLogAppendsLines) {
  EXPECT_EQ(GvMEditPrintF(log_, nullptr), 0);
  EXPECT_EQ(GvMEditPrintF(log_, "take %d", 1), 6);
  EXPECT_EQ(GvMEditPrintF(log_, "take $d", 2000), 10);
  EXPECT_EQ(TextOf(log_), "take 1\r\ntake 2,000\r\n");
}

TEST_F(WindowText, TildePrefixContinuesTheLine) {
  GvMEditPrintF(log_, nullptr);
  EXPECT_EQ(GvMEditPrintF(log_, "~~level %d", 5), 7);
  EXPECT_EQ(GvMEditPrintF(log_, "~ dB"), 3);
  EXPECT_EQ(GvMEditPrintF(log_, "end"), 3);
  EXPECT_EQ(TextOf(log_), "level 5 dBend\r\n");
}

TEST_F(WindowText, NullFormatEmptiesTheLog) {
  GvMEditPrintF(log_, "one");
  GvMEditPrintF(log_, "two");
  EXPECT_EQ(GvMEditPrintF(log_, nullptr), 0);
  EXPECT_EQ(TextOf(log_), "");
}

}  // namespace
