// Channel routines of every pair against their index formulas: the plain
// stride on the diagonal, and the historic strides elsewhere.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "audio/reference_model.h"
#include "gvtalc.h"
#include "support/cases.h"

namespace {

using audiotest::kTypes;
using audiotest::TypeInfo;

struct Layout {
  int nDst, iDst, nSrc, iSrc, frames;
};

const Layout kLayouts[] = {{3, 1, 2, 1, 5}, {1, 0, 1, 0, 7}, {2, 0, 4, 3, 4}, {6, 5, 1, 0, 9}};

class ChannelRoutines : public ::testing::TestWithParam<int> {};

// Sample index written for frame k, and the source index it reads.
void Indices(const TypeInfo &d, const TypeInfo &s, const Layout &l, int k, long &di, long &si) {
  if (d.code == s.code) {
    di = l.iDst + long(k) * l.nDst;
    si = l.iSrc + long(k) * l.nSrc;
  } else if (d.code == GV_SAMPLE_UINT8 || d.code == GV_SAMPLE_INT8) {
    di = l.iDst + long(k) * (l.nDst + 1);
    si = l.iSrc + long(k) * (l.nSrc + 1);
  } else {
    const long j = l.frames - 1 - k;
    di = l.iDst + long(k) * l.nDst + j;
    si = l.iSrc + long(k) * l.nSrc + j;
  }
}

TEST_P(ChannelRoutines, WriteExactlyTheSamplesOfTheirIndexFormula) {
  const TypeInfo &d = kTypes[GetParam() / 8], &s = kTypes[GetParam() % 8];
  WAVEFORMATEX wd = audiotest::FormatOf(d), ws = audiotest::FormatOf(s);
  GVCOPYCHANNELSFUNC copy = GvAudio_GetCopyChannelsFunction(&wd, &ws);
  ASSERT_NE(copy, nullptr);
  std::mt19937 rng(GetParam());
  FOR_EACH_CASE(kLayouts) {
    // Room for the widest stride, (frames + 1) * (channels + 1) samples.
    std::vector<unsigned char> src(size_t(c.frames + 1) * (c.nSrc + 1) * s.bytes);
    for (size_t i = 0; i < src.size(); i += s.bytes) {  // floats finite and modest
      const double v = int(rng() % 4000 - 2000) / 1000.0;
      const float f = float(v);
      for (int b = 0; b < s.bytes; ++b) src[i + b] = static_cast<unsigned char>(rng());
      if (audiotest::IsFloat(s))
        std::memcpy(&src[i], s.bytes == 4 ? static_cast<const void *>(&f) : &v, s.bytes);
    }
    std::vector<unsigned char> dst(size_t(c.frames + 1) * (c.nDst + 1) * d.bytes, 0xC3);
    std::vector<unsigned char> want = dst;
    copy(dst.data(), c.nDst, c.iDst, src.data(), c.nSrc, c.iSrc, 0);
    copy(dst.data(), c.nDst, c.iDst, src.data(), c.nSrc, c.iSrc, -4);
    ASSERT_EQ(dst, want) << "zero or negative frames wrote";
    for (int k = 0; k < c.frames; ++k) {
      long di, si;
      Indices(d, s, c, k, di, si);
      bool any;
      audiotest::ModelOne(d, &want[di * d.bytes], s, &src[si * s.bytes], 1.0f, &any);
    }
    copy(dst.data(), c.nDst, c.iDst, src.data(), c.nSrc, c.iSrc, c.frames);
    for (size_t i = 0; i < dst.size(); ++i) ASSERT_EQ(dst[i], want[i]) << "byte " << i;
  }
}

TEST(ChannelRoutinesDiagonal, SameStartAddressDoesNothing) {
  WAVEFORMATEX w = audiotest::FormatOf(kTypes[1]);
  GVCOPYCHANNELSFUNC copy = GvAudio_GetCopyChannelsFunction(&w, &w);
  short data[4] = {1, 2, 3, 4};
  copy(data, 2, 1, data, 2, 1, 2);
  EXPECT_EQ(data[1], 2);
  copy(data, 2, 0, data, 2, 1, 2);  // channel 1 onto channel 0
  EXPECT_EQ(data[0], 2);
  EXPECT_EQ(data[2], 4);
}

INSTANTIATE_TEST_SUITE_P(AllPairs, ChannelRoutines, ::testing::Range(0, 64),
                         [](const ::testing::TestParamInfo<int> &info) {
                           return std::string(kTypes[info.param / 8].name) + "_from_" +
                                  kTypes[info.param % 8].name;
                         });

}  // namespace
