// Peak files: names, bytes on disk, the validity rules of open, temporary
// files, draw data per pixel, and peak data built from WAVE files and memory.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "audio/reference_model.h"
#include "gvtalc.h"
#include "support/cases.h"
#include "support/riff_builders.h"
#include "support/riff_mutation.h"

namespace gvtest {
namespace {

using audiotest::Wfx;

// A folder of its own in the temporary folder, emptied and removed at the end.
struct TempDir {
  std::string path;
  TempDir() {
    char dir[MAX_PATH], name[MAX_PATH];
    GetTempPathA(MAX_PATH, dir);
    GetTempFileNameA(dir, "gvd", 0, name);
    DeleteFileA(name);
    CreateDirectoryA(name, nullptr);
    path = std::string(name) + "\\";
  }
  ~TempDir() {
    WIN32_FIND_DATAA f;
    HANDLE h = FindFirstFileA((path + "*").c_str(), &f);
    if (h != INVALID_HANDLE_VALUE) {
      do DeleteFileA((path + f.cFileName).c_str());
      while (FindNextFileA(h, &f));
      FindClose(h);
    }
    RemoveDirectoryA(path.c_str());
  }
  std::string operator/(const char *name) const { return path + name; }
};

Bytes ReadAll(const std::string &name) {
  HANDLE h = CreateFileA(name.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                         nullptr);
  Bytes b(h == INVALID_HANDLE_VALUE ? 0 : GetFileSize(h, nullptr));
  DWORD n = 0;
  if (!b.empty()) ReadFile(h, b.data(), DWORD(b.size()), &n, nullptr);
  CloseHandle(h);
  return b;
}

void WriteAll(const std::string &name, const Bytes &b) {
  HANDLE h = CreateFileA(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  DWORD n = 0;
  WriteFile(h, b.data(), DWORD(b.size()), &n, nullptr);
  CloseHandle(h);
}

// A stereo 16-bit WAVE file whose left channel in element e runs from
// -100e to 100e and whose right channel is 7 throughout.
std::string StereoWave(const TempDir &dir, DWORD elements) {
  Bytes data;
  for (DWORD k = 0; k < elements * 256; ++k) {
    const short e = short(k / 256), left = short((k % 2 ? 100 : -100) * e), right = 7;
    data.insert(data.end(), {BYTE(left), BYTE(left >> 8), BYTE(right), BYTE(right >> 8)});
  }
  const std::string name = dir / "tone.wav";
  WriteAll(name, Riff("WAVE", Concat({Chunk("fmt ", PcmFmt()), Chunk("data", data)})));
  return name;
}

TEST(PeakFile, NamesBesideTheSource) {
  const struct { const char *source, *name; } cases[] = {
      {"C:\\a\\song.wav", "C:\\a\\song.gvk"},
      {"C:\\a.b\\song", "C:\\a.b\\song.gvk"},  // only the file-name part has its dot replaced
      {"song.x.wav", "song.x.gvk"},
  };
  FOR_EACH_CASE(cases) {
    char out[MAX_PATH];
    ASSERT_EQ(GvPeak_CreateDirectPeakName(c.source, out, MAX_PATH), S_OK);
    EXPECT_STREQ(out, c.name);
  }
  char small[8];
  EXPECT_EQ(GvPeak_CreateDirectPeakName("C:\\a\\song.wav", small, sizeof small), E_INVALIDARG);

  TempDir dir;
  tGVAUDIOPEAK *p = nullptr;
  ASSERT_EQ(GvPeak_CreateExNew(&p, 1, FALSE, (dir / "song.wav").c_str(), 2, nullptr), 0);
  EXPECT_EQ(std::string(GvPeak_GetFileName(p)), dir / "song.gvk2");
  EXPECT_FALSE(GvPeak_IsPeakTemporary(p));
  GvPeak_FreeEx(p, TRUE);
  EXPECT_FALSE(GvDoesFileExist((dir / "song.gvk2").c_str()));  // discarded
}

TEST(PeakFile, ElementsAndHeaderOnDisk) {
  const struct {
    WORD tag, bits;
    std::vector<double> samples;  // one element's worth is enough
    short min, max;
  } cases[] = {
      {WAVE_FORMAT_PCM, 16, {-5, 300, -32768, 12}, -32768, 300},
      {WAVE_FORMAT_PCM, 8, {0x80, 0x80}, 0, 0},             // 8-bit silence
      {WAVE_FORMAT_PCM, 8, {0xFF, 0x80}, 0, 32766},         // 127 * 258
      {WAVE_FORMAT_PCM, 8, {0x00, 0x00}, -32768, -32768},   // -128 * 258 is limited
      {WAVE_FORMAT_PCM, 24, {8388607, -8388608}, -32768, 32767},
      {WAVE_FORMAT_PCM, 24, {383, -384}, -1, 1},            // 1.496 -> 1, -1.5 -> -1 (halves up)
      {WAVE_FORMAT_IEEE_FLOAT, 32, {0.5, -2.0}, -32768, 16384},
      {WAVE_FORMAT_PCM, 32, {65535, -98304}, -1, 1},        // 0.99998 -> 1, -1.5 -> -1
  };
  FOR_EACH_CASE(cases) {
    TempDir dir;
    const WAVEFORMATEX w = Wfx(c.tag, c.bits, 1);
    Bytes data(c.samples.size() * w.nBlockAlign);
    for (size_t i = 0; i < c.samples.size(); ++i) {
      if (c.tag == WAVE_FORMAT_IEEE_FLOAT) {
        const float f = float(c.samples[i]);
        std::memcpy(&data[i * 4], &f, 4);
      } else {
        const long long v = (long long)c.samples[i];
        std::memcpy(&data[i * w.nBlockAlign], &v, w.nBlockAlign);
      }
    }
    tGVAUDIOPEAK *p = nullptr;
    ASSERT_EQ(GvPeak_CreateEx(&p, 1, FALSE, (dir / "x.wav").c_str(), nullptr), 0);
    ULONGLONG offset = 0;
    ASSERT_EQ(GvPeak_WritePeakDataExNew(p, &w, data.data(), DWORD(c.samples.size()), &offset), S_OK);
    EXPECT_EQ(offset, 4u);
    GvPeak_FreeEx(p, FALSE);
    const Bytes disk = ReadAll(dir / "x.gvk");
    ASSERT_EQ(disk.size(), 68u);
    short got[2];
    std::memcpy(got, &disk[64], 4);
    EXPECT_EQ(got[0], c.min);
    EXPECT_EQ(got[1], c.max);
  }
}

TEST(PeakFile, ThousandMonoFramesGiveFourElementsAndAStampedHeader) {
  TempDir dir;
  const std::string source = dir / "song.wav";
  WriteAll(source, Bytes(10, 1));
  std::vector<short> samples(1000);
  for (int i = 0; i < 1000; ++i) samples[i] = short(i - 500);
  const WAVEFORMATEX w = Wfx(WAVE_FORMAT_PCM, 16, 1);
  tGVAUDIOPEAK *p = nullptr;
  ASSERT_EQ(GvPeak_CreateEx(&p, 1, FALSE, source.c_str(), nullptr), 0);
  EXPECT_EQ(GvPeak_GetCellsPerElementEx(p), 256u);
  ASSERT_EQ(GvPeak_WritePeakData(p, &w, samples.data(), 1000), S_OK);
  GvPeak_FreeEx(p, FALSE);
  const Bytes disk = ReadAll(dir / "song.gvk");
  ASSERT_EQ(disk.size(), 64u + 16u);
  tGVPEAKHEADER h;
  std::memcpy(&h, disk.data(), 64);
  EXPECT_EQ(h.dwMagic, GVPEAK_MAGIC);
  EXPECT_EQ(h.dwVersion, 100u);
  EXPECT_EQ(h.dwDataOffset, 64u);
  EXPECT_EQ(h.dwSourceStamp, GvDosGetDateTime(source.c_str()));
  EXPECT_EQ(h.dwFramesLow, 1000u);
  const short want[8] = {-500, -245, -244, 11, 12, 267, 268, 499};  // the last from 232 frames
  EXPECT_EQ(std::memcmp(&disk[64], want, 16), 0);
}

// Long sources are summarised from views of the mapped file: elements on
// both sides of a view's edge, and the short last element, come out as a
// plain scan of the samples gives them.
TEST(PeakFile, LongSourceElementsAcrossMappedViews) {
  TempDir dir;
  const std::string source = dir / "long.wav";
  const DWORD frames = (64u << 20) / 4 + 1000;  // stereo 16-bit, past one 64 MiB view
  Bytes wave = Riff("WAVE", Concat({Chunk("fmt ", PcmFmt()), Chunk("data", Bytes(frames * 4))}));
  short *samples = reinterpret_cast<short *>(&wave[44]);
  unsigned seed = 5;
  for (DWORD i = 0; i < 2 * frames; ++i) samples[i] = short((seed = seed * 1664525u + 1013904223u) >> 16);
  WriteAll(source, wave);

  tGVAUDIOPEAK *p = nullptr;
  DWORD how = 0;
  ASSERT_EQ(GvPeak_OpenDataFromWaveFile(&p, source.c_str(), 0, &how), S_OK);
  EXPECT_EQ(how, DWORD(GVPEAK_BUILT));
  GvPeak_FreeEx(p, FALSE);
  const Bytes disk = ReadAll(dir / "long.gvk");
  const DWORD elements = (frames + 255) / 256;
  ASSERT_EQ(disk.size(), 64u + elements * 8u);
  const short *got = reinterpret_cast<const short *>(&disk[64]);
  DWORD wrong = 0;
  for (DWORD e = 0; e < elements; ++e) {
    short want[4] = {32767, -32768, 32767, -32768};
    for (DWORD f = e * 256; f < frames && f < e * 256 + 256; ++f)
      for (int ch = 0; ch < 2; ++ch) {
        const short v = samples[2 * f + ch];
        want[2 * ch] = v < want[2 * ch] ? v : want[2 * ch];
        want[2 * ch + 1] = v > want[2 * ch + 1] ? v : want[2 * ch + 1];
      }
    if (std::memcmp(got + 4 * e, want, 8) != 0 && wrong++ < 5) ADD_FAILURE() << "element " << e;
  }
  EXPECT_EQ(wrong, 0u);
}

TEST(PeakFile, OpenRefusesEveryWrongField) {
  TempDir dir;
  const std::string source = StereoWave(dir, 4);
  tGVAUDIOPEAK *p = nullptr;
  DWORD how = 0;
  ASSERT_EQ(GvPeak_OpenDataFromWaveFile(&p, source.c_str(), 0, &how), S_OK);
  EXPECT_EQ(how, DWORD(GVPEAK_BUILT));
  GvPeak_FreeEx(p, FALSE);
  p = nullptr;
  const Bytes good = ReadAll(dir / "tone.gvk");
  ASSERT_EQ(good.size(), 64u + 4 * 8);
  const struct { size_t at; DWORD value; size_t cut; DWORD channels; ULONGLONG frames; int result; } cases[] = {
      {0, 0, 0, 2, 1024, 0},                     // as built
      {0, 0, 0, 1, 1024, -1},                    // channels
      {0, 0, 0, 2, 1023, -1},                    // frames summarised
      {0, 0x4B505648, 0, 2, 1024, -1},           // magic
      {4, 101, 0, 2, 1024, -1},                  // version
      {8, 60, 0, 2, 1024, -1},                   // data offset
      {12, 0, 0, 2, 1024, -1},                   // stamp
      {16, 8, 0, 2, 1024, -1},                   // bits
      {20, 0x7FFFFFFF, 0, 2, 1024, -1},          // an absurd channel count
      {24, 0, 0, 2, 1024, -1},                   // frames per element
      {0, 0, 4, 2, 1024, -1},                    // a truncated element area
      {0, 0, 40, 2, 1024, -1},                   // a truncated header
  };
  FOR_EACH_CASE(cases) {
    Bytes b = good;
    if (c.at || c.value) std::memcpy(&b[c.at], &c.value, 4);
    b.resize(b.size() - c.cut);
    WriteAll(dir / "tone.gvk", b);
    EXPECT_EQ(GvPeak_OpenExistingEx(&p, c.channels, source.c_str(), nullptr, c.frames, TRUE), c.result);
    EXPECT_EQ(p != nullptr, c.result == 0);
    GvPeak_FreeEx(p, FALSE);
    p = nullptr;
  }
  // A source changed by two seconds makes the file stale; the open-data call rebuilds it.
  WriteAll(dir / "tone.gvk", good);
  HANDLE h = CreateFileA(source.c_str(), FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES, 0, nullptr,
                         OPEN_EXISTING, 0, nullptr);
  FILETIME t;
  ASSERT_TRUE(GetFileTime(h, nullptr, nullptr, &t));
  ULARGE_INTEGER later;
  later.LowPart = t.dwLowDateTime;
  later.HighPart = t.dwHighDateTime;
  later.QuadPart += 20000000;  // two seconds: one step of the stamp
  t.dwLowDateTime = later.LowPart;
  t.dwHighDateTime = later.HighPart;
  ASSERT_TRUE(SetFileTime(h, nullptr, nullptr, &t));
  CloseHandle(h);
  EXPECT_EQ(GvPeak_OpenExistingEx(&p, 2, source.c_str(), nullptr, 1024, TRUE), -1);
  EXPECT_EQ(p, nullptr);
  ASSERT_EQ(GvPeak_OpenDataFromWaveFile(&p, source.c_str(), 0, &how), S_OK);
  EXPECT_EQ(how, DWORD(GVPEAK_BUILT | GVPEAK_STALE));
  GvPeak_FreeEx(p, FALSE);
  p = nullptr;  // the open calls free what the pointer holds
  ASSERT_EQ(GvPeak_OpenDataFromWaveFile(&p, source.c_str(), 0, &how), S_OK);
  EXPECT_EQ(how, DWORD(GVPEAK_REUSED));
  GvPeak_FreeEx(p, FALSE);
}

// Whole 16-bit elements go through the vector path: each channel's extremes,
// planted in different lanes of each element, come out per channel.
TEST(PeakFile, WholeSixteenBitElementsForEveryChannelCount) {
  const struct { WORD channels; } cases[] = {{1}, {2}, {3}, {4}, {8}};
  FOR_EACH_CASE(cases) {
    TempDir dir;
    const DWORD ch = c.channels, frames = 2 * 256 + 100;  // two whole elements and a part
    std::vector<short> data(size_t(frames) * ch), want;
    for (DWORD k = 0; k < frames * ch; ++k) data[k] = short(int(k * 37 % 200) - 100);
    for (int e = 0; e < 3; ++e) {
      for (int i = 0; i < int(ch); ++i) {
        data[(e * 256 + 5 + i * 13) * ch + i] = short(-1000 * (i + 1) - e);
        data[(e * 256 + 90 - i * 7) * ch + i] = short(1000 * (i + 1) + e);
        want.insert(want.end(), {short(-1000 * (i + 1) - e), short(1000 * (i + 1) + e)});
      }
    }
    const WAVEFORMATEX w = Wfx(WAVE_FORMAT_PCM, 16, c.channels);
    tGVAUDIOPEAK *p = nullptr;
    ASSERT_EQ(GvPeak_CreateEx(&p, ch, FALSE, (dir / "x.wav").c_str(), nullptr), 0);
    ULONGLONG offset = 0;
    ASSERT_EQ(GvPeak_WritePeakDataExNew(p, &w, data.data(), frames, &offset), S_OK);
    GvPeak_FreeEx(p, FALSE);
    const Bytes disk = ReadAll(dir / "x.gvk");
    ASSERT_EQ(disk.size(), 64u + 2 * want.size());
    std::vector<short> got(want.size());
    std::memcpy(got.data(), &disk[64], 2 * got.size());
    EXPECT_EQ(got, want);
  }
}

// Draw data over eleven elements, each channel's values 10e + channel: the
// minimum planted in element 3, the maximum in the last one (past the whole
// vectors a draw scans at once); over the first eight the maximum is 70 + c.
TEST(PeakFile, DrawDataFindsExtremesInAnyElementOfAPixel) {
  const struct { WORD channels; } cases[] = {{1}, {2}, {3}};
  FOR_EACH_CASE(cases) {
    TempDir dir;
    const DWORD ch = c.channels, frames = 11 * 256;
    std::vector<short> data(size_t(frames) * ch), whole, firstEight;
    for (DWORD k = 0; k < frames * ch; ++k) data[k] = short(10 * (k / ch / 256) + k % ch);
    for (int i = 0; i < int(ch); ++i) {
      data[(3 * 256 + 9) * ch + i] = short(-1000 - i);
      data[(10 * 256 + 7) * ch + i] = short(2000 + i);
      if (i > 1) continue;
      whole.insert(whole.end(), {short(-1000 - i), short(2000 + i)});
      firstEight.insert(firstEight.end(), {short(-1000 - i), short(70 + i)});
    }
    const WAVEFORMATEX w = Wfx(WAVE_FORMAT_PCM, 16, c.channels);
    tGVAUDIOPEAK *p = nullptr;
    ASSERT_EQ(GvPeak_CreateEx(&p, ch, FALSE, (dir / "x.wav").c_str(), nullptr), 0);
    ASSERT_EQ(GvPeak_WritePeakData(p, &w, data.data(), frames), S_OK);
    std::vector<short> out(4);
    ASSERT_TRUE(GvPeak_GetDrawData(p, 0, frames, out.data(), 1));
    EXPECT_EQ(std::vector<short>(out.begin(), out.begin() + whole.size()), whole);
    ASSERT_TRUE(GvPeak_GetDrawData(p, 0, 8 * 256, out.data(), 1));
    EXPECT_EQ(std::vector<short>(out.begin(), out.begin() + whole.size()), firstEight);
    ASSERT_TRUE(GvPeak_GetChanDrawData(p, ch - 1, 0, frames, out.data(), 1));
    EXPECT_EQ(out[0], -1000 - int(ch - 1));
    EXPECT_EQ(out[1], 2000 + int(ch - 1));
    GvPeak_FreeEx(p, TRUE);
  }
}

// Seeded damage to a built peak file: open refuses it or draws from it, and
// the open-data call rebuilds exactly what open refused.
TEST(PeakFile, DamagedFilesAreRefusedOrRebuilt) {
  TempDir dir;
  const std::string source = StereoWave(dir, 8);
  tGVAUDIOPEAK *p = nullptr;
  DWORD how = 0;
  short good[8], out[4 * 8];
  ASSERT_EQ(GvPeak_OpenDataFromWaveFile(&p, source.c_str(), 0, nullptr), S_OK);
  ASSERT_TRUE(GvPeak_GetDrawData(p, 0, 2048, good, 2));
  GvPeak_FreeEx(p, FALSE);
  p = nullptr;
  const Bytes base = ReadAll(dir / "tone.gvk");
  riffmut::Rng rng(0x9EA4);
  for (int variant = 0; variant < 300; ++variant) {
    SCOPED_TRACE(variant);
    Bytes b = base;
    riffmut::Mutate(b, rng);
    WriteAll(dir / "tone.gvk", b);
    const int opened = GvPeak_OpenExistingEx(&p, 2, source.c_str(), nullptr, 2048, TRUE);
    if (opened == 0) GvPeak_GetDrawData(p, 0, 4 * 2048, out, 8);
    GvPeak_FreeEx(p, FALSE);
    p = nullptr;
    ASSERT_EQ(GvPeak_OpenDataFromWaveFile(&p, source.c_str(), 0, &how), S_OK);
    EXPECT_EQ(how == GVPEAK_REUSED, opened == 0);
    if (how != GVPEAK_REUSED) {
      ASSERT_TRUE(GvPeak_GetDrawData(p, 0, 2048, out, 2));
      EXPECT_EQ(std::memcmp(out, good, sizeof good), 0);
    }
    GvPeak_FreeEx(p, FALSE);
    p = nullptr;
  }
}

TEST(PeakFile, TemporaryNamesAndLifetime) {
  TempDir dir;
  for (const char *taken : {"FPEAK000.TMP", "FPEAK001.TMP"}) WriteAll(dir / taken, Bytes(1));
  tGVAUDIOPEAK *p = nullptr;
  ASSERT_EQ(GvPeak_CreateEx(&p, 2, TRUE, "C:\\x.wav", dir.path.c_str()), 0);
  EXPECT_TRUE(GvPeak_IsPeakTemporary(p));
  EXPECT_EQ(std::string(GvPeak_GetFileName(p)), dir / "FPEAK002.TMP");
  GvPeak_FreeEx(p, FALSE);
  EXPECT_FALSE(GvDoesFileExist((dir / "FPEAK002.TMP").c_str()));  // never outlives its record
  // A source folder that cannot be written falls back to the temporary folder.
  ASSERT_EQ(GvPeak_CreateEx(&p, 2, FALSE, "Z:\\no\\such\\dir\\x.wav", dir.path.c_str()), 0);
  EXPECT_TRUE(GvPeak_IsPeakTemporary(p));
  GvPeak_FreeEx(p, FALSE);
  for (unsigned i = 2; i < 1000; ++i) {
    char name[16];
    wsprintfA(name, "FPEAK%.03u.TMP", i);
    WriteAll(dir / name, Bytes(1));
  }
  p = reinterpret_cast<tGVAUDIOPEAK *>(0);
  EXPECT_EQ(GvPeak_CreateEx(&p, 2, TRUE, "C:\\x.wav", dir.path.c_str()), -1);  // all 1000 taken
  EXPECT_EQ(p, nullptr);
}

TEST(PeakFile, DrawDataPerPixelForMonoAndStereo) {
  TempDir dir;
  const std::string source = StereoWave(dir, 8);  // 2048 frames
  tGVAUDIOPEAK *p = nullptr;
  ASSERT_EQ(GvPeak_OpenDataFromWaveFile(&p, source.c_str(), 0, nullptr), S_OK);
  const struct { ULONGLONG first; LONGLONG count; int pixels; BOOL ok; std::vector<short> want; } cases[] = {
      // Two elements a pixel: left from -100e to 100e over both, right 7.
      {0, 2048, 4, TRUE, {-100, 100, 7, 7, -300, 300, 7, 7, -500, 500, 7, 7, -700, 700, 7, 7}},
      {512, 1024, 2, TRUE, {-300, 300, 7, 7, -500, 500, 7, 7}},
      {0, 4096, 2, TRUE, {-700, 700, 7, 7, 0, 0, 0, 0}},  // past the data: 0, 0
      {0, 2048, 9, FALSE, {}},                              // closer than an element a pixel
      {0, 100000 * 256LL, 32769, FALSE, {}},                // too many pixels
  };
  FOR_EACH_CASE(cases) {
    std::vector<short> out(c.want.size() + 2, 0x5A5A);
    EXPECT_EQ(GvPeak_GetDrawData(p, c.first, c.count, out.data(), c.pixels), c.ok);
    if (c.ok) {
      EXPECT_EQ(std::vector<short>(out.begin(), out.end() - 2), c.want);
    }
    EXPECT_EQ(out.back(), 0x5A5A);
  }
  short right[2];
  ASSERT_TRUE(GvPeak_GetChanDrawData(p, 1, 0, 2048, right, 1));
  EXPECT_EQ(right[0], 7);
  GvPeak_FreeEx(p, FALSE);

  // 1000 pixels over 100000 frames at 256 frames an element: draw from the samples.
  tGVPEAKSTREAM *s = nullptr;
  ASSERT_EQ(GvPeakEx_CreateStream(&s, source.c_str(), 0, 0), 0);
  std::vector<short> out(4 * 1024);
  EXPECT_FALSE(GvPeak_GetDrawData(GvPeakEx_GetPeak(s), 0, 100000, out.data(), 1000));
  ASSERT_TRUE(GvPeakEx_GetDrawData(s, 256, 4, out.data(), 2));  // frames 256..259
  EXPECT_EQ(std::vector<short>(out.begin(), out.begin() + 8),
            (std::vector<short>{-100, 100, 7, 7, -100, 100, 7, 7}));
  EXPECT_FALSE(GvPeakEx_GetDrawDataFromMem(s, 0, 4, out.data(), 2));
  GvPeakEx_Free(s);
}

TEST(PeakFile, MemoryStreamsKeepTheirPeaksInATemporaryFile) {
  std::vector<float> mono(1024);
  for (size_t i = 0; i < mono.size(); ++i) mono[i] = (i == 700) ? -0.5f : 0.25f;
  const WAVEFORMATEX w = Wfx(WAVE_FORMAT_IEEE_FLOAT, 32, 1);
  tGVPEAKSTREAM *s = nullptr;
  ASSERT_EQ(GvPeakEx_CreateMemStream(&s, &w, mono.data(), 1024, FALSE), S_OK);
  tGVAUDIOPEAK *p = GvPeakEx_GetPeak(s);
  ASSERT_NE(p, nullptr);
  EXPECT_TRUE(GvPeak_IsPeakTemporary(p));
  const std::string name = GvPeak_GetFileName(p);
  short out[4];
  ASSERT_TRUE(GvPeakEx_GetDrawData(s, 0, 1024, out, 2));
  EXPECT_EQ(out[0], 8192);
  EXPECT_EQ(out[2], -16384);
  GvPeakEx_Free(s);
  EXPECT_FALSE(GvDoesFileExist(name.c_str()));
  const WAVEFORMATEX adpcm = Wfx(2, 4, 1);
  EXPECT_EQ(GvPeakEx_CreateMemStream(&s, &adpcm, mono.data(), 10, FALSE), E_FAIL);
  EXPECT_EQ(GvPeakEx_CreateMemStream(&s, &w, mono.data(), 0, FALSE), E_FAIL);
}

}  // namespace
}  // namespace gvtest
