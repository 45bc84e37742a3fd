// WAVE files written by other tools: extensible records, fact, LIST, bext
// chunks and pipe-written sizes, probed and read through a stream.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "gvtalc.h"
#include "support/cases.h"

namespace {

TEST(WaveFiles, ProbedAndReadAsOtherToolsWriteThem) {
  const struct {
    const char *name;
    WORD tag, bits, channels;
    ULONGLONG frames, offset;
    DWORD flags, mask;
    bool plainProbe;  // GvGetFileWfx accepts it as well
  } cases[] = {
      {"sox-u8-mono.wav", 1, 8, 1, 160, 44, 0, 0, true},
      {"sox-s24-stereo.wav", 1, 24, 2, 160, 80, GVWAVE_EXTENSIBLE, 3, false},
      {"sox-f32-mono.wav", 3, 32, 1, 160, 58, 0, 0, true},
      {"sox-s16-5.1.wav", 1, 16, 6, 80, 80, GVWAVE_EXTENSIBLE, 0x3F, false},
      {"ffmpeg-s24-stereo.wav", 1, 24, 2, 160, 102, GVWAVE_EXTENSIBLE, 3, false},
      {"ffmpeg-s32-mono.wav", 1, 32, 1, 160, 102, GVWAVE_EXTENSIBLE, 4, false},
      {"ffmpeg-f32-mono.wav", 3, 32, 1, 160, 114, GVWAVE_EXTENSIBLE, 4, false},
      {"ffmpeg-s16-5.1-bext.wav", 1, 16, 6, 80, 726, GVWAVE_EXTENSIBLE, 0x3F, false},
      {"ffmpeg-s16-streamed.wav", 1, 16, 1, 160, 78, GVWAVE_STREAMED, 0, false},
      {"espeak-s16-mono.wav", 1, 16, 1, 3814, 44, 0, 0, true},
  };
  FOR_EACH_CASE(cases) {
    const std::string path = std::string(GV_TEST_DATA) + c.name;
    tGVWAVEINFO info{};
    info.cbSize = sizeof info;
    WAVEFORMATEX *w = GvGetFileWfxEx(path.c_str(), &info);
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->wFormatTag, c.tag);
    EXPECT_EQ(w->wBitsPerSample, c.bits);
    EXPECT_EQ(w->nChannels, c.channels);
    EXPECT_EQ(info.nFrames, c.frames);
    EXPECT_EQ(info.nDataOffset, c.offset);
    EXPECT_EQ(info.dwFlags, c.flags);
    EXPECT_EQ(info.dwChannelMask, c.mask);

    WAVEFORMATEX *plain = GvGetFileWfx(path.c_str(), nullptr, nullptr);
    EXPECT_EQ(plain != nullptr, c.plainProbe);
    std::free(plain);

    // Every frame through a float client; the tones are well inside full scale.
    tGVAUDIOATTRIBS attr;
    const DWORD flags = (w->wFormatTag == WAVE_FORMAT_IEEE_FLOAT ? GVAA_FLOAT32 : 0) |
                        (w->wBitsPerSample == 8 ? GVAA_UNSIGNED8 : 0) |
                        (w->wBitsPerSample == 24 ? GVAA_PACKED24 : 0);
    GvAudio_InitAttribs(&attr, sizeof attr, 0, flags, w->nSamplesPerSec, w->wBitsPerSample,
                        w->nChannels);
    HGVAUDIOSTREAM s = nullptr;
    ASSERT_EQ(GvAudioStream_OpenFile(&s, path.c_str(), DWORD(info.nDataOffset), DWORD(info.nFrames),
                                     0, &attr, 32, GVAA_FLOAT32, 0, GVAS_OPENREAD | GVAS_READONLY),
              S_OK);
    std::vector<float> data(size_t(c.frames + 1) * c.channels);
    DWORD done = 0;
    EXPECT_EQ(GvAudioStream_Read(s, data.data(), DWORD(c.frames + 1), &done), S_OK);
    EXPECT_EQ(done, c.frames);
    WAVEFORMATEX fw = *w;
    fw.wFormatTag = WAVE_FORMAT_IEEE_FLOAT;
    fw.wBitsPerSample = 32;
    fw.nBlockAlign = WORD(4 * c.channels);
    std::vector<tGVCHANNELPEAK> peaks(c.channels);
    ASSERT_EQ(GvAudio_FindPeaks(&fw, 1, data.data(), int(done), peaks.data()), S_OK);
    for (const tGVCHANNELPEAK &p : peaks) {
      EXPECT_GT(p.fPeak, 0.05f);
      EXPECT_LE(p.fPeak, 1.0f);
      EXPECT_EQ(p.bClipped, 0);
    }
    GvAudioStream_Close(s);
    std::free(w);
  }
}

TEST(WaveFiles, TruncatedDataIsFlaggedAndOtherSubFormatsRefused) {
  char dir[MAX_PATH], path[MAX_PATH];
  GetTempPathA(MAX_PATH, dir);
  GetTempFileNameA(dir, "gvw", 0, path);
  // The 8-bit file cut after 100 of its 160 data bytes.
  const std::string source = std::string(GV_TEST_DATA) + "sox-u8-mono.wav";
  CopyFileA(source.c_str(), path, FALSE);
  HANDLE h = CreateFileA(path, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  SetFilePointer(h, 144, nullptr, FILE_BEGIN);
  SetEndOfFile(h);
  CloseHandle(h);
  tGVWAVEINFO info{};
  info.cbSize = sizeof info;
  WAVEFORMATEX *w = GvGetFileWfxEx(path, &info);
  ASSERT_NE(w, nullptr);
  EXPECT_EQ(info.dwFlags, DWORD(GVWAVE_TRUNCATED));
  EXPECT_EQ(info.nFrames, 100u);
  EXPECT_EQ(info.nDataSize, 160u);
  std::free(w);
  DeleteFileA(path);

  // An extensible record whose sub-format is not PCM or float.
  unsigned char ext[40] = {0xFE, 0xFF, 1, 0, 0x40, 0x1F, 0, 0, 0, 0, 0, 0, 2, 0, 16, 0, 22, 0};
  ext[24] = 0x55;  // sub-format {00000055-...}: not one of ours
  WAVEFORMATEX out;
  DWORD mask = 9;
  EXPECT_EQ(GvAudio_ReduceExtensible(reinterpret_cast<WAVEFORMATEX *>(ext), &out, &mask), E_NOTIMPL);
  EXPECT_EQ(mask, 0u);
}

}  // namespace
