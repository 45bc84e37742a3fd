// gvtool metric / mru: settings and recent-file lists in the registry.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <string>

#include "commands.h"

namespace {

using gvtool::kDone;
using gvtool::kFailed;
using gvtool::UsageError;

// A whole number, all of the text, within the range; else false.
bool Whole(const std::string &text, long long low, long long high, long long *value) {
  return CLI::detail::lexical_cast(text, *value) && *value >= low && *value <= high;
}

struct MetricArgs {
  std::string app, version, op, value;
  int id = 0;
} metric;

// "1.0" -> 0x01000000; false unless MAJOR.MINOR with both 0..255.
bool ParseVersion(const std::string &text, DWORD *version) {
  const size_t dot = text.find('.');
  long long major = 0, minor = 0;
  if (dot == std::string::npos || !Whole(text.substr(0, dot), 0, 255, &major) ||
      !Whole(text.substr(dot + 1), 0, 255, &minor))
    return false;
  *version = DWORD(major << 24 | minor << 16);
  return true;
}

int RunMetric() {
  const MetricArgs &a = metric;
  DWORD version = 0;
  if (!ParseVersion(a.version, &version))
    return UsageError("VERSION must be MAJOR.MINOR, not '%s'", a.version.c_str());
  const bool wantsValue = a.op == "set" || a.op == "sets" || a.op == "list";
  if (wantsValue != !a.value.empty() && a.op != "sets")
    return UsageError(wantsValue ? "%s needs a value" : "%s takes no value", a.op.c_str());
  long long number = 0;
  if (a.op == "set" && !Whole(a.value, 0, 0xFFFFFFFFll, &number))
    return UsageError("VALUE must be a number 0..4294967295, not '%s'", a.value.c_str());
  if (a.op == "list" && !Whole(a.value, a.id, a.id + 100000ll, &number))
    return UsageError("LAST must be a number from ID to ID+100000, not '%s'", a.value.c_str());
  HGVMETRIC h = nullptr;
  const HRESULT hr = GvMetric_Open(&h, a.app.c_str(), version, nullptr);
  if (hr != S_OK) {
    gvtool::Error("cannot open the settings of %s %s: %s", a.app.c_str(), a.version.c_str(),
                  gvtool::HresultReason(hr).c_str());
    return kFailed;
  }
  int rc = kDone;
  if (a.op == "get") {
    if (GvDoesMetricExist(h, a.id, REG_DWORD) == S_OK)
      std::printf("%d = %lu\n", a.id, static_cast<unsigned long>(GvGetMetric(h, a.id)));
    else
      std::printf("%d is not set\n", a.id);
  } else if (a.op == "set") {
    rc = GvSetMetric(h, a.id, DWORD(number)) == S_OK ? kDone : kFailed;
  } else if (a.op == "gets") {
    char text[260];
    GvGetMetricStringEx(h, a.id, text, sizeof text, "(not set)", TRUE);
    std::printf("S%d = \"%s\"\n", a.id, text);
  } else if (a.op == "sets") {
    rc = GvSetMetricString(h, a.id, a.value.c_str()) == S_OK ? kDone : kFailed;
  } else {  // list
    for (long long i = a.id; i <= number; ++i) {
      const int id = int(i);
      if (GvDoesMetricExist(h, id, REG_DWORD) == S_OK)
        std::printf("%6d  dword  %lu\n", id, static_cast<unsigned long>(GvGetMetric(h, id)));
      if (GvDoesMetricExist(h, id, REG_SZ) == S_OK) {
        char text[260];
        GvGetMetricStringEx(h, id, text, sizeof text, nullptr, TRUE);
        std::printf("%6d  text   \"%s\"\n", id, text);
      }
    }
  }
  GvMetric_Close(h);
  if (rc != kDone) gvtool::Error("%s %d failed", a.op.c_str(), a.id);
  return rc;
}

gvtool::Runner SetupMetric(CLI::App &cmd) {
  cmd.add_option("APP", metric.app, "Application name")->required();
  cmd.add_option("VERSION", metric.version, "Settings version, MAJOR.MINOR")->required();
  cmd.add_option("OP", metric.op, "get ID | set ID VALUE | gets ID | sets ID TEXT | list ID LAST")
      ->required()
      ->check(CLI::IsMember({"get", "set", "gets", "sets", "list"}));
  cmd.add_option("ID", metric.id, "Setting number")->required();
  cmd.add_option("VALUE", metric.value, "The value (set), text (sets) or last ID (list)");
  return RunMetric;
}

struct MruArgs {
  std::string list, op, arg;
} mru;

int RunMru() {
  const MruArgs &a = mru;
  if ((a.op == "show") != a.arg.empty())
    return UsageError(a.op == "show" ? "show takes no argument" : "%s needs an argument",
                      a.op.c_str());
  if (a.op == "add") {
    if (GvAddMRUNames(a.list.c_str(), a.arg.c_str())) return kDone;
    gvtool::Error("cannot add to the list %s", a.list.c_str());
    return kFailed;
  }
  if (a.op == "size") {
    long long n = 0;
    if (!Whole(a.arg, 1, 300, &n))
      return UsageError("N must be a number 1..300, not '%s'", a.arg.c_str());
    if (!GvSetMRUNum(a.list.c_str(), int(n))) return kDone;
    gvtool::Error("cannot resize the list %s", a.list.c_str());
    return kFailed;
  }
  LPSTR names[300];
  const int n = GvLoadMRUNames(a.list.c_str(), names, 300);
  std::printf("%s (capacity %d):\n", a.list.c_str(), GvGetMRUNum(a.list.c_str()));
  for (int i = 0; i < n; ++i) {
    std::printf("  %d. %s\n", i + 1, names[i]);
    HGLOBAL block = GlobalHandle(names[i]);
    GlobalUnlock(block);
    GlobalFree(block);
  }
  return kDone;
}

gvtool::Runner SetupMru(CLI::App &cmd) {
  cmd.add_option("LIST", mru.list, "List name")->required();
  cmd.add_option("OP", mru.op, "add NAME | show | size N")
      ->required()
      ->check(CLI::IsMember({"add", "show", "size"}));
  cmd.add_option("ARG", mru.arg, "The name (add) or capacity (size)");
  return RunMru;
}

const gvtool::Registration metricReg{"metric", "Settings in the registry: get, set, list.",
                                     SetupMetric};
const gvtool::Registration mruReg{"mru", "Recent-file lists: add, show, size.", SetupMru};

}  // namespace
