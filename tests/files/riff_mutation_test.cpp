// A short run of the mutation stress: damaged WAVE files never crash a
// search, never hang it and never give a result outside the documented set.
#include <gtest/gtest.h>

#include "files/riff_test_file.h"
#include "support/riff_mutation.h"

namespace gvtest {
namespace {

TEST(RiffMutation, BaseFileIsValidAndEverySearchFindsItsChunk) {
  TempFile f(riffmut::BaseWave());
  DWORD size = 0;
  LONG left = 0;
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("fmt "), &size, &left), S_OK);
  EXPECT_EQ(size, 16u);
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), &size, &left), S_OK);
  EXPECT_EQ(size, 99u);
  EXPECT_EQ(left, 100);  // the data and its pad byte
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), &size), S_OK);
  left = static_cast<LONG>(size);
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), &left), 2);
}

TEST(RiffMutation, SameSeedGivesTheSameVariants) {
  riffmut::Rng a(7), b(7);
  for (int i = 0; i < 50; ++i) {
    Bytes x = riffmut::BaseWave(), y = riffmut::BaseWave();
    riffmut::Mutate(x, a);
    riffmut::Mutate(y, b);
    ASSERT_EQ(x, y) << "variant " << i;
  }
}

TEST(RiffMutation, ThreeThousandVariantsEndQuicklyWithDocumentedResults) {
  TempFile f;
  riffmut::Stats st = riffmut::Run(f.handle(), 0x5EED0001, 3000);
  EXPECT_EQ(st.variants, 3000u);
  EXPECT_EQ(st.unexpected, 0u) << st.firstUnexpected;
  EXPECT_LT(st.longestSearchMs, 500.0) << "variant " << st.longestVariant;
  EXPECT_GT(st.found, st.searches / 10);  // the damage leaves many files searchable
  EXPECT_LE(st.largestAllocation, 200u);  // never more than the file could hold
}

}  // namespace
}  // namespace gvtest
