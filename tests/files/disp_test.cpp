// DISP lists: wanted formats picked from DISP chunks, saves read back,
// damaged chunks refused; bitmaps from a file's DIB; the summary table.
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
using gvtest::Header;
using gvtest::Le32;
using gvtest::TempFile;
using gvtest::Text;

Bytes Disp(DWORD format, const Bytes &data) { return Chunk("DISP", Concat({Le32(format), data})); }

Bytes DataOf(const tGVDISPITEM *e) {
  if (!e || !e->pData) return {};
  const BYTE *p = static_cast<const BYTE *>(e->pData);
  return Bytes(p, p + e->cbData);
}

TEST(DispLoad, PicksTheWantedFormatsAndKeepsThePosition) {
  struct Case {
    Bytes chunks;
    Bytes text, dib, other;  // what formats 1, 8 and 3 receive
  } const cases[] = {
      {Concat({Disp(CF_TEXT, Text("Title!")), Chunk("LIST", Text("INFOxx")), Disp(CF_DIB, Text("bmp"))}),
       Text("Title!"), Text("bmp"), {}},
      {Concat({Disp(2, Text("bitmap")), Disp(CF_TEXT, Text("a"))}), Text("a"), {}, {}},
      // Of two chunks of one format the last wins.
      {Concat({Disp(CF_TEXT, Text("first")), Disp(CF_TEXT, Text("second"))}), Text("second"), {}, {}},
      {Concat({Disp(3, {}), Chunk("junk", Bytes(5))}), {}, {}, {}},
      {{}, {}, {}, {}},
      // Another chunk cut off by the end of the file ends the list.
      {Concat({Disp(CF_TEXT, Text("ok")), Header("data", 0x40000000), Bytes(3)}), Text("ok"), {}, {}},
  };
  FOR_EACH_CASE(cases) {
    TempFile file(Concat({Text("pre!"), c.chunks, Text("tail")}), GENERIC_READ | GENERIC_WRITE, 4);
    tGVDISPITEM items[3] = {{CF_TEXT, 0, nullptr}, {CF_DIB, 0, nullptr}, {3, 0, nullptr}};
    tGVDISPLIST list = {3, items};
    LONG remaining = LONG(c.chunks.size());
    EXPECT_EQ(displist_Load(file.handle(), &list, &remaining), S_OK);
    EXPECT_EQ(remaining, LONG(c.chunks.size()));
    EXPECT_EQ(file.Pos(), 4u);
    EXPECT_EQ(DataOf(displist_GetItem(&list, CF_TEXT)), c.text);
    EXPECT_EQ(DataOf(displist_GetItem(&list, CF_DIB)), c.dib);
    EXPECT_EQ(DataOf(displist_GetItem(&list, 3)), c.other);
    EXPECT_EQ(displist_GetItem(&list, 4), nullptr);
    displist_Free(&list);
    for (const tGVDISPITEM &e : items) EXPECT_EQ(e.pData, nullptr);
  }
}

TEST(DispLoad, DamagedChunksAreRefusedWithTheDataFreed) {
  struct Case {
    Bytes chunks;
    LONG remaining = 0x10000000;
  } const cases[] = {
      {Concat({Disp(CF_TEXT, Text("ok")), Header("DISP", 2), Text("ab")})},  // shorter than its format
      {Concat({Disp(CF_TEXT, Text("ok")), Header("DISP", 0x7FFFFFF0), Le32(CF_DIB)})},
      {Concat({Disp(CF_TEXT, Text("ok")), Header("DISP", 1000), Le32(CF_DIB), Bytes(10)})},
      // Larger than the enclosing chunk, which ends after its format word.
      {Concat({Disp(CF_TEXT, Text("ok")), Disp(CF_DIB, Text("abcdefgh"))}), 26},
  };
  FOR_EACH_CASE(cases) {
    TempFile file(Concat({Text("pre!"), c.chunks}), GENERIC_READ | GENERIC_WRITE, 4);
    tGVDISPITEM items[2] = {{CF_TEXT, 0, nullptr}, {CF_DIB, 0, nullptr}};
    tGVDISPLIST list = {2, items};
    LONG remaining = c.remaining;
    EXPECT_EQ(displist_Load(file.handle(), &list, &remaining), GVRIFF_E_READ);
    EXPECT_EQ(file.Pos(), 4u);
    for (const tGVDISPITEM &e : items) EXPECT_EQ(e.pData, nullptr);
  }
}

TEST(DispSave, WritesOneChunkPerEntryWithData) {
  BYTE text[] = {'h', 'i', '!'};
  BYTE dib[] = {1, 2, 3, 4};
  tGVDISPITEM items[3] = {{CF_TEXT, 3, text}, {CF_BITMAP, 0, nullptr}, {CF_DIB, 4, dib}};
  tGVDISPLIST list = {3, items};
  TempFile file;
  DWORD written = gvtest::kSentinel;
  ASSERT_EQ(displist_Save(file.handle(), &list, &written), S_OK);
  const Bytes expect = Concat({Disp(CF_TEXT, Text("hi!")), Disp(CF_DIB, Bytes(dib, dib + 4))});
  EXPECT_EQ(written, expect.size());
  EXPECT_EQ(file.OnDisk(), expect);
  // Read back through a list that wants both.
  file.Seek(0);
  tGVDISPITEM back[2] = {{CF_DIB, 0, nullptr}, {CF_TEXT, 0, nullptr}};
  tGVDISPLIST backList = {2, back};
  LONG remaining = LONG(expect.size());
  ASSERT_EQ(displist_Load(file.handle(), &backList, &remaining), S_OK);
  EXPECT_EQ(DataOf(&back[1]), Text("hi!"));
  EXPECT_EQ(DataOf(&back[0]), Bytes(dib, dib + 4));
  displist_Free(&backList);
}

// A DIB of 2 x 2 pixels at 24 bits: header, then two rows of 8 bytes.
Bytes SmallDib(DWORD headerSize = 40, LONG width = 2) {
  Bytes b = Concat({Le32(headerSize), Le32(DWORD(width)), Le32(2), Le32(0x00180001), Le32(BI_RGB),
                    Le32(0), Le32(0), Le32(0), Le32(0), Le32(0)});
  for (int i = 0; i < 16; ++i) b.push_back(BYTE(i * 16));
  return b;
}

TEST(DispBitmap, MadeFromTheFilesDibOrRefused) {
  struct Case {
    Bytes body;
    bool made;
  } const cases[] = {
      {Concat({Chunk("fmt ", Bytes(16)), Disp(CF_DIB, SmallDib())}), true},
      {Disp(CF_TEXT, Text("no picture")), false},
      {Disp(CF_DIB, SmallDib(400)), false},        // header larger than the chunk
      {Disp(CF_DIB, SmallDib(40, 5000)), false},   // bits past the chunk
      {Disp(CF_DIB, Bytes(12)), false},            // too short for a header
  };
  FOR_EACH_CASE(cases) {
    TempFile file(gvtest::Riff("WAVE", c.body));
    HBITMAP bitmap = displist_CreateBitmapFromFile(file.Path());
    EXPECT_EQ(bitmap != nullptr, c.made);
    if (bitmap) {
      BITMAP info = {};
      GetObjectA(bitmap, sizeof info, &info);
      EXPECT_EQ(info.bmWidth, 2);
      EXPECT_EQ(info.bmHeight, 2);
      DeleteObject(bitmap);
    }
  }
  EXPECT_EQ(displist_CreateBitmapFromFile("Z:\\no\\such\\file.wav"), nullptr);
}

TEST(Summary, HoldsTheKnownItemsInTableOrder) {
  const char *const codes[] = {"IARL", "IART", "ICMS", "ICMT", "ICOP", "ICRD", "ICRP", "IDIM",
                               "IDPI", "IENG", "IGNR", "IKEY", "ILGT", "IMED", "INAM", "IPLT",
                               "IPRD", "ISBJ", "ISFT", "ISHP", "ISRC", "ISRF", "ITCH", "DISP"};
  FOR_EACH_CASE(codes) {
    const tGVSUMMARYITEM *item = GvSummary_GetItem(int(i));
    ASSERT_NE(item, nullptr);
    EXPECT_STREQ(item->szCode, c);
    EXPECT_EQ(GvSummary_GetFCC(item), gvtest::Fcc(c));
    EXPECT_GT(std::strlen(item->szName), 3u);
    ASSERT_NE(item->pszDescription, nullptr);
    const size_t length = std::strlen(item->pszDescription);
    EXPECT_TRUE(length > 20 && length < 256) << length;
  }
  EXPECT_STREQ(GvSummary_GetItem(1)->szName, "Artist");
  EXPECT_STREQ(GvSummary_GetItem(14)->szName, "Name/Title");
  EXPECT_STREQ(GvSummary_GetItem(24)->szCode, "Err ");
  EXPECT_STREQ(GvSummary_GetItem(-1)->szCode, "Err ");
  EXPECT_EQ(GvSummary_GetFCC(nullptr), 0u);
}

TEST(Summary, FreedAndLoadedAgain) {
  EXPECT_EQ(GvSummary_LoadResources(), S_OK);  // loaded at start-up already
  EXPECT_EQ(GvSummary_FreeResources(), S_OK);
  EXPECT_STREQ(GvSummary_GetItem(0)->szCode, "Err ");
  EXPECT_EQ(GvSummary_LoadResources(), S_OK);
  EXPECT_STREQ(GvSummary_GetItem(0)->szCode, "IARL");
  EXPECT_STREQ(GvSummary_GetItem(23)->szName, "Sound Scheme Title");
}

}  // namespace
