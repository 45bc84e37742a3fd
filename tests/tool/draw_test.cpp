// gvtool draw's renderer on synthetic draw data: the rows each pixel column
// fills, the mirror-symmetric mapping, split bands, columns past the end and
// the ticks of the time axis.
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "../../tool/waveform.h"
#include "support/cases.h"

namespace {

using gvtool::Picture;
using gvtool::Rgb;
using gvtool::WaveformView;

const Rgb kBack{255, 255, 255}, kWave{0, 0, 200};

bool Is(Rgb a, Rgb b) { return a.r == b.r && a.g == b.g && a.b == b.b; }

// A 16 x 64 view: 14 rows of axis (scale 1) leave 50, so a single band is
// rows 0..48 with its centre at 24; split, rows 0..24 and 25..49.
WaveformView View(int channels, bool split, int columns) {
  WaveformView v;
  v.width = 16, v.height = 64, v.channels = channels, v.split = split, v.columns = columns;
  v.startSeconds = 0, v.endSeconds = 1;
  v.background = kBack, v.waveform = kWave;
  return v;
}

// The rows from..to-1 of column x drawn in the waveform colour, as a
// first..last run; {-1, -1} when none, {-2, -2} when they are not one run.
std::pair<int, int> Filled(const Picture &p, int x, int from = 0, int to = 50) {
  int first = -1, last = -1;
  for (int y = from; y < to; ++y) {
    if (!Is(p.At(x, y), kWave)) continue;
    if (last >= 0 && last != y - 1) return {-2, -2};
    if (first < 0) first = y;
    last = y;
  }
  return {first, last};
}

TEST(WaveformPicture, ColumnFillsExactlyFromMinToMax) {
  const struct {
    short min, max;
    int top, bottom;
  } cases[] = {
      {0, 0, 24, 24},            // silence: one row at the centre
      {-32768, 32767, 0, 48},    // full scale reaches both edges
      {-32767, 32767, 0, 48},
      {-16384, 16384, 12, 36},   // 16384 * 24 / 32767 = 12.0004
      {-100, 100, 24, 24},
      {682, 682, 24, 24},        // 682 * 24 / 32767 = 0.4995: stays at the centre
      {683, 683, 23, 23},        // 0.5002: one row up
      {-683, -683, 25, 25},
      {5000, 20000, 9, 20},      // above the centre only
      {-20000, -5000, 28, 39},
  };
  FOR_EACH_CASE(cases) {
    const short data[2] = {c.min, c.max};
    const Picture p = gvtool::DrawWaveform(View(1, false, 1), data);
    EXPECT_EQ(Filled(p, 0), std::make_pair(c.top, c.bottom));
    EXPECT_TRUE(Is(p.At(0, 49), kBack));  // the spare row of an even area
  }
}

TEST(WaveformPicture, MappingIsMirrorSymmetric) {
  for (int v = 0; v <= 32767; v += 7) {
    const short data[4] = {short(-v), short(-v), short(v), short(v)};
    const Picture p = gvtool::DrawWaveform(View(1, false, 1), data);
    const Picture q = gvtool::DrawWaveform(View(1, false, 1), data + 2);
    const auto low = Filled(p, 0), high = Filled(q, 0);
    ASSERT_EQ(low.first + high.first, 48) << v;
  }
}

TEST(WaveformPicture, ChannelsSplitOrShareABand) {
  const struct {
    bool split;
    short data[4];  // min, max of channel 1, then of channel 2
    int top1, bottom1, top2, bottom2;
  } cases[] = {
      {true, {0, 0, -32768, 32767}, 12, 12, 25, 49},
      {true, {-32768, 0, 0, 32767}, 12, 24, 25, 37},
      {false, {0, 1000, -5000, 0}, 23, 28, -1, -1},  // one band: the union
  };
  FOR_EACH_CASE(cases) {
    const Picture p = gvtool::DrawWaveform(View(2, c.split, 1), c.data);
    if (c.split) {
      EXPECT_EQ(Filled(p, 0, 0, 25), std::make_pair(c.top1, c.bottom1));
      EXPECT_EQ(Filled(p, 0, 25, 50), std::make_pair(c.top2, c.bottom2));
    } else {
      EXPECT_EQ(Filled(p, 0), std::make_pair(c.top1, c.bottom1));
    }
  }
}

TEST(WaveformPicture, ColumnsThatDoNotTouchAreJoinedHalfWay) {
  const struct {
    short data[6];  // three columns
    int top[3], bottom[3];
  } cases[] = {
      // 20000 is row 9, -20000 row 39: the gap is shared at row 24.
      {{20000, 20000, -20000, -20000, 20000, 20000}, {9, 24, 9}, {24, 39, 24}},
      // Overlapping columns keep their own extents.
      {{-1000, 20000, -20000, 0, 0, 0}, {9, 24, 24}, {25, 39, 24}},
  };
  FOR_EACH_CASE(cases) {
    const Picture p = gvtool::DrawWaveform(View(1, false, 3), c.data);
    for (int x = 0; x < 3; ++x)
      EXPECT_EQ(Filled(p, x), std::make_pair(c.top[x], c.bottom[x])) << "column " << x;
  }
}

TEST(WaveformPicture, ColumnsPastTheEndShowOnlyTheCentreLine) {
  const short data[4] = {-32768, 32767, -32768, 32767};
  const Picture p = gvtool::DrawWaveform(View(1, false, 1), data);
  EXPECT_EQ(Filled(p, 1), std::make_pair(-1, -1));
  EXPECT_FALSE(Is(p.At(1, 24), kBack));  // the centre line
  EXPECT_TRUE(Is(p.At(1, 23), kBack));
}

TEST(WaveformPicture, TicksFallOnRoundSeconds) {
  // 1 s over 600 pixels with 2-pixel glyphs: a tick every 0.5 s.
  WaveformView v = View(1, false, 0);
  v.width = 600, v.height = 280;
  const Picture p = gvtool::DrawWaveform(v, nullptr);
  const int tickRow = 280 - gvtool::AxisHeight(280) + 1;
  std::vector<int> ticks;
  for (int x = 0; x < 600; ++x)
    if (!Is(p.At(x, tickRow), kBack)) ticks.push_back(x);
  EXPECT_EQ(ticks, (std::vector<int>{0, 300, 599}));
}

}  // namespace
