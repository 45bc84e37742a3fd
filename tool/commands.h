// gvtool's command table. A command file registers itself with
//   static const gvtool::Registration reg{"name", "usage", Function};
#pragma once

namespace gvtool {

using CommandFn = int (*)(int argc, char **argv);  // argv[0] is the command name

struct Registration {
  Registration(const char *name, const char *usage, CommandFn fn);
};

}  // namespace gvtool
