// Runs gvtool.exe as a user does, in a given folder, with its output and
// errors caught in files there.
#pragma once

#include <windows.h>

#include <string>

namespace gvtest {

struct ToolResult {
  DWORD code = 0xFFFFFFFF;  // the exit code; 0xFFFFFFFF when it did not end in 60 s
  std::string out, err;
};

// Runs `exe` with `args` in `folder` (which ends in a backslash).
ToolResult RunTool(const std::string &exe, const std::string &folder, const std::string &args);

// The whole contents of a file ("" when it cannot be read).
std::string Slurp(const std::string &path);

}  // namespace gvtest
