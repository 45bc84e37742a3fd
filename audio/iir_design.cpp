// Coefficient design of the GvIIR_ routines.
#include <algorithm>
#include <cmath>
#include <complex>

#include "audio/iir.h"

namespace gv::audio::iir {
namespace {

constexpr double kPi = 3.141592653589793, kTwoPi = 6.283185307179586;
constexpr double kLog2e = 1.4426950408889634;
constexpr double kPerHz = 2.2675736961451248e-05;  // 1 / 44100

double Exp(double x) { return std::exp2(x * kLog2e); }
double Clamp(double x, double lo, double hi) { return x < lo ? lo : x > hi ? hi : x; }
double ShelfGain(double db) { return std::pow(10.0, db * 0.025); }  // per pass: dB / 40

// c0..c4 from the working frequency and the bandwidth divisor.
void Poles(tGVIIRCOEFFS &out, double w, double q) {
  const double r = Exp(-kPi * w / q);
  out.c[0] = out.c[1] = 0.0;
  out.c[2] = 2.0 * r * std::cos(kTwoPi * w);
  out.c[3] = Exp(-kTwoPi * w / q);
  out.c[4] = out.c[3] - (out.c[2] - 1.0);
}

// The high-frequency gain curve: dB at multiples of 1000/44100.
constexpr double kGainStep = 0.022675736961451247;
constexpr double kGainDb[16] = {0, -1, -2, -3, -4, -5, -5, -6, -7, -8, -9, -10, -11, -12, -12, -13};

// Band width correction: rows by frequency (stored in Hz at 44100), each
// with 7 divisor breakpoints and the factor k there (scripts/iir_band_table.py
// measures them: the factor that brings the half-power width of the section
// to w / dQ, within 0.25 .. 4).
struct BandRow {
  double freq;
  double q[7];
  double k[7];
};
#define GV_QS {0.25, 0.5, 1, 2, 4, 8, 16}
const BandRow kBandRowsHz[] = {
    {13.23, GV_QS, {1.0000, 1.0000, 1.0000, 1.0000, 1.0000, 1.0001, 1.0002}},
    {40.00, GV_QS, {0.9999, 1.0000, 1.0000, 1.0000, 1.0000, 1.0001, 1.0002}},
    {100.00, GV_QS, {0.9995, 0.9999, 1.0000, 1.0000, 1.0000, 1.0001, 1.0002}},
    {250.00, GV_QS, {0.9966, 0.9992, 0.9998, 0.9999, 1.0000, 1.0001, 1.0002}},
    {600.00, GV_QS, {0.9803, 0.9951, 0.9988, 0.9997, 0.9999, 1.0001, 1.0002}},
    {1500.00, GV_QS, {0.8694, 0.9691, 0.9924, 0.9981, 0.9996, 1.0000, 1.0002}},
    {3500.00, GV_QS, {0.2500, 0.8166, 0.9577, 0.9896, 0.9974, 0.9994, 1.0000}},
    {7000.00, GV_QS, {0.2500, 0.2500, 0.8166, 0.9577, 0.9896, 0.9974, 0.9995}},
    {12000.00, GV_QS, {0.2500, 0.2500, 0.2500, 0.8694, 0.9691, 0.9924, 0.9981}},
    {17000.00, GV_QS, {0.2500, 0.2500, 0.2500, 0.7104, 0.9369, 0.9846, 0.9962}},
    {21609.00, GV_QS, {0.2500, 0.2500, 0.2500, 0.3706, 0.8957, 0.9750, 0.9941}},
};
#undef GV_QS
constexpr int kBandRows = int(sizeof kBandRowsHz / sizeof kBandRowsHz[0]);

// The rows' frequencies as fractions of the sample rate, converted on first
// use (a function-local static: made once, safely, for the whole process).
const double *BandRowFreqs() {
  static const struct Freqs {
    double f[kBandRows];
    Freqs() {
      for (int i = 0; i < kBandRows; ++i) f[i] = kBandRowsHz[i].freq * kPerHz;
    }
  } freqs;
  return freqs.f;
}

// Index lo and weight of x between breakpoints a[0..n-1] (held at the ends).
void Between(const double *a, int n, double x, int *lo, double *t) {
  if (x <= a[0]) {
    *lo = 0, *t = 0.0;
    return;
  }
  for (int i = 1; i < n; ++i)
    if (x <= a[i]) {
      *lo = i - 1, *t = (x - a[i - 1]) / (a[i] - a[i - 1]);
      return;
    }
  *lo = n - 2, *t = 1.0;
}

double RowFactor(const BandRow &row, double q) {
  int i;
  double t;
  Between(row.q, 7, q, &i, &t);
  return row.k[i] + (row.k[i + 1] - row.k[i]) * t;
}

}  // namespace

double HighFrequencyGain(double x) {
  x = Clamp(x, kMinFreq, kMaxFreq);
  int k = 15;
  for (int i = 1; i <= 15; ++i)
    if (x <= i * kGainStep) {
      k = i;
      break;
    }
  const double a = kGainDb[k - 1], b = kGainDb[k];
  double db;
  if (a == b)
    db = a;
  else if (x == k * kGainStep)
    db = b;
  else
    db = a + (b - a) * (x - (k - 1) * kGainStep) / kGainStep;
  return std::pow(10.0, db * 0.05);
}

double BandWidthFactor(double w, double q) {
  const double *freqs = BandRowFreqs();
  int i;
  double t;
  Between(freqs, kBandRows, w, &i, &t);
  const double a = RowFactor(kBandRowsHz[i], q), b = RowFactor(kBandRowsHz[i + 1], q);
  return a + (b - a) * t;
}

namespace {

// The section's response at x for the band shape: (1 - z^-2) c4 / A(z).
std::complex<double> BandSection(const tGVIIRCOEFFS &k, double x) {
  const std::complex<double> z1 = std::polar(1.0, -kTwoPi * x), z2 = z1 * z1;
  return k.c[4] * (1.0 - z2) / (1.0 - k.c[2] * z1 + k.c[3] * z2);
}

}  // namespace

void DesignBand(tGVIIRCOEFFS &out, const tGVIIRREQUEST &in) {
  const double w = Clamp(in.dFreq, kMinFreq, kMaxFreq);
  const double width = in.dQ * BandWidthFactor(w, in.dQ);
  Poles(out, w, width);
  out.c[4] = std::cos(kPi * w) * std::sqrt(out.c[3] - (out.c[2] - 1.0));
  const double gain = in.dGain != 0.0 ? ShelfGain(in.dGain) : 1.0;
  // A peak's change per pass over its working bandwidth; the filter itself
  // runs on c7, and a dip or 0 dB leaves c5 as it was.
  if (in.dGain > 0.0) out.c[5] = (gain - 1.0) / width;
  out.c[6] = 1.0;
  // |1 + c7 H| = gain at w, H the section's response there: the root of
  // c7^2 |H|^2 + 2 c7 Re H + 1 - gain^2 = 0 nearest 0, or the minimiser of
  // |1 + c7 H| when no real root exists.
  const std::complex<double> h = BandSection(out, w);
  const double hh = std::norm(h), re = h.real();
  double c7 = 0.0;
  if (in.dGain != 0.0 && hh > 0.0) {
    const double disc = re * re - hh * (1.0 - gain * gain);
    if (disc < 0.0)
      c7 = -re / hh;
    else
      c7 = (-re + std::copysign(std::sqrt(disc), re)) / hh;
  }
  out.c[7] = c7;
}

}  // namespace gv::audio::iir

using namespace gv::audio::iir;

GVAPI(void) GvIIR_FindLowShelfCutCoeffs(tGVIIRCOEFFS *pOut, const tGVIIRREQUEST *pIn) {
  if (!pOut || !pIn) return;
  const double w = pIn->dFreq >= 0.011337868480725623 ? pIn->dFreq / 3.3 : pIn->dFreq / 2.2;
  Poles(*pOut, Clamp(w, kMinFreq, kMaxFreq), pIn->dQ);
  const double g = pIn->dGain > -25.0 ? ShelfGain(pIn->dGain) : 0.0;
  pOut->c[6] = g;
  pOut->c[7] = 1.0 - g;
}

GVAPI(void) GvIIR_FindLowShelfBoostCoeffs(tGVIIRCOEFFS *pOut, const tGVIIRREQUEST *pIn) {
  if (!pOut || !pIn) return;
  Poles(*pOut, Clamp(pIn->dFreq * 0.6666666666666666, kMinFreq, kMaxFreq), pIn->dQ);
  pOut->c[6] = 1.0;
  pOut->c[7] = ShelfGain(pIn->dGain) - 1.0;
}

GVAPI(void) GvIIR_FindHiShelfBoostCoeffs(tGVIIRCOEFFS *pOut, const tGVIIRREQUEST *pIn) {
  if (!pOut || !pIn) return;
  Poles(*pOut, Clamp(pIn->dFreq, kMinFreq, kMaxFreq), pIn->dQ);
  pOut->c[4] = 1.0;
  pOut->c[5] = HighFrequencyGain(pIn->dFreq);
  pOut->c[6] = 1.0;
  pOut->c[7] = ShelfGain(pIn->dGain) - 1.0;
}

GVAPI(void) GvIIR_FindHiShelfCutCoeffs(tGVIIRCOEFFS *pOut, const tGVIIRREQUEST *pIn) {
  if (!pOut || !pIn) return;
  const double f = Clamp(pIn->dFreq, 0.0004, kMaxFreq);
  const double k = f < 0.125 ? 0.4 : 0.4 + 1.6 * (f - 0.125);
  Poles(*pOut, Clamp(f * k, kMinFreq, kMaxFreq), pIn->dQ);
  pOut->c[5] = HighFrequencyGain(f * k);
  pOut->c[6] = 1.0;
  pOut->c[7] = pIn->dGain <= -25.0 ? -1.0 : ShelfGain(pIn->dGain) - 1.0;
}

GVAPI(void) GvIIR_FindBandPassCoeffs(tGVIIRCOEFFS *pOut, const tGVIIRREQUEST *pIn) {
  if (!pOut || !pIn) return;
  DesignBand(*pOut, *pIn);
}
