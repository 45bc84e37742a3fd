// Audio streams over real files: round trips between file and client
// formats with the bytes on disk checked, lengths, views and single frames,
// channels, copying, and the probe of WAVE files.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "gvtalc.h"
#include "support/cases.h"
#include "support/riff_builders.h"

namespace gvtest {
namespace {

// A temporary file the test itself keeps no access to, so a stream may
// open it with any sharing.
struct TempPath : TempFile {
  explicit TempPath(const Bytes &contents = Bytes()) : TempFile(contents, 0) {}
  const char *c_str() const { return Path(); }
};

tGVAUDIOATTRIBS Attr(DWORD flags, DWORD bits, DWORD channels) {
  tGVAUDIOATTRIBS a;
  GvAudio_InitAttribs(&a, sizeof a, 0, flags, 44100, bits, channels);
  return a;
}

HGVAUDIOSTREAM Open(const char *path, const tGVAUDIOATTRIBS &file, DWORD clientBits,
                    DWORD clientFlags, DWORD openFlags, DWORD offset = 0, uint64_t length = 0,
                    DWORD view = GVAS_VIEW_NONE) {
  HGVAUDIOSTREAM s = reinterpret_cast<HGVAUDIOSTREAM>(1);
  HRESULT hr = GvAudioStream_OpenFile(&s, path, offset, DWORD(length), DWORD(length >> 32), &file,
                                      clientBits, clientFlags, view, openFlags);
  EXPECT_EQ(hr, S_OK);
  return s;
}

TEST(AudioStream, RoundTripsBetweenFileAndClientFormats) {
  const struct {
    tGVAUDIOATTRIBS file;
    DWORD clientBits, clientFlags;
    Bytes client;  // two frames in client format
    Bytes disk;    // the same two frames as the file holds them
  } cases[] = {
      // 16-bit stereo file, float32 client: 0.5, -1.0 | 0.25, 0.
      {Attr(0, 16, 2), 32, GVAA_FLOAT32,
       {0, 0, 0, 0x3F, 0, 0, 0x80, 0xBF, 0, 0, 0x80, 0x3E, 0, 0, 0, 0},
       {0x00, 0x40, 0x00, 0x80, 0x00, 0x20, 0x00, 0x00}},
      // 8-bit unsigned mono file, 16-bit client.
      {Attr(GVAA_UNSIGNED8, 8, 1), 16, 0, {0x00, 0x80, 0x00, 0x7F}, {0x00, 0xFF}},
      // Packed 24-bit file, 32-bit client: the top three bytes are kept.
      {Attr(GVAA_PACKED24, 24, 1), 32, 0, {0, 0x56, 0x34, 0x12, 0, 0, 0, 0x80},
       {0x56, 0x34, 0x12, 0, 0, 0x80}},
      // Equal formats: no conversion buffer, the bytes go through as they are.
      {Attr(0, 16, 1), 0, 0, {1, 2, 3, 4}, {1, 2, 3, 4}},
  };
  FOR_EACH_CASE(cases) {
    TempPath tmp;
    HGVAUDIOSTREAM s = Open(tmp.c_str(), c.file, c.clientBits, c.clientFlags, GVAS_CREATE, 44);
    DWORD done = 0;
    ASSERT_EQ(GvAudioStream_Write(s, c.client.data(), 2, &done), S_OK);
    EXPECT_EQ(done, 2u);
    ULONGLONG length = 0;
    GvAudioStream_GetLength(s, &length);
    EXPECT_EQ(length, 2u);
    EXPECT_EQ(GvAudioStream_Close(s), S_OK);

    Bytes want = c.disk;
    want.insert(want.begin(), 44, 0);  // the data offset is zero-filled at creation
    EXPECT_EQ(tmp.OnDisk(), want);

    s = Open(tmp.c_str(), c.file, c.clientBits, c.clientFlags, GVAS_OPENREAD | GVAS_READONLY, 44, 2);
    Bytes back(c.client.size() + 4, 0xCD);
    ASSERT_EQ(GvAudioStream_Read(s, back.data(), 5, &done), S_OK);
    EXPECT_EQ(done, 2u);  // stops at the length
    EXPECT_EQ(Bytes(back.begin(), back.begin() + c.client.size()), c.client);
    EXPECT_EQ(back[c.client.size()], 0xCD);
    EXPECT_EQ(GvAudioStream_Read(s, back.data(), 1, &done), S_OK);  // at the length
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(GvAudioStream_Write(s, back.data(), 1, &done), STG_E_ACCESSDENIED);
    GvAudioStream_Close(s);
  }
}

TEST(AudioStream, MetricsAttribsAndRefusals) {
  TempPath tmp;
  HGVAUDIOSTREAM s = Open(tmp.c_str(), Attr(0, 16, 2), 32, GVAA_FLOAT32, GVAS_CREATE);
  const DWORD metrics[][2] = {{1, 8},      {2, 0x20000 / 8}, {10, 0}, {11, 44100}, {12, 16},
                              {13, 2},     {20, GVAA_FLOAT32}, {21, 44100}, {22, 32}, {23, 2},
                              {3, 0},      {24, 0}};
  for (const auto &m : metrics) EXPECT_EQ(GvAudioStream_GetMetric(s, m[0]), m[1]) << m[0];
  unsigned char attr[100];
  std::memset(attr, 0x5A, sizeof attr);
  EXPECT_EQ(GvAudioStream_GetAttribs(s, reinterpret_cast<tGVAUDIOATTRIBS *>(attr), 100), S_OK);
  EXPECT_EQ(reinterpret_cast<tGVAUDIOATTRIBS *>(attr)->cbSize, 48u);
  EXPECT_NE(attr[99], 0x5A);  // 100 bytes copied

  tGVAUDIOVIEW *view = reinterpret_cast<tGVAUDIOVIEW *>(1);
  EXPECT_EQ(GvAudioStream_GetView(s, &view), E_NOTIMPL);
  EXPECT_EQ(view, nullptr);
  HGVAUDIOSTREAM clone = s;
  EXPECT_EQ(GvAudioStream_Clone(s, 0, 0, 0, &clone), E_NOTIMPL);
  EXPECT_EQ(clone, nullptr);
  EXPECT_EQ(GvAudioStream_Revert(s), E_NOTIMPL);
  EXPECT_EQ(GvAudioStream_Close(s), S_OK);
  EXPECT_EQ(GvAudioStream_Close(nullptr), E_FAIL);

  // Creating read-only is refused; a pair without a converter, a missing file too.
  const tGVAUDIOATTRIBS good = Attr(0, 16, 2), odd = Attr(0, 12, 2);
  const struct { const char *path; const tGVAUDIOATTRIBS *attr; DWORD flags; HRESULT hr; } bad[] = {
      {tmp.c_str(), &good, GVAS_CREATE | GVAS_READONLY, E_INVALIDARG},
      {tmp.c_str(), &odd, GVAS_CREATE, E_NOTIMPL},
      {"Z:\\no\\such\\dir\\x.wav", &good, GVAS_OPENREAD, E_FAIL},
  };
  FOR_EACH_CASE(bad) {
    EXPECT_EQ(GvAudioStream_OpenFile(&s, c.path, 0, 0, 0, c.attr, 0, 0, 0, c.flags), c.hr);
    EXPECT_EQ(s, nullptr);
  }
}

TEST(AudioStream, PlainOpenReplacesAnExistingFile) {
  TempPath tmp(Bytes(100, 7));
  HGVAUDIOSTREAM s = Open(tmp.c_str(), Attr(0, 16, 1), 0, 0, 0);
  GvAudioStream_Close(s);
  EXPECT_TRUE(tmp.OnDisk().empty());
}

TEST(AudioStream, SetSizeGrowsWithSilenceAndShrinksWithoutTouchingTheFile) {
  TempPath tmp;
  HGVAUDIOSTREAM s = Open(tmp.c_str(), Attr(GVAA_UNSIGNED8, 8, 1), 0, GVAA_UNSIGNED8, GVAS_CREATE);
  const DWORD grown = 0x20000 + 100;  // more than one buffer of silence
  ASSERT_EQ(GvAudioStream_SetSize(s, grown, 0), S_OK);
  Bytes disk = tmp.OnDisk();
  ASSERT_EQ(disk.size(), grown);
  EXPECT_EQ(disk.front(), 0x80);
  EXPECT_EQ(disk.back(), 0x80);

  unsigned char tail[8];
  DWORD done = 0;
  GvAudioStream_Seek(s, 0, GVAS_SEEK_SET, nullptr);
  ASSERT_EQ(GvAudioStream_SetSize(s, 10, 0), S_OK);
  EXPECT_EQ(tmp.OnDisk().size(), grown);  // never truncated
  ULONGLONG pos = 1;
  GvAudioStream_Seek(s, 0, GVAS_SEEK_CUR, &pos);
  EXPECT_EQ(pos, 10u);  // the position moved to the new end
  GvAudioStream_Seek(s, 8, GVAS_SEEK_SET, nullptr);
  EXPECT_EQ(GvAudioStream_Read(s, tail, 8, &done), S_OK);
  EXPECT_EQ(done, 2u);
  GvAudioStream_Close(s);
}

TEST(AudioStream, ViewLoadsAroundTheFrameAndCellsWriteBack) {
  TempPath tmp;
  // Stereo float64 client frames are 16 bytes: the view holds 8192 frames.
  HGVAUDIOSTREAM s = Open(tmp.c_str(), Attr(0, 16, 2), 64, GVAA_FLOAT64, GVAS_CREATE, 0, 0,
                          GVAS_VIEW_MIDDLE);
  ASSERT_EQ(GvAudioStream_SetSize(s, 20000, 0), S_OK);
  tGVAUDIOVIEW *view = nullptr;
  ASSERT_EQ(GvAudioStream_GetView(s, &view), S_OK);
  EXPECT_EQ(view->dwStartLow, 0xFFFFFFFFu);
  EXPECT_EQ(view->nFrames, 0u);
  const struct { DWORD frame, start, count; } cases[] = {
      {10, 0, 8192}, {10000, 5905, 8192}, {19999, 19999 - 4095, 4096}};
  FOR_EACH_CASE(cases) {
    HRESULT err = E_FAIL;
    EXPECT_EQ(GvAudioStream_GetSample_X(s, c.frame, 0, 0, &err), 0xFFFFFFFFu);
    EXPECT_EQ(err, S_OK);
    EXPECT_EQ(view->dwStartLow, c.start);
    EXPECT_EQ(view->nFrames, c.count);
  }
  HRESULT err = S_OK;
  EXPECT_EQ(GvAudioStream_GetSample_X(s, 20000, 0, 0, &err), 0u);
  EXPECT_EQ(err, E_INVALIDARG);

  const double frame[2] = {0.5, -0.25};
  ASSERT_EQ(GvAudioStream_SetSampleCell_X(s, 3, 0, frame), S_OK);  // loads 0..8191
  EXPECT_EQ(view->bDirty, 1u);
  double back[2] = {};
  EXPECT_EQ(GvAudioStream_GetSampleCell_X(s, 3, 0, back), S_OK);
  EXPECT_EQ(back[1], -0.25);
  EXPECT_EQ(GvAudioStream_Commit(s, 0), S_OK);
  EXPECT_EQ(view->bDirty, 0u);
  const Bytes disk = tmp.OnDisk();
  EXPECT_EQ(disk[12], 0x00);
  EXPECT_EQ(disk[13], 0x40);  // 0.5 as 16-bit
  EXPECT_EQ(disk[15], 0xE0);  // -0.25
  GvAudioStream_Close(s);
}

TEST(AudioStream, ChannelsCopyAndReinterpretation) {
  TempPath a, b;
  HGVAUDIOSTREAM s = Open(a.c_str(), Attr(0, 16, 2), 0, 0, GVAS_CREATE);
  const short left[3] = {1, 2, 3}, right[3] = {-1, -2, -3};
  DWORD done = 0;
  ASSERT_EQ(GvAudioStream_WriteChannel(s, 0, left, 3, &done), S_OK);
  GvAudioStream_Seek(s, 0, GVAS_SEEK_SET, nullptr);
  ASSERT_EQ(GvAudioStream_WriteChannel(s, 1, right, 3, &done), S_OK);
  GvAudioStream_Seek(s, 0, GVAS_SEEK_SET, nullptr);
  short got[3] = {};
  ASSERT_EQ(GvAudioStream_ReadChannel(s, 1, got, 3, &done), S_OK);
  EXPECT_EQ(done, 3u);
  EXPECT_EQ(got[2], -3);

  // CopyTo into a float32 stream; its staging buffer stays in a slot.
  HGVAUDIOSTREAM d = Open(b.c_str(), Attr(0, 16, 2), 32, GVAA_FLOAT32, GVAS_CREATE);
  GvAudioStream_Seek(s, 0, GVAS_SEEK_SET, nullptr);
  DWORD read = 0, written = 0;
  EXPECT_EQ(GvAudioStream_CopyTo(s, d, 3, &read, &written), S_OK);
  EXPECT_EQ(read, 3u);
  EXPECT_EQ(written, 3u);
  EXPECT_EQ(b.OnDisk(), a.OnDisk());
  int free = 0;
  while (GvAudioStream_GetBuffer(d, 1)) ++free;
  EXPECT_EQ(free, 7);

  // Reinterpreting as mono doubles the length; back to two halves it.
  ULONGLONG length = 0;
  ASSERT_EQ(GvAudioStream_PrestoChangoChannels(s, 1), S_OK);
  GvAudioStream_GetLength(s, &length);
  EXPECT_EQ(length, 6u);
  SetLastError(0);
  GvAudioStream_SetSize(s, 1001, 0);
  ASSERT_EQ(GvAudioStream_PrestoChangoChannels(s, 2), S_OK);
  GvAudioStream_GetLength(s, &length);
  EXPECT_EQ(length, 500u);
  GvAudioStream_Close(s);
  GvAudioStream_Close(d);
}

TEST(AudioStream, FileShorterThanItsLengthReadsShort) {
  TempPath tmp(Bytes(44 + 10, 1));  // five 16-bit mono frames
  HGVAUDIOSTREAM s = Open(tmp.c_str(), Attr(0, 16, 1), 32, GVAA_FLOAT32,
                          GVAS_OPENREAD | GVAS_READONLY, 44, 1000);
  std::vector<float> out(1000);
  DWORD done = 0;
  EXPECT_EQ(GvAudioStream_Read(s, out.data(), 1000, &done), S_OK);
  EXPECT_EQ(done, 5u);
  GvAudioStream_Close(s);
}

// ---- GvGetFileWfx ----

Bytes SizedChunk(const char *id, const Bytes &data, DWORD size) {
  return Concat({Header(id, size), data, Bytes(data.size() & 1)});
}
Bytes Fmt(WORD tag, WORD channels, WORD align, WORD bits) {
  return Concat({Le32(tag | DWORD(channels) << 16), Le32(44100), Le32(44100u * align),
                 Le32(align | DWORD(bits) << 16)});
}
Bytes Wave(std::initializer_list<Bytes> chunks) { return Riff("WAVE", Concat(chunks)); }

TEST(GetFileWfx, AcceptsThePcmFamilyAndRefusesDamage) {
  const Bytes data(40, 0);
  const struct {
    Bytes file;
    bool ok;
    ULONGLONG frames, offset;
  } cases[] = {
      {Wave({Chunk("fmt ", Fmt(1, 2, 4, 16)), Chunk("data", data)}), true, 10, 44},
      {Wave({Chunk("fmt ", Fmt(1, 2, 6, 20)), Chunk("LIST", Bytes(6, 'x')),
             Chunk("data", data)}), true, 6, 58},  // 20 bits repaired to 24
      {Wave({Chunk("fmt ", Fmt(2, 2, 4, 16)), Chunk("data", data)}), false, 0, 0},  // ADPCM tag
      {Wave({Chunk("data", data)}), false, 0, 0},                                    // no fmt
      {Wave({Chunk("fmt ", Bytes(14, 1)), Chunk("data", data)}), false, 0, 0},      // short fmt
      {Wave({SizedChunk("fmt ", Fmt(1, 2, 4, 16), 5000)}), false, 0, 0},  // fmt past the end
      {Wave({Chunk("fmt ", Fmt(1, 0, 0, 16)), Chunk("data", data)}), false, 0, 0},  // 0 channels
      {Wave({Chunk("fmt ", Fmt(1, 2, 0, 16)), Chunk("data", data)}), false, 0, 0},  // align 0
      {Wave({Chunk("fmt ", Fmt(1, 2, 6, 16)), Chunk("data", data)}), false, 0, 0},  // align 6
      {Wave({Chunk("fmt ", Fmt(1, 2, 0, 4)), Chunk("data", data)}), false, 0, 0},   // 4 bits
      {Wave({Chunk("fmt ", Fmt(1, 2, 4, 16))}), false, 0, 0},                      // no data
      // A data size past the end gives the frames it claims; reads come up short.
      {Wave({Chunk("fmt ", Fmt(1, 1, 2, 16)), SizedChunk("data", data, 4000)}), true, 2000, 44},
      // A second fmt chunk: the first one counts.
      {Wave({Chunk("fmt ", Fmt(3, 1, 4, 32)), Chunk("fmt ", Fmt(2, 1, 4, 16)),
             Chunk("data", data)}), true, 10, 68},
      {Bytes{'R', 'I', 'F'}, false, 0, 0},
  };
  FOR_EACH_CASE(cases) {
    TempPath tmp(c.file);
    ULONGLONG frames = 99, offset = 99;
    WAVEFORMATEX *w = GvGetFileWfx(tmp.c_str(), &frames, &offset);
    EXPECT_EQ(w != nullptr, c.ok);
    if (w) {
      EXPECT_EQ(frames, c.frames);
      EXPECT_EQ(offset, c.offset);
      EXPECT_EQ(w->nBlockAlign, w->nChannels * (w->wBitsPerSample / 8));
      std::free(w);
    } else {
      EXPECT_EQ(frames, 99u);
    }
  }
  EXPECT_EQ(GvGetFileWfx("Z:\\no\\such\\file.wav", nullptr, nullptr), nullptr);
}

}  // namespace
}  // namespace gvtest
