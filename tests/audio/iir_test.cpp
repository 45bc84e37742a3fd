// IIR design through the exports: the frequency clamps of each routine,
// the gain words at their thresholds, the high-frequency gain table at its
// points, between them and beyond the last, and words left as they were.
// (What the band's words do is tested by running them: iir_internal_test.)
#include <gtest/gtest.h>

#include <cmath>

#include "gvtalc.h"
#include "support/cases.h"

namespace {

using DesignFn = void(WINAPI *)(tGVIIRCOEFFS *, const tGVIIRREQUEST *);

tGVIIRCOEFFS Design(DesignFn f, double freq, double gain, double q) {
  tGVIIRCOEFFS k;
  for (double &c : k.c) c = 123.0;
  const tGVIIRREQUEST r{freq, gain, q};
  f(&k, &r);
  return k;
}

// Two requests the clamp makes the same working frequency give the same
// poles; a request just inside differs.
struct ClampCase {
  DesignFn f;
  double a, b, inside;
};
const ClampCase kClampCases[] = {
    {GvIIR_FindLowShelfBoostCoeffs, 0.0, 0.0004, 0.0005},  // w = f * 2/3
    {GvIIR_FindLowShelfBoostCoeffs, 1.0, 0.75, 0.7},
    {GvIIR_FindLowShelfCutCoeffs, -1.0, 0.0006, 0.0007},    // w = f / 2.2 below 500/44100
    {GvIIR_FindLowShelfCutCoeffs, 5.0, 1.7, 1.6},         // w = f / 3.3
    {GvIIR_FindHiShelfBoostCoeffs, -0.2, 0.0003, 0.00031},
    {GvIIR_FindHiShelfBoostCoeffs, 0.6, 0.49, 0.489},
    {GvIIR_FindHiShelfCutCoeffs, 0.0, 0.0004, 0.0009},      // 0.0004 * 0.4 -> 0.0003
    {GvIIR_FindHiShelfCutCoeffs, 0.49, 0.7, 0.3},
    {GvIIR_FindBandPassCoeffs, 0.0, 0.0003, 0.0004},
    {GvIIR_FindBandPassCoeffs, 0.5, 0.49, 0.48},
};

TEST(Iir, FrequencyClamps) {
  FOR_EACH_CASE(kClampCases) {
    const tGVIIRCOEFFS a = Design(c.f, c.a, 6.0, 1.0), b = Design(c.f, c.b, 6.0, 1.0);
    const tGVIIRCOEFFS in = Design(c.f, c.inside, 6.0, 1.0);
    EXPECT_DOUBLE_EQ(a.c[2], b.c[2]);
    EXPECT_DOUBLE_EQ(a.c[3], b.c[3]);
    EXPECT_NE(a.c[3], in.c[3]);
  }
}

struct GainCase {
  DesignFn f;
  double gain;
  double c6, c7;
};
const GainCase kGainCases[] = {
    {GvIIR_FindLowShelfBoostCoeffs, 0.0, 1.0, 0.0},
    {GvIIR_FindLowShelfBoostCoeffs, 40.0, 1.0, 9.0},          // 10^(40/40) - 1
    {GvIIR_FindLowShelfCutCoeffs, -25.0, 0.0, 1.0},
    {GvIIR_FindLowShelfCutCoeffs, -100.0, 0.0, 1.0},
    {GvIIR_FindLowShelfCutCoeffs, -20.0, 0.31622776601683794, 0.68377223398316206},
    {GvIIR_FindLowShelfCutCoeffs, 0.0, 1.0, 0.0},
    {GvIIR_FindHiShelfCutCoeffs, -25.0, 1.0, -1.0},
    {GvIIR_FindHiShelfCutCoeffs, -24.0, 1.0, 0.25118864315095796 - 1.0},
    {GvIIR_FindHiShelfBoostCoeffs, 20.0, 1.0, 2.1622776601683795},
    {GvIIR_FindBandPassCoeffs, 0.0, 1.0, 0.0},
    {GvIIR_FindBandPassCoeffs, -6.0, 1.0, 0.0},
    {GvIIR_FindBandPassCoeffs, 6.0, 1.0, 0.0},
};

TEST(Iir, GainWords) {
  FOR_EACH_CASE(kGainCases) {
    const tGVIIRCOEFFS k = Design(c.f, 0.05, c.gain, 2.0);
    EXPECT_EQ(k.c[0], 0.0);
    EXPECT_EQ(k.c[1], 0.0);
    EXPECT_DOUBLE_EQ(k.c[6], c.c6);
    const bool band = c.f == GvIIR_FindBandPassCoeffs;
    if (!band || c.gain == 0.0) {
      EXPECT_NEAR(k.c[7], c.c7, 1e-15);
    }
    // c5 is not a word of the low shelves, nor of a band that does not boost
    const bool low = c.f == GvIIR_FindLowShelfBoostCoeffs || c.f == GvIIR_FindLowShelfCutCoeffs;
    if (low || (band && c.gain <= 0.0)) {
      EXPECT_EQ(k.c[5], 123.0);
    }
    if (band && c.gain > 0.0) {
      // the boost per pass over a bandwidth near dQ (the correction is mild)
      const double change = std::pow(10.0, c.gain / 40) - 1;
      EXPECT_GT(k.c[5], change / (2.0 * 1.5));
      EXPECT_LT(k.c[5], change / (2.0 / 1.5));
    }
  }
}

// c5 of the high-shelf boost is the table gain at dFreq; the step is
// 1000/44100.
struct TableCase {
  double x, db;
};
const double kStep = 1000.0 / 44100.0;
const TableCase kTableCases[] = {
    {3 * kStep, -3.0},        // on a grid point
    {5.5 * kStep, -5.0},      // equal neighbours (-5, -5)
    {2.5 * kStep, -2.5},
    {13.5 * kStep, -12.0},    // equal neighbours (-12, -12)
    {14.25 * kStep, -12.25},
    {15 * kStep, -13.0},
    {0.49, -19.609},          // beyond the last point: -12 - (21.609 - 14)
    {0.8, -19.609},           // clamped to 0.49
    {0.0003, -0.01323},       // the first segment: 0.0003 / step dB down
};

TEST(Iir, HighFrequencyGainTable) {
  FOR_EACH_CASE(kTableCases) {
    const tGVIIRCOEFFS k = Design(GvIIR_FindHiShelfBoostCoeffs, c.x, 6.0, 1.0);
    EXPECT_NEAR(20 * std::log10(k.c[5]), c.db, 1e-4);
    EXPECT_EQ(k.c[4], 1.0);
  }
  // The high-shelf cut looks the table up at f * k before clamping: 0.3
  // gives w = 0.3 * (0.4 + 1.6 * 0.175) = 0.204.
  const tGVIIRCOEFFS cut = Design(GvIIR_FindHiShelfCutCoeffs, 0.3, -6.0, 1.0);
  EXPECT_NEAR(20 * std::log10(cut.c[5]), -7.9964, 1e-4);
}

TEST(Iir, NullPointersAreIgnored) {
  const tGVIIRREQUEST r{0.1, 1.0, 1.0};
  tGVIIRCOEFFS k{};
  for (DesignFn f : {GvIIR_FindLowShelfCutCoeffs, GvIIR_FindLowShelfBoostCoeffs, GvIIR_FindHiShelfBoostCoeffs,
                   GvIIR_FindHiShelfCutCoeffs, GvIIR_FindBandPassCoeffs}) {
    f(nullptr, &r);
    f(&k, nullptr);
  }
  EXPECT_EQ(k.c[2], 0.0);
}

}  // namespace
