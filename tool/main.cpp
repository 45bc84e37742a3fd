// gvtool: a command-line client of GVTALC.dll. It makes the version check
// every client makes, then parses the command line with CLI11 and runs one
// command. Exit codes: 0 done, 1 the work failed, 2 bad usage.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "commands.h"

namespace gvtool {
namespace {

struct Command {
  const char *name, *summary;
  SetupFn setup;
};

std::vector<Command> &Table() {
  static std::vector<Command> table;
  return table;
}

std::string VersionText() {
  const DWORD v = GvKernel_GetVersion();
  char text[96];
  std::snprintf(text, sizeof text, "gvtool %s (Marrowbeam Kernel %lu.%lu)", GV_TOOL_VERSION,
                (v >> 24) & 0xFF, (v >> 16) & 0xFF);
  return text;
}

}  // namespace

Registration::Registration(const char *name, const char *summary, SetupFn setup) {
  Table().push_back(Command{name, summary, setup});
}

}  // namespace gvtool

int main(int argc, char **argv) {
  using namespace gvtool;
  SetConsoleOutputCP(CP_UTF8);  // the tool writes UTF-8 (see Utf8FromAnsi)
  if (GvKernel_CheckVersion(nullptr, "gvtool", GVKERNEL_VERSION, GVKERNEL_INTERFACE_LEVEL, 0) !=
      S_OK)
    return kFailed;
  CLI::App app{"The sample client of GVTALC.dll.", "gvtool"};
  app.set_version_flag("--version", VersionText());
  app.require_subcommand(1, 1);
  const char *const kExitCodes = "Exit codes: 0 done, 1 the work failed, 2 bad usage.";
  app.footer(std::string("Run 'gvtool COMMAND --help' for a command's options.\n") + kExitCodes);
  std::map<const CLI::App *, Runner> runners;
  // Registration follows the order the linker chose; help lists by name.
  std::sort(Table().begin(), Table().end(),
            [](const Command &a, const Command &b) { return std::strcmp(a.name, b.name) < 0; });
  for (const Command &c : Table()) {
    CLI::App *sub = app.add_subcommand(c.name, c.summary);
    sub->set_version_flag("--version", VersionText());
    sub->footer("");
    runners[sub] = c.setup(*sub);
    const std::string footer = sub->get_footer();
    sub->footer(footer + (footer.empty() ? "" : "\n") + kExitCodes);
  }
  if (argc < 2) {
    std::fputs(app.help().c_str(), stderr);
    return kUsage;
  }
  const std::string first = argv[1];
  bool known = first[0] == '-';
  for (const Command &c : Table()) known = known || first == c.name;
  if (!known)
    return UsageError("unknown command '%s'", first.c_str());
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &e) {
    if (e.get_exit_code() == 0) return app.exit(e);  // --help, --version
    std::string what = e.what();
    while (!what.empty() && (what.back() == '\n' || what.back() == ' ')) what.pop_back();
    return UsageError("%s", what.c_str());
  }
  return runners[app.get_subcommands().front()]();
}
