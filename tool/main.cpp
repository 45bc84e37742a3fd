// gvtool: a command-line client of GVTALC.dll. It makes the version check
// every client makes, then runs one command.
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "commands.h"
#include "gvtalc.h"

namespace gvtool {
namespace {

struct Command {
  const char *usage;
  CommandFn fn;
};

std::map<std::string, Command> &Table() {
  static std::map<std::string, Command> table;
  return table;
}

int Usage() {
  std::printf("usage: gvtool COMMAND [ARGS...]\n\ncommands:\n");
  for (const auto &[name, command] : Table()) std::printf("  %s\n", command.usage);
  return 2;
}

}  // namespace

Registration::Registration(const char *name, const char *usage, CommandFn fn) {
  Table()[name] = Command{usage, fn};
}

}  // namespace gvtool

int main(int argc, char **argv) {
  if (GvKernel_CheckVersion(nullptr, "gvtool", GVKERNEL_VERSION, GVKERNEL_INTERFACE_LEVEL, 0) !=
      S_OK)
    return 1;
  if (argc < 2) return gvtool::Usage();
  auto it = gvtool::Table().find(argv[1]);
  if (it == gvtool::Table().end()) {
    std::fprintf(stderr, "gvtool: unknown command '%s'\n", argv[1]);
    return gvtool::Usage();
  }
  return it->second.fn(argc - 1, argv + 1);
}
