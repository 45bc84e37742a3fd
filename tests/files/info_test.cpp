// INFO lists: the bytes saved (pad byte = the item's index), loads of what
// was saved and of hand-made lists, edits, and damaged lists refused with
// the list freed and the file where it was.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "gvtalc.h"
#include "support/cases.h"
#include "support/riff_builders.h"

namespace {

using gvtest::Bytes;
using gvtest::Chunk;
using gvtest::Concat;
using gvtest::Fcc;
using gvtest::Header;
using gvtest::Le32;
using gvtest::TempFile;
using gvtest::Text;

Bytes Z(const char *s) { return Bytes(s, s + std::strlen(s) + 1); }

// A list of (code, text or null) built through infolist_SetItem.
struct Items {
  const char *code;
  const char *text;
};
tGVINFOLIST Build(std::initializer_list<Items> items) {
  tGVINFOLIST list = {0, nullptr};
  for (const Items &i : items) EXPECT_EQ(infolist_SetItem(&list, Fcc(i.code), i.text), S_OK);
  return list;
}

TEST(InfoSave, WritesOneChunkPerTextWithTheIndexAsPadByte) {
  struct Case {
    std::vector<Items> items;
    Bytes expect;
  } const cases[] = {
      {{{"IART", "abcd"}}, Concat({Header("LIST", 18), Text("INFO"), Header("IART", 5), Z("abcd"), {0}})},
      {{{"IART", "abcd"}, {"INAM", "xy"}},
       Concat({Header("LIST", 30), Text("INFO"), Header("IART", 5), Z("abcd"), {0},
               Header("INAM", 3), Z("xy"), {1}})},
      // A null text is skipped but keeps its index; an even size has no pad.
      {{{"ICMT", "x"}, {"IENG", nullptr}, {"ISFT", "ab"}, {"ICOP", "c"}},
       Concat({Header("LIST", 36), Text("INFO"), Header("ICMT", 2), Z("x"), Header("ISFT", 3),
               Z("ab"), {2}, Header("ICOP", 2), Z("c")})},
      {{{"IKEY", ""}}, Concat({Header("LIST", 14), Text("INFO"), Header("IKEY", 1), {0}, {0}})},
      {{}, {}},  // an empty list writes nothing
  };
  FOR_EACH_CASE(cases) {
    tGVINFOLIST list = {0, nullptr};
    for (const Items &i : c.items) {
      ASSERT_EQ(infolist_SetItem(&list, Fcc(i.code), "placeholder"), S_OK);
      ASSERT_EQ(infolist_SetItem(&list, Fcc(i.code), i.text), S_OK);
    }
    TempFile file(Text("head"), GENERIC_READ | GENERIC_WRITE, 4);
    DWORD written = gvtest::kSentinel;
    EXPECT_EQ(infolist_Save(file.handle(), &list, &written), S_OK);
    EXPECT_EQ(written, c.expect.size());
    EXPECT_EQ(file.OnDisk(), Concat({Text("head"), c.expect}));
    EXPECT_EQ(file.Pos(), 4 + c.expect.size());
    infolist_Free(&list);
  }
}

TEST(InfoLoad, ReadsWhatWasSavedAndHandMadeLists) {
  struct Case {
    Bytes entries;  // the INFO list's entries
    std::vector<Items> expect;
  } const cases[] = {
      {Concat({Chunk("IART", Z("abcd")), Chunk("INAM", Z("xy"))}), {{"IART", "abcd"}, {"INAM", "xy"}}},
      // Text up to its first zero; an empty chunk is an item without text.
      {Concat({Chunk("ICMT", Concat({Z("one"), Text("junk"), {0}})), Chunk("IENG", {})}),
       {{"ICMT", "one"}, {"IENG", nullptr}}},
      {Chunk("ISFT", {0}), {{"ISFT", ""}}},
      {{}, {}},
  };
  FOR_EACH_CASE(cases) {
    TempFile file(Concat({c.entries, Text("tail")}));
    LONG remaining = LONG(c.entries.size());
    tGVINFOLIST list = {99, reinterpret_cast<tGVINFOITEM *>(8)};
    EXPECT_EQ(infolist_Load(file.handle(), &list, &remaining), S_OK);
    EXPECT_EQ(remaining, LONG(c.entries.size()));
    ASSERT_EQ(list.nCount, c.expect.size());
    EXPECT_EQ(file.Pos(), c.entries.size());
    for (size_t k = 0; k < c.expect.size(); ++k) {
      EXPECT_EQ(list.pItems[k].fcc, Fcc(c.expect[k].code));
      if (c.expect[k].text)
        EXPECT_STREQ(list.pItems[k].pszText, c.expect[k].text);
      else
        EXPECT_EQ(list.pItems[k].pszText, nullptr);
    }
    infolist_Free(&list);
    EXPECT_EQ(list.pItems, nullptr);
  }
}

TEST(InfoLoad, SavedListsLoadBackWithoutTheirNullTexts) {
  tGVINFOLIST list = Build({{"IART", "Artist"}, {"ICMT", nullptr}, {"INAM", "Take 7"}});
  TempFile file;
  ASSERT_EQ(infolist_Save(file.handle(), &list, nullptr), S_OK);
  file.Seek(12);
  LONG remaining = LONG(file.OnDisk().size() - 12);
  tGVINFOLIST loaded = {0, nullptr};
  ASSERT_EQ(infolist_Load(file.handle(), &loaded, &remaining), S_OK);
  EXPECT_EQ(loaded.nCount, 2u);  // the item without text was not saved
  EXPECT_STREQ(infolist_GetItemText(&loaded, Fcc("INAM")), "Take 7");
  EXPECT_EQ(infolist_GetItemText(&loaded, Fcc("ICMT")), nullptr);
  EXPECT_EQ(infolist_GetItemIndex(&loaded, Fcc("ICMT")), GVRIFF_E_NOTFOUND);
  EXPECT_FALSE(infolist_Compare(&list, &loaded));  // three items against two
  infolist_Free(&list);
  infolist_Free(&loaded);
}

TEST(InfoEdit, SetCopyCompare) {
  tGVINFOLIST a = Build({{"IART", "x"}, {"INAM", "y"}, {"ICMT", nullptr}, {"IKEY", ""}});
  ASSERT_EQ(a.nCount, 4u);
  EXPECT_EQ(a.pItems[2].pszText, nullptr);  // appended without text
  EXPECT_EQ(a.pItems[3].pszText, nullptr);  // "" appends without text too
  EXPECT_EQ(infolist_SetItem(&a, Fcc("IKEY"), ""), S_OK);
  ASSERT_NE(a.pItems[3].pszText, nullptr);  // an existing item keeps ""
  EXPECT_STREQ(a.pItems[3].pszText, "");
  EXPECT_EQ(infolist_SetItem(&a, Fcc("IART"), nullptr), S_OK);
  EXPECT_EQ(a.nCount, 4u);
  EXPECT_EQ(infolist_GetItemText(&a, Fcc("IART")), nullptr);
  EXPECT_EQ(infolist_GetItemIndex(&a, Fcc("INAM")), 1);

  tGVINFOLIST b;
  ASSERT_EQ(infolist_Copy(&b, &a), S_OK);
  EXPECT_NE(b.pItems, a.pItems);
  EXPECT_NE(b.pItems[1].pszText, a.pItems[1].pszText);
  EXPECT_TRUE(infolist_Compare(&a, &b));
  // Codes are not compared, texts are.
  b.pItems[1].fcc = Fcc("ISBJ");
  EXPECT_TRUE(infolist_Compare(&a, &b));
  infolist_SetItem(&b, Fcc("ISBJ"), "z");
  EXPECT_FALSE(infolist_Compare(&a, &b));
  EXPECT_FALSE(infolist_Compare(&a, nullptr));
  infolist_Free(&a);
  infolist_Free(&b);
  EXPECT_EQ(b.nCount, 0u);
}

TEST(InfoLoad, DamagedListsAreRefusedWithTheListFreedAndThePositionKept) {
  const Bytes good = Chunk("IART", Z("ok"));
  struct Case {
    Bytes entries;
    LONG remaining;  // -1: the entries' size
  } const cases[] = {
      {Concat({good, Header("INAM", 4), Text("abcd")}), -1},       // no zero byte inside
      {Concat({good, Header("INAM", 0x7FFFFFF0), Text("ab")}), -1},  // past the end of the file
      {Concat({good, Header("INAM", 40), Z("abc")}), 0x40000000},   // past the end, budget large
      {Concat({good, Chunk("INAM", Z("abcdef"))}), 20},              // past the list's budget
      {Bytes(16, 0), 0x7FFFFFF0},  // a huge budget counts more entries than the file holds
      {good, -4},                  // the budget of a LIST of size 0
  };
  FOR_EACH_CASE(cases) {
    TempFile file(Concat({Text("pre!"), c.entries}), GENERIC_READ | GENERIC_WRITE, 4);
    LONG remaining = c.remaining == -1 ? LONG(c.entries.size()) : c.remaining;
    tGVINFOLIST list = {0, nullptr};
    EXPECT_EQ(infolist_Load(file.handle(), &list, &remaining), GVRIFF_E_READ);
    EXPECT_EQ(list.nCount, 0u);
    EXPECT_EQ(list.pItems, nullptr);
    EXPECT_EQ(file.Pos(), 4u);
  }
}

TEST(InfoStringFromFile, FindsTheTextAndRefusesDamagedSizes) {
  const Bytes info = gvtest::List("INFO", Concat({Chunk("IART", Z("Artist")), Chunk("INAM", Z("Song"))}));
  struct Case {
    Bytes body;
    const char *code;
    HRESULT result;
    const char *text;
  } const cases[] = {
      {Concat({Chunk("fmt ", Bytes(16)), info}), "INAM", S_OK, "Song"},
      {info, "IART", S_OK, "Artist"},
      {info, "ICOP", GVRIFF_E_NOTFOUND, ""},
      {Chunk("data", Bytes(6)), "IART", GVRIFF_E_NOTFOUND, ""},
      // A LIST smaller than its type word.
      {Concat({Header("LIST", 2), Text("INFO"), Bytes(8)}), "IART", GVRIFF_E_READ, ""},
      {gvtest::List("INFO", Concat({Header("INAM", 0x10000000), Z("x")})), "INAM", GVRIFF_E_READ, ""},
  };
  FOR_EACH_CASE(cases) {
    const Bytes riff = gvtest::Riff("WAVE", c.body);
    TempFile file(riff, GENERIC_READ | GENERIC_WRITE, 12);
    LONG remaining = LONG(riff.size() - 12);
    char buffer[64] = "";
    EXPECT_EQ(infolist_GetStringFromFile(file.handle(), Fcc(c.code), buffer, 0, &remaining),
              c.result);
    EXPECT_STREQ(buffer, c.text);
    EXPECT_EQ(file.Pos(), 12u);
  }
}

}  // namespace
