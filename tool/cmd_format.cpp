// gvtool format / number: the token formatter and the number conversions
// from the command line.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "commands.h"
#include "gvtalc.h"

namespace {

// An argument block laid out as a 32-bit caller pushes a variable argument
// list: 4-byte slots, 8 bytes for doubles and 64-bit integers.
class ArgumentBlock {
 public:
  void Add(const void *value, size_t size) {
    const char *bytes = static_cast<const char *>(value);
    bytes_.insert(bytes_.end(), bytes, bytes + size);
  }
  va_list List() {
    bytes_.resize(bytes_.size() + 64, 0);  // zeros for conversions without argument
    return reinterpret_cast<va_list>(bytes_.data());
  }

 private:
  std::vector<char> bytes_;
};

bool WholeNumber(const char *text, long long *value) {
  char *end = nullptr;
  *value = std::strtoll(text, &end, 0);
  return *text && !*end;
}

bool RealNumber(const char *text, double *value) {
  char *end = nullptr;
  *value = std::strtod(text, &end);
  return *text && !*end;
}

// TYPE:VALUE with i (32-bit), l (64-bit), f (double), s (text), c (one
// character); without a type, whole numbers are i, other numbers f, the
// rest s.
bool AddArgument(ArgumentBlock &block, const char *arg, std::vector<std::string> &texts) {
  char type = 0;
  const char *value = arg;
  if (arg[0] && arg[1] == ':' && std::strchr("ilfsc", arg[0])) {
    type = arg[0];
    value = arg + 2;
  }
  long long whole = 0;
  double real = 0;
  if (!type) type = WholeNumber(value, &whole) ? 'i' : RealNumber(value, &real) ? 'f' : 's';
  switch (type) {
    case 'i':
    case 'l':
      if (!WholeNumber(value, &whole)) return false;
      if (type == 'i') {
        const int narrow = static_cast<int>(whole);
        block.Add(&narrow, 4);
      } else {
        block.Add(&whole, 8);
      }
      return true;
    case 'f':
      if (!RealNumber(value, &real)) return false;
      block.Add(&real, 8);
      return true;
    case 'c': {
      const int c = static_cast<unsigned char>(value[0]);
      block.Add(&c, 4);
      return true;
    }
    default: {
      texts.emplace_back(value);
      const char *p = texts.back().c_str();
      block.Add(&p, 4);
      return true;
    }
  }
}

// "\n" and "\t" written on the command line become the characters.
std::string Unescape(const char *text) {
  std::string out;
  for (const char *p = text; *p; ++p) {
    if (p[0] == '\\' && p[1] == 'n') {
      out += '\n';
      ++p;
    } else if (p[0] == '\\' && p[1] == 't') {
      out += '\t';
      ++p;
    } else {
      out += *p;
    }
  }
  return out;
}

// The formatter has no size argument, and every conversion comes out whole:
// room for the arguments, each width and precision written in the format
// (with room for grouping), and each token as long as the longest given.
// 0 when that is more than this tool will try.
size_t RoomFor(const std::string &format, size_t longestToken) {
  unsigned long long room = 64 * 1024 + format.size() * (8 + longestToken);
  for (size_t i = 0; i < format.size();) {
    unsigned long long n = 0;
    for (; i < format.size() && format[i] >= '0' && format[i] <= '9'; ++i)
      if ((n = n * 10 + (format[i] - '0')) > (1u << 26)) return 0;
    room += n + n / 3;
    if (room > (1u << 28)) return 0;
    if (!n) ++i;
  }
  return static_cast<size_t>(room);
}

struct FormatArgs {
  std::vector<std::string> tokens, args;
  std::string format;
} fmt;

int RunFormat() {
  std::vector<std::string> names;
  for (const std::string &t : fmt.tokens) {
    const size_t eq = t.find('=');
    if (eq == std::string::npos || eq == 0)
      return gvtool::UsageError("-t wants NAME=VALUE, not '%s'", t.c_str());
    names.push_back(t.substr(0, eq));
  }
  // Strings must stay put while the block points at them.
  std::vector<std::string> texts;
  texts.reserve(fmt.args.size());
  ArgumentBlock block;
  for (const std::string &arg : fmt.args) {
    if (!AddArgument(block, arg.c_str(), texts))
      return gvtool::UsageError("'%s' is not a number of that type", arg.c_str());
  }
  for (size_t i = 0; i < names.size(); ++i) {
    if (!GvPrintF_AddToken(names[i].c_str(), fmt.tokens[i].c_str() + names[i].size() + 1)) {
      gvtool::Error("cannot add the token %s", names[i].c_str());
      return gvtool::kFailed;
    }
  }
  const std::string format = Unescape(fmt.format.c_str());
  size_t longestToken = 0;
  for (size_t i = 0; i < names.size(); ++i)
    longestToken = std::max(longestToken, fmt.tokens[i].size() - names[i].size() - 1);
  const size_t room = RoomFor(format, longestToken);
  if (!room) return gvtool::UsageError("widths and precisions that large are not supported here");
  std::vector<char> out(room);
  const int length = GvVPrintF(out.data(), format.c_str(), block.List());
  std::printf("%s\n", out.data());
  std::fprintf(stderr, "(%d characters)\n", length);
  for (const std::string &name : names) GvPrintF_DeleteToken(name.c_str());
  return gvtool::kDone;
}

gvtool::Runner SetupFormat(CLI::App &cmd) {
  cmd.add_option("-t,--token", fmt.tokens, "Define $(NAME) as VALUE for this run (NAME=VALUE)")
      ->allow_extra_args(false);
  cmd.add_option("FORMAT", fmt.format, "Format text; \\n and \\t are turned into the characters")
      ->required();
  cmd.add_option("ARGS", fmt.args,
                 "Arguments as TYPE:VALUE, TYPE one of i (32-bit), l (64-bit), f (double), "
                 "s (text), c (character); untyped whole numbers are i, other numbers f, the "
                 "rest s");
  return RunFormat;
}

struct NumberArgs {
  std::string text;
  int decimals = 2;
} num;

// The text parsed every way the library parses numbers, and printed back.
int RunNumber() {
  const char *text = num.text.c_str();
  const UINT decimals = static_cast<UINT>(num.decimals);
  LPSTR end = nullptr;
  char printed[64];

  const LONGLONG whole = GvAsciiToLongLongToken(text, &end);
  int length = GvLongLongToAscii(whole, printed, TRUE);
  std::printf("integer  %s (length %d, stopped at offset %d)\n", printed, length,
              static_cast<int>(end - text));
  const DWORD hex = GvHexToDWordToken(text, &end);
  std::printf("hex      0x%08lX = %lu (stopped at offset %d)\n", static_cast<unsigned long>(hex),
              static_cast<unsigned long>(hex), static_cast<int>(end - text));
  const double real = GvAsciiToDoubleToken(text, &end);
  length = GvDoubleToAscii(printed, real, decimals, TRUE);
  std::printf("real     %s (length %d, stopped at offset %d)\n", printed, length,
              static_cast<int>(end - text));
  std::printf("dB       %s\n", GvGetdBStringFixed(nullptr, static_cast<LONG>(whole),
                                                   static_cast<int>(decimals), 0, TRUE));
  return gvtool::kDone;
}

gvtool::Runner SetupNumber(CLI::App &cmd) {
  cmd.add_option("TEXT", num.text, "The text to parse (any text: it shows where parsing stops)")
      ->required();
  cmd.add_option("DECIMALS", num.decimals, "Decimals of the real and dB lines, 0 to 15 (default 2)")
      ->check(CLI::Number)
      ->check(CLI::Range(0, 15))
      ->option_text(" ");
  return RunNumber;
}

const gvtool::Registration formatReg{"format", "The token formatter: FORMAT with arguments.",
                                     SetupFormat};
const gvtool::Registration numberReg{"number", "Parse a number every way and print it back.",
                                     SetupNumber};

}  // namespace
