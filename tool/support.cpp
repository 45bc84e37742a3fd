// Error reporting, file opening and progress shared by gvtool's commands.
#include <cstdarg>
#include <cstdio>
#include <string>

#include "commands.h"

namespace gvtool {
namespace {

volatile LONG gInterrupted = 0;

BOOL WINAPI OnConsoleBreak(DWORD) {
  InterlockedExchange(&gInterrupted, 1);
  return TRUE;  // the work loop stops and cleans up itself
}

const bool gBreakHandler = SetConsoleCtrlHandler(OnConsoleBreak, TRUE) != 0;

}  // namespace

bool Interrupted() { return gInterrupted != 0; }

namespace {

// "gvtool: " and the message on stderr, after whatever was shown before it.
void Report(const char *format, std::va_list args, const char *tail) {
  std::fflush(stdout);
  std::fputs("gvtool: ", stderr);
  std::vfprintf(stderr, format, args);
  std::fputs(tail, stderr);
}

}  // namespace

void Error(const char *format, ...) {
  std::va_list args;
  va_start(args, format);
  Report(format, args, "\n");
  va_end(args);
}

int UsageError(const char *format, ...) {
  std::va_list args;
  va_start(args, format);
  Report(format, args, " (try --help)\n");
  va_end(args);
  return kUsage;
}

std::string SystemReason(DWORD code) {
  char text[512] = "";
  DWORD n = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                           code, 0, text, sizeof text, nullptr);
  while (n > 0 && (text[n - 1] == '\n' || text[n - 1] == '\r' || text[n - 1] == ' ')) --n;
  if (n == 0) {
    std::snprintf(text, sizeof text, "error 0x%08lX", static_cast<unsigned long>(code));
    return text;
  }
  return std::string(text, n);
}

std::string Utf8FromAnsi(const char *text) {
  const int wide = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
  if (wide <= 0) return text;
  std::wstring w(static_cast<size_t>(wide), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text, -1, &w[0], wide);
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, w.c_str(), -1, nullptr, 0, nullptr, nullptr);
  if (bytes <= 0) return text;
  std::string out(static_cast<size_t>(bytes), '\0');
  WideCharToMultiByte(CP_UTF8, 0, w.c_str(), -1, &out[0], bytes, nullptr, nullptr);
  out.pop_back();  // the terminator
  return out;
}

std::string HresultReason(HRESULT hr) {
  if (HRESULT_FACILITY(hr) == FACILITY_WIN32) return SystemReason(HRESULT_CODE(hr));
  return SystemReason(static_cast<DWORD>(hr));
}

int IoError(const std::string &path, DWORD code) {
  Error("%s: %s", path.c_str(), SystemReason(code).c_str());
  return kFailed;
}

HANDLE OpenForReading(const std::string &path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY)) {
    Error("%s: is a folder, not a file", path.c_str());
    return INVALID_HANDLE_VALUE;
  }
  HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) IoError(path, GetLastError());
  return file;
}

Progress::Progress(const std::string &what, unsigned long long total, bool forced)
    : what_(what), total_(total), forced_(forced), start_(GetTickCount()) {
  terminal_ = GetFileType(GetStdHandle(STD_ERROR_HANDLE)) == FILE_TYPE_CHAR;
}

Progress::~Progress() {
  if (shown_ && terminal_) std::fputc('\n', stderr);
}

void Progress::Update(unsigned long long done) {
  const DWORD now = GetTickCount();
  if (!forced_ && !(terminal_ && now - start_ >= 1000)) return;
  const int percent = total_ ? static_cast<int>(done * 100 / total_) : 100;
  if (terminal_) {
    // Redrawn in place, at most ten times a second.
    if (percent == lastPercent_ || (shown_ && percent < 100 && now - last_ < 100)) return;
    std::fprintf(stderr, "\r%s: %3d%%", what_.c_str(), percent);
  } else {
    // A log gets one line per tenth.
    if (percent / 10 == lastPercent_ / 10 && lastPercent_ >= 0) return;
    std::fprintf(stderr, "%s: %d%%\n", what_.c_str(), percent / 10 * 10);
  }
  std::fflush(stderr);
  shown_ = true;
  last_ = now;
  lastPercent_ = percent;
}

}  // namespace gvtool
