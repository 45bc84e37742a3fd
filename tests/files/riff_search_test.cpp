// riff_ searches: budgets written back, positions, malformed files, and a
// short run of the mutation stress.
#include <gtest/gtest.h>

#include "files/riff_test_file.h"
#include "support/riff_mutation.h"

namespace gvtest {
namespace {

const LONG kNoBudget = static_cast<LONG>(kSentinel);

Bytes InfoList() {  // three entries, two of odd size: list size 4 + 12 + 14 + 10 = 40
  return List("INFO", Concat({Chunk("INAM", Text("abc")), Chunk("ICMT", Text("hello!")),
                              Chunk("ISFT", Text("x"))}));
}

TEST(RiffSearch, CanonicalWaveFindsFmtAndData) {
  TempFile f(CanonicalWave(8));  // RIFF size 44
  DWORD size = 0;
  LONG left = kNoBudget;
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("fmt "), &size, &left), S_OK);
  EXPECT_EQ(size, 16u);
  EXPECT_EQ(left, 44 - 4 - 8);
  EXPECT_EQ(f.Pos(), 20u);
  left = 3;  // the caller's count is ignored
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), &size, &left), S_OK);
  EXPECT_EQ(size, 8u);
  EXPECT_EQ(left, 44 - 4 - 24 - 8);
  EXPECT_EQ(f.Pos(), 44u);
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), nullptr, nullptr), S_OK);
  EXPECT_EQ(f.Pos(), 44u);
  size = kSentinel;
  left = kNoBudget;  // not found: the budget is written back, the size left alone
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("cue "), &size, &left), GVRIFF_E_NOTFOUND);
  EXPECT_EQ(left, 0);
  EXPECT_EQ(size, kSentinel);
}

TEST(RiffSearch, FindChunkHeaderChargesHeadersAndPaddedChunks) {
  const struct { const char *id; LONG budget; HRESULT result; LONG left; uint64_t pos; } cases[] = {
      {"fmt ", 8, S_OK, 0, 20},  // only the header is charged
      {"data", 32, S_OK, 0, 44},
      {"data", 31, GVRIFF_E_NOTFOUND, 7, 36},  // 31 - 8 - 16
      {"data", 30, GVRIFF_E_NOTFOUND, 6, 36},
      {"data", 1000, S_OK, 1000 - 32, 44},
      // Budgets below 8 end at once and are written back.
      {"fmt ", 7, GVRIFF_E_NOTFOUND, 7, 12}, {"fmt ", 0, GVRIFF_E_NOTFOUND, 0, 12},
      {"fmt ", -1, GVRIFF_E_NOTFOUND, -1, 12},
      {"fmt ", (LONG)0x80000000, GVRIFF_E_NOTFOUND, (LONG)0x80000000, 12}};
  TempFile f(CanonicalWave(8));
  FOR_EACH_CASE(cases) {
    f.Seek(12);
    LONG left = c.budget;
    DWORD size = kSentinel;
    EXPECT_EQ(riff_FindChunkHeader(f.handle(), Fcc(c.id), &size, &left), c.result);
    EXPECT_EQ(left, c.left);
    EXPECT_EQ(size, c.result == S_OK ? (c.id[0] == 'f' ? 16u : 8u) : kSentinel);
    EXPECT_EQ(f.Pos(), c.pos);
  }
}

TEST(RiffSearch, FindChunkHeaderSkipsOddChunksWithTheirPad) {
  // Skipped: 8 + 3 + 1, then 8 + 1 + 1.
  TempFile f(Riff("TEST", Concat({Chunk("odd1", Text("abc")), Chunk("odd2", Text("x")),
                                  Chunk("want", Text("yz"))})));
  DWORD size = 0;
  LONG left = kNoBudget;
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("want"), &size, &left), S_OK);
  EXPECT_EQ(size, 2u);
  EXPECT_EQ(f.Pos(), 12u + 12 + 10 + 8);
  EXPECT_EQ(left, 2);
}

TEST(RiffSearch, ReadErrorsLeaveTheBudgetAloneOrChargeOnlyTheHeader) {
  TempFile f(Riff("WAVE", InfoList()), GENERIC_WRITE);
  LONG left = 100;
  EXPECT_EQ(riff_FindChunkHeader(f.handle(), Fcc("data"), nullptr, &left), GVRIFF_E_READ);
  EXPECT_EQ(left, 100);
  left = kNoBudget;
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), nullptr, &left), GVRIFF_E_NOTRIFF);
  EXPECT_EQ(left, kNoBudget);
  f.Seek(24);
  left = 36;
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), &left), GVRIFF_E_READ);
  EXPECT_EQ(left, 28);  // the header is charged before the read is looked at
  EXPECT_EQ(f.Pos(), 24u);
}

TEST(RiffList, FindListChunkCountsFourExtraBytesPerSkippedList) {
  Bytes body = Concat({List("abcd", Text("123456")), InfoList()});  // the first occupies 18
  TempFile f(Riff("WAVE", body), GENERIC_READ, 12);
  const LONG budget = static_cast<LONG>(body.size());  // 18 + 48
  LONG left = budget;
  DWORD size = 0;
  EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), &size, &left), S_OK);
  EXPECT_EQ(size, 36u);
  EXPECT_EQ(f.Pos(), 12u + 18 + 12);  // at the list's first entry
  EXPECT_EQ(left, budget - (18 + 4) - 12);
}

TEST(RiffList, FindListChunkFromStartAndTheFourBytesOfTheType) {
  TempFile f(Riff("WAVE", Concat({Chunk("fmt ", Bytes(16)), InfoList()})));
  DWORD size = 0;
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), &size), S_OK);
  EXPECT_EQ(size, 36u);
  EXPECT_EQ(f.Pos(), 12u + 24 + 12);
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("DISP"), &size), GVRIFF_E_NOTFOUND);
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), nullptr), S_OK);
  f.Seek(36);
  LONG left = 11;  // 3 left after the header
  EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), nullptr, &left), GVRIFF_E_NOTFOUND);
  EXPECT_EQ(left, 3);
  EXPECT_EQ(f.Pos(), 44u);
  f.Seek(36);
  left = 12;
  EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), nullptr, &left), S_OK);
  EXPECT_EQ(left, 0);
}

TEST(RiffList, GetNumListEntriesRestoresThePositionButSpendsTheBudget) {
  // 20 pays for the first entry (12) and the header of the second (14).
  const struct { LONG budget; bool null; LONG entries, left; } cases[] = {
      {36, false, 3, 0}, {0, true, 3, 0}, {20, false, 2, 20 - 12 - 14}, {7, false, 0, 7}};
  TempFile f(Riff("WAVE", InfoList()), GENERIC_READ, 24);
  FOR_EACH_CASE(cases) {
    LONG left = c.budget;
    EXPECT_EQ(riff_GetNumListEntries(f.handle(), c.null ? nullptr : &left), c.entries);
    EXPECT_EQ(left, c.left);
    EXPECT_EQ(f.Pos(), 24u);
  }
}

// ---- malformed files: every search ends quickly with an error or a result.

Bytes JunkPastTheEnd() {
  return Concat({Header("RIFF", 1100), Text("WAVE"), Header("JUNK", 1000), Text("0123456789")});
}

Bytes HugeJunk() {
  return Concat({Header("RIFF", 100), Text("WAVE"), Header("JUNK", 0x80000000u),
                 Chunk("data", Bytes(4))});
}

TEST(RiffMalformed, SearchesFromTheStartEndInBoundedTime) {
  const Bytes truncated = {'R', 'I', 'F', 'F', 0x24, 0};  // the header cut after 6 bytes
  const struct { Bytes file; HRESULT result; LONG left; } cases[] = {
      {truncated, GVRIFF_E_NOTFOUND, 0},  // 32 spent on zero headers past the end
      {JunkPastTheEnd(), GVRIFF_E_NOTFOUND, (1096 - 8 - 1000 - 8) % 8},
      {HugeJunk(), GVRIFF_E_NOTFOUND, static_cast<LONG>(0x80000058)},  // 96 - 8 - 0x80000000
      {Bytes(64), GVRIFF_E_NOTRIFF, kNoBudget},
      {Text("RIF"), GVRIFF_E_NOTRIFF, kNoBudget},
      {Concat({Header("RIFX", 0x24000000), Text("WAVEfmt ")}), GVRIFF_E_NOTRIFF, kNoBudget},
      {Text("plain text, not a chunk file"), GVRIFF_E_NOTRIFF, kNoBudget},
      {Bytes(), GVRIFF_E_NOTRIFF, kNoBudget}};
  FOR_EACH_CASE(cases) {
    TempFile f(c.file);
    const ULONGLONG start = GetTickCount64();
    LONG left = kNoBudget;
    DWORD size = kSentinel;
    EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), &size, &left), c.result);
    EXPECT_EQ(left, c.left);
    EXPECT_EQ(size, kSentinel);
    EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), &size), c.result);
    f.Seek(0);
    EXPECT_EQ(riff_ReadFileID(f.handle(), nullptr, nullptr),
              c.result == GVRIFF_E_NOTRIFF ? GVRIFF_E_NOTRIFF : S_OK);
    EXPECT_LT(GetTickCount64() - start, 2000u);
  }
}

TEST(RiffMalformed, ChunkRunningPastTheEndOfTheFileIsReadOnlyAsFarAsItGoes) {
  TempFile f(JunkPastTheEnd());
  DWORD size = 0;
  LONG left = 0;
  ASSERT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("JUNK"), &size, &left), S_OK);
  EXPECT_EQ(size, 1000u);
  tGVRIFFDATA rec = {size, &rec};
  EXPECT_EQ(riff_ReadDataAlloc(f.handle(), &rec), GVRIFF_E_READ);  // nothing allocated
  EXPECT_EQ(rec.data, nullptr);
  BYTE buffer[64];
  EXPECT_EQ(riff_ReadDataBounded(f.handle(), buffer, sizeof buffer, size), S_OK);
  EXPECT_EQ(memcmp(buffer, "0123456789", 10), 0);
  EXPECT_EQ(buffer[10], 0);
  EXPECT_EQ(f.Pos(), 20u + 1000);
}

TEST(RiffMalformed, ChunkOfSize0x80000000IsSkippedForward) {
  TempFile f(HugeJunk());
  const ULONGLONG start = GetTickCount64();
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), nullptr, nullptr),
            GVRIFF_E_NOTFOUND);
  EXPECT_EQ(f.Pos(), 20u + 0x80000000ull);  // never back
  f.Seek(12);
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), nullptr), 1);
  EXPECT_EQ(f.Pos(), 12u);
  EXPECT_LT(GetTickCount64() - start, 2000u);
}

TEST(RiffMalformed, ZeroFilledFile) {
  TempFile f(Bytes(64));
  const ULONGLONG start = GetTickCount64();
  LONG left;
  const struct { LONG budget, left; } cases[] = {{1000, 0}, {1003, 3}, {0x7FFFFFFF, 7}, {64, 0}};
  FOR_EACH_CASE(cases) {
    f.Seek(0);
    left = c.budget;
    EXPECT_EQ(riff_FindChunkHeader(f.handle(), Fcc("data"), nullptr, &left), GVRIFF_E_NOTFOUND);
    EXPECT_EQ(left, c.left);
    f.Seek(0);
    left = c.budget;
    EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), nullptr, &left), GVRIFF_E_NOTFOUND);
    EXPECT_EQ(left, c.left);
  }
  f.Seek(0);
  EXPECT_EQ(riff_FindChunkHeader(f.handle(), Fcc("data"), nullptr, nullptr), GVRIFF_E_NOTFOUND);
  EXPECT_EQ(f.Pos(), 64u);
  f.Seek(0);
  DWORD size = kSentinel;
  EXPECT_EQ(riff_FindChunkHeader(f.handle(), 0, &size, nullptr), S_OK);  // an all-zero id
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(f.Pos(), 8u);
  f.Seek(0);
  left = 100;  // 8 chunks in the file, then the budget pays for 4 more
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), &left), 12);
  EXPECT_EQ(left, 4);
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), nullptr), 8);
  EXPECT_EQ(f.Pos(), 0u);
  EXPECT_LT(GetTickCount64() - start, 2000u);
}

TEST(RiffMalformed, ListSmallerThanItsTypeIsSteppedOverToItsTrueEnd) {
  for (DWORD small = 0; small < 4; ++small) {
    SCOPED_TRACE(small);
    const uint64_t padded = small + (small & 1);
    Bytes body = Concat({Header("LIST", small), Bytes(padded, 'a'), InfoList()});
    TempFile f(Riff("WAVE", body));
    DWORD size = 0;
    EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), &size), S_OK);
    EXPECT_EQ(size, 36u);
    EXPECT_EQ(f.Pos(), 12 + 8 + padded + 12);
    f.Seek(12);
    LONG left = static_cast<LONG>(body.size());
    EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), nullptr, &left), S_OK);
    EXPECT_EQ(left, static_cast<LONG>(body.size() - (12 + padded) - 12));
    f.Seek(12);
    DWORD type = 0;
    EXPECT_EQ(riff_ReadListHeader(f.handle(), &type, &size), S_OK);
    EXPECT_EQ(size, small - 4);  // the entries' size wraps; callers check it
  }
}

TEST(RiffMalformed, ListIdentifierAsTheLastFourBytesEndsTheListSearch) {
  // The size and type of the last "LIST" lie past the end.
  TempFile f(Concat({Header("RIFF", 0x7FFFFFF0), Text("WAVE"), Chunk("fmt ", Bytes(16)),
                     Text("LIST")}));
  const ULONGLONG start = GetTickCount64();
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), nullptr), GVRIFF_E_NOTFOUND);
  // Each round re-reads the same "LIST" and costs 12 until the budget is spent.
  const struct { LONG budget, left; } cases[] = {
      {1000, 1000 % 12}, {1004, 0}, {20, 0}, {19, 7}, {0x7FFFFFFF, 7}};
  FOR_EACH_CASE(cases) {
    f.Seek(36);
    LONG left = c.budget;
    EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), nullptr, &left), GVRIFF_E_NOTFOUND);
    EXPECT_EQ(left, c.left);
  }
  f.Seek(36);
  EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), nullptr, nullptr), GVRIFF_E_NOTFOUND);
  EXPECT_LT(GetTickCount64() - start, 2000u);
}

TEST(RiffMutation, BaseFileIsValidAndTheSameSeedGivesTheSameVariants) {
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
