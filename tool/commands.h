// gvtool's command table and the helpers every command shares. A command
// file registers itself with
//   static const gvtool::Registration reg{"name", "one-line summary", Setup};
// where Setup adds the command's options to its CLI11 subcommand and returns
// the function that runs it once the whole command line has parsed.
#pragma once

#include <functional>
#include <string>

#include "gvtalc.h"

namespace CLI {
class App;
}

namespace gvtool {

// Exit codes: the work was done, the work failed, the command line was wrong.
enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2 };

using Runner = std::function<int()>;
using SetupFn = Runner (*)(CLI::App &command);

struct Registration {
  Registration(const char *name, const char *summary, SetupFn setup);
};

// "gvtool: ..." on stderr, the tool's one error style.
void Error(const char *format, ...);
// A usage error found after parsing: the message, a hint, and kUsage.
int UsageError(const char *format, ...);
// The platform's text for a Windows error code or an HRESULT.
std::string SystemReason(DWORD code);
std::string HresultReason(HRESULT hr);
// ANSI text (the library's strings, INFO items) as UTF-8, which is what the
// tool writes: a translated name prints the same on a console and in a pipe.
std::string Utf8FromAnsi(const char *text);
// "gvtool: PATH: reason" for the calling thread's last error; returns kFailed.
int IoError(const std::string &path, DWORD code);

// A file for reading, or INVALID_HANDLE_VALUE after an error naming the
// path and the reason (a folder is reported as such).
HANDLE OpenForReading(const std::string &path);

// Progress of long work on stderr: shown when stderr is a terminal and the
// work has run for about a second, or always when asked for.
class Progress {
 public:
  Progress(const std::string &what, unsigned long long total, bool forced);
  ~Progress();
  void Update(unsigned long long done);

 private:
  std::string what_;
  unsigned long long total_;
  bool terminal_, forced_, shown_ = false;
  DWORD start_, last_ = 0;
  int lastPercent_ = -1;
};

// Set by Ctrl+C / Ctrl+Break: long work stops, cleans up and fails.
bool Interrupted();

}  // namespace gvtool
