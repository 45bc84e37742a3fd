// gvtool format / number: the token formatter and the number conversions
// from the command line.
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

// format [-t NAME=VALUE]... FORMAT [[TYPE:]ARG]...
int Format(int argc, char **argv) {
  int i = 1;
  std::vector<std::string> tokens;
  size_t longestToken = 0;
  for (; i + 1 < argc && !std::strcmp(argv[i], "-t"); i += 2) {
    const char *eq = std::strchr(argv[i + 1], '=');
    if (!eq) {
      std::fprintf(stderr, "format: -t wants NAME=VALUE\n");
      return 2;
    }
    const std::string name(argv[i + 1], eq - argv[i + 1]);
    if (!GvPrintF_AddToken(name.c_str(), eq + 1)) return 1;
    tokens.push_back(name);
    longestToken = std::max(longestToken, std::strlen(eq + 1));
  }
  if (i >= argc) {
    std::fprintf(stderr, "usage: format [-t NAME=VALUE]... FORMAT [[i|l|f|s|c:]ARG]...\n");
    return 2;
  }
  const std::string format = Unescape(argv[i++]);
  // Strings must stay put while the block points at them.
  std::vector<std::string> texts;
  texts.reserve(argc);
  ArgumentBlock block;
  for (; i < argc; ++i) {
    if (!AddArgument(block, argv[i], texts)) {
      std::fprintf(stderr, "format: '%s' is not a number of that type\n", argv[i]);
      return 2;
    }
  }
  const size_t room = RoomFor(format, longestToken);
  if (!room) {
    std::fprintf(stderr, "format: widths and precisions that large are not supported here\n");
    return 2;
  }
  std::vector<char> out(room);
  const int length = GvVPrintF(out.data(), format.c_str(), block.List());
  std::printf("%s\n", out.data());
  std::fprintf(stderr, "(%d characters)\n", length);
  for (const std::string &name : tokens) GvPrintF_DeleteToken(name.c_str());
  return 0;
}

// number TEXT [DECIMALS]: the text parsed every way and printed back.
int Number(int argc, char **argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: number TEXT [DECIMALS]\n");
    return 2;
  }
  const char *text = argv[1];
  const UINT decimals = argc > 2 ? static_cast<UINT>(std::atoi(argv[2])) : 2;
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
  return 0;
}

const gvtool::Registration formatReg{
    "format", "format [-t NAME=VALUE]... FORMAT [[i|l|f|s|c:]ARG]...  token formatter", Format};
const gvtool::Registration numberReg{
    "number", "number TEXT [DECIMALS]       parse and print a number", Number};

}  // namespace
