// The frame's decisions without the platform's say: the version contract's
// message per platform, the command-line tail, the power-user probe's key.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "kernel/frame.h"
#include "support/cases.h"
#include "support/registry_sandbox.h"

namespace {

const char kTooOld[] = "The version of the Marrowbeam Kernel is too old.";
const char kIncompatible[] =
    "The version of the Marrowbeam Kernel is incompatible with the following client:\n\n";
const std::string kLongClient = std::string(120, 'n') + "0123456789" + std::string(170, 'n');

TEST(VersionRefusal, PlatformThenLevelThenVersion) {
  const struct { DWORD major; const char *client; DWORD required; int level; std::string message;
  } cases[] = {
      {6, "Test Client", 0x0100000C, 1, ""}, {4, "Test Client", 0x00000000, 1, ""},
      {6, nullptr, 0x0100000B, 1, ""}, {6, "Test Client", 0x0100000D, 1, kTooOld},
      {6, "Test Client", 0x80000000, 1, kTooOld},  // compared unsigned
      // The level is tested first; the client name is cut to 127 characters.
      {6, kLongClient.c_str(), 0x0100000D, 2, kIncompatible + kLongClient.substr(0, 127) + "."},
      {6, nullptr, 0x0100000C, 0, std::string(kIncompatible) + "."},
      // A platform before Windows 95 is refused before anything else.
      {3, "Old Client", 0x0100000D, 2,
       "This product requires Windows 95 or Windows NT 4.0 or later."},
  };
  FOR_EACH_CASE(cases) {
    char message[512] = "";
    EXPECT_EQ(gv::VersionRefusal(c.major, c.client, c.required, c.level, message),
              !c.message.empty());
    EXPECT_EQ(message, c.message);
  }
}

TEST(CommandLineTail, SkipsTheProgramNameAndTheWhiteSpaceAfterIt) {
  const struct { const char *line, *tail; } cases[] = {
      // Quoted name with blanks, three blanks, then the argument.
      {"\"C:\\Program Files\\Gv Test\\client app.exe\"   -x", "-x"},
      {"client.exe", ""},  // only an unquoted name: the tail is the terminating zero
      // Tabs and blanks after the name are skipped; blanks at the end are kept.
      {"client.exe\t \targ1  arg2 ", "arg1  arg2 "},
      {"\"client.exe\"-q", "-q"},  // a closing quote ends the name, white space or not
      {"\"C:\\no end\\client.exe -x", ""},  // a quote that never closes: all name
      {"client\"x y\" z", "y\" z"},  // unquoted names end at white space, quotes or not
  };
  FOR_EACH_CASE(cases) {
    std::string line = c.line;
    EXPECT_EQ(gv::CommandLineTail(&line[0]), &line[0] + line.size() - std::strlen(c.tail));
  }
}

// The probe makes and deletes its family's key and leaves the other's alone.
TEST(PowerUser, ProbesUnderTheKeyOfItsFamily) {
  const std::string nt = "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\~GvTestLoginPrivilege";
  const std::string w95 = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\~GvTestLoginPrivilege";
  const struct { bool win95; const std::string &own, &other; } cases[] = {
      {false, nt, w95}, {true, w95, nt}};
  FOR_EACH_CASE(cases) {
    HKEY key;
    for (const std::string *path : {&nt, &w95}) {
      if (RegCreateKeyA(HKEY_LOCAL_MACHINE, path->c_str(), &key) != ERROR_SUCCESS)
        GTEST_SKIP() << "HKEY_LOCAL_MACHINE cannot be written here";
      RegCloseKey(key);
    }
    EXPECT_EQ(gv::IsPowerUser(c.win95), TRUE);
    EXPECT_FALSE(gvtest::KeyExists(HKEY_LOCAL_MACHINE, c.own)) << "the probe key was left";
    EXPECT_TRUE(gvtest::KeyExists(HKEY_LOCAL_MACHINE, c.other)) << "the other key was touched";
    for (const std::string *path : {&nt, &w95}) RegDeleteKeyA(HKEY_LOCAL_MACHINE, path->c_str());
  }
}

}  // namespace
