// riff_ position helpers and data reads on real temporary files.
#include <gtest/gtest.h>

#include "support/cases.h"
#include "support/riff_builders.h"

namespace gvtest {
namespace {

void *const kSentinelPtr = reinterpret_cast<void *>(static_cast<uintptr_t>(kSentinel));

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

TEST(RiffRead, ReadDataStepsOverThePadAndBoundedReadsEndAfterTheWholeChunk) {
  // From offset 8 of a 32-byte file: 24 bytes are there, the rest read as 0.
  const struct { bool bounded; DWORD bufferSize, chunkSize; uint64_t moved; } cases[] = {
      {false, 0, 0, 0}, {false, 0, 1, 2}, {false, 0, 3, 4}, {false, 0, 4, 4}, {false, 0, 7, 8},
      {false, 0, 30, 24},  // stops at the end of the file
      {true, 10, 25, 26}, {true, 32, 25, 26}, {true, 10, 10, 10}, {true, 4, 3, 4},
      {true, 0, 7, 8}, {true, 10, 0, 0}, {true, 36, 1001, 1002}};  // past the end too
  TempFile f(Counting(32, 0x40));
  FOR_EACH_CASE(cases) {
    BYTE buffer[40];
    memset(buffer, 0xCC, sizeof buffer);
    f.Seek(8);
    EXPECT_EQ(c.bounded ? riff_ReadDataBounded(f.handle(), buffer, c.bufferSize, c.chunkSize)
                        : riff_ReadData(f.handle(), buffer, c.chunkSize),
              S_OK);
    EXPECT_EQ(f.Pos(), 8 + c.moved);
    const DWORD read = c.bounded && c.bufferSize < c.chunkSize ? c.bufferSize : c.chunkSize;
    for (DWORD k = 0; k < read; ++k) EXPECT_EQ(buffer[k], k < 24 ? 0x48 + k : 0) << "byte " << k;
    EXPECT_EQ(buffer[read], 0xCC);  // canary
  }
  f.Seek(2);
  EXPECT_EQ(riff_ReadData(f.handle(), nullptr, 4), GVRIFF_E_READ);
  EXPECT_EQ(f.Pos(), 2u);
  EXPECT_EQ(riff_ReadData(f.handle(), nullptr, 0), S_OK);
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

TEST(RiffReadAlloc, GivesALockedMoveableBlockOfExactlyTheSizeOrNothing) {
  // From offset 7 of a 20-byte file, 13 bytes are there.
  const struct { DWORD size; HRESULT result; } cases[] = {
      {1, S_OK}, {4, S_OK}, {5, S_OK}, {13, S_OK},  // 13: the pad step goes past the end
      {0, S_OK}, {14, GVRIFF_E_READ}, {1000, GVRIFF_E_READ}, {0x7FFFFFFF, GVRIFF_E_READ},
      {0x80000000u, GVRIFF_E_READ}, {0xFFFFFFFF, GVRIFF_E_READ}};
  TempFile f(Counting(20, 0x40));
  FOR_EACH_CASE(cases) {
    f.Seek(7);
    tGVRIFFDATA rec = {c.size, kSentinelPtr};
    ASSERT_EQ(riff_ReadDataAlloc(f.handle(), &rec), c.result);
    if (c.result != S_OK || c.size == 0) {  // nothing allocated, nothing read
      EXPECT_EQ(rec.data, nullptr);
      EXPECT_EQ(f.Pos(), 7u);
      continue;
    }
    EXPECT_EQ(f.Pos(), 7 + c.size + (c.size & 1));
    const BYTE *p = static_cast<const BYTE *>(rec.data);
    for (DWORD k = 0; k < c.size; ++k) EXPECT_EQ(p[k], 0x47 + k);
    HGLOBAL h = GlobalHandle(rec.data);
    ASSERT_NE(h, nullptr);
    EXPECT_NE(static_cast<void *>(h), rec.data);  // moveable: the handle is not the pointer
    EXPECT_EQ(GlobalSize(h), c.size);
    EXPECT_EQ(GlobalFlags(h) & GMEM_LOCKCOUNT, 1u);
    EXPECT_FALSE(GlobalUnlock(h));
    EXPECT_EQ(GlobalFree(h), nullptr);
  }
}

}  // namespace
}  // namespace gvtest
