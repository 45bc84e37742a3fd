// The token formatter: printf-style conversions introduced by '%' or by
// '$' (grouped by thousands), separator conversions, and $(Name) tokens.
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "kernel/format.h"
#include "kernel/intl.h"
#include "include/gvformat.h"
#include "include/gvnumber.h"

namespace gv {
namespace {

constexpr size_t kMaxSpec = 260;      // longest conversion specification
constexpr size_t kMaxTokenName = 260; // longest $(Name)
constexpr int kMaxConversion = 2047;  // longest single conversion result
// Room for a conversion result and the separators grouping may add.
constexpr size_t kConversionBuffer = 3072;

// Writes into the caller's buffer; a capacity of 0 means unbounded.
class Output {
 public:
  Output(char *out, size_t capacity) : out_(out), room_(capacity ? capacity - 1 : ~size_t(0)) {}
  void Put(char c) { Put(&c, 1); }
  void Put(const char *text, size_t n) {
    if (n > room_ - length_) n = room_ - length_;
    std::memcpy(out_ + length_, text, n);
    length_ += n;
  }
  void Put(const char *text) { Put(text, std::strlen(text)); }
  int Finish() {
    out_[length_] = '\0';
    return static_cast<int>(length_);
  }

 private:
  char *out_;
  size_t room_;
  size_t length_ = 0;
};

bool IsEnding(char c) { return c && std::strchr("*,:;EGXcdefgisuxz", c) != nullptr; }
bool IsNameChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// Copies a specification for the C runtime with every count conversion
// ("%n") and every string conversion that can occur inside a number's
// specification ("%S" wide, "%Z" counted) turned into plain text, so no
// format can make it write memory or read a number as a pointer.
void DisarmCounts(const char *spec, char *safe) {
  for (const char *p = spec; *p;) {
    if (*p != '%') {
      *safe++ = *p++;
      continue;
    }
    if (p[1] == '%') {
      *safe++ = *p++;
      *safe++ = *p++;
      continue;
    }
    const char *q = p + 1;
    while (*q && std::strchr("-+ #0123456789.hlLIw", *q)) ++q;
    if (*q == 'n' || *q == 'S' || *q == 'Z') *safe++ = '%';  // "%%n..." prints as text
    *safe++ = *p++;
  }
  *safe = '\0';
}

// The arguments of one conversion: its value, then zeros for every further
// conversion a run-on specification can hold (each at least two characters
// long and reading at most 8 bytes), so none of them reads stray stack words.
class ArgBlock {
 public:
  template <typename T>
  explicit ArgBlock(T value) {
    std::memcpy(bytes_, &value, sizeof value);
  }
  va_list List() { return reinterpret_cast<va_list>(bytes_); }

 private:
  alignas(8) char bytes_[8 + (kMaxSpec / 2) * 8] = {};
};

// The C runtime's sprintf with one value.
template <typename T>
void PrintC(char *result, const char *spec, T value) {
  char safe[2 * kMaxSpec + 2];
  DisarmCounts(spec, safe);
  ArgBlock args(value);
  int n = _vsnprintf(result, kMaxConversion, safe, args.List());
  if (n < 0 || n > kMaxConversion) n = kMaxConversion;
  result[n] = '\0';
}

void PointsToDecimal(char *text) {
  const char decimal = Separators().decimal;
  for (; *text; ++text)
    if (*text == '.') *text = decimal;
}

// Performs one complete specification (ending character last).
void Convert(const char *spec, size_t length, bool grouped, va_list &args, Output &out) {
  const IntlSeparators &sep = Separators();
  char result[kConversionBuffer];
  bool number = true;
  switch (spec[length - 1]) {
    case '*':
      out.Put(sep.decimal);
      return;
    case ',':
      out.Put(sep.list);
      return;
    case ';':
      out.Put(sep.smpteFraction);
      return;
    case ':':
      out.Put(sep.smpteWhole);
      return;
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
      if (spec[1] == 'I' && spec[2] == '6')
        PrintC(result, spec, va_arg(args, long long));
      else
        PrintC(result, spec, va_arg(args, int));
      break;
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G':
      PrintC(result, spec, va_arg(args, double));
      PointsToDecimal(result);
      break;
    case 'z': {
      const int value = va_arg(args, int);
      DWORD decimals = 0;
      if (length >= 3 && spec[1] == '.' && std::isdigit(static_cast<unsigned char>(spec[length - 2])))
        decimals = GvAsciiToDWordToken(spec + 2, nullptr);
      if (decimals) {
        // More decimals than one conversion may print change nothing.
        if (decimals > kMaxConversion) decimals = kMaxConversion;
        char fixed[16];
        std::sprintf(fixed, "%%.%df", static_cast<int>(decimals));
        PrintC(result, fixed, value / std::pow(10.0, static_cast<double>(decimals)));
        PointsToDecimal(result);
      } else {
        char integer[kMaxSpec + 1];
        std::memcpy(integer, spec, length + 1);
        integer[length - 1] = 'd';
        PrintC(result, integer, value);
      }
      break;
    }
    default: {  // 'c' and 's': the window manager's formatter
      const DWORD_PTR value = va_arg(args, DWORD_PTR);
      char safe[2 * kMaxSpec + 2];
      DisarmCounts(spec, safe);  // a run-on "%S" would take a character as a pointer
      ArgBlock block(value);
      int n = wvsprintfA(result, safe, block.List());
      result[n < 0 ? 0 : n] = '\0';
      number = false;
      break;
    }
  }
  if (grouped && number) GvInsertCommas(result);
  out.Put(result);
}

}  // namespace

int FormatText(char *out, size_t capacity, const char *format, va_list args) {
  Output o(out, capacity);
  const char *f = format ? format : "";
  va_list ap;
  va_copy(ap, args);
  while (*f) {
    const char c = *f;
    if ((c == '$' || c == '%') && f[1] == c) {
      o.Put(c);
      f += 2;
    } else if (c == '$' && f[1] == '(') {
      const char *name = f + 2;
      const char *q = name;
      while (IsNameChar(*q) && static_cast<size_t>(q - name) < kMaxTokenName) ++q;
      const size_t n = q - name;
      const char *value = nullptr;
      DWORD valueLength = 0;
      if (*q == ')') {
        char key[kMaxTokenName + 1];
        std::memcpy(key, name, n);
        key[n] = '\0';
        if (FindToken(key, &value, &valueLength))
          o.Put(value, valueLength);
        else
          o.Put(f, n + 3);  // "$(", the name and ")" as they stand
        f = q + 1;
      } else {
        o.Put(f, n + 2);
        f = q;
      }
    } else if (c == '$' || c == '%') {
      char spec[kMaxSpec + 1];
      size_t n = 0;
      spec[n++] = '%';
      ++f;
      bool complete = false;
      while (*f && n < kMaxSpec) {
        const char s = *f++;
        spec[n++] = s;
        if (IsEnding(s)) {
          complete = true;
          break;
        }
      }
      spec[n] = '\0';
      if (complete)
        Convert(spec, n, c == '$', ap, o);
      else
        o.Put(spec, n);
    } else {
      o.Put(c);
      ++f;
    }
  }
  va_end(ap);
  return o.Finish();
}

const char *WrapperText(char (&buffer)[kWrapperBufferSize], const char *format,
                        va_list args) {
  if (!format) return "";
  if (!std::strpbrk(format, "%$")) return format;
  FormatText(buffer, sizeof buffer, format, args);
  return buffer;
}

}  // namespace gv

GVAPI(int) GvVPrintF(LPSTR out, LPCSTR format, va_list args) {
  if (!out) return 0;
  return gv::FormatText(out, 0, format, args);
}

GVAPIV(int) GvPrintF(LPSTR out, LPCSTR format, ...) {
  if (!out) return 0;
  va_list args;
  va_start(args, format);
  const int length = gv::FormatText(out, 0, format, args);
  va_end(args);
  return length;
}
