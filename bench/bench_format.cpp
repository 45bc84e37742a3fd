// Formatter and number-conversion figures: a typical status line with
// grouping and a token, plain integer and real printing, and parsing.
#include <cstdio>

#include "bench/bench_clock.h"
#include "gvtalc.h"

namespace {

void Report(const char *what, int count, double seconds) {
  std::printf("%-44s %8.0f ns/call  (%d calls)\n", what, seconds * 1e9 / count, count);
}

}  // namespace

int main() {
  char out[512];
  unsigned sink = 0;
  GvPrintF_AddToken("AppName", "Quill");

  const int lines = 200000;
  double t0 = Seconds();
  for (int i = 0; i < lines; ++i)
    sink += GvPrintF(out, "$(AppName): $d samples, %.2f s, $.1z dB, %s", i * 977, i * 0.001,
                     -i % 1000, "ok");
  Report("GvPrintF status line (5 conversions, token)", lines, Seconds() - t0);

  t0 = Seconds();
  for (int i = 0; i < lines; ++i) sink += GvPrintF(out, "plain text without conversions");
  Report("GvPrintF plain text", lines, Seconds() - t0);

  const int numbers = 2000000;
  t0 = Seconds();
  for (int i = 0; i < numbers; ++i) sink += GvLongToAscii(i * 2654435761u, out, TRUE);
  Report("GvLongToAscii grouped", numbers, Seconds() - t0);

  t0 = Seconds();
  for (int i = 0; i < numbers; ++i) sink += GvDoubleToAscii(out, i * 1.37, 3, TRUE);
  Report("GvDoubleToAscii 3 decimals grouped", numbers, Seconds() - t0);

  t0 = Seconds();
  for (int i = 0; i < numbers; ++i) sink += GvAsciiToLongToken(" -1,234,567", nullptr);
  Report("GvAsciiToLongToken \" -1,234,567\"", numbers, Seconds() - t0);

  t0 = Seconds();
  for (int i = 0; i < numbers; ++i) sink += (unsigned)GvAsciiToDoubleToken("12,345.678", nullptr);
  Report("GvAsciiToDoubleToken \"12,345.678\"", numbers, Seconds() - t0);

  GvPrintF_DeleteToken("AppName");
  std::printf("(checksum %u)\n", sink);
  return 0;
}
