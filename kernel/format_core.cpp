// The token formatter: printf-style conversions introduced by '%' or by
// '$' (grouped by thousands), separator conversions, and $(Name) tokens.
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "kernel/format.h"
#include "kernel/intl.h"
#include "kernel/strings.h"
#include "include/gvformat.h"
#include "include/gvnumber.h"

namespace gv {
namespace {

constexpr size_t kMaxDirective = 260;  // longest conversion directive
constexpr size_t kMaxTokenName = 260;  // longest $(Name)
// What one conversion can print besides its width and precision: the 309
// integer digits of the largest double, sign, point, exponent and prefix.
constexpr uint64_t kConversionBase = 330;
// A conversion that would need more room than this is not attempted.
constexpr uint64_t kMaxConversion = 0x3FFFFFFF;
// The window manager's formatter stops after this many characters.
constexpr size_t kWindowFormatterLimit = 1023;

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

// Working room for one conversion: on the stack when small, else sized from
// the directive on the heap.
class Work {
 public:
  bool Reserve(uint64_t n) {
    if (n <= sizeof local_) return true;
    if (n > kMaxConversion * 2) return false;
    heap_.reset(new (std::nothrow) char[static_cast<size_t>(n)]);
    text_ = heap_.get();
    return text_ != nullptr;
  }
  char *Text() { return text_; }

 private:
  char local_[kWindowFormatterLimit + 1];
  std::unique_ptr<char[]> heap_;
  char *text_ = local_;
};

bool IsEnding(char c) { return c && std::strchr("*,:;EGXcdefgisuxz", c) != nullptr; }
bool IsNameChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Reads the digits at p (saturating past kMaxConversion) and moves p past them.
uint64_t ReadCount(const char *&p) {
  uint64_t n = 0;
  for (; IsDigit(*p); ++p) n = n > kMaxConversion ? n : n * 10 + (*p - '0');
  return n;
}

// Room, terminator included, for what the C runtime prints for `directive`:
// its own characters plus, for every conversion it holds (a run-on directive
// holds several), the base and every width and precision written in it.
// 0 when that is more than one conversion may have.
uint64_t RoomFor(const char *directive) {
  uint64_t room = std::strlen(directive) + 1;
  for (const char *p = directive; *p;) {
    if (IsDigit(*p)) {
      room += ReadCount(p);
    } else {
      if (*p++ == '%') room += kConversionBase;
    }
    if (room > kMaxConversion) return 0;
  }
  return room;
}

// Copies a directive for the C runtime with every count conversion
// ("%n") and every string conversion that can occur inside a number's
// directive ("%S" wide, "%Z" counted) turned into plain text, so no
// format can make it write memory or read a number as a pointer.
void DisarmCounts(const char *directive, char *safe) {
  for (const char *p = directive; *p;) {
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
// conversion a run-on directive can hold (each at least two characters
// long and reading at most 8 bytes), so none of them reads stray stack words.
class ArgBlock {
 public:
  template <typename T>
  explicit ArgBlock(T value) {
    std::memcpy(bytes_, &value, sizeof value);
  }
  va_list List() { return reinterpret_cast<va_list>(bytes_); }

 private:
  alignas(8) char bytes_[8 + (kMaxDirective / 2) * 8] = {};
};

// The C runtime's sprintf with one value, the whole result in `work` with
// room for grouping behind it; false when that room cannot be had.
template <typename T>
bool PrintC(Work &work, const char *directive, T value) {
  char safe[2 * kMaxDirective + 2];
  DisarmCounts(directive, safe);
  const uint64_t room = RoomFor(safe);
  if (!room || !work.Reserve(room + room / 3 + 1)) return false;
  ArgBlock args(value);
  const int n = _vsnprintf(work.Text(), static_cast<size_t>(room - 1), safe, args.List());
  if (n < 0) return false;
  work.Text()[n] = '\0';
  return true;
}

// The text a plain 'c' or 's' conversion shows, before padding: at most
// `precision` characters, a wide text in the system code page.
class TextPiece {
 public:
  bool Take(char type, bool wide, uint64_t precision, DWORD_PTR value) {
    if (type == 's' && !value) {
      text_ = "(null)";
      length_ = precision < 6 ? precision : 6;
      return true;
    }
    if (!wide) {
      single_ = static_cast<char>(value);
      text_ = type == 'c' ? &single_ : reinterpret_cast<const char *>(value);
      const uint64_t most = type == 'c' ? 1 : precision;
      while (length_ < most && text_[length_]) ++length_;
      if (type == 'c') length_ = 1;
      return true;
    }
    const WCHAR single = static_cast<WCHAR>(value);
    const WCHAR *w = type == 'c' ? &single : reinterpret_cast<const WCHAR *>(value);
    int count = type == 'c' ? 1 : 0;
    if (type == 's')
      while (static_cast<uint64_t>(count) < precision && count < 0x7FFFFFFF && w[count]) ++count;
    const int bytes = WideCharToMultiByte(CP_ACP, 0, w, count, nullptr, 0, nullptr, nullptr);
    converted_.reset(new (std::nothrow) char[bytes + 1]);
    if (!converted_) return false;
    WideCharToMultiByte(CP_ACP, 0, w, count, converted_.get(), bytes, nullptr, nullptr);
    text_ = converted_.get();
    length_ = static_cast<uint64_t>(bytes);
    return true;
  }
  const char *Text() const { return text_; }
  uint64_t Length() const { return length_; }

 private:
  char single_ = 0;
  const char *text_ = "";
  uint64_t length_ = 0;
  std::unique_ptr<char[]> converted_;
};

// 'c' and 's' through the window manager's formatter. It stops at 1023
// characters, so a plain directive (flags, width, precision, size prefix)
// whose result is longer is laid out here as it would: blanks up to the
// width, on the right with '-'.
bool PrintText(Work &work, const char *directive, DWORD_PTR value) {
  const char *p = directive + 1;
  bool left = false;
  for (; *p == '-' || *p == '#' || *p == '0'; ++p) left |= *p == '-';
  const uint64_t width = ReadCount(p);
  uint64_t precision = ~uint64_t(0);
  if (*p == '.') precision = ReadCount(++p);
  const bool wide = *p == 'l' || *p == 'w';
  if (wide || *p == 'h') ++p;
  const bool plain = (*p == 'c' || *p == 's') && !p[1];
  TextPiece piece;
  if (plain && !piece.Take(*p, wide, precision, value)) return false;
  const uint64_t total = width > piece.Length() ? width : piece.Length();
  if (!plain || total <= kWindowFormatterLimit) {
    char safe[2 * kMaxDirective + 2];
    DisarmCounts(directive, safe);  // a run-on "%S" would take a character as a pointer
    ArgBlock block(value);
    if (!work.Reserve(kWindowFormatterLimit + 1)) return false;
    const int n = wvsprintfA(work.Text(), safe, block.List());
    work.Text()[n < 0 ? 0 : n] = '\0';
    return true;
  }
  if (total > kMaxConversion || !work.Reserve(total + 1)) return false;
  const size_t pad = static_cast<size_t>(total - piece.Length());
  char *out = work.Text();
  if (!left) out = static_cast<char *>(std::memset(out, ' ', pad)) + pad;
  std::memcpy(out, piece.Text(), static_cast<size_t>(piece.Length()));
  out += piece.Length();
  if (left) out = static_cast<char *>(std::memset(out, ' ', pad)) + pad;
  *out = '\0';
  return true;
}

void PointsToDecimal(char *text) {
  const char decimal = Separators().decimal;
  for (; *text; ++text)
    if (*text == '.') *text = decimal;
}

// Performs one complete directive (ending character last). A conversion too
// long to be produced is written as its directive.
void Convert(const char *directive, size_t length, bool grouped, va_list &args, Output &out) {
  const IntlSeparators &sep = Separators();
  Work work;
  bool done = false, number = true;
  switch (directive[length - 1]) {
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
      if (directive[1] == 'I' && directive[2] == '6')
        done = PrintC(work, directive, va_arg(args, long long));
      else
        done = PrintC(work, directive, va_arg(args, int));
      break;
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G':
      done = PrintC(work, directive, va_arg(args, double));
      if (done) PointsToDecimal(work.Text());
      break;
    case 'z': {
      const int value = va_arg(args, int);
      DWORD decimals = 0;
      if (length >= 3 && directive[1] == '.' &&
          std::isdigit(static_cast<unsigned char>(directive[length - 2])))
        decimals = GvAsciiToDWordToken(directive + 2, nullptr);
      if (decimals) {
        char fixed[16];
        std::sprintf(fixed, "%%.%luf", static_cast<unsigned long>(decimals));
        done = PrintC(work, fixed, value / std::pow(10.0, static_cast<double>(decimals)));
        if (done) PointsToDecimal(work.Text());
      } else {
        char integer[kMaxDirective + 1];
        std::memcpy(integer, directive, length + 1);
        integer[length - 1] = 'd';
        done = PrintC(work, integer, value);
      }
      break;
    }
    default:  // 'c' and 's'
      done = PrintText(work, directive, va_arg(args, DWORD_PTR));
      number = false;
      break;
  }
  if (!done) {
    out.Put(directive, length);
    return;
  }
  if (grouped && number) InsertCommas(work.Text());
  out.Put(work.Text());
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
      char directive[kMaxDirective + 1];
      size_t n = 0;
      directive[n++] = '%';
      ++f;
      bool complete = false;
      while (*f && n < kMaxDirective) {
        const char s = *f++;
        directive[n++] = s;
        if (IsEnding(s)) {
          complete = true;
          break;
        }
      }
      directive[n] = '\0';
      if (complete)
        Convert(directive, n, c == '$', ap, o);
      else
        o.Put(directive, n);
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
