// riff_ result codes, position helpers and data reads on real temporary files.
#include <gtest/gtest.h>

#include "files/riff_test_file.h"

namespace gvtest {
namespace {

void *const kSentinelPtr = reinterpret_cast<void *>(static_cast<uintptr_t>(kSentinel));

Bytes Counting(size_t n) {
  Bytes b(n);
  for (size_t i = 0; i < n; ++i) b[i] = static_cast<BYTE>(0x40 + i);
  return b;
}

TEST(RiffCodes, KeepTheirPublishedValues) {
  const struct { HRESULT code; DWORD value; } cases[] = {
      {GVRIFF_E_READ, 0x8004E008},     {GVRIFF_E_WRITE, 0x8004E009},
      {GVRIFF_E_NOTFOUND, 0x8004E00A}, {GVRIFF_E_NOTRIFF, 0x8004E080},
      {GVRIFF_E_NOTLIST, 0x8004E081},  {GVRIFF_E_ZEROSIZE, 0x8004E082},
      {GVRIFF_E_NEGATIVESIZE, 0x8004E083}};
  FOR_EACH_CASE(cases) EXPECT_EQ(static_cast<DWORD>(c.code), c.value);
}

TEST(RiffPosition, SaveRestoreAndDataStart) {
  TempFile f(Counting(100), GENERIC_READ | GENERIC_WRITE, 37);
  DWORD at = kSentinel;
  EXPECT_EQ(riff_SaveLocation(f.handle(), &at), S_OK);
  EXPECT_EQ(at, 37u);
  f.Seek(3);
  EXPECT_EQ(riff_RestoreLocation(f.handle(), at), S_OK);
  EXPECT_EQ(f.Pos(), 37u);
  EXPECT_EQ(riff_SeekDataStart(f.handle()), S_OK);
  EXPECT_EQ(f.Pos(), 12u);
}

TEST(RiffPosition, SkipChunkMovesOverThePadAndReturnsThePaddedSize) {
  const struct { DWORD size, result; uint64_t moved; } cases[] = {
      {0, 0, 0}, {1, 2, 2}, {2, 2, 2}, {3, 4, 4}, {25, 26, 26},
      {0x80000000u, 0x80000000u, 0x80000000ull}, {0xFFFFFFFEu, 0xFFFFFFFEu, 0xFFFFFFFEull},
      {0xFFFFFFFFu, 0, 0x100000000ull}};  // forward, never backward
  TempFile f(Counting(64));
  FOR_EACH_CASE(cases) {
    f.Seek(10);
    EXPECT_EQ(riff_SkipChunk(f.handle(), c.size), c.result);
    EXPECT_EQ(f.Pos(), 10 + c.moved);
  }
}

TEST(RiffPosition, ValidateChunkHeaderLooksAtTheSizeOnly) {
  const struct { DWORD size; HRESULT result; } cases[] = {
      {0, GVRIFF_E_ZEROSIZE}, {1, S_OK}, {0x7FFFFFFF, S_OK},
      {0x80000000u, GVRIFF_E_NEGATIVESIZE}, {0xFFFFFFFF, GVRIFF_E_NEGATIVESIZE}};
  FOR_EACH_CASE(cases) {
    EXPECT_EQ(riff_ValidateChunkHeader(Fcc("data"), static_cast<LONG>(c.size)), c.result);
    EXPECT_EQ(riff_ValidateChunkHeader(0, static_cast<LONG>(c.size)), c.result);
  }
}

TEST(RiffRead, ReadDataOfOddSizeStepsOverThePad) {
  const struct { DWORD size; uint64_t moved; } cases[] = {{0, 0}, {1, 2}, {3, 4}, {4, 4}, {7, 8}};
  TempFile f(Counting(32));
  FOR_EACH_CASE(cases) {
    BYTE buffer[16];
    memset(buffer, 0xCC, sizeof buffer);
    f.Seek(5);
    EXPECT_EQ(riff_ReadData(f.handle(), buffer, c.size), S_OK);
    EXPECT_EQ(f.Pos(), 5 + c.moved);
    for (DWORD k = 0; k < c.size; ++k) EXPECT_EQ(buffer[k], 0x45 + k);
    EXPECT_EQ(buffer[c.size], 0xCC);  // canary
  }
}

TEST(RiffRead, ReadDataShortAtTheEndZeroesWhatDidNotArriveAndNullBufferFails) {
  TempFile f(Counting(6), GENERIC_READ | GENERIC_WRITE, 4);
  BYTE buffer[8];
  memset(buffer, 0xCC, sizeof buffer);
  EXPECT_EQ(riff_ReadData(f.handle(), buffer, 6), S_OK);
  const BYTE expected[8] = {0x44, 0x45, 0, 0, 0, 0, 0xCC, 0xCC};
  EXPECT_EQ(memcmp(buffer, expected, 8), 0);
  f.Seek(2);
  EXPECT_EQ(riff_ReadData(f.handle(), nullptr, 4), GVRIFF_E_READ);
  EXPECT_EQ(f.Pos(), 2u);
  EXPECT_EQ(riff_ReadData(f.handle(), nullptr, 0), S_OK);
}

TEST(RiffRead, ReadDataBoundedStandsAfterTheWholePaddedChunk) {
  const struct { DWORD bufferSize, chunkSize, read; uint64_t moved; } cases[] = {
      {10, 25, 10, 26}, {32, 25, 25, 26}, {10, 10, 10, 10}, {4, 3, 3, 4}, {0, 7, 0, 8},
      {10, 0, 0, 0}};
  TempFile f(Counting(64));
  FOR_EACH_CASE(cases) {
    BYTE buffer[40];
    memset(buffer, 0xCC, sizeof buffer);
    f.Seek(8);
    EXPECT_EQ(riff_ReadDataBounded(f.handle(), buffer, c.bufferSize, c.chunkSize), S_OK);
    EXPECT_EQ(f.Pos(), 8 + c.moved);
    for (DWORD k = 0; k < c.read; ++k) EXPECT_EQ(buffer[k], 0x48 + k);
    EXPECT_EQ(buffer[c.read], 0xCC);  // canary
  }
}

TEST(RiffRead, EveryReadFailsOnAHandleWithoutReadAccess) {
  TempFile f(Chunk("JUNK", Counting(16)), GENERIC_WRITE);
  BYTE buffer[4];
  DWORD id = kSentinel, size = kSentinel;
  tGVRIFFDATA rec = {4, kSentinelPtr};
  EXPECT_EQ(riff_ReadData(f.handle(), buffer, 4), GVRIFF_E_READ);
  EXPECT_EQ(riff_ReadData(INVALID_HANDLE_VALUE, buffer, 4), GVRIFF_E_READ);
  EXPECT_EQ(riff_ReadDataBounded(f.handle(), buffer, 4, 10), GVRIFF_E_READ);
  EXPECT_EQ(f.Pos(), 0u);
  EXPECT_EQ(riff_ReadDataAlloc(f.handle(), &rec), GVRIFF_E_READ);  // the block is freed again
  EXPECT_EQ(rec.data, nullptr);
  EXPECT_EQ(riff_ReadChunkHeader(f.handle(), &id, &size), GVRIFF_E_READ);
  EXPECT_EQ(riff_ReadChunkHeader(f.handle(), nullptr, &size), E_INVALIDARG);
  EXPECT_EQ(riff_ReadListHeader(f.handle(), &id, &size), GVRIFF_E_READ);
  EXPECT_EQ(riff_ReadDataAlloc(f.handle(), nullptr), E_INVALIDARG);
}

TEST(RiffReadAlloc, GivesALockedMoveableBlockOfExactlyTheSize) {
  const struct { size_t fileSize; DWORD at, size; } cases[] = {
      {32, 3, 1}, {32, 3, 4}, {32, 3, 5}, {32, 3, 16},
      {20, 7, 13}};  // exactly the rest of the file; the pad step goes past the end
  FOR_EACH_CASE(cases) {
    TempFile f(Counting(c.fileSize), GENERIC_READ | GENERIC_WRITE, c.at);
    tGVRIFFDATA rec = {c.size, kSentinelPtr};
    ASSERT_EQ(riff_ReadDataAlloc(f.handle(), &rec), S_OK);
    ASSERT_NE(rec.data, nullptr);
    EXPECT_EQ(f.Pos(), c.at + c.size + (c.size & 1));
    const BYTE *p = static_cast<const BYTE *>(rec.data);
    for (DWORD k = 0; k < c.size; ++k) EXPECT_EQ(p[k], 0x40 + c.at + k);
    HGLOBAL h = GlobalHandle(rec.data);
    ASSERT_NE(h, nullptr);
    EXPECT_NE(static_cast<void *>(h), rec.data);  // moveable: the handle is not the pointer
    EXPECT_EQ(GlobalSize(h), c.size);
    EXPECT_EQ(GlobalFlags(h) & GMEM_LOCKCOUNT, 1u);
    EXPECT_FALSE(GlobalUnlock(h));
    EXPECT_EQ(GlobalFree(h), nullptr);
  }
}

TEST(RiffReadAlloc, SizeZeroOrPastTheEndOfTheFileAllocatesNothing) {
  const struct { DWORD size; HRESULT result; } cases[] = {
      {0, S_OK}, {14, GVRIFF_E_READ}, {1000, GVRIFF_E_READ}, {0x7FFFFFFF, GVRIFF_E_READ},
      {0x80000000u, GVRIFF_E_READ}, {0xFFFFFFFF, GVRIFF_E_READ}};
  TempFile f(Counting(20));
  FOR_EACH_CASE(cases) {
    f.Seek(7);
    tGVRIFFDATA rec = {c.size, kSentinelPtr};
    EXPECT_EQ(riff_ReadDataAlloc(f.handle(), &rec), c.result);
    EXPECT_EQ(rec.data, nullptr);
    EXPECT_EQ(f.Pos(), 7u);
  }
}

}  // namespace
}  // namespace gvtest
