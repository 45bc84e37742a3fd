// gvtool riff: prints the chunk tree of a RIFF file (identifiers, sizes,
// header offsets, list types and nested lists) through the riff_ exports.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <string>

#include "commands.h"
#include "gvtalc.h"

namespace {

const int kMaxDepth = 32;

// A size as a search budget; sizes of 2 GiB and more are cut to the largest.
LONG Budget(DWORD size) { return size > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<LONG>(size); }

void PrintId(DWORD id) {
  std::printf("'");
  for (int i = 0; i < 4; ++i) {
    unsigned c = (id >> (8 * i)) & 0xFF;
    if (c >= 0x20 && c < 0x7F)
      std::printf("%c", static_cast<char>(c));
    else
      std::printf("\\x%02X", c);
  }
  std::printf("'");
}

struct Walker {
  HANDLE file;
  unsigned long long fileSize;
  unsigned long chunks = 0;

  // Lists the chunks in the next `budget` bytes, one level deeper than the caller.
  void Walk(LONG budget, int depth) {
    while (budget >= 8) {
      DWORD at = 0;
      riff_SaveLocation(file, &at);
      if (at + 8ull > fileSize) {
        std::printf("%*s(%ld bytes announced past the end of the file)\n", 2 * depth, "",
                    static_cast<long>(budget));
        return;
      }
      DWORD id = 0, size = 0;
      if (riff_ReadChunkHeader(file, &id, &size) != S_OK) {
        std::printf("%*s(read error at %lu)\n", 2 * depth, "", static_cast<unsigned long>(at));
        return;
      }
      budget -= 8;
      ++chunks;
      unsigned long long padded = size + (size & 1ull);
      std::printf("%*s", 2 * depth, "");
      DWORD type = 0;
      bool isList = id == GVRIFF_ID_LIST && size >= 4 && at + 12ull <= fileSize;
      if (isList) {
        riff_ReadData(file, &type, 4);
        std::printf("LIST ");
        PrintId(type);
      } else {
        PrintId(id);
      }
      std::printf("  size %lu  @%lu", static_cast<unsigned long>(size), static_cast<unsigned long>(at));
      if (isList) {
        LONG entries = Budget(size - 4);
        LONG count = riff_GetNumListEntries(file, &entries);
        if (count >= 0) std::printf("  (%ld %s)", static_cast<long>(count), count == 1 ? "entry" : "entries");
      }
      if (at + 8ull + size > fileSize) std::printf("  (runs past the end of the file)");
      if (padded > static_cast<unsigned long long>(budget)) std::printf("  (larger than its parent)");
      std::printf("\n");
      if (isList && depth < kMaxDepth) Walk(Budget(size - 4), depth + 1);
      riff_RestoreLocation(file, at + 8);
      riff_SkipChunk(file, size);
      if (padded > static_cast<unsigned long long>(budget)) return;
      budget -= static_cast<LONG>(padded);
    }
  }
};

std::string riffPath;

int RunRiff() {
  HANDLE file = gvtool::OpenForReading(riffPath);
  if (file == INVALID_HANDLE_VALUE) return gvtool::kFailed;
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file, &size)) size.QuadPart = 0;
  DWORD rest = 0, form = 0;
  if (riff_ReadFileID(file, &rest, &form) != S_OK) {
    gvtool::Error("%s: not a RIFF file", riffPath.c_str());
    CloseHandle(file);
    return gvtool::kFailed;
  }
  std::printf("RIFF ");
  PrintId(form);
  std::printf("  size %lu  @0", static_cast<unsigned long>(rest + 4));
  if (rest + 12ull != static_cast<unsigned long long>(size.QuadPart))
    std::printf("  (file is %llu bytes)", static_cast<unsigned long long>(size.QuadPart));
  std::printf("\n");
  Walker walker{file, static_cast<unsigned long long>(size.QuadPart)};
  walker.Walk(Budget(rest), 1);
  std::printf("%lu chunks\n", walker.chunks);
  CloseHandle(file);
  return gvtool::kDone;
}

gvtool::Runner SetupRiff(CLI::App &cmd) {
  cmd.add_option("FILE", riffPath, "A RIFF file")->required();
  return RunRiff;
}

const gvtool::Registration riffReg{"riff", "The chunk tree of a RIFF file.", SetupRiff};

}  // namespace
