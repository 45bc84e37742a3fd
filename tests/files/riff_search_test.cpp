// riff_ searches: budgets written back, positions, malformed files, and a
// short seeded run of damaged files.
#include <gtest/gtest.h>

#include "support/cases.h"
#include "support/riff_builders.h"
#include "support/riff_mutation.h"

namespace gvtest {
namespace {

const LONG kNoBudget = static_cast<LONG>(kSentinel);
const HRESULT kNotFound = GVRIFF_E_NOTFOUND;

Bytes InfoList() {  // three entries, two of odd size: list size 4 + 12 + 14 + 10 = 40
  return List("INFO", Concat({Chunk("INAM", Text("abc")), Chunk("ICMT", Text("hello!")),
                              Chunk("ISFT", Text("x"))}));
}

enum Search { kChunk, kChunkInRiff, kList };

TEST(RiffSearch, SearchesChargeHeadersPaddedChunksAndListTypes) {
  // fmt (16) at 12, odd1 (3) at 36, odd2 (1) at 48, want (2) at 58, list "abcd"
  // (18 bytes) at 68, INFO at 86 with its first entry at 98; RIFF size 126.
  TempFile f(Riff("WAVE", Concat({Chunk("fmt ", PcmFmt()), Chunk("odd1", Text("abc")),
                                  Chunk("odd2", Text("x")), Chunk("want", Text("yz")),
                                  List("abcd", Text("123456")), InfoList()})));
  const struct { Search search; const char *id; uint64_t at; LONG budget; HRESULT result;
                 LONG left; uint64_t pos; DWORD size; } cases[] = {
      {kChunk, "fmt ", 12, 8, S_OK, 0, 20, 16},  // only the header is charged
      {kChunk, "want", 12, 54, S_OK, 0, 66, 2},  // 8 + 16, 8 + 3 + 1, 8 + 1 + 1, 8
      {kChunk, "want", 12, 53, kNotFound, 7, 58, kSentinel},
      {kChunk, "want", 12, 1000, S_OK, 1000 - 54, 66, 2},
      // Budgets below 8 end at once and are written back.
      {kChunk, "fmt ", 12, 7, kNotFound, 7, 12, kSentinel},
      {kChunk, "fmt ", 12, 0, kNotFound, 0, 12, kSentinel},
      {kChunk, "fmt ", 12, -1, kNotFound, -1, 12, kSentinel},
      {kChunk, "fmt ", 12, LONG(0x80000000), kNotFound, LONG(0x80000000), 12, kSentinel},
      // From the start the budget is the RIFF size - 4; the caller's is ignored.
      {kChunkInRiff, "fmt ", 0, 3, S_OK, 122 - 8, 20, 16},
      {kChunkInRiff, "want", 0, 3, S_OK, 122 - 54, 66, 2},
      {kChunkInRiff, "cue ", 0, kNoBudget, kNotFound, 0, 134, kSentinel},
      // A list's type costs 4, and a skipped list 4 more than it occupies.
      {kList, "INFO", 68, 66, S_OK, 66 - (18 + 4) - 12, 98, 36},
      {kList, "INFO", 86, 11, kNotFound, 3, 94, kSentinel},  // 3 left after the header
      {kList, "INFO", 86, 12, S_OK, 0, 98, 36}};
  FOR_EACH_CASE(cases) {
    const HANDLE h = f.handle();
    f.Seek(c.at);
    LONG left = c.budget;
    DWORD size = kSentinel;
    EXPECT_EQ(c.search == kChunk      ? riff_FindChunkHeader(h, Fcc(c.id), &size, &left)
              : c.search == kList     ? riff_FindListChunk(h, Fcc(c.id), &size, &left)
                                      : riff_FindChunkHeaderInRIFF(h, Fcc(c.id), &size, &left),
              c.result);
    EXPECT_EQ(left, c.left);
    EXPECT_EQ(size, c.size);
    EXPECT_EQ(f.Pos(), c.pos);
  }
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("want"), nullptr, nullptr), S_OK);
  EXPECT_EQ(f.Pos(), 66u);
  DWORD size = 0;
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), &size), S_OK);
  EXPECT_EQ(size, 36u);
  EXPECT_EQ(f.Pos(), 98u);
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), nullptr), S_OK);
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("DISP"), &size), kNotFound);
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

TEST(RiffMalformed, SearchesFromTheStartEndInBoundedTime) {
  const Bytes junkPastTheEnd =
      Concat({Header("RIFF", 1100), Text("WAVE"), Header("JUNK", 1000), Text("0123456789")});
  const Bytes hugeJunk = Concat({Header("RIFF", 100), Text("WAVE"), Header("JUNK", 0x80000000u),
                                 Chunk("data", Bytes(4))});
  const struct { Bytes file; HRESULT result; LONG left; uint64_t pos; } cases[] = {
      {{'R', 'I', 'F', 'F', 0x24, 0}, kNotFound, 0, 6},  // 32 spent on zero headers past the end
      {junkPastTheEnd, kNotFound, (1096 - 8 - 1000 - 8) % 8, 1020},
      {hugeJunk, kNotFound, LONG(0x80000058), 20 + 0x80000000ull},  // 96 - 8 - 0x80000000; forward
      {Bytes(64), GVRIFF_E_NOTRIFF, kNoBudget, 8},  // the header only
      {Text("RIF"), GVRIFF_E_NOTRIFF, kNoBudget, 3},
      {Concat({Header("RIFX", 0x24000000), Text("WAVEfmt ")}), GVRIFF_E_NOTRIFF, kNoBudget, 8},
      {Text("plain text, not a chunk file"), GVRIFF_E_NOTRIFF, kNoBudget, 8},
      {Bytes(), GVRIFF_E_NOTRIFF, kNoBudget, 0}};
  const ULONGLONG start = GetTickCount64();
  FOR_EACH_CASE(cases) {
    TempFile f(c.file);
    LONG left = kNoBudget;
    DWORD size = kSentinel;
    EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), &size, &left), c.result);
    EXPECT_EQ(left, c.left);
    EXPECT_EQ(size, kSentinel);
    EXPECT_EQ(f.Pos(), c.pos);
    EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), &size), c.result);
    f.Seek(0);
    EXPECT_EQ(riff_ReadFileID(f.handle(), nullptr, nullptr),
              c.result == GVRIFF_E_NOTRIFF ? GVRIFF_E_NOTRIFF : S_OK);
  }
  TempFile huge(hugeJunk, GENERIC_READ, 12);
  EXPECT_EQ(riff_GetNumListEntries(huge.handle(), nullptr), 1);  // skipped forward, never back
  EXPECT_EQ(huge.Pos(), 12u);
  EXPECT_LT(GetTickCount64() - start, 2000u);
}

TEST(RiffMalformed, ZeroFilledFileEndsEverySearchAndCountsEmptyHeadersPastTheEnd) {
  TempFile f(Bytes(64));
  const ULONGLONG start = GetTickCount64();
  const struct { LONG budget, left; } cases[] = {{1000, 0}, {1003, 3}, {0x7FFFFFFF, 7}};
  FOR_EACH_CASE(cases) {  // the searches for lists end the same way, through this one
    f.Seek(0);
    LONG left = c.budget;
    EXPECT_EQ(riff_FindChunkHeader(f.handle(), Fcc("data"), nullptr, &left), kNotFound);
    EXPECT_EQ(left, c.left);
  }
  f.Seek(0);
  EXPECT_EQ(riff_FindChunkHeader(f.handle(), Fcc("data"), nullptr, nullptr), kNotFound);
  EXPECT_EQ(f.Pos(), 64u);
  f.Seek(0);
  DWORD size = kSentinel;
  EXPECT_EQ(riff_FindChunkHeader(f.handle(), 0, &size, nullptr), S_OK);  // an all-zero id
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(f.Pos(), 8u);
  f.Seek(0);
  LONG left = 100;  // 8 chunks in the file, then the budget pays for 4 more
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), &left), 12);
  EXPECT_EQ(left, 4);
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), nullptr), 8);
  EXPECT_EQ(f.Pos(), 0u);
  EXPECT_LT(GetTickCount64() - start, 2000u);
}

TEST(RiffMalformed, ListSmallerThanItsTypeIsSteppedOverAndReportsAWrappedSize) {
  const DWORD cases[] = {0, 1, 2, 3};
  FOR_EACH_CASE(cases) {
    const uint64_t padded = c + (c & 1);
    const Bytes body = Concat({Header("LIST", c), Bytes(padded, 'a'), InfoList()});
    TempFile f(Riff("WAVE", body));
    DWORD size = 0;
    EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), &size), S_OK);
    EXPECT_EQ(size, 36u);
    EXPECT_EQ(f.Pos(), 12 + 8 + padded + 12);
    f.Seek(12);
    LONG left = static_cast<LONG>(body.size());
    EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), nullptr, &left), S_OK);
    EXPECT_EQ(left, static_cast<LONG>(body.size() - (12 + padded) - 12));
    f.Seek(12);  // its type is whatever four bytes follow the header
    const DWORD type = Fcc(reinterpret_cast<const char *>(&body[8]));
    EXPECT_EQ(riff_FindListChunk(f.handle(), type, &size, nullptr), S_OK);
    EXPECT_EQ(size, c - 4);  // wrapped; callers check it
    f.Seek(12);
    DWORD found = 0;
    EXPECT_EQ(riff_ReadListHeader(f.handle(), &found, &size), S_OK);
    EXPECT_EQ(size, c - 4);
  }
}

TEST(RiffMalformed, ListIdentifierAsTheLastFourBytesEndsTheListSearch) {
  // The size and type of the last "LIST" lie past the end.
  TempFile f(Concat({Header("RIFF", 0x7FFFFFF0), Text("WAVE"), Chunk("fmt ", Bytes(16)),
                     Text("LIST")}));
  const ULONGLONG start = GetTickCount64();
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), nullptr), kNotFound);
  // Each round re-reads the same "LIST" and costs 12 until the budget is spent.
  const struct { LONG budget, left; } cases[] = {
      {1000, 1000 % 12}, {1004, 0}, {20, 0}, {19, 7}, {0x7FFFFFFF, 7}};
  FOR_EACH_CASE(cases) {
    f.Seek(36);
    LONG left = c.budget;
    EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), nullptr, &left), kNotFound);
    EXPECT_EQ(left, c.left);
  }
  f.Seek(36);
  EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), nullptr, nullptr), kNotFound);
  EXPECT_LT(GetTickCount64() - start, 2000u);
}

TEST(RiffMutation, SeededDamageGivesOnlyDocumentedResults) {
  TempFile f;
  const auto plain = [](auto search) { return search(); };
  Rewrite(f.handle(), riffmut::BaseWave());
  riffmut::Outcome o = riffmut::CheckSearches(f.handle(), plain);
  EXPECT_EQ(o.unexpected, "");
  EXPECT_EQ(o.found, 5);  // fmt, data, INFO, INAM, ICMT
  TempFile probed;
  EXPECT_EQ(riffmut::CheckStream(probed.Path(), riffmut::BaseWave()), "");
  riffmut::Rng rng(0x5EED0001);
  int found = 0;
  for (int i = 0; i < 3000; ++i) {
    Bytes b = riffmut::BaseWave();
    riffmut::Mutate(b, rng);
    Rewrite(f.handle(), b);
    o = riffmut::CheckSearches(f.handle(), plain);
    ASSERT_EQ(o.unexpected, "") << "variant " << i;
    if (i % 10 == 0) {
      ASSERT_EQ(riffmut::CheckStream(probed.Path(), b), "") << "variant " << i;
    }
    found += o.found;
  }
  EXPECT_GT(found, 3000);  // the damage leaves many files searchable
}

}  // namespace
}  // namespace gvtest
