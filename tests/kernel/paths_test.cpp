// Path strings and file queries.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "gvtalc.h"
#include "support/cases.h"

namespace {

TEST(Paths, PartsOfAPath) {
  const struct {
    const char *path;
    size_t name, ext;     // offsets of GvGetFileNamePtr and GvGetFileNameExtensionPtr
    const char *folder;  // GvGetPathNameFromFilePath
    const char *root;    // GvGetRootPathFromFilePath
  } cases[] = {
      {"C:\\a\\song.wav", 5, 9, "C:\\a\\", "C:\\"},
      {"C:\\a.b\\song", 7, 4, "C:\\a.b\\", "C:\\"},  // the folder's dot
      {"C:song.wav", 2, 6, "C:", ""},
      {"song", 0, 4, "", ""},
      {"\\\\server\\share\\dir\\x.wav", 19, 20, "\\\\server\\share\\dir\\", "\\\\server\\share\\"},
      {"\\\\server\\share", 9, 14, "\\\\server\\", ""},  // a share without "\" has no root
      {"\\\\server", 2, 8, "\\\\", ""},
  };
  FOR_EACH_CASE(cases) {
    EXPECT_EQ(GvGetFileNamePtr(c.path) - c.path, ptrdiff_t(c.name));
    EXPECT_EQ(GvGetFileNameExtensionPtr(c.path) - c.path, ptrdiff_t(c.ext));
    char out[64] = "junk";
    EXPECT_EQ(GvGetPathNameFromFilePath(c.path, out, sizeof out), std::strlen(c.folder));
    EXPECT_STREQ(out, c.folder);
    std::strcpy(out, "junk");
    EXPECT_EQ(GvGetRootPathFromFilePath(c.path, out, sizeof out), std::strlen(c.root));
    EXPECT_STREQ(out, c.root);
  }
  // The length comes back even when the part does not fit; out stays empty.
  char small[3] = "xy";
  EXPECT_EQ(GvGetPathNameFromFilePath("C:\\a\\b", small, sizeof small), 5u);
  EXPECT_STREQ(small, "");
  EXPECT_EQ(GvGetRootPathFromFilePath("C:\\a", small, 3), 3u);
  EXPECT_STREQ(small, "");
}

TEST(Paths, SlashAndValidNames) {
  const struct {
    const char *path;
    UINT size, result;
    const char *after;
  } slashes[] = {
      {"C:\\Data", 8, 0, "C:\\Data"},  // length + 2 > size
      {"C:\\Data", 9, 7, "C:\\Data\\"},
      {"C:\\Data\\", 10, 8, "C:\\Data\\"},  // already ends with one
      {"", 9, 0, ""},
  };
  FOR_EACH_CASE(slashes) {
    char path[16];
    std::strcpy(path, c.path);
    EXPECT_EQ(GvAddSlashToPathName(path, c.size), c.result);
    EXPECT_STREQ(path, c.after);
  }
  const struct {
    const char *name;
    BOOL repair, valid;
    const char *after;
  } names[] = {
      {"take 1.wav", TRUE, TRUE, "take 1.wav"},
      {"a:b|c", TRUE, FALSE, "a_b_c"},
      {"a:b|c", FALSE, FALSE, "a:b|c"},
      {"q\"/<>\\*?", TRUE, FALSE, "q_____*?"},  // * and ? are not tested
  };
  FOR_EACH_CASE(names) {
    char name[16];
    std::strcpy(name, c.name);
    EXPECT_EQ(GvValidateFileName(name, c.repair), c.valid);
    EXPECT_STREQ(name, c.after);
  }
}

TEST(Paths, ModuleQualifiedAndFileQueries) {
  char dir[MAX_PATH], exe[MAX_PATH];
  GetModuleFileNameA(nullptr, exe, MAX_PATH);
  const UINT n = GvGetModulePath(nullptr, dir, sizeof dir);
  EXPECT_EQ(std::string(dir), std::string(exe, n));
  EXPECT_FALSE(GvQualifyPath("x.wav", dir, 0));
  EXPECT_FALSE(GvQualifyPath("x.wav", dir, 4));  // does not fit
  ASSERT_TRUE(GvQualifyPath("x.wav", dir, sizeof dir));
  EXPECT_STREQ(GvGetFileNamePtr(dir), "x.wav");

  EXPECT_TRUE(GvDoesFileExist(exe));
  EXPECT_FALSE(GvDoesFileExist("Z:\\no\\such\\file"));
  EXPECT_EQ(GvDosGetDateTime("Z:\\no\\such\\file"), 0u);
  // The stamp is the last write in local time, packed time-high, date-low.
  WIN32_FILE_ATTRIBUTE_DATA attr;
  GetFileAttributesExA(exe, GetFileExInfoStandard, &attr);
  FILETIME local;
  WORD date, time;
  FileTimeToLocalFileTime(&attr.ftLastWriteTime, &local);
  FileTimeToDosDateTime(&local, &date, &time);
  EXPECT_EQ(GvDosGetDateTime(exe), DWORD(time) << 16 | date);

  tGVDATETIME now{};
  SYSTEMTIME t;
  GetLocalTime(&t);
  EXPECT_EQ(GvGetDateTime(&now), S_OK);
  EXPECT_EQ(now.dwDate, DWORD(t.wMonth) << 24 | DWORD(t.wDay) << 16 | t.wYear);  // not at midnight
  EXPECT_EQ(now.dwTime >> 24, t.wHour);
}

TEST(Paths, DiskFreeSpaceInUnitsSaturatesAndNeedsARoot) {
  ULARGE_INTEGER available, total, free;
  ASSERT_TRUE(GetDiskFreeSpaceExA("C:\\", &available, &total, &free));
  const double bytes = double(available.QuadPart);
  const DWORD mib = GvGetDiskFreeSpace("C:\\windows\\x.wav", 1048576);
  EXPECT_NEAR(double(mib), bytes / 1048576, 64.0);  // the disk may change in between
  const DWORD plain = GvGetDiskFreeSpace("C:\\", 0);
  EXPECT_EQ(plain, bytes > 4294967295.0 ? 0xFFFFFFFFu : plain);
  EXPECT_EQ(GvGetDiskFreeSpace("relative.wav", 1), 0u);  // no root
  EXPECT_EQ(GvGetDiskFreeSpace("\\\\nohost\\noshare\\x", 1), 0xFFFFFFFFu);  // network: unlimited
  EXPECT_EQ(GvGetDiskFreeSpace("Q:\\", 1), 0u);  // no such drive
}

}  // namespace
