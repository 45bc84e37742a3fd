// riff_ position helpers and data reads on real temporary files.
#include <gtest/gtest.h>

#include "files/riff_test_file.h"

namespace gvtest {
namespace {

const DWORD kSentinel = 0xdeadbeef;
void *const kSentinelPtr = reinterpret_cast<void *>(static_cast<uintptr_t>(0xdeadbeef));

Bytes Counting(size_t n) {
  Bytes b(n);
  for (size_t i = 0; i < n; ++i) b[i] = static_cast<BYTE>(0x40 + i);
  return b;
}

TEST(RiffPosition, SaveAndRestoreLocationRoundTrip) {
  TempFile f(Counting(100));
  f.Seek(37);
  DWORD at = kSentinel;
  EXPECT_EQ(riff_SaveLocation(f.handle(), &at), S_OK);
  EXPECT_EQ(at, 37u);
  f.Seek(3);
  EXPECT_EQ(riff_RestoreLocation(f.handle(), at), S_OK);
  EXPECT_EQ(f.Pos(), 37u);
}

TEST(RiffPosition, SeekDataStartGoesToOffset12) {
  TempFile f(Counting(40));
  f.Seek(30);
  EXPECT_EQ(riff_SeekDataStart(f.handle()), S_OK);
  EXPECT_EQ(f.Pos(), 12u);
}

TEST(RiffPosition, SkipChunkMovesOverThePadAndReturnsThePaddedSize) {
  struct Case {
    DWORD size;
    DWORD result;
    uint64_t moved;
  } const cases[] = {{0, 0, 0},
                     {1, 2, 2},
                     {2, 2, 2},
                     {3, 4, 4},
                     {25, 26, 26},
                     {0x80000000u, 0x80000000u, 0x80000000ull},
                     {0xFFFFFFFEu, 0xFFFFFFFEu, 0xFFFFFFFEull},
                     {0xFFFFFFFFu, 0, 0x100000000ull}};  // forward, never backward
  TempFile f(Counting(64));
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    f.Seek(10);
    EXPECT_EQ(riff_SkipChunk(f.handle(), cases[i].size), cases[i].result);
    EXPECT_EQ(f.Pos(), 10 + cases[i].moved);
  }
}

TEST(RiffPosition, ValidateChunkHeaderLooksAtTheSizeOnly) {
  struct Case {
    DWORD size;
    HRESULT result;
  } const cases[] = {{0, GVRIFF_E_ZEROSIZE},         {1, S_OK},
                     {0x7FFFFFFF, S_OK},            {0x80000000u, GVRIFF_E_NEGATIVESIZE},
                     {0xFFFFFFFF, GVRIFF_E_NEGATIVESIZE}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(riff_ValidateChunkHeader(Fcc("data"), static_cast<LONG>(cases[i].size)),
              cases[i].result);
    EXPECT_EQ(riff_ValidateChunkHeader(0, static_cast<LONG>(cases[i].size)), cases[i].result);
  }
  EXPECT_EQ(GVRIFF_E_ZEROSIZE, static_cast<HRESULT>(0x8004E082));
  EXPECT_EQ(GVRIFF_E_NEGATIVESIZE, static_cast<HRESULT>(0x8004E083));
}

TEST(RiffRead, ReadDataOfOddSizeStepsOverThePad) {
  struct Case {
    DWORD size;
    uint64_t moved;
  } const cases[] = {{0, 0}, {1, 2}, {3, 4}, {4, 4}, {7, 8}};
  TempFile f(Counting(32));
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    BYTE buffer[16];
    memset(buffer, 0xCC, sizeof buffer);
    f.Seek(5);
    EXPECT_EQ(riff_ReadData(f.handle(), buffer, cases[i].size), S_OK);
    EXPECT_EQ(f.Pos(), 5 + cases[i].moved);
    for (DWORD k = 0; k < cases[i].size; ++k) EXPECT_EQ(buffer[k], 0x45 + k);
    EXPECT_EQ(buffer[cases[i].size], 0xCC);  // canary
  }
}

TEST(RiffRead, ReadDataShortAtTheEndZeroesWhatDidNotArrive) {
  TempFile f(Counting(6));
  BYTE buffer[8];
  memset(buffer, 0xCC, sizeof buffer);
  f.Seek(4);
  EXPECT_EQ(riff_ReadData(f.handle(), buffer, 6), S_OK);
  const BYTE expected[8] = {0x44, 0x45, 0, 0, 0, 0, 0xCC, 0xCC};
  EXPECT_EQ(memcmp(buffer, expected, 8), 0);
}

TEST(RiffRead, ReadDataFailsOnAHandleWithoutReadAccess) {
  TempFile f(Counting(16));
  f.Reopen(GENERIC_WRITE);
  BYTE buffer[4];
  EXPECT_EQ(riff_ReadData(f.handle(), buffer, 4), GVRIFF_E_READ);
  EXPECT_EQ(riff_ReadData(INVALID_HANDLE_VALUE, buffer, 4), GVRIFF_E_READ);
  EXPECT_EQ(GVRIFF_E_READ, static_cast<HRESULT>(0x8004E008));
}

TEST(RiffRead, ReadDataWithNullBufferFailsWithoutMoving) {
  TempFile f(Counting(16));
  f.Seek(2);
  EXPECT_EQ(riff_ReadData(f.handle(), nullptr, 4), GVRIFF_E_READ);
  EXPECT_EQ(f.Pos(), 2u);
  EXPECT_EQ(riff_ReadData(f.handle(), nullptr, 0), S_OK);
}

TEST(RiffRead, ReadDataBoundedStandsAfterTheWholePaddedChunk) {
  struct Case {
    DWORD bufferSize, chunkSize, read;
    uint64_t moved;
  } const cases[] = {{10, 25, 10, 26}, {32, 25, 25, 26}, {10, 10, 10, 10},
                     {4, 3, 3, 4},     {0, 7, 0, 8},     {10, 0, 0, 0}};
  TempFile f(Counting(64));
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    BYTE buffer[40];
    memset(buffer, 0xCC, sizeof buffer);
    f.Seek(8);
    EXPECT_EQ(riff_ReadDataBounded(f.handle(), buffer, cases[i].bufferSize, cases[i].chunkSize),
              S_OK);
    EXPECT_EQ(f.Pos(), 8 + cases[i].moved);
    for (DWORD k = 0; k < cases[i].read; ++k) EXPECT_EQ(buffer[k], 0x48 + k);
    EXPECT_EQ(buffer[cases[i].read], 0xCC);  // canary
  }
}

TEST(RiffRead, ReadDataBoundedFailsOnAHandleWithoutReadAccess) {
  TempFile f(Counting(16));
  f.Reopen(GENERIC_WRITE);
  BYTE buffer[4];
  EXPECT_EQ(riff_ReadDataBounded(f.handle(), buffer, 4, 10), GVRIFF_E_READ);
  EXPECT_EQ(f.Pos(), 0u);
}

TEST(RiffReadAlloc, SizeZeroAllocatesNothing) {
  TempFile f(Counting(16));
  tGVRIFFDATA rec;
  rec.size = 0;
  rec.data = kSentinelPtr;
  EXPECT_EQ(riff_ReadDataAlloc(f.handle(), &rec), S_OK);
  EXPECT_EQ(rec.data, nullptr);
  EXPECT_EQ(f.Pos(), 0u);
}

TEST(RiffReadAlloc, GivesALockedMoveableBlockOfExactlyTheSize) {
  const DWORD sizes[] = {1, 4, 5, 16};
  TempFile f(Counting(32));
  for (size_t i = 0; i < sizeof sizes / sizeof sizes[0]; ++i) {
    SCOPED_TRACE(i);
    f.Seek(3);
    tGVRIFFDATA rec;
    rec.size = sizes[i];
    rec.data = kSentinelPtr;
    ASSERT_EQ(riff_ReadDataAlloc(f.handle(), &rec), S_OK);
    ASSERT_NE(rec.data, nullptr);
    EXPECT_EQ(f.Pos(), 3u + sizes[i] + (sizes[i] & 1));
    const BYTE *p = static_cast<const BYTE *>(rec.data);
    for (DWORD k = 0; k < sizes[i]; ++k) EXPECT_EQ(p[k], 0x43 + k);
    HGLOBAL h = GlobalHandle(rec.data);
    ASSERT_NE(h, nullptr);
    EXPECT_NE(static_cast<void *>(h), rec.data);  // moveable: the handle is not the pointer
    EXPECT_EQ(GlobalSize(h), sizes[i]);
    EXPECT_EQ(GlobalFlags(h) & GMEM_LOCKCOUNT, 1u);
    EXPECT_FALSE(GlobalUnlock(h));
    EXPECT_EQ(GlobalFree(h), nullptr);
  }
}

TEST(RiffReadAlloc, SizePastTheEndOfTheFileAllocatesNothing) {
  const DWORD sizes[] = {14, 1000, 0x7FFFFFFF, 0x80000000u, 0xFFFFFFFF};
  TempFile f(Counting(20));
  for (size_t i = 0; i < sizeof sizes / sizeof sizes[0]; ++i) {
    SCOPED_TRACE(i);
    f.Seek(7);
    tGVRIFFDATA rec;
    rec.size = sizes[i];
    rec.data = kSentinelPtr;
    EXPECT_EQ(riff_ReadDataAlloc(f.handle(), &rec), GVRIFF_E_READ);
    EXPECT_EQ(rec.data, nullptr);
    EXPECT_EQ(f.Pos(), 7u);
  }
}

TEST(RiffReadAlloc, ExactlyTheRestOfTheFileIsRead) {
  TempFile f(Counting(20));
  f.Seek(7);
  tGVRIFFDATA rec;
  rec.size = 13;
  rec.data = nullptr;
  ASSERT_EQ(riff_ReadDataAlloc(f.handle(), &rec), S_OK);
  EXPECT_EQ(static_cast<BYTE *>(rec.data)[12], 0x40 + 19);
  EXPECT_EQ(f.Pos(), 21u);  // the pad step goes past the end
  HGLOBAL h = GlobalHandle(rec.data);
  GlobalUnlock(h);
  GlobalFree(h);
}

TEST(RiffReadAlloc, FailedReadFreesTheBlockAndClearsData) {
  TempFile f(Counting(16));
  f.Reopen(GENERIC_WRITE);
  tGVRIFFDATA rec;
  rec.size = 4;
  rec.data = kSentinelPtr;
  EXPECT_EQ(riff_ReadDataAlloc(f.handle(), &rec), GVRIFF_E_READ);
  EXPECT_EQ(rec.data, nullptr);
}

TEST(RiffReadAlloc, NullRecordIsRejected) {
  TempFile f(Counting(16));
  EXPECT_EQ(riff_ReadDataAlloc(f.handle(), nullptr), E_INVALIDARG);
}

}  // namespace
}  // namespace gvtest
