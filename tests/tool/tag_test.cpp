// gvtool tag, info and lang as a user runs them: the INFO list rewritten
// with every other chunk and the sample data unchanged, names from the
// summary table, the language modules beside the DLL.
#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <string>

#include "gvtalc.h"
#include "support/cases.h"
#include "support/riff_builders.h"
#include "support/tool_runner.h"

namespace {

using gvtest::Bytes;
using gvtest::Chunk;
using gvtest::Concat;
using gvtest::Text;

Bytes Z(const char *s) { return Bytes(s, s + strlen(s) + 1); }

const Bytes kFmt = gvtest::Concat(
    {gvtest::Le32(0x00010001), gvtest::Le32(8000), gvtest::Le32(8000), gvtest::Le32(0x00080001)});
const Bytes kData = gvtest::Counting(7, 0x80);  // odd: the chunk has a pad byte

// A WAVE file with an INFO list between data and cue, or after them.
Bytes WaveWith(const Bytes &info, const Bytes &atEnd = {}) {
  return gvtest::Riff("WAVE", Concat({Chunk("fmt ", kFmt), Chunk("data", kData), info,
                                      Chunk("cue ", Bytes(4, 9)), atEnd}));
}

// The file with its RIFF header's size replaced, as a streamed file may
// leave it; kAsBuilt keeps the true size.
constexpr DWORD kAsBuilt = 0xABCDEF01;
Bytes WithHeader(Bytes file, DWORD size) {
  if (size != kAsBuilt) memcpy(&file[4], &size, 4);
  return file;
}

// An INFO list as the library saves it: an odd item's pad byte is its index.
Bytes Info(std::initializer_list<std::pair<const char *, const char *>> items) {
  Bytes entries;
  BYTE index = 0;
  for (const auto &item : items) {
    if (!item.second) {  // not saved, but it keeps its index
      ++index;
      continue;
    }
    const Bytes text = Z(item.second);
    entries = Concat({entries, gvtest::Header(item.first, DWORD(text.size())), text});
    if (text.size() & 1) entries.push_back(index);
    ++index;
  }
  return gvtest::Chunk("LIST", Concat({Text("INFO"), entries}));
}

// FNV-1a of the data chunk's bytes as found in a file, or 0 when missing.
uint64_t DataHash(const std::string &file) {
  const size_t at = file.find("data");
  if (at == std::string::npos || at + 8 > file.size()) return 0;
  uint32_t size;
  memcpy(&size, &file[at + 4], 4);
  uint64_t h = 1469598103934665603ull;
  for (size_t i = 0; i < size && at + 8 + i < file.size(); ++i)
    h = (h ^ uint8_t(file[at + 8 + i])) * 1099511628211ull;
  return h;
}

class ToolInfo : public testing::Test {
 protected:
  void SetUp() override {
    char temp[MAX_PATH];
    GetTempPathA(MAX_PATH, temp);
    dir_ = std::string(temp) + "gvtool_tag_" + std::to_string(GetCurrentProcessId()) + "\\";
    CreateDirectoryA(dir_.c_str(), nullptr);
  }
  void TearDown() override {
    WIN32_FIND_DATAA found;
    HANDLE h = FindFirstFileA((dir_ + "*").c_str(), &found);
    for (BOOL more = h != INVALID_HANDLE_VALUE; more; more = FindNextFileA(h, &found))
      if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) DeleteFileA((dir_ + found.cFileName).c_str());
    if (h != INVALID_HANDLE_VALUE) FindClose(h);
    RemoveDirectoryA(dir_.c_str());
  }
  void Write(const Bytes &b) {
    HANDLE f = CreateFileA((dir_ + "f.wav").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD n = 0;
    WriteFile(f, b.data(), DWORD(b.size()), &n, nullptr);
    CloseHandle(f);
  }
  std::string File() { return gvtest::Slurp(dir_ + "f.wav"); }
  int FilesInFolder() {
    WIN32_FIND_DATAA found;
    int n = 0;
    HANDLE h = FindFirstFileA((dir_ + "*.tmp").c_str(), &found);
    for (BOOL more = h != INVALID_HANDLE_VALUE; more; more = FindNextFileA(h, &found)) ++n;
    if (h != INVALID_HANDLE_VALUE) FindClose(h);
    return n;
  }
  gvtest::ToolResult Run(const std::string &args) { return gvtest::RunTool(GV_TOOL_EXE, dir_, args); }
  std::string dir_;
};

TEST_F(ToolInfo, TagRewritesTheInfoListAndKeepsEveryOtherChunk) {
  const Bytes oldInfo = gvtest::List("INFO", Concat({Chunk("ICMT", Z("old")), Chunk("ISFT", Z("x"))}));
  const Bytes second = gvtest::List("INFO", Chunk("INAM", Z("two")));
  struct Case {
    Bytes before;
    const char *args;
    Bytes info, atEnd;  // the INFO list expected in place of the old one, or at the end
    Bytes later = {};   // after cue, before and after
    DWORD header = kAsBuilt;
  } const cases[] = {
      {oldInfo, "--set INAM=Take --set ICMT=new",
       Info({{"ICMT", "new"}, {"ISFT", "x"}, {"INAM", "Take"}}), {}},
      {oldInfo, "--remove ICMT --set ISFT=yz", Info({{"ICMT", nullptr}, {"ISFT", "yz"}}), {}},
      {oldInfo, "--remove ICMT --set ISFT=", {}, {}},  // nothing left: no list
      {{}, "--set IART=Ann", {}, Info({{"IART", "Ann"}})},
      {{}, "", {}, {}},
      // Header sizes that say nothing: the chunks run to the end of the file.
      {oldInfo, "--set INAM=Take --set ICMT=new",
       Info({{"ICMT", "new"}, {"ISFT", "x"}, {"INAM", "Take"}}), {}, {}, 0},
      {oldInfo, "--set IART=Ann", Info({{"ICMT", "old"}, {"ISFT", "x"}, {"IART", "Ann"}}), {}, {}, 2},
      {oldInfo, "--remove ISFT", Info({{"ICMT", "old"}, {"ISFT", nullptr}}), {}, {}, 0xFFFFFFFF},
      {{}, "--set IART=Ann", {}, Info({{"IART", "Ann"}}), {}, 4},
      // Only the first INFO list is replaced; a later one is kept as it is.
      {oldInfo, "--set ICMT=new", Info({{"ICMT", "new"}, {"ISFT", "x"}}), {}, second},
  };
  FOR_EACH_CASE(cases) {
    Write(WithHeader(WaveWith(c.before, c.later), c.header));
    const gvtest::ToolResult r = Run(std::string("tag f.wav ") + c.args);
    EXPECT_EQ(r.code, 0u) << r.err;
    const Bytes expect = WaveWith(c.info, Concat({c.later, c.atEnd}));
    EXPECT_EQ(File(), std::string(expect.begin(), expect.end()));
    EXPECT_EQ(DataHash(File()), DataHash(std::string(expect.begin(), expect.end())));
    EXPECT_NE(DataHash(File()), 0u);
    EXPECT_EQ(FilesInFolder(), 0);
  }
}

TEST_F(ToolInfo, TagRefusesBadCodesAndDamagedFilesLeavingThemAsTheyWere) {
  const Bytes good = WaveWith({});
  const Bytes damaged = gvtest::Riff(
      "WAVE", Concat({Chunk("fmt ", kFmt), gvtest::Header("data", 5000), kData}));
  struct Case {
    Bytes file;
    const char *args;
    DWORD code;
    const char *err;
  } const cases[] = {
      {good, "tag f.wav --set NAMES=x", 2, "four-character"},
      {good, "tag f.wav --set INAM", 2, "CODE=TEXT"},
      {good, "tag f.wav --remove IN", 2, "four-character"},
      {damaged, "tag f.wav --set INAM=x", 1, "past the end"},
      {Text("not a riff file"), "tag f.wav --set INAM=x", 1, "not a RIFF file"},
  };
  FOR_EACH_CASE(cases) {
    Write(c.file);
    const gvtest::ToolResult r = Run(c.args);
    EXPECT_EQ(r.code, c.code);
    EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
    EXPECT_EQ(File(), std::string(c.file.begin(), c.file.end()));
    EXPECT_EQ(FilesInFolder(), 0);
  }
}

TEST_F(ToolInfo, InfoShowsTheItemsUnderTheirNames) {
  const DWORD headers[] = {kAsBuilt, 0};  // 0: a streamed file's unset size
  FOR_EACH_CASE(headers) {
    Write(WithHeader(WaveWith(gvtest::List("INFO", Concat({Chunk("INAM", Z("Take 7")), Chunk("ICMT", {}),
                                                           Chunk("IZZZ", Z("odd")),
                                                           Chunk("IART", Z("Caf\xE9"))}))),
                     c));
    const gvtest::ToolResult r = Run("info f.wav");
    EXPECT_EQ(r.code, 0u) << r.err;
    EXPECT_NE(r.out.find("  info         Name/Title (INAM): Take 7"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("               IZZZ (IZZZ): odd"), std::string::npos) << r.out;
    // the file's ANSI text is written as UTF-8
    EXPECT_NE(r.out.find("               Artist (IART): Caf\xC3\xA9"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("ICMT"), std::string::npos) << r.out;
  }
  Write(WaveWith(gvtest::List("INFO", Concat({gvtest::Header("INAM", 4), Text("abcd")}))));
  const gvtest::ToolResult bad = Run("info f.wav");
  EXPECT_EQ(bad.code, 1u);
  EXPECT_NE(bad.err.find("INFO list"), std::string::npos) << bad.err;
}

TEST_F(ToolInfo, LangListsTheModulesBesideTheLibrary) {
  const gvtest::ToolResult r = Run("lang");
  EXPECT_EQ(r.code, 0u) << r.err;
  EXPECT_NE(r.out.find("GVTALC.dll           0x0409  SBCS    1.0.0.12  English (United States)"),
            std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("GVTALC.deu           0x0407  SBCS    1.0.0.12  Deutsch (Deutschland)"),
            std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("another product version: not used"), std::string::npos) << r.out;
}

}  // namespace
