// The filter that IIR coefficients describe, run over float frames: its
// measured response against its transfer function, the shelf and band gains
// the designs promise, and state carried between blocks.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "audio/iir.h"
#include "support/cases.h"

namespace {

using gv::audio::iir::Shape;

struct Design {
  Shape shape;
  void(WINAPI *f)(tGVIIRCOEFFS *, const tGVIIRREQUEST *);
  tGVIIRREQUEST request;
};
const Design kDesigns[] = {
    {Shape::LowShelfBoost, GvIIR_FindLowShelfBoostCoeffs, {0.01, 12.0, 0.7}},
    {Shape::LowShelfCut, GvIIR_FindLowShelfCutCoeffs, {0.02, -12.0, 0.7}},
    {Shape::LowShelfCut, GvIIR_FindLowShelfCutCoeffs, {0.005, -30.0, 1.0}},
    {Shape::HiShelfBoost, GvIIR_FindHiShelfBoostCoeffs, {0.1, 9.0, 0.7}},
    {Shape::HiShelfCut, GvIIR_FindHiShelfCutCoeffs, {0.2, -9.0, 0.7}},
    {Shape::Band, GvIIR_FindBandPassCoeffs, {0.05, 9.0, 2.0}},
    {Shape::Band, GvIIR_FindBandPassCoeffs, {0.002, -12.0, 4.0}},
    {Shape::Band, GvIIR_FindBandPassCoeffs, {0.3, 6.0, 8.0}},
};

tGVIIRCOEFFS Make(const Design &d) {
  tGVIIRCOEFFS k{};
  d.f(&k, &d.request);
  return k;
}

// The amplitude of a sine at x after the filter has settled (from its RMS,
// which sampling does not bias as it does the peak).
double Measured(const tGVIIRCOEFFS &k, Shape shape, double x) {
  const long n = 60000;
  std::vector<float> s(size_t(n) * 2);
  for (long i = 0; i < n; ++i) s[size_t(i) * 2] = s[size_t(i) * 2 + 1] = float(std::sin(6.283185307179586 * x * i));
  std::vector<gv::audio::iir::ChannelState> state;
  gv::audio::iir::Run(k, shape, s.data(), 2, n, state);
  double sum = 0;  // RMS of the settled half, times sqrt(2)
  for (long i = n / 2; i < n; ++i) sum += double(s[size_t(i) * 2 + 1]) * s[size_t(i) * 2 + 1];
  return std::sqrt(2 * sum / (n - n / 2));
}

TEST(IirRun, MeasuredResponseFollowsTheTransferFunction) {
  FOR_EACH_CASE(kDesigns) {
    const tGVIIRCOEFFS k = Make(c);
    for (double x : {0.001, c.request.dFreq, 0.11, 0.37}) {
      const double want = gv::audio::iir::Magnitude(k, c.shape, x);
      EXPECT_NEAR(Measured(k, c.shape, x), want, want * 0.01 + 1e-4) << x;
    }
  }
}

// The gains at the ends and the band's centre that the header promises.
TEST(IirRun, ShelfAndBandGains) {
  using gv::audio::iir::Magnitude;
  auto db = [](double a) { return 20 * std::log10(a); };
  const tGVIIRCOEFFS boost = Make(kDesigns[0]), cut = Make(kDesigns[1]), deep = Make(kDesigns[2]);
  EXPECT_NEAR(db(Magnitude(boost, Shape::LowShelfBoost, 0.0)), 12.0, 1e-9);
  EXPECT_NEAR(db(Magnitude(boost, Shape::LowShelfBoost, 0.5)), 0.0, 0.1);
  EXPECT_NEAR(db(Magnitude(cut, Shape::LowShelfCut, 0.0)), -12.0, 1e-9);
  EXPECT_NEAR(db(Magnitude(cut, Shape::LowShelfCut, 0.5)), 0.0, 0.1);
  EXPECT_LT(Magnitude(deep, Shape::LowShelfCut, 0.0), 1e-9);  // -30 dB cuts all
  const tGVIIRCOEFFS hi = Make(kDesigns[3]), hicut = Make(kDesigns[4]);
  EXPECT_NEAR(db(Magnitude(hi, Shape::HiShelfBoost, 0.0)), 0.0, 1e-9);
  EXPECT_GT(db(Magnitude(hi, Shape::HiShelfBoost, 0.45)), 3.0);
  EXPECT_NEAR(db(Magnitude(hicut, Shape::HiShelfCut, 0.0)), 0.0, 1e-9);
  EXPECT_LT(db(Magnitude(hicut, Shape::HiShelfCut, 0.45)), -3.0);
  for (int i : {5, 6, 7}) {
    const tGVIIRCOEFFS band = Make(kDesigns[i]);
    EXPECT_NEAR(db(Magnitude(band, Shape::Band, kDesigns[i].request.dFreq)), kDesigns[i].request.dGain, 1e-6) << i;
    EXPECT_NEAR(db(Magnitude(band, Shape::Band, 0.0)), 0.0, 1e-9) << i;
    EXPECT_NEAR(db(Magnitude(band, Shape::Band, 0.5)), 0.0, 1e-9) << i;
  }
}

// The band's half-power width (of its section) is w / dQ within 3%.
TEST(IirRun, BandWidthFollowsTheDivisor) {
  const double points[][2] = {{0.001, 1.0}, {0.01, 2.0}, {0.05, 4.0}, {0.2, 8.0}, {0.3, 4.0}};
  FOR_EACH_CASE(points) {
    const double w = c[0], q = c[1];
    tGVIIRCOEFFS k{};
    const tGVIIRREQUEST r{w, 40.0, q};  // a tall peak: the section dominates
    GvIIR_FindBandPassCoeffs(&k, &r);
    // Section only: c6 = 0, c7 = 1 turns a pass into s; one pass is the root.
    k.c[6] = 0.0, k.c[7] = 1.0;
    auto mag = [&](double x) { return std::sqrt(gv::audio::iir::Magnitude(k, Shape::Band, x)); };
    double peak = 0, at = w;
    for (double x = w * 0.5; x < std::min(0.5, w * 1.5); x += w * 1e-4)
      if (mag(x) > peak) peak = mag(x), at = x;
    double lo = at, hi = at;
    while (lo > 0 && mag(lo) > peak / std::sqrt(2.0)) lo -= w * 1e-4;
    while (hi < 0.5 && mag(hi) > peak / std::sqrt(2.0)) hi += w * 1e-4;
    EXPECT_NEAR((hi - lo) / (w / q), 1.0, 0.03);
  }
}

TEST(IirRun, StateCarriesAcrossBlocks) {
  const tGVIIRCOEFFS k = Make(kDesigns[5]);
  std::vector<float> one(3000), two;
  for (size_t i = 0; i < one.size(); ++i) one[i] = float(std::sin(i * 0.37) * 0.5);
  two = one;
  std::vector<gv::audio::iir::ChannelState> a, b;
  gv::audio::iir::Run(k, Shape::Band, one.data(), 3, 1000, a);
  for (long at : {0L, 1L, 400L})
    gv::audio::iir::Run(k, Shape::Band, two.data() + at * 3, 3, at == 0 ? 1 : at == 1 ? 399 : 600, b);
  EXPECT_EQ(one, two);
}

}  // namespace
