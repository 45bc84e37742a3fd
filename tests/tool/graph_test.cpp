// gvtool graph as a user runs it: a graph made, shown and run writes the
// same bytes as convert's steps one after another (through float files, so
// nothing is lost between them); bad --eq text and damaged graph files.
#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

#include "support/cases.h"
#include "support/graph_helpers.h"
#include "support/tool_runner.h"

namespace {

using gvtest::graph::TempDir;

class ToolGraph : public testing::Test {
 protected:
  void SetUp() override {
    // Longer than two of the 32768-frame pieces both read.
    ASSERT_TRUE(gvtest::graph::WriteAll(
        dir_ / "in.wav", gvtest::graph::Wave16(2, 44100, gvtest::graph::Tone(70001, 2))));
    // Below 3277 Hz its 32768-frame pieces are longer than 10 s.
    ASSERT_TRUE(gvtest::graph::WriteAll(
        dir_ / "low.wav", gvtest::graph::Wave16(1, 2000, gvtest::graph::Tone(70001, 1))));
  }
  gvtest::ToolResult Run(const std::string &args) {
    return gvtest::RunTool(GV_TOOL_EXE, dir_ / "", args);
  }
  TempDir dir_;
};

TEST_F(ToolGraph, RunEqualsConvertStepsOneAfterAnother) {
  const struct {
    const char *source, *make;
    std::vector<std::string> steps;  // convert options, each from the last file
  } cases[] = {
      {"in.wav", "--gain -3 --resample 48000 --eq band:3000:6:2 --eq low:200:-10:1 -b 24",
       {"--gain -3 -e float", "-r 48000 -e float", "--eq band:3000:6:2 --eq low:200:-10:1 -e float",
        "-b 24"}},
      {"in.wav", "--resample 22050", {"-r 22050"}},
      {"low.wav", "--resample 44100 --float", {"-r 44100 -e float"}},
      {"in.wav", "--eq high:4000:-8:0.7 --eq high:9000:5:1 --float",
       {"--eq high:4000:-8:0.7 -e float", "--eq high:9000:5:1 -e float"}},
  };
  FOR_EACH_CASE(cases) {
    std::string from = c.source;
    for (size_t i = 0; i < c.steps.size(); ++i) {
      const std::string to = "step" + std::to_string(i) + ".wav";
      const gvtest::ToolResult r = Run("convert " + from + " " + to + " " + c.steps[i]);
      ASSERT_EQ(r.code, 0u) << c.steps[i] << ": " << r.err;
      from = to;
    }
    gvtest::ToolResult r =
        Run("graph make g.gvg --source " + std::string(c.source) + " --sink out.wav " + c.make);
    ASSERT_EQ(r.code, 0u) << r.err;
    r = Run("graph run g.gvg");
    ASSERT_EQ(r.code, 0u) << r.err;
    const std::string out = gvtest::Slurp(dir_ / "out.wav");
    EXPECT_GT(out.size(), 44u);
    EXPECT_TRUE(out == gvtest::Slurp(dir_ / from)) << "graph output differs from " << from;
  }
}

TEST_F(ToolGraph, ShowListsFiltersAndConnections) {
  ASSERT_EQ(Run("graph make g.gvg --source in.wav --sink out.wav --gain 2 --eq band:1000:3:2").code,
            0u);
  const gvtest::ToolResult r = Run("graph show g.gvg");
  EXPECT_EQ(r.code, 0u) << r.err;
  const char *const lines[] = {"graph \"g.gvg\"", "  1  WAVE source  in.wav\r\n",
                               "  2  gain  +2 dB\r\n", "  3  IIR band  1000 Hz  +3 dB  Q 2\r\n",
                               "  4  WAVE sink  out.wav  16-bit\r\n", "  1.0 -> 2.0\r\n",
                               "  3.0 -> 4.0\r\n"};
  FOR_EACH_CASE(lines) EXPECT_NE(r.out.find(c), std::string::npos) << r.out;
}

TEST_F(ToolGraph, RefusesBadEqTextAndDamagedGraphs) {
  ASSERT_EQ(Run("graph make g.gvg --source in.wav --sink out.wav").code, 0u);
  ASSERT_TRUE(gvtest::graph::WriteAll(
      dir_ / "slow.wav", gvtest::graph::Wave16(1, 999, gvtest::graph::Tone(100, 1))));
  std::string saved = gvtest::Slurp(dir_ / "g.gvg");
  ASSERT_GT(saved.size(), 40u);
  ASSERT_TRUE(gvtest::graph::WriteAll(dir_ / "cut.gvg",
                                      gvtest::graph::Bytes(saved.begin(), saved.end() - 9)));
  const struct {
    const char *args;
    DWORD code;
    const char *err;
  } cases[] = {
      {"graph make x.gvg --source in.wav --sink o.wav --eq band:1000:3", 2, "--eq band:1000:3"},
      {"graph make x.gvg --source in.wav --sink o.wav --eq shelf:1:1:1", 2, "TYPE low, high"},
      {"graph make x.gvg --source in.wav --sink o.wav --eq low:100:61:1", 2, "GAIN -60..60"},
      {"convert in.wav o.wav --eq band:0:1:1", 2, "FREQ 1..384000"},
      {"graph make x.gvg --source slow.wav --sink o.wav", 1, "999 Hz are longer than"},
      {"graph run cut.gvg", 1, "cut.gvg: cut short"},
      {"graph show missing.gvg", 1, "missing.gvg"},
  };
  FOR_EACH_CASE(cases) {
    const gvtest::ToolResult r = Run(c.args);
    EXPECT_EQ(r.code, c.code);
    EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
  }
  for (const char *name : {"x.gvg", "o.wav"})
    EXPECT_EQ(GetFileAttributesA((dir_ / name).c_str()), INVALID_FILE_ATTRIBUTES) << name;
}

}  // namespace
