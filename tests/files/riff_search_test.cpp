// riff_ searches: budgets written back, positions, and malformed files.
#include <gtest/gtest.h>

#include "files/riff_test_file.h"

namespace gvtest {
namespace {

const LONG kSentinel = static_cast<LONG>(0xdeadbeef);

Bytes InfoList() {  // three entries, two of odd size
  Bytes entries = Chunk("INAM", Text("abc"));
  Append(entries, Chunk("ICMT", Text("hello!")));
  Append(entries, Chunk("ISFT", Text("x")));
  return List("INFO", entries);  // size 4 + 12 + 14 + 10 = 40
}

TEST(RiffSearch, CanonicalWaveFindsFmtAndData) {
  TempFile f(CanonicalWave(8));  // RIFF size 44
  DWORD size = 0;
  LONG left = kSentinel;
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("fmt "), &size, &left), S_OK);
  EXPECT_EQ(size, 16u);
  EXPECT_EQ(left, 44 - 4 - 8);
  EXPECT_EQ(f.Pos(), 20u);
  left = kSentinel;
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), &size, &left), S_OK);
  EXPECT_EQ(size, 8u);
  EXPECT_EQ(left, 44 - 4 - 24 - 8);
  EXPECT_EQ(f.Pos(), 44u);
}

TEST(RiffSearch, FindChunkHeaderInRIFFIgnoresTheCallersCountAndNullPointers) {
  TempFile f(CanonicalWave(8));
  LONG left = 3;
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), nullptr, &left), S_OK);
  EXPECT_EQ(left, 8);
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), nullptr, nullptr), S_OK);
  EXPECT_EQ(f.Pos(), 44u);
}

TEST(RiffSearch, FindChunkHeaderInRIFFWritesTheBudgetBackWhenNotFound) {
  TempFile f(CanonicalWave(8));
  DWORD size = 0xdeadbeef;
  LONG left = kSentinel;
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("cue "), &size, &left), GVRIFF_E_NOTFOUND);
  EXPECT_EQ(left, 0);
  EXPECT_EQ(size, 0xdeadbeefu);
  EXPECT_EQ(GVRIFF_E_NOTFOUND, static_cast<HRESULT>(0x8004E00A));
}

TEST(RiffSearch, BudgetBelow8EndsAtOnceAndIsWrittenBack) {
  const LONG budgets[] = {7, 0, -1, static_cast<LONG>(0x80000000)};
  TempFile f(CanonicalWave(8));
  for (size_t i = 0; i < sizeof budgets / sizeof budgets[0]; ++i) {
    SCOPED_TRACE(i);
    f.Seek(12);
    LONG left = budgets[i];
    DWORD size = 0xdeadbeef;
    EXPECT_EQ(riff_FindChunkHeader(f.handle(), Fcc("fmt "), &size, &left), GVRIFF_E_NOTFOUND);
    EXPECT_EQ(left, budgets[i]);
    EXPECT_EQ(size, 0xdeadbeefu);
    EXPECT_EQ(f.Pos(), 12u);
  }
}

TEST(RiffSearch, FindChunkHeaderChargesHeadersAndPaddedChunks) {
  struct Case {
    const char *id;
    LONG budget;
    HRESULT result;
    LONG left;
    uint64_t pos;
  } const cases[] = {
      {"fmt ", 8, S_OK, 0, 20},                 // only the header is charged
      {"data", 32, S_OK, 0, 44},                //
      {"data", 31, GVRIFF_E_NOTFOUND, 7, 36},   // 31 - 8 - 16
      {"data", 30, GVRIFF_E_NOTFOUND, 6, 36},   //
      {"data", 1000, S_OK, 1000 - 32, 44},      //
  };
  TempFile f(CanonicalWave(8));
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    f.Seek(12);
    LONG left = cases[i].budget;
    EXPECT_EQ(riff_FindChunkHeader(f.handle(), Fcc(cases[i].id), nullptr, &left), cases[i].result);
    EXPECT_EQ(left, cases[i].left);
    EXPECT_EQ(f.Pos(), cases[i].pos);
  }
}

TEST(RiffSearch, FindChunkHeaderSkipsOddChunksWithTheirPad) {
  Bytes body = Chunk("odd1", Text("abc"));  // 8 + 3 + 1
  Append(body, Chunk("odd2", Text("x")));   // 8 + 1 + 1
  Append(body, Chunk("want", Text("yz")));
  TempFile f(Riff("TEST", body));
  DWORD size = 0;
  LONG left = kSentinel;
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("want"), &size, &left), S_OK);
  EXPECT_EQ(size, 2u);
  EXPECT_EQ(f.Pos(), 12u + 12 + 10 + 8);
  EXPECT_EQ(left, 2);
}

TEST(RiffSearch, FindChunkHeaderReadErrorLeavesTheBudgetAlone) {
  TempFile f(CanonicalWave(8));
  f.Reopen(GENERIC_WRITE);
  LONG left = 100;
  EXPECT_EQ(riff_FindChunkHeader(f.handle(), Fcc("data"), nullptr, &left), GVRIFF_E_READ);
  EXPECT_EQ(left, 100);
  left = kSentinel;
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), nullptr, &left), GVRIFF_E_NOTRIFF);
  EXPECT_EQ(left, kSentinel);
}

TEST(RiffList, FindListChunkCountsFourExtraBytesPerSkippedList) {
  Bytes body = List("abcd", Text("123456"));  // LIST of size 10: occupies 18 bytes
  Append(body, InfoList());
  TempFile f(Riff("WAVE", body));
  const LONG budget = static_cast<LONG>(body.size());  // 18 + 48
  f.Seek(12);
  LONG left = budget;
  DWORD size = 0;
  EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), &size, &left), S_OK);
  EXPECT_EQ(size, 36u);
  EXPECT_EQ(f.Pos(), 12u + 18 + 12);  // at the list's first entry
  EXPECT_EQ(left, budget - (18 + 4) - 12);
}

TEST(RiffList, FindListChunkFromStartFindsTheList) {
  Bytes body = Chunk("fmt ", Bytes(16));
  Append(body, InfoList());
  TempFile f(Riff("WAVE", body));
  DWORD size = 0;
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), &size), S_OK);
  EXPECT_EQ(size, 36u);
  EXPECT_EQ(f.Pos(), 12u + 24 + 12);
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("DISP"), &size), GVRIFF_E_NOTFOUND);
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), nullptr), S_OK);
}

TEST(RiffList, FindListChunkNeedsFourBytesForTheType) {
  TempFile f(Riff("WAVE", InfoList()));
  f.Seek(12);
  LONG left = 11;  // 3 left after the header
  EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), nullptr, &left), GVRIFF_E_NOTFOUND);
  EXPECT_EQ(left, 3);
  EXPECT_EQ(f.Pos(), 20u);
  f.Seek(12);
  left = 12;
  EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), nullptr, &left), S_OK);
  EXPECT_EQ(left, 0);
}

TEST(RiffList, GetNumListEntriesRestoresThePositionButSpendsTheBudget) {
  TempFile f(Riff("WAVE", InfoList()));
  DWORD size = 0;
  ASSERT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), &size), S_OK);
  LONG left = static_cast<LONG>(size);
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), &left), 3);
  EXPECT_EQ(left, 0);
  EXPECT_EQ(f.Pos(), 24u);
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), nullptr), 3);  // up to the end of the file
  EXPECT_EQ(f.Pos(), 24u);
  left = 20;  // pays for the first entry (12) and the header of the second (14)
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), &left), 2);
  EXPECT_EQ(left, 20 - 12 - 14);
  left = 7;
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), &left), 0);
  EXPECT_EQ(left, 7);
}

TEST(RiffList, GetNumListEntriesReadErrorRestoresThePosition) {
  TempFile f(Riff("WAVE", InfoList()));
  f.Reopen(GENERIC_WRITE);
  f.Seek(24);
  LONG left = 36;
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), &left), GVRIFF_E_READ);
  EXPECT_EQ(left, 28);  // the header is charged before the read is looked at
  EXPECT_EQ(f.Pos(), 24u);
}

// ---- malformed files: every search ends quickly with an error or a result.

class Stopwatch {
 public:
  Stopwatch() : start_(GetTickCount64()) {}
  ULONGLONG Ms() const { return GetTickCount64() - start_; }

 private:
  ULONGLONG start_;
};

TEST(RiffMalformed, TruncatedHeaderRunsTheBudgetOut) {
  Bytes riff6 = Header("RIFF", 0x24);
  riff6.resize(6);
  TempFile f(riff6);
  Stopwatch watch;
  LONG left = kSentinel;
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), nullptr, &left), GVRIFF_E_NOTFOUND);
  EXPECT_EQ(left, 0);  // 32 spent on zero headers past the end
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), nullptr), GVRIFF_E_NOTFOUND);
  EXPECT_LT(watch.Ms(), 2000u);

  TempFile three(Text("RIF"));
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(three.handle(), Fcc("data"), nullptr, &left), GVRIFF_E_NOTRIFF);
  EXPECT_EQ(riff_FindListChunkFromStart(three.handle(), Fcc("INFO"), nullptr), GVRIFF_E_NOTRIFF);
}

TEST(RiffMalformed, ChunkRunningPastTheEndOfTheFile) {
  Bytes file = Header("RIFF", 1100);
  Append(file, Text("WAVE"));
  Append(file, Header("JUNK", 1000));
  Append(file, Text("0123456789"));
  TempFile f(file);
  Stopwatch watch;
  LONG left = kSentinel;
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), nullptr, &left), GVRIFF_E_NOTFOUND);
  EXPECT_EQ(left, (1096 - 8 - 1000 - 8) % 8);
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), nullptr), GVRIFF_E_NOTFOUND);
  EXPECT_LT(watch.Ms(), 2000u);

  DWORD size = 0;
  ASSERT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("JUNK"), &size, &left), S_OK);
  EXPECT_EQ(size, 1000u);
  tGVRIFFDATA rec;
  rec.size = size;
  rec.data = &rec;
  EXPECT_EQ(riff_ReadDataAlloc(f.handle(), &rec), GVRIFF_E_READ);  // nothing allocated
  EXPECT_EQ(rec.data, nullptr);
  BYTE buffer[64];
  EXPECT_EQ(riff_ReadDataBounded(f.handle(), buffer, sizeof buffer, size), S_OK);
  EXPECT_EQ(memcmp(buffer, "0123456789", 10), 0);
  EXPECT_EQ(buffer[10], 0);
  EXPECT_EQ(f.Pos(), 20u + 1000);
}

TEST(RiffMalformed, ChunkOfSize0x80000000) {
  Bytes file = Header("RIFF", 100);
  Append(file, Text("WAVE"));
  Append(file, Header("JUNK", 0x80000000u));
  Append(file, Chunk("data", Bytes(4)));
  TempFile f(file);
  Stopwatch watch;
  LONG left = kSentinel;
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), nullptr, &left), GVRIFF_E_NOTFOUND);
  EXPECT_EQ(left, static_cast<LONG>(0x80000058));  // 96 - 8 - 0x80000000, two's complement
  EXPECT_EQ(f.Pos(), 20u + 0x80000000ull);           // skipped forward, never back
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), nullptr), GVRIFF_E_NOTFOUND);
  f.Seek(12);
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), nullptr), 1);
  EXPECT_EQ(f.Pos(), 12u);
  EXPECT_LT(watch.Ms(), 2000u);
  EXPECT_EQ(riff_ValidateChunkHeader(Fcc("JUNK"), static_cast<LONG>(0x80000000u)),
            GVRIFF_E_NEGATIVESIZE);
}

TEST(RiffMalformed, ZeroFilledFile) {
  TempFile f(Bytes(64));
  Stopwatch watch;
  LONG left = kSentinel;
  EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("data"), nullptr, &left), GVRIFF_E_NOTRIFF);
  EXPECT_EQ(left, kSentinel);
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), nullptr), GVRIFF_E_NOTRIFF);

  struct Case {
    LONG budget, left;
  } const cases[] = {{1000, 0}, {1003, 3}, {0x7FFFFFFF, 7}, {64, 0}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    f.Seek(0);
    left = cases[i].budget;
    EXPECT_EQ(riff_FindChunkHeader(f.handle(), Fcc("data"), nullptr, &left), GVRIFF_E_NOTFOUND);
    EXPECT_EQ(left, cases[i].left);
    f.Seek(0);
    left = cases[i].budget;
    EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), nullptr, &left), GVRIFF_E_NOTFOUND);
    EXPECT_EQ(left, cases[i].left);
  }
  f.Seek(0);
  EXPECT_EQ(riff_FindChunkHeader(f.handle(), Fcc("data"), nullptr, nullptr), GVRIFF_E_NOTFOUND);
  EXPECT_EQ(f.Pos(), 64u);
  f.Seek(0);
  DWORD size = 0xdeadbeef;
  EXPECT_EQ(riff_FindChunkHeader(f.handle(), 0, &size, nullptr), S_OK);  // an all-zero id
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(f.Pos(), 8u);

  f.Seek(0);
  left = 100;  // 8 chunks in the file, then the budget pays for 4 more
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), &left), 12);
  EXPECT_EQ(left, 4);
  EXPECT_EQ(riff_GetNumListEntries(f.handle(), nullptr), 8);
  EXPECT_EQ(f.Pos(), 0u);
  EXPECT_LT(watch.Ms(), 2000u);
}

TEST(RiffMalformed, ListSmallerThanItsTypeIsSteppedOverToItsTrueEnd) {
  for (DWORD small = 0; small < 4; ++small) {
    SCOPED_TRACE(small);
    Bytes body = Header("LIST", small);
    Append(body, Bytes(small + (small & 1), 'a'));
    Append(body, InfoList());
    TempFile f(Riff("WAVE", body));
    const uint64_t padded = small + (small & 1);
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
  Bytes file = Header("RIFF", 0x7FFFFFF0);
  Append(file, Text("WAVE"));
  Append(file, Chunk("fmt ", Bytes(16)));
  Append(file, Text("LIST"));  // its size and type lie past the end
  TempFile f(file);
  Stopwatch watch;
  EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), nullptr), GVRIFF_E_NOTFOUND);
  // Each round re-reads the same "LIST" and costs 12 until the budget is spent.
  struct Case {
    LONG budget, left;
  } const cases[] = {{1000, 1000 % 12}, {1004, 0}, {20, 0}, {19, 7}, {0x7FFFFFFF, 7}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    f.Seek(36);
    LONG left = cases[i].budget;
    EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), nullptr, &left), GVRIFF_E_NOTFOUND);
    EXPECT_EQ(left, cases[i].left);
  }
  f.Seek(36);
  EXPECT_EQ(riff_FindListChunk(f.handle(), Fcc("INFO"), nullptr, nullptr), GVRIFF_E_NOTFOUND);
  EXPECT_LT(watch.Ms(), 2000u);
}

TEST(RiffMalformed, FileThatIsNotRiff) {
  Bytes rifx = Header("RIFX", 0x24000000);  // big-endian RIFF
  Append(rifx, Text("WAVEfmt "));
  const Bytes files[] = {rifx, Text("plain text, not a chunk file"), Bytes()};
  for (size_t i = 0; i < sizeof files / sizeof files[0]; ++i) {
    SCOPED_TRACE(i);
    TempFile f(files[i]);
    LONG left = kSentinel;
    DWORD size = 0xdeadbeef;
    EXPECT_EQ(riff_FindChunkHeaderInRIFF(f.handle(), Fcc("fmt "), &size, &left), GVRIFF_E_NOTRIFF);
    EXPECT_EQ(left, kSentinel);
    EXPECT_EQ(size, 0xdeadbeefu);
    EXPECT_EQ(riff_FindListChunkFromStart(f.handle(), Fcc("INFO"), &size), GVRIFF_E_NOTRIFF);
    f.Seek(0);
    EXPECT_EQ(riff_ReadFileID(f.handle(), nullptr, nullptr), GVRIFF_E_NOTRIFF);
  }
}

}  // namespace
}  // namespace gvtest
