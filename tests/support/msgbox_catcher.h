// Answers every message box the library shows on this thread, recording
// its caption, text and where it stood, so no test can hang on one.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace gvtest {

struct CaughtBox {
  HWND window = nullptr;  // null once it has closed
  std::string caption;
  std::string text;
  bool hasIcon = false;  // an icon static (id 0x440) was present
  RECT rect = {};        // its place on screen when it closed
};

class MsgBoxCatcher {
 public:
  MsgBoxCatcher();
  ~MsgBoxCatcher();
  MsgBoxCatcher(const MsgBoxCatcher &) = delete;
  MsgBoxCatcher &operator=(const MsgBoxCatcher &) = delete;

  const std::vector<CaughtBox> &Boxes() const { return boxes_; }

 private:
  static LRESULT CALLBACK Hook(int code, WPARAM wParam, LPARAM lParam);
  HHOOK hook_;
  std::vector<CaughtBox> boxes_;
};

}  // namespace gvtest
