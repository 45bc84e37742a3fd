// riff_ header reads, chunk writes and whole-file size patches.
#include <gtest/gtest.h>

#include "support/cases.h"
#include "support/riff_builders.h"

namespace gvtest {
namespace {

TEST(RiffHeader, HeaderReadsLeaveZerosNotStaleBytesAndListReadsCountOnlyTheEntries) {
  const struct { bool list; Bytes contents; HRESULT result; DWORD id, size; uint64_t pos;
  } cases[] = {
      {false, Chunk("fmt ", Bytes(16)), S_OK, Fcc("fmt "), 16, 8},
      {false, Bytes(), S_OK, 0, 0, 0},  // short at the end
      {false, Text("da"), S_OK, 0x6164, 0, 2},
      {false, Text("data"), S_OK, 0x61746164, 0, 4},
      {false, Bytes{'d', 'a', 't', 'a', 0x34, 0x12}, S_OK, 0x61746164, 0x1234, 6},
      {true, List("INFO", Chunk("INAM", Text("ab"))), S_OK, Fcc("INFO"), 10, 12},  // 4 + 10
      {true, Chunk("JUNK", Bytes(6)), GVRIFF_E_NOTLIST, Fcc("JUNK"), 6, 8}};
  FOR_EACH_CASE(cases) {
    TempFile f(c.contents);
    DWORD id = kSentinel, size = kSentinel;
    EXPECT_EQ(c.list ? riff_ReadListHeader(f.handle(), &id, &size)
                     : riff_ReadChunkHeader(f.handle(), &id, &size),
              c.result);
    EXPECT_EQ(id, c.id);
    EXPECT_EQ(size, c.size);
    EXPECT_EQ(f.Pos(), c.pos);
  }
}

TEST(RiffHeader, ReadFileIDReportsSizeAfterTheFormTypeEvenForAnotherIdentifier) {
  const struct { Bytes contents; HRESULT result; DWORD size, form; } cases[] = {
      {CanonicalWave(8), S_OK, 36 + 8 - 4, Fcc("WAVE")},
      {Header("RIFX", 100), GVRIFF_E_NOTRIFF, 96, kSentinel},
      {Header("riff", 8), GVRIFF_E_NOTRIFF, 4, kSentinel},
      {Header("LIST", 2), GVRIFF_E_NOTRIFF, 0xFFFFFFFE, kSentinel},  // size - 4 wraps
      {Bytes(12), GVRIFF_E_NOTRIFF, 0xFFFFFFFC, kSentinel},
      {Bytes(), GVRIFF_E_NOTRIFF, 0xFFFFFFFC, kSentinel}};
  FOR_EACH_CASE(cases) {
    TempFile f(c.contents);
    DWORD size = kSentinel, form = kSentinel;
    EXPECT_EQ(riff_ReadFileID(f.handle(), &size, &form), c.result);
    EXPECT_EQ(size, c.size);
    EXPECT_EQ(form, c.form);
  }
  TempFile f(CanonicalWave(8));
  EXPECT_EQ(riff_ReadFileID(f.handle(), nullptr, nullptr), S_OK);
  EXPECT_EQ(f.Pos(), 12u);
}

TEST(RiffWrite, WriteChunkPadsOddSizesAndReportsTheBytesWritten) {
  const struct { DWORD size, written; } cases[] = {{0, 8}, {1, 10}, {4, 12}, {5, 14}, {6, 14}};
  const BYTE data[6] = {1, 2, 3, 4, 5, 6};
  FOR_EACH_CASE(cases) {
    TempFile f;
    DWORD written = kSentinel;
    EXPECT_EQ(riff_WriteChunk(f.handle(), Fcc("abcd"), data, c.size, &written), S_OK);
    EXPECT_EQ(written, c.written);
    EXPECT_EQ(f.Pos(), c.written);
    EXPECT_EQ(f.OnDisk(), Chunk("abcd", Bytes(data, data + c.size)));
  }
  TempFile f;
  DWORD written = kSentinel;
  EXPECT_EQ(riff_WriteChunk(f.handle(), Fcc("abcd"), nullptr, 2, &written), E_INVALIDARG);
  EXPECT_EQ(written, kSentinel);
  EXPECT_TRUE(f.OnDisk().empty());
  EXPECT_EQ(riff_WriteChunk(f.handle(), Fcc("abcd"), nullptr, 0, &written), S_OK);
  EXPECT_EQ(written, 8u);
}

TEST(RiffWrite, WritersPutTheBytesOfAWholeFileOnDisk) {
  const Bytes want = Riff("WAVE", Concat({Chunk("fmt ", PcmFmt()),
                                          List("INFO", Chunk("INAM", Bytes{'a', 'b', 'c', 'd', 0})),
                                          Header("data", 0x80000000u)}));
  TempFile f;
  HANDLE h = f.handle();
  EXPECT_EQ(riff_WriteFileID(h, Fcc("WAVE"), DWORD(want.size() - 8)), S_OK);
  EXPECT_EQ(riff_WriteChunk(h, Fcc("fmt "), PcmFmt().data(), 16, nullptr), S_OK);
  EXPECT_EQ(riff_WriteListHeader(h, Fcc("INFO"), 4 + 14), S_OK);
  EXPECT_EQ(riff_WriteChunk(h, Fcc("INAM"), "abcd", 5, nullptr), S_OK);
  EXPECT_EQ(riff_WriteChunkHeader(h, Fcc("data"), 0x80000000u), S_OK);
  EXPECT_EQ(f.Pos(), want.size());
  EXPECT_EQ(f.OnDisk(), want);
}

TEST(RiffWrite, EveryWriteFailsOnAReadOnlyHandleAndSizePatchesRestoreThePosition) {
  TempFile f(CanonicalWave(10), GENERIC_READ, 21);
  const BYTE data[5] = {};
  DWORD written = kSentinel;
  EXPECT_EQ(riff_WriteChunk(f.handle(), Fcc("abcd"), data, 5, &written), GVRIFF_E_WRITE);
  EXPECT_EQ(written, kSentinel);
  EXPECT_EQ(riff_WriteChunkHeader(f.handle(), Fcc("abcd"), 1), GVRIFF_E_WRITE);
  EXPECT_EQ(riff_WriteListHeader(f.handle(), Fcc("INFO"), 4), GVRIFF_E_WRITE);
  EXPECT_EQ(riff_WriteFileID(f.handle(), Fcc("WAVE"), 4), GVRIFF_E_WRITE);
  EXPECT_EQ(f.OnDisk(), CanonicalWave(10));
  f.Seek(21);
  EXPECT_EQ(riff_SetRIFFSize(f.handle(), 1), GVRIFF_E_WRITE);
  EXPECT_EQ(f.Pos(), 21u);
  EXPECT_EQ(riff_UpdateRIFFSize(f.handle(), 1), GVRIFF_E_WRITE);  // the write fails
  EXPECT_EQ(f.Pos(), 21u);
  TempFile w(CanonicalWave(10), GENERIC_WRITE, 21);
  EXPECT_EQ(riff_UpdateRIFFSize(w.handle(), 1), GVRIFF_E_WRITE);  // the read fails
  EXPECT_EQ(w.Pos(), 21u);
  EXPECT_EQ(w.OnDisk(), CanonicalWave(10));
}

TEST(RiffSize, SizePatchesWriteOffset4AndRestoreThePosition) {
  const struct { bool set; LONG value; DWORD size; } cases[] = {
      {true, LONG(0xA1B2C3D4), 0xA1B2C3D4}, {true, 46, 46}, {false, 0, 46}, {false, 10, 56},
      {false, -6, 50}, {false, -51, 0xFFFFFFFF}};  // each adds to the last
  TempFile f(CanonicalWave(10));  // RIFF size 46
  FOR_EACH_CASE(cases) {
    f.Seek(17);
    EXPECT_EQ(c.set ? riff_SetRIFFSize(f.handle(), DWORD(c.value))
                    : riff_UpdateRIFFSize(f.handle(), c.value),
              S_OK);
    EXPECT_EQ(f.Pos(), 17u);
    Bytes want = CanonicalWave(10);
    memcpy(&want[4], Le32(c.size).data(), 4);
    EXPECT_EQ(f.OnDisk(), want);
  }
}

}  // namespace
}  // namespace gvtest
