// riff_ header reads, chunk writes and whole-file size patches.
#include <gtest/gtest.h>

#include "files/riff_test_file.h"

namespace gvtest {
namespace {

const DWORD kSentinel = 0xdeadbeef;

TEST(RiffHeader, ReadChunkHeaderReadsIdentifierThenSize) {
  TempFile f(Chunk("fmt ", Bytes(16)));
  DWORD id = kSentinel, size = kSentinel;
  EXPECT_EQ(riff_ReadChunkHeader(f.handle(), &id, &size), S_OK);
  EXPECT_EQ(id, Fcc("fmt "));
  EXPECT_EQ(size, 16u);
  EXPECT_EQ(f.Pos(), 8u);
}

TEST(RiffHeader, ReadChunkHeaderShortAtTheEndLeavesZerosNotStaleBytes) {
  struct Case {
    Bytes contents;
    DWORD id, size;
  } const cases[] = {{Bytes(), 0, 0},
                     {Text("da"), 0x6164, 0},
                     {Text("data"), 0x61746164, 0},
                     {Bytes{'d', 'a', 't', 'a', 0x34, 0x12}, 0x61746164, 0x1234}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    TempFile f(cases[i].contents);
    DWORD id = kSentinel, size = kSentinel;
    EXPECT_EQ(riff_ReadChunkHeader(f.handle(), &id, &size), S_OK);
    EXPECT_EQ(id, cases[i].id);
    EXPECT_EQ(size, cases[i].size);
    EXPECT_EQ(f.Pos(), cases[i].contents.size());
  }
}

TEST(RiffHeader, ReadChunkHeaderFailsOnAHandleWithoutReadAccess) {
  TempFile f(Chunk("fmt ", Bytes(16)));
  f.Reopen(GENERIC_WRITE);
  DWORD id = kSentinel, size = kSentinel;
  EXPECT_EQ(riff_ReadChunkHeader(f.handle(), &id, &size), GVRIFF_E_READ);
  EXPECT_EQ(riff_ReadChunkHeader(f.handle(), nullptr, &size), E_INVALIDARG);
}

TEST(RiffHeader, ReadListHeaderCountsOnlyTheEntries) {
  TempFile f(List("INFO", Chunk("INAM", Text("ab"))));  // list size 4 + 10
  DWORD type = kSentinel, size = kSentinel;
  EXPECT_EQ(riff_ReadListHeader(f.handle(), &type, &size), S_OK);
  EXPECT_EQ(type, Fcc("INFO"));
  EXPECT_EQ(size, 10u);
  EXPECT_EQ(f.Pos(), 12u);
}

TEST(RiffHeader, ReadListHeaderRejectsAnotherIdentifier) {
  TempFile f(Chunk("JUNK", Bytes(6)));
  DWORD type = kSentinel, size = kSentinel;
  EXPECT_EQ(riff_ReadListHeader(f.handle(), &type, &size), GVRIFF_E_NOTLIST);
  EXPECT_EQ(type, Fcc("JUNK"));
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(f.Pos(), 8u);
  EXPECT_EQ(GVRIFF_E_NOTLIST, static_cast<HRESULT>(0x8004E081));
  f.Reopen(GENERIC_WRITE);
  EXPECT_EQ(riff_ReadListHeader(f.handle(), &type, &size), GVRIFF_E_READ);
}

TEST(RiffHeader, ReadFileIDReportsSizeAfterTheFormType) {
  TempFile f(CanonicalWave(8));
  DWORD size = kSentinel, form = kSentinel;
  EXPECT_EQ(riff_ReadFileID(f.handle(), &size, &form), S_OK);
  EXPECT_EQ(size, 36u + 8 - 4);
  EXPECT_EQ(form, Fcc("WAVE"));
  EXPECT_EQ(f.Pos(), 12u);
  f.Seek(0);
  EXPECT_EQ(riff_ReadFileID(f.handle(), nullptr, nullptr), S_OK);
  EXPECT_EQ(f.Pos(), 12u);
}

TEST(RiffHeader, ReadFileIDStoresTheSizeEvenForAnotherIdentifier) {
  struct Case {
    Bytes contents;
    DWORD size;
  } const cases[] = {{Header("RIFX", 100), 96},
                     {Header("riff", 8), 4},
                     {Header("LIST", 2), 0xFFFFFFFE},
                     {Bytes(12), 0xFFFFFFFC},
                     {Bytes(), 0xFFFFFFFC}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    TempFile f(cases[i].contents);
    DWORD size = kSentinel, form = kSentinel;
    EXPECT_EQ(riff_ReadFileID(f.handle(), &size, &form), GVRIFF_E_NOTRIFF);
    EXPECT_EQ(size, cases[i].size);
    EXPECT_EQ(form, kSentinel);
  }
  EXPECT_EQ(GVRIFF_E_NOTRIFF, static_cast<HRESULT>(0x8004E080));
}

TEST(RiffWrite, WriteChunkPadsOddSizesAndReportsTheBytesWritten) {
  struct Case {
    DWORD size;
    DWORD written;
  } const cases[] = {{0, 8}, {1, 10}, {4, 12}, {5, 14}, {6, 14}};
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    TempFile f;
    const BYTE data[6] = {1, 2, 3, 4, 5, 6};
    DWORD written = kSentinel;
    EXPECT_EQ(riff_WriteChunk(f.handle(), Fcc("abcd"), data, cases[i].size, &written), S_OK);
    EXPECT_EQ(written, cases[i].written);
    EXPECT_EQ(f.Pos(), cases[i].written);
    Bytes expected = Header("abcd", cases[i].size);
    expected.insert(expected.end(), data, data + cases[i].size);
    if (cases[i].size & 1) expected.push_back(0);
    EXPECT_EQ(f.OnDisk(), expected);
  }
}

TEST(RiffWrite, WriteChunkWithoutCountPointerStillWrites) {
  TempFile f;
  const BYTE data[3] = {9, 8, 7};
  EXPECT_EQ(riff_WriteChunk(f.handle(), Fcc("xyz "), data, 3, nullptr), S_OK);
  EXPECT_EQ(f.OnDisk(), Chunk("xyz ", Bytes{9, 8, 7}));
}

TEST(RiffWrite, WriteChunkFailsOnAReadOnlyHandle) {
  TempFile f;
  f.Reopen(GENERIC_READ);
  const BYTE data[5] = {};
  DWORD written = kSentinel;
  EXPECT_EQ(riff_WriteChunk(f.handle(), Fcc("abcd"), data, 5, &written), GVRIFF_E_WRITE);
  EXPECT_EQ(written, kSentinel);
  EXPECT_TRUE(f.OnDisk().empty());
  EXPECT_EQ(GVRIFF_E_WRITE, static_cast<HRESULT>(0x8004E009));
}

TEST(RiffWrite, WriteChunkRejectsNullDataWithoutWriting) {
  TempFile f;
  DWORD written = kSentinel;
  EXPECT_EQ(riff_WriteChunk(f.handle(), Fcc("abcd"), nullptr, 2, &written), E_INVALIDARG);
  EXPECT_EQ(written, kSentinel);
  EXPECT_TRUE(f.OnDisk().empty());
  EXPECT_EQ(riff_WriteChunk(f.handle(), Fcc("abcd"), nullptr, 0, &written), S_OK);
  EXPECT_EQ(written, 8u);
}

TEST(RiffWrite, HeaderWritersPutTheirBytesOnDisk) {
  TempFile f;
  EXPECT_EQ(riff_WriteFileID(f.handle(), Fcc("WAVE"), 0x11223344), S_OK);
  EXPECT_EQ(riff_WriteListHeader(f.handle(), Fcc("INFO"), 22), S_OK);
  EXPECT_EQ(riff_WriteChunkHeader(f.handle(), Fcc("INAM"), 0x80000000u), S_OK);
  Bytes expected = Header("RIFF", 0x11223344);
  Append(expected, Text("WAVE"));
  Append(expected, Header("LIST", 22));
  Append(expected, Text("INFO"));
  Append(expected, Header("INAM", 0x80000000u));
  EXPECT_EQ(f.OnDisk(), expected);
  EXPECT_EQ(f.Pos(), 32u);
}

TEST(RiffWrite, HeaderWritersFailOnAReadOnlyHandle) {
  TempFile f(Bytes(4));
  f.Reopen(GENERIC_READ);
  EXPECT_EQ(riff_WriteChunkHeader(f.handle(), Fcc("abcd"), 1), GVRIFF_E_WRITE);
  EXPECT_EQ(riff_WriteListHeader(f.handle(), Fcc("INFO"), 4), GVRIFF_E_WRITE);
  EXPECT_EQ(riff_WriteFileID(f.handle(), Fcc("WAVE"), 4), GVRIFF_E_WRITE);
  EXPECT_EQ(f.OnDisk(), Bytes(4));
}

DWORD SizeAt4(const Bytes &b) {
  return b[4] | (b[5] << 8) | (b[6] << 16) | (static_cast<DWORD>(b[7]) << 24);
}

TEST(RiffSize, SetRIFFSizePatchesOffset4AndRestoresThePosition) {
  TempFile f(CanonicalWave(10));
  f.Seek(30);
  EXPECT_EQ(riff_SetRIFFSize(f.handle(), 0xA1B2C3D4), S_OK);
  EXPECT_EQ(f.Pos(), 30u);
  Bytes disk = f.OnDisk();
  EXPECT_EQ(SizeAt4(disk), 0xA1B2C3D4u);
  Bytes expected = CanonicalWave(10);
  expected[4] = 0xD4, expected[5] = 0xC3, expected[6] = 0xB2, expected[7] = 0xA1;
  EXPECT_EQ(disk, expected);
}

TEST(RiffSize, UpdateRIFFSizeAddsTheSignedDifference) {
  struct Case {
    LONG difference;
    DWORD size;
  } const cases[] = {{0, 46}, {10, 56}, {-6, 50}, {-51, 0xFFFFFFFF}};
  TempFile f(CanonicalWave(10));  // RIFF size 46
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
    SCOPED_TRACE(i);
    f.Seek(17);
    EXPECT_EQ(riff_UpdateRIFFSize(f.handle(), cases[i].difference), S_OK);
    EXPECT_EQ(f.Pos(), 17u);
    EXPECT_EQ(SizeAt4(f.OnDisk()), cases[i].size);
  }
}

TEST(RiffSize, SizePatchesFailButRestoreThePosition) {
  TempFile f(CanonicalWave(10));
  f.Reopen(GENERIC_READ);
  f.Seek(21);
  EXPECT_EQ(riff_SetRIFFSize(f.handle(), 1), GVRIFF_E_WRITE);
  EXPECT_EQ(f.Pos(), 21u);
  EXPECT_EQ(riff_UpdateRIFFSize(f.handle(), 1), GVRIFF_E_WRITE);  // the write fails
  EXPECT_EQ(f.Pos(), 21u);
  f.Reopen(GENERIC_WRITE);
  f.Seek(21);
  EXPECT_EQ(riff_UpdateRIFFSize(f.handle(), 1), GVRIFF_E_WRITE);  // the read fails
  EXPECT_EQ(f.Pos(), 21u);
  EXPECT_EQ(SizeAt4(f.OnDisk()), 46u);
}

TEST(RiffWrite, WrittenFileReadsBackThroughTheSearches) {
  TempFile f;
  HANDLE h = f.handle();
  const BYTE fmt[16] = {1, 0, 1, 0};
  const BYTE name[5] = {'a', 'b', 'c', 'd', 0};
  DWORD written = 0, total = 4;
  ASSERT_EQ(riff_WriteFileID(h, Fcc("WAVE"), 4), S_OK);
  ASSERT_EQ(riff_WriteChunk(h, Fcc("fmt "), fmt, 16, &written), S_OK);
  total += written;
  ASSERT_EQ(riff_WriteListHeader(h, Fcc("INFO"), 4 + 14), S_OK);
  ASSERT_EQ(riff_WriteChunk(h, Fcc("INAM"), name, 5, &written), S_OK);
  total += 12 + written;
  ASSERT_EQ(riff_UpdateRIFFSize(h, static_cast<LONG>(total - 4)), S_OK);
  EXPECT_EQ(f.OnDisk().size(), total + 8);
  EXPECT_EQ(SizeAt4(f.OnDisk()), total);
  DWORD size = 0;
  EXPECT_EQ(riff_FindListChunkFromStart(h, Fcc("INFO"), &size), S_OK);
  EXPECT_EQ(size, 14u);
  LONG left = static_cast<LONG>(size);
  EXPECT_EQ(riff_FindChunkHeader(h, Fcc("INAM"), &size, &left), S_OK);
  char text[8] = {};
  EXPECT_EQ(riff_ReadData(h, text, size), S_OK);
  EXPECT_STREQ(text, "abcd");
  EXPECT_EQ(f.Pos(), total + 8);
}

}  // namespace
}  // namespace gvtest
