// gvtool time: a time in any of the library's display formats.
#include <CLI/CLI.hpp>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "commands.h"

namespace {

struct TimeArgs {
  std::string value, format = "ms";
  unsigned rate = 44100;
  double fps = 30.0, tempo = 120.0;
  unsigned beats = 4;
  bool brief = false;
} args;

struct Named {
  const char *name;
  DWORD code;
};
const Named kFormats[] = {
    {"samples", GVTIME_SAMPLES}, {"ms", GVTIME_MILLISECONDS},   {"seconds", GVTIME_SECONDS},
    {"smpte", GVTIME_SMPTE},     {"frames", GVTIME_FRAMES},     {"measures", GVTIME_MEASURES},
    {"smpte2997", GVTIME_SMPTE_2997}, {"smpte30drop", GVTIME_SMPTE_30DROP},
    {"smpte25", GVTIME_SMPTE_25}, {"smpte24", GVTIME_SMPTE_24}};

// 100 ns units per suffix.
struct Unit {
  const char *suffix;
  double units;
};
const Unit kUnits[] = {{"h", 36e9}, {"min", 6e8}, {"ms", 1e4}, {"us", 10.0}, {"s", 1e7}};

// VALUE: an integer count of 100 ns units, or a number with a unit suffix.
bool ParseTime(const std::string &text, NANOTIME *t) {
  if (text.empty()) return false;
  char *end = nullptr;
  const char *p = text.c_str();
  errno = 0;
  const long long whole = std::strtoll(p, &end, 10);
  if (*end == 0 && end != p) {
    *t = whole;
    return errno != ERANGE;  // past the 64-bit range: not a time
  }
  const double x = std::strtod(p, &end);
  if (end == p) return false;
  for (const Unit &u : kUnits)
    if (std::strcmp(end, u.suffix) == 0) {
      const double units = std::round(x * u.units);
      if (!(std::fabs(units) < 9.2e18)) return false;
      *t = NANOTIME(units);
      return true;
    }
  return false;
}

bool ParseFormat(const std::string &text, DWORD *code) {
  for (const Named &f : kFormats)
    if (text == f.name) return *code = f.code, true;
  char *end = nullptr;
  const unsigned long n = std::strtoul(text.c_str(), &end, 10);
  if (text.empty() || *end || text[0] == '-') return false;
  *code = DWORD(n);
  return true;
}

int RunTime() {
  NANOTIME t = 0;
  if (!ParseTime(args.value, &t))
    return gvtool::UsageError("%s: not a time: give 100 ns units (an integer) or a number "
                              "with h, min, s, ms or us", args.value.c_str());
  tGVTIMEFORMAT f{};
  if (!ParseFormat(args.format, &f.dwFormat))
    return gvtool::UsageError("--format %s: not a format code or name", args.format.c_str());
  f.dwSampleRate = args.rate;
  f.dFrameRate = args.fps;
  f.dTempo = args.tempo;
  f.dwTimeSig = GVTIME_MAKESIG(args.beats, 4);
  char text[512];
  GvNanoTimeToAscii(text, &f, t, args.brief);
  std::printf("%s\n", text);
  return gvtool::kDone;
}

gvtool::Runner Setup(CLI::App &cmd) {
  cmd.footer(
      "Formats (code or name): 0 samples, 1 ms (hh:mm:ss.mmm), 2 seconds, 3 smpte\n"
      "(at --fps), 4 frames (at --fps), 5 measures (measure:beat.quarter at --tempo\n"
      "and --beats), 6 smpte2997, 7 smpte30drop, 8 smpte25, 9 smpte24; 10 and above\n"
      "print the raw value. Separators follow the user's settings. VALUE is in\n"
      "100 ns units, or a number with h, min, s, ms or us (2.5s).");
  cmd.add_option("VALUE", args.value, "The time: 100 ns units, or e.g. 2.5s, 90min, 40ms")
      ->required()->allow_extra_args(false);
  cmd.add_option("--format", args.format, "Display format, code or name (default ms)")
      ->option_text("CODE");
  cmd.add_option("--rate", args.rate, "Sample rate for samples, 1 to 10000000 (default 44100)")
      ->check(CLI::Number)->check(CLI::Range(1u, 10000000u))->option_text("HZ");
  cmd.add_option("--fps", args.fps, "Frame rate for smpte and frames, 0.001 to 1000 (default 30)")
      ->check(CLI::Number)->check(CLI::Range(0.001, 1000.0))->option_text("F");
  cmd.add_option("--tempo", args.tempo, "Beats per minute for measures, 0.001 to 10000 (default 120)")
      ->check(CLI::Number)->check(CLI::Range(0.001, 10000.0))->option_text("T");
  cmd.add_option("--beats", args.beats, "Beats per measure, 1 to 255 (default 4)")
      ->check(CLI::Number)->check(CLI::Range(1u, 255u))->option_text("B");
  cmd.add_flag("--brief", args.brief, "The format's brief form");
  return RunTime;
}

const gvtool::Registration reg{"time", "Print a time in one of the display formats.", Setup};

}  // namespace
