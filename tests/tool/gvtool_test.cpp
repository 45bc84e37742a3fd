// gvtool run as a user runs it: exit codes, error lines on stderr, the bytes
// convert writes, no output left under the target's name after a failure, the
// pictures draw writes and the peak files peaks builds or reuses.
#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/cases.h"
#include "support/tool_runner.h"

namespace {

using Bytes = std::vector<uint8_t>;

using Result = gvtest::ToolResult;
using gvtest::Slurp;

void Spit(const std::string &path, const void *data, size_t size) {
  std::ofstream(path, std::ios::binary).write(static_cast<const char *>(data), std::streamsize(size));
}

bool Exists(const std::string &path) {
  return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// A short WAVE file in the canonical 44-byte layout; a data size other than
// the bytes given makes it truncated.
Bytes Wave(WORD tag, WORD channels, WORD bits, const Bytes &data, DWORD dataSize) {
  const WORD align = WORD(channels * bits / 8);
  const DWORD rate = 8000, avg = rate * align, pad = dataSize & 1, riff = 36 + dataSize + pad;
  uint8_t w[44];
  std::memcpy(&w[0], "RIFF", 4), std::memcpy(&w[4], &riff, 4), std::memcpy(&w[8], "WAVEfmt ", 8);
  const DWORD fmtSize = 16;
  std::memcpy(&w[16], &fmtSize, 4), std::memcpy(&w[20], &tag, 2), std::memcpy(&w[22], &channels, 2);
  std::memcpy(&w[24], &rate, 4), std::memcpy(&w[28], &avg, 4), std::memcpy(&w[32], &align, 2);
  std::memcpy(&w[34], &bits, 2), std::memcpy(&w[36], "data", 4), std::memcpy(&w[40], &dataSize, 4);
  Bytes file(44 + data.size() + (data.size() == dataSize ? pad : 0), 0);
  std::memcpy(file.data(), w, 44);
  if (!data.empty()) std::memcpy(&file[44], data.data(), data.size());
  return file;
}

template <typename T>
Bytes Samples(std::initializer_list<T> values) {
  Bytes b(values.size() * sizeof(T));
  std::memcpy(b.data(), values.begin(), b.size());
  return b;
}

class GvtoolTest : public testing::Test {
 protected:
  void SetUp() override {
    char temp[MAX_PATH];
    GetTempPathA(MAX_PATH, temp);
    dir_ = std::string(temp) + "gvtool_test_" + std::to_string(GetCurrentProcessId()) + "\\";
    CreateDirectoryA(dir_.c_str(), nullptr);
    const Bytes in = Wave(1, 1, 16, Samples<int16_t>({0, 256, -256, 32767, -32768}), 10);
    Spit(Path("in.wav"), in.data(), in.size());
    const Bytes cut = Wave(1, 1, 16, Samples<int16_t>({1000, -1000}), 100);
    Spit(Path("cut.wav"), cut.data(), cut.size());
    Spit(Path("text.wav"), "not audio", 9);
  }
  void TearDown() override {
    WIN32_FIND_DATAA found;
    HANDLE h = FindFirstFileA(Path("*").c_str(), &found);
    for (BOOL more = h != INVALID_HANDLE_VALUE; more; more = FindNextFileA(h, &found))
      if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) DeleteFileA(Path(found.cFileName).c_str());
    if (h != INVALID_HANDLE_VALUE) FindClose(h);
    RemoveDirectoryA(Path("folder.wav").c_str());
    RemoveDirectoryA(dir_.c_str());
  }
  std::string Path(const std::string &name) const { return dir_ + name; }

  // Runs gvtool in the test folder with stdout and stderr in files.
  Result Run(const std::string &args) { return gvtest::RunTool(GV_TOOL_EXE, dir_, args); }

  // A command line, its exit code and text each output must contain; an
  // empty err: stderr stays empty. stdout is in text mode: lines end in CR LF.
  struct Case {
    const char *args;
    DWORD code;
    std::string out, err;
  };
  void RunCase(const Case &c) {
    const Result r = Run(c.args);
    EXPECT_EQ(r.code, c.code);
    EXPECT_NE(r.out.find(c.out), std::string::npos) << r.out;
    if (c.err.empty())
      EXPECT_EQ(r.err, "");
    else
      EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
  }

  std::string dir_;
};

std::string Reason(DWORD code) {
  char text[512] = "";
  FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                 text, sizeof text, nullptr);
  std::string s = text;
  while (!s.empty() && (s.back() == '\n' || s.back() == '\r' || s.back() == ' ')) s.pop_back();
  return s;
}

TEST_F(GvtoolTest, ExitCodesAndErrorLines) {
  const Case cases[] = {
      {"--help", 0, "convert", ""},
      {"-h", 0, "info", ""},
      {"tone --help", 0, "--seconds", ""},
      {"--version", 0, "gvtool ", ""},
      {"", 2, "", "Usage: gvtool"},
      {"nosuch", 2, "", "gvtool: unknown command 'nosuch'"},
      {"tone t.wav -s abc", 2, "", "gvtool: --seconds"},
      {"convert in.wav o.wav --gain 1x", 2, "", "gvtool: --gain"},
      {"number 12 3.5", 2, "", "gvtool: "},
      {"tone t.wav extra", 2, "", "gvtool: The following argument was not expected: extra"},
      {"info in.wav --bogus", 2, "", "--bogus"},
      {"convert in.wav o.wav -b 8 -e float", 2, "", "gvtool: -b 8 with -e float"},
      {"info missing.wav", 1, "", "gvtool: missing.wav: " + Reason(ERROR_FILE_NOT_FOUND)},
      {"riff missing.wav", 1, "", "gvtool: missing.wav: " + Reason(ERROR_FILE_NOT_FOUND)},
      {"info text.wav in.wav", 1, "frames       5", "gvtool: text.wav: not a PCM WAVE file"},
      {"info cut.wav", 1, "frames       2", "gvtool: cut.wav: damaged"},
      {"info in.wav", 0, "peak 1       -0.00 dBFS at frame", ""},
      {"info in.wav --clip-run 2", 0, "-0.00 dBFS at frame 2, clipped", ""},
      {"draw --help", 0, "-h,--height", ""},
      {"draw missing.wav o.png", 1, "", "gvtool: missing.wav: " + Reason(ERROR_FILE_NOT_FOUND)},
      {"draw cut.wav o.png", 1, "", "gvtool: cut.wav: damaged"},
      {"draw in.wav o.png --start 1", 1, "", "gvtool: in.wav: nothing to draw from 1.000 s"},
      {"draw in.wav o.png --background 12345", 2, "", "gvtool: --background 12345: not RRGGBB"},
      {"draw in.wav o.png --start 1 --end 0.5", 2, "", "gvtool: --end 0.5 is not after --start 1"},
      {"draw in.wav o.png -h 31", 2, "", "gvtool: --height"},
      {"draw in.wav o.png -w 32768 -h 8192", 2, "", "limited to 16 megapixels"},
      {"peaks in.wav -j 0", 2, "", "gvtool: --jobs"},
      {"peaks in.wav -j 5", 2, "", "gvtool: --jobs"},
      {"peaks in.wav -j 2x", 2, "", "gvtool: "},
      {"peaks in.wav -j 1.5", 2, "", "gvtool: "},
      {"peaks in.wav -j", 2, "", "gvtool: "},
  };
  FOR_EACH_CASE(cases) RunCase(c);
}

TEST_F(GvtoolTest, ConvertWritesTheBytesOfTheTargetFormat) {
  const struct {
    const char *options;
    Bytes expected;
  } cases[] = {
      {"-b 8", Wave(1, 1, 8, {0x80, 0x81, 0x7F, 0xFF, 0x00}, 5)},
      {"-c 2", Wave(1, 2, 16, Samples<int16_t>({0, 0, 256, 256, -256, -256, 32767, 32767,
                                                 -32768, -32768}), 20)},
      {"-e float --gain -6.0206", Wave(3, 1, 32, Samples<float>({0.0f, 1 / 256.0f, -1 / 256.0f,
                                                                 0.5f * 32767 / 32768, -0.5f}), 20)},
  };
  FOR_EACH_CASE(cases) {
    const Result r = Run(std::string("convert in.wav out.wav ") + c.options);
    EXPECT_EQ(r.code, 0u) << r.err;
    const std::string got = Slurp(Path("out.wav"));
    EXPECT_EQ(Bytes(got.begin(), got.end()), c.expected);
  }
}

TEST_F(GvtoolTest, FailedConvertLeavesNothingUnderTheTargetName) {
  CreateDirectoryA(Path("folder.wav").c_str(), nullptr);
  const struct {
    const char *args, *target;
  } cases[] = {
      {"convert cut.wav out.wav", "out.wav"},
      {"convert text.wav out.wav", "out.wav"},
      {"convert in.wav folder.wav", "folder.wav"},  // the rename fails after the work
  };
  FOR_EACH_CASE(cases) {
    const Result r = Run(c.args);
    EXPECT_NE(r.code, 0u);
    EXPECT_NE(r.err.rfind("gvtool: ", 0), std::string::npos) << r.err;
    if (std::strcmp(c.target, "out.wav") == 0) {
      EXPECT_FALSE(Exists(Path(c.target)));
    }
    // Nothing but the fixtures and the captured output is left in the folder.
    WIN32_FIND_DATAA found;
    HANDLE h = FindFirstFileA(Path("gvt*").c_str(), &found);
    EXPECT_EQ(h, INVALID_HANDLE_VALUE) << found.cFileName;
    if (h != INVALID_HANDLE_VALUE) FindClose(h);
  }
}

// A mono 16-bit file of `frames` frames at 8000 Hz: a ramp that wraps.
Bytes Ramp(size_t frames) {
  std::vector<int16_t> v(frames);
  for (size_t i = 0; i < frames; ++i) v[i] = int16_t(i * 97);
  Bytes data(frames * 2);
  std::memcpy(data.data(), v.data(), data.size());
  return Wave(1, 1, 16, data, DWORD(data.size()));
}

// Width and height from a PNG file's signature and IHDR chunk; 0, 0 when
// it is not one.
std::pair<uint32_t, uint32_t> PngSize(const std::string &png) {
  if (png.size() < 24 || png.compare(0, 16, std::string("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR", 16)))
    return {0, 0};
  auto be = [&](size_t at) {
    return uint32_t(uint8_t(png[at])) << 24 | uint32_t(uint8_t(png[at + 1])) << 16 |
           uint32_t(uint8_t(png[at + 2])) << 8 | uint8_t(png[at + 3]);
  };
  return {be(16), be(20)};
}

TEST_F(GvtoolTest, DrawWritesAPngOfTheAskedSize) {
  const Bytes ramp = Ramp(65536);
  Spit(Path("long.wav"), ramp.data(), ramp.size());
  const struct {
    const char *args;
    uint32_t width, height;
    const char *from;
  } cases[] = {
      {"draw in.wav o.png -w 40 -h 50", 40, 50, "drawn from the samples"},
      {"draw long.wav o.png", 1800, 280, "drawn from the samples"},  // 36 frames a pixel
      {"draw long.wav o.png -w 100 -h 64", 100, 64, "drawn from the peak file long.gvk"},
      {"draw long.wav o.png --start 2 --end 2.5 --split-channels", 1800, 280, "from 2.000 to 2.500 s"},
  };
  FOR_EACH_CASE(cases) {
    DeleteFileA(Path("o.png").c_str());
    const Result r = Run(c.args);
    EXPECT_EQ(r.code, 0u) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_NE(r.out.find(c.from), std::string::npos) << r.out;
    EXPECT_EQ(PngSize(Slurp(Path("o.png"))), std::make_pair(c.width, c.height));
    WIN32_FIND_DATAA found;  // no temporary output left behind
    HANDLE h = FindFirstFileA(Path("gvt*").c_str(), &found);
    EXPECT_EQ(h, INVALID_HANDLE_VALUE) << found.cFileName;
    if (h != INVALID_HANDLE_VALUE) FindClose(h);
  }
}

// Peak files built, reused, and never stale after the source changes or goes.
TEST_F(GvtoolTest, PeaksBuiltThenReusedAndFollowTheSource) {
  const struct {
    size_t rewrite;  // frames the source is rewritten with first; 0 keeps it, 1 deletes it
    const char *args;
    DWORD code;
    const char *out, *err;
  } cases[] = {
      {65536, "peaks long.wav", 0, "long.wav: built long.gvk: 256 elements of 256 frames", ""},
      {0, "peaks long.wav", 0, "long.wav: reused long.gvk: 256 elements of 256 frames", ""},
      {8192, "draw long.wav o.png -w 16", 0, "from 0.000 to 1.024 s, drawn from the peak file", ""},
      {0, "peaks long.wav", 0, "long.wav: reused long.gvk: 32 elements", ""},
      {1000, "peaks long.wav", 0, "long.wav: rebuilt (the old one was stale or damaged) long.gvk: "
                                  "4 elements", ""},
      {0, "peaks text.wav long.wav", 1, "long.wav: reused", "gvtool: text.wav: not a PCM WAVE file"},
      {1, "draw long.wav o.png", 1, "", "gvtool: long.wav: "},
  };
  FOR_EACH_CASE(cases) {
    if (c.rewrite == 1) {
      DeleteFileA(Path("long.wav").c_str());
    } else if (c.rewrite) {
      const Bytes ramp = Ramp(c.rewrite);
      Spit(Path("long.wav"), ramp.data(), ramp.size());
    }
    const Result r = Run(c.args);
    EXPECT_EQ(r.code, c.code) << r.err;
    EXPECT_NE(r.out.find(c.out), std::string::npos) << r.out;
    if (*c.err)
      EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
    else
      EXPECT_EQ(r.err, "");
  }
}

// The lines of a run, the time a build took cut off.
std::multiset<std::string> Lines(const std::string &text) {
  std::multiset<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const size_t comma = line.rfind(", ");
    if (line.size() > 2 && line.compare(line.size() - 2, 2, " s") == 0 && comma != std::string::npos)
      line.erase(comma);
    lines.insert(line);
  }
  return lines;
}

// With several workers the files finish in any order, but each one's lines
// are those of a run with one worker, also for a file named more than once
// (at the front, written two ways, so that two workers would start it at once).
TEST_F(GvtoolTest, PeaksOnSeveralWorkersGiveTheLinesOfOne) {
  std::string args = "r131072.wav R131072.WAV text.wav missing.wav";
  std::vector<std::string> names;
  for (size_t frames : {70000, 300, 131072, 4096, 50000, 256, 9000}) {
    names.push_back("r" + std::to_string(frames));
    const Bytes ramp = Ramp(frames);
    Spit(Path(names.back() + ".wav"), ramp.data(), ramp.size());
    args += " " + names.back() + ".wav";
  }
  Result one;
  const int jobs[] = {1, 2, 4};
  FOR_EACH_CASE(jobs) {
    for (const std::string &name : names) DeleteFileA(Path(name + ".gvk").c_str());
    const Result r = Run("peaks -j " + std::to_string(c) + " " + args);
    EXPECT_EQ(r.code, 1u);
    EXPECT_EQ(Lines(r.out).size(), 9u) << r.out;
    EXPECT_EQ(Lines(r.err).size(), 2u) << r.err;
    if (c == 1) {
      one = r;
      continue;
    }
    EXPECT_EQ(Lines(r.out), Lines(one.out));
    EXPECT_EQ(Lines(r.err), Lines(one.err));
  }
}

}  // namespace

// convert -r: the streaming interpolator or repetition on the 8 kHz input
// (0, 256, -256, 32767, -32768): the header's rate and size, the samples.
TEST_F(GvtoolTest, ConvertChangesTheRate) {
  const struct {
    const char *options;
    DWORD rate;
    Bytes data;
  } cases[] = {
      // positions 0, 0.5, ... 3.5: halves truncate toward zero
      {"-r 16000", 16000, Samples<int16_t>({0, 128, 256, 0, -256, 16255, 32767, 0})},
      {"-r 16000 --method repeat", 16000,
       Samples<int16_t>({0, 0, 256, 256, -256, -256, 32767, 32767, -32768, -32768})},
      // positions 0, 2: frames 0 and 2
      {"-r 4000", 4000, Samples<int16_t>({0, -256})},
      {"-r 4000 --method repeat", 4000, Samples<int16_t>({256, 32767})},
      {"-r 8000", 8000, Samples<int16_t>({0, 256, -256, 32767, -32768})},
  };
  FOR_EACH_CASE(cases) {
    const Result r = Run(std::string("convert in.wav out.wav ") + c.options);
    EXPECT_EQ(r.code, 0u) << r.err;
    const std::string got = Slurp(Path("out.wav"));
    ASSERT_GE(got.size(), 44u);
    DWORD rate, avg, size;
    std::memcpy(&rate, &got[24], 4), std::memcpy(&avg, &got[28], 4), std::memcpy(&size, &got[40], 4);
    EXPECT_EQ(rate, c.rate);
    EXPECT_EQ(avg, c.rate * 2);
    EXPECT_EQ(size, c.data.size());
    EXPECT_EQ(Bytes(got.begin() + 44, got.end()), c.data);
  }
  const Bytes wide = Wave(1, 33, 16, Bytes(33 * 2 * 4, 0), 33 * 2 * 4);
  Spit(Path("wide.wav"), wide.data(), wide.size());
  const Result r = Run("convert wide.wav out2.wav -r 16000");
  EXPECT_EQ(r.code, 1u);
  EXPECT_NE(r.err.find("at most 32"), std::string::npos) << r.err;
  EXPECT_FALSE(Exists(Path("out2.wav")));
}

TEST_F(GvtoolTest, TimeAndIirCommands) {
  const Case cases[] = {
      {"time 2.5s --format smpte", 0, "00:00:02.15\r\n", ""},
      {"time 600000000 --format 7", 0, "00:01:00.02\r\n", ""},
      {"time 1h --brief", 0, "01:00:00\r\n", ""},
      {"time 1.5min --format seconds", 0, "90.000\r\n", ""},
      {"time 2s --format measures --tempo 90 --beats 3", 0, "2:1.0\r\n", ""},
      {"time 1s --format samples --rate 48000", 0, "48,000\r\n", ""},
      {"time 250ms --format frames --fps 24", 0, "6.000\r\n", ""},
      {"time 12 --format 10", 0, "12\r\n", ""},
      {"time abc", 2, "", "gvtool: abc: not a time"},
      {"time 5x", 2, "", "gvtool: 5x: not a time"},
      {"time 99999999999999999999", 2, "", "not a time"},
      {"time 1s --format bogus", 2, "", "gvtool: --format bogus"},
      {"time 1s --rate 0", 2, "", "gvtool: --rate"},
      {"iir band 1000 6 2", 0, "c7 = ", ""},
      {"iir lowboost 100 0 1", 0, "c6 = 1\r\nc7 = 0\r\n", ""},
      {"iir bogus 1000 6 2", 2, "", "gvtool: bogus: not a filter type"},
      {"iir band 30000 6 2", 2, "", "above half the rate"},
      {"iir band 1000 6 0", 2, "", "gvtool: Q"},
  };
  FOR_EACH_CASE(cases) RunCase(c);
  const Result r = Run("iir hicut 5000 -6 0.7 --plot p.png");
  EXPECT_EQ(r.code, 0u) << r.err;
  EXPECT_EQ(PngSize(Slurp(Path("p.png"))), std::make_pair(900u, 420u));
}
