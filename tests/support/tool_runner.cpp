#include "support/tool_runner.h"

#include <fstream>
#include <iterator>

namespace gvtest {

std::string Slurp(const std::string &path) {
  std::ifstream f(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(f), {});
}

ToolResult RunTool(const std::string &exe, const std::string &folder, const std::string &args) {
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  const std::string outPath = folder + "stdout.txt", errPath = folder + "stderr.txt";
  HANDLE out = CreateFileA(outPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit,
                           CREATE_ALWAYS, 0, nullptr);
  HANDLE err = CreateFileA(errPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit,
                           CREATE_ALWAYS, 0, nullptr);
  STARTUPINFOA si{};
  si.cb = sizeof si;
  si.dwFlags = STARTF_USESTDHANDLES;
  si.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  si.hStdOutput = out;
  si.hStdError = err;
  std::string line = "\"" + exe + "\" " + args;
  PROCESS_INFORMATION pi{};
  ToolResult r;
  if (CreateProcessA(nullptr, &line[0], nullptr, nullptr, TRUE, 0, nullptr, folder.c_str(), &si,
                     &pi)) {
    if (WaitForSingleObject(pi.hProcess, 60000) == WAIT_OBJECT_0)
      GetExitCodeProcess(pi.hProcess, &r.code);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
  }
  CloseHandle(out);
  CloseHandle(err);
  r.out = Slurp(outPath), r.err = Slurp(errPath);
  return r;
}

}  // namespace gvtest
