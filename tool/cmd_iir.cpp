// gvtool iir: designs a shelf or band filter with the GvIIR_ routines,
// prints its coefficients and, with --plot, draws the magnitude response of
// the filter run as gviir.h says a caller runs it.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "audio/iir.h"
#include "commands.h"
#include "waveform.h"

namespace {

struct IirArgs {
  std::string type, plot;
  double freq = 0, gain = 0, q = 1;
  unsigned rate = 44100;
  int width = 900, height = 420;
} args;

using Kind = gv::audio::iir::Shape;
struct Type {
  const char *name;
  Kind kind;
  void(WINAPI *design)(tGVIIRCOEFFS *, const tGVIIRREQUEST *);
};
const Type kTypes[] = {{"lowcut", Kind::LowShelfCut, GvIIR_FindLowShelfCutCoeffs},
                       {"lowboost", Kind::LowShelfBoost, GvIIR_FindLowShelfBoostCoeffs},
                       {"hiboost", Kind::HiShelfBoost, GvIIR_FindHiShelfBoostCoeffs},
                       {"hicut", Kind::HiShelfCut, GvIIR_FindHiShelfCutCoeffs},
                       {"band", Kind::Band, GvIIR_FindBandPassCoeffs}};

// The curve is the filter's transfer function (both passes) as the library
// runs it: exact however slowly its poles die away.
bool Plot(const tGVIIRCOEFFS &k, Kind kind, const std::string &path) {
  const int w = args.width, ht = args.height, left = 40, bottom = 24, top = 8;
  const int plotW = w - left - 8, plotH = ht - bottom - top;
  const double fLo = 10.0, fHi = args.rate / 2.0;
  const double range = std::max(12.0, std::ceil((std::fabs(args.gain) + 3.0) / 6.0) * 6.0);
  gvtool::Picture pic(w, ht, gvtool::Rgb{255, 255, 255});
  const gvtool::Rgb grid{220, 220, 220}, axis{110, 110, 110}, curve{31, 95, 191};
  auto xOf = [&](double f) { return left + int(std::log(f / fLo) / std::log(fHi / fLo) * (plotW - 1)); };
  auto yOf = [&](double db) { return top + int((range - db) / (2 * range) * (plotH - 1) + 0.5); };
  for (double db = -range; db <= range; db += 6.0) {
    pic.Fill(left, yOf(db), plotW, 1, db == 0 ? axis : grid);
    char label[16];
    std::snprintf(label, sizeof label, "%.0f", db);
    gvtool::DrawText(pic, left - 4 - gvtool::TextWidth(label, 1), yOf(db) - 3, label, 1, axis);
  }
  for (double decade = 10; decade <= fHi; decade *= 10)
    for (int m = 1; m <= 9; ++m) {
      const double f = decade * m;
      if (f < fLo || f > fHi) continue;
      pic.Fill(xOf(f), top, 1, plotH, m == 1 ? axis : grid);
      if (m == 1) {
        const std::string label = std::to_string(long(f));
        gvtool::DrawText(pic, xOf(f) - gvtool::TextWidth(label, 1) / 2, top + plotH + 6, label, 1, axis);
      }
    }
  int prev = -1;
  for (int px = 0; px < plotW; ++px) {
    const double f = fLo * std::exp(std::log(fHi / fLo) * px / (plotW - 1));
    const double db = 20 * std::log10(std::max(gv::audio::iir::Magnitude(k, kind, f / args.rate), 1e-12));
    const int y = std::min(std::max(yOf(db), top), top + plotH - 1);
    const int y0 = prev < 0 ? y : std::min(prev, y), y1 = prev < 0 ? y : std::max(prev, y);
    pic.Fill(left + px, y0, 1, y1 - y0 + 2, curve);
    prev = y;
  }
  if (!gvtool::WritePng(path, pic)) return false;  // it has reported why
  std::printf("response from 10 to %.0f Hz, %+.0f to %+.0f dB: %s\n", fHi, -range, range, path.c_str());
  return true;
}

int RunIir() {
  const Type *type = nullptr;
  for (const Type &t : kTypes)
    if (args.type == t.name) type = &t;
  if (!type)
    return gvtool::UsageError("%s: not a filter type (lowcut, lowboost, hiboost, hicut, band)",
                              args.type.c_str());
  if (args.freq > args.rate / 2.0)
    return gvtool::UsageError("%g Hz lies above half the rate (%u Hz)", args.freq, args.rate);
  const tGVIIRREQUEST request{args.freq / args.rate, args.gain, args.q};
  tGVIIRCOEFFS k{};
  type->design(&k, &request);
  std::printf("%s at %g Hz of %u, %+g dB, Q %g (frequency %.9g of the rate)\n", type->name,
              args.freq, args.rate, args.gain, args.q, request.dFreq);
  for (int i = 0; i < 8; ++i) std::printf("c%d = %.17g\n", i, k.c[i]);
  if (!args.plot.empty() && !Plot(k, type->kind, args.plot)) return gvtool::kFailed;
  return gvtool::kDone;
}

gvtool::Runner Setup(CLI::App &cmd) {
  cmd.footer(
      "TYPE: lowcut, lowboost (low shelves), hiboost, hicut (high shelves), band\n"
      "(a peak or dip). The coefficients c0..c7 are printed as designed; the plot\n"
      "shows the filter run as gviir.h describes (two passes of one section), from\n"
      "its impulse response, over a logarithmic frequency axis labelled in Hz and\n"
      "a dB axis. OUT.png appears only when complete.");
  cmd.add_option("TYPE", args.type, "lowcut, lowboost, hiboost, hicut or band")->required();
  cmd.add_option("FREQ_HZ", args.freq, "Frequency in Hz, 0 to half the rate")
      ->required()->check(CLI::Number)->check(CLI::Range(0.0, 5e6));
  cmd.add_option("GAIN_DB", args.gain, "Gain in dB, -100 to 100")
      ->required()->check(CLI::Number)->check(CLI::Range(-100.0, 100.0));
  cmd.add_option("Q", args.q, "Bandwidth divisor, 0.05 to 100 (larger is narrower)")
      ->required()->check(CLI::Number)->check(CLI::Range(0.05, 100.0));
  cmd.add_option("--rate", args.rate, "Sample rate, 1000 to 10000000 (default 44100)")
      ->check(CLI::Number)->check(CLI::Range(1000u, 10000000u))->option_text("HZ");
  cmd.add_option("--plot", args.plot, "Draw the magnitude response into this PNG")
      ->option_text("OUT.png");
  return RunIir;
}

const gvtool::Registration reg{"iir", "Design a shelf or band filter; print or plot it.", Setup};

}  // namespace
