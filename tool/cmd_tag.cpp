// gvtool tag: rewrites a RIFF file's INFO list. The new file is written
// beside the old one and renamed over it only when complete; every other
// chunk, the sample data included, is copied byte for byte.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "commands.h"
#include "infotext.h"

namespace {

using gvtool::Error;
using gvtool::kDone;
using gvtool::kFailed;

struct TagArgs {
  std::string file;
  std::vector<std::string> sets, removes;
} args;

struct Edit {
  DWORD code;
  std::string text;
  bool remove;
};

bool ParseCode(const std::string &text, DWORD *code) {
  if (text.size() != 4) return false;
  for (char ch : text)
    if (ch < 0x20 || ch > 0x7E) return false;
  *code = GVRIFF_FOURCC(text[0], text[1], text[2], text[3]);
  return true;
}

// Copies `size` bytes from in to out in 128 KiB pieces.
bool CopyBytes(HANDLE in, HANDLE out, unsigned long long size) {
  std::vector<char> buffer(0x20000);
  while (size) {
    const DWORD want = DWORD(size < buffer.size() ? size : buffer.size());
    DWORD got = 0, put = 0;
    if (!ReadFile(in, buffer.data(), want, &got, nullptr) || got != want) {
      SetLastError(got != want ? ERROR_HANDLE_EOF : GetLastError());
      return false;
    }
    if (!WriteFile(out, buffer.data(), want, &put, nullptr) || put != want) return false;
    size -= want;
  }
  return true;
}

// Writes the form type and the top-level chunks of `in` (standing at 12,
// the chunks ending at `end`) into `out`, with `info` in place of the first
// INFO list (or at the end); later INFO lists are copied as they are. On
// failure *why says what went wrong.
bool Rewrite(HANDLE in, HANDLE out, unsigned long long fileSize, unsigned long long end, DWORD form,
             const tGVINFOLIST &info, std::string *why) {
  DWORD written = 0;
  // The new list goes where the old one was, or at the end; a list whose
  // items all lost their texts is dropped, not written empty.
  bool listDone = true, replaced = false;
  for (DWORD i = 0; i < info.nCount; ++i)
    if (info.pItems[i].pszText) listDone = false;
  if (riff_WriteFileID(out, form, 0) != S_OK) return false;
  unsigned long long at = 12;
  while (at + 8 <= end) {
    DWORD id = 0, size = 0, type = 0;
    if (riff_ReadChunkHeader(in, &id, &size) != S_OK) return false;
    const unsigned long long padded = size + (size & 1ull);
    if (at + 8 + size > fileSize) {
      *why = "a chunk runs past the end of the file";
      return false;
    }
    if (id == GVRIFF_ID_LIST && size >= 4) {
      riff_ReadData(in, &type, 4);
      riff_RestoreLocation(in, DWORD(at + 8));
    }
    if (id == GVRIFF_ID_LIST && type == GVINFO_ID_INFO && !replaced) {
      replaced = true;
      if (!listDone && infolist_Save(out, &info, &written) != S_OK) return false;
      listDone = true;
      riff_RestoreLocation(in, DWORD(at + 8));
      riff_SkipChunk(in, size);
    } else {
      const unsigned long long copy = at + 8 + padded > fileSize ? size : padded;
      if (riff_WriteChunkHeader(out, id, size) != S_OK || !CopyBytes(in, out, copy)) return false;
      if (copy != padded) {
        const BYTE zero = 0;
        DWORD put = 0;
        if (!WriteFile(out, &zero, 1, &put, nullptr)) return false;
      }
    }
    at += 8 + padded;
  }
  if (!listDone && infolist_Save(out, &info, &written) != S_OK) return false;
  LARGE_INTEGER zero = {}, length = {};
  SetFilePointerEx(out, zero, &length, FILE_END);
  if (length.QuadPart - 8 > 0xFFFFFFFFll) {
    *why = "the result would pass 4 GiB";
    return false;
  }
  return riff_SetRIFFSize(out, DWORD(length.QuadPart - 8)) == S_OK;
}

int RunTag() {
  std::vector<Edit> edits;
  for (const std::string &s : args.sets) {
    const size_t eq = s.find('=');
    DWORD code = 0;
    if (eq == std::string::npos || !ParseCode(s.substr(0, eq), &code))
      return gvtool::UsageError("--set %s: expected CODE=TEXT with a four-character CODE", s.c_str());
    edits.push_back({code, s.substr(eq + 1), false});
  }
  for (const std::string &s : args.removes) {
    DWORD code = 0;
    if (!ParseCode(s, &code))
      return gvtool::UsageError("--remove %s: expected a four-character CODE", s.c_str());
    edits.push_back({code, "", true});
  }

  HANDLE in = gvtool::OpenForReading(args.file);
  if (in == INVALID_HANDLE_VALUE) return kFailed;
  LARGE_INTEGER fileSize = {};
  GetFileSizeEx(in, &fileSize);
  DWORD rest = 0, form = 0;
  tGVINFOLIST info = {0, nullptr};
  HRESULT hr = riff_ReadFileID(in, &rest, &form);
  if (hr == S_OK) hr = gvtool::LoadFileInfo(in, &info);
  if (hr != S_OK) {
    CloseHandle(in);
    Error("%s: %s", args.file.c_str(),
          hr == GVRIFF_E_NOTRIFF ? "not a RIFF file" : gvtool::HresultReason(hr).c_str());
    return kFailed;
  }
  for (const Edit &e : edits)
    infolist_SetItem(&info, e.code, e.remove || e.text.empty() ? nullptr : e.text.c_str());

  const size_t slash = args.file.find_last_of("\\/:");
  const std::string folder = slash == std::string::npos ? "." : args.file.substr(0, slash + 1);
  char temp[MAX_PATH];
  if (!GetTempFileNameA(folder.c_str(), "gvt", 0, temp)) {
    CloseHandle(in);
    infolist_Free(&info);
    return gvtool::IoError(args.file, GetLastError());
  }
  HANDLE out = CreateFileA(temp, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
  std::string why;
  riff_SeekDataStart(in);
  bool ok = out != INVALID_HANDLE_VALUE &&
            Rewrite(in, out, (unsigned long long)fileSize.QuadPart,
                    gvtool::ChunksEnd(rest, (unsigned long long)fileSize.QuadPart), form, info, &why);
  const DWORD error = GetLastError();
  if (out != INVALID_HANDLE_VALUE) CloseHandle(out);
  CloseHandle(in);
  if (ok && !MoveFileExA(temp, args.file.c_str(), MOVEFILE_REPLACE_EXISTING)) {
    gvtool::IoError(args.file, GetLastError());
    ok = false;
  } else if (!ok) {
    if (why.empty())
      gvtool::IoError(args.file, error);
    else
      Error("%s: %s", args.file.c_str(), why.c_str());
  }
  if (!ok) {
    DeleteFileA(temp);
    infolist_Free(&info);
    return kFailed;
  }
  DWORD items = 0;
  for (DWORD i = 0; i < info.nCount; ++i) items += info.pItems[i].pszText != nullptr;
  std::printf("%s: %lu INFO item%s\n", args.file.c_str(), static_cast<unsigned long>(items),
              items == 1 ? "" : "s");
  infolist_Free(&info);
  return kDone;
}

gvtool::Runner Setup(CLI::App &cmd) {
  cmd.footer("CODE is a four-character INFO code such as INAM, IART or ICMT (gvtool info\n"
             "shows the known ones by name). An empty TEXT removes the item too. The file is\n"
             "rewritten under a temporary name beside it and renamed over it when complete;\n"
             "all other chunks are kept as they are. Exit 1 when the file is not a RIFF file\n"
             "or is damaged.");
  cmd.add_option("FILE", args.file, "RIFF file (WAVE, AVI...)")->required();
  cmd.add_option("--set", args.sets, "Set an item")->option_text("CODE=TEXT");
  cmd.add_option("--remove", args.removes, "Remove an item")->option_text("CODE");
  return RunTag;
}

const gvtool::Registration reg{"tag", "Set or remove the INFO items of a RIFF file.", Setup};

}  // namespace
