// Graph persistence through the six GvGraph_ functions: the bytes a new
// graph writes, round trips through memory and files, and refusals of
// damaged data without a leaked object.
#include <gtest/gtest.h>

#include "support/cases.h"
#include "support/graph_helpers.h"
#include "support/riff_mutation.h"

namespace {

using namespace gvtest::graph;

class GraphPersist : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(SUCCEEDED(com_.hr)); }
  ComScope com_;
};

// A graph with a name, every filter class but the resampler and IIR (their
// data have a test of their own), and a chain of connections.
IGVGraphBuilder *SampleGraph() {
  IGVGraphBuilder *g = NewGraph();
  g->SetName(L"Sample chain");
  IGVFilter *src = Add(g, kSource), *gain = Add(g, kGain), *fmt = Add(g, kFormat),
            *peak = Add(g, kPeakWriter), *sink = Add(g, kSink);
  src->SetText(GVFK_FILE, L"C:\\in.wav");
  gain->SetValue(GVFK_GAIN, -3.5);
  fmt->SetValue(GVFK_CHANNELS, 1);
  fmt->SetValue(GVFK_BITS, 24);
  peak->SetText(GVFK_FILE, L"C:\\out.wav");
  sink->SetText(GVFK_FILE, L"C:\\out.wav");
  sink->SetValue(GVFK_BITS, 32);
  sink->SetValue(GVFK_FLOAT, 1);
  g->Connect(src, 0, gain, 0);
  g->Connect(gain, 0, fmt, 0);
  g->Connect(fmt, 0, peak, 0);
  g->Connect(peak, 0, sink, 0);
  return g;
}

// The same graph's data written out by hand.
Bytes SampleData() {
  Bytes d = Head(L"Sample chain", 3000000, FloatFormat(2, 44100), 5);
  PutGuid(d, kSource), Put32(d, 1), PutText(d, L"C:\\in.wav");
  PutGuid(d, kGain), Put32(d, 1), PutDouble(d, -3.5);
  PutGuid(d, kFormat), Put32(d, 1), Put32(d, 1), Put32(d, 24);
  PutGuid(d, kPeakWriter), Put32(d, 1), PutText(d, L"C:\\out.wav");
  PutGuid(d, kSink), Put32(d, 1), PutText(d, L"C:\\out.wav"), Put32(d, 32), Put32(d, 1);
  Put32(d, 4), Put32(d, 0), Put32(d, 0);
  for (uint32_t i = 0; i < 4; ++i) PutConnection(d, i, 0, i + 1, 0);
  return d;
}

TEST_F(GraphPersist, NewGraphWritesEachItemInOrder) {
  IGVGraphBuilder *g = NewGraph();
  ASSERT_NE(g, nullptr);
  const Bytes b = SaveBytes(g);
  const WAVEFORMATEX f = FloatFormat(2, 44100);
  Bytes name, format, zeros;
  PutText(name, L"");
  Put(format, &f, 18);
  Put32(zeros, 0), Put32(zeros, 0), Put32(zeros, 0);
  Bytes clsid, one, length, time;
  PutGuid(clsid, kClsidTalc), Put32(one, 1), Put32(length, 16 + 4 + 6 + 8 + 18 + 12 + 12);
  Put64(time, 3000000);
  struct Item {
    const char *what;
    Bytes bytes;
  } const items[] = {
      {"length of the rest", length}, {"class identifier", clsid}, {"1: word 1", one},
      {"2: empty name", name},        {"3: 3000000", time},        {"4: format", format},
      {"5: no filters", zeros},       {"7: no connections", zeros},
  };
  size_t at = 0;
  FOR_EACH_CASE(items) {
    ASSERT_LE(at + c.bytes.size(), b.size()) << c.what;
    EXPECT_EQ(Bytes(b.begin() + at, b.begin() + at + c.bytes.size()), c.bytes) << c.what;
    at += c.bytes.size();
  }
  EXPECT_EQ(at, b.size());
  EXPECT_EQ(g->IsDirty(), S_FALSE);
  g->Release();
}

TEST_F(GraphPersist, SavesFiltersAndConnectionsAsLaidDown) {
  IGVGraphBuilder *g = SampleGraph();
  EXPECT_EQ(g->IsDirty(), S_OK);
  ULARGE_INTEGER max{};
  EXPECT_EQ(g->GetSizeMax(&max), S_OK);
  const Bytes b = SaveBytes(g);
  EXPECT_EQ(b, MemoryForm(SampleData()));
  EXPECT_EQ(max.QuadPart, SampleData().size());
  EXPECT_EQ(g->IsDirty(), S_FALSE) << "saving through GvGraph_ clears the change";
  g->Release();
}

TEST_F(GraphPersist, ResamplerAndIirDataAsLaidDownAndTheirRanges) {
  IGVGraphBuilder *g = NewGraph();
  IGVFilter *rs = Add(g, kResampler), *iir = Add(g, kIir);
  EXPECT_EQ(rs->SetValue(GVFK_RATE, 768000), S_OK);
  EXPECT_EQ(iir->SetValue(GVFK_TYPE, GVIIR_LOWSHELF), S_OK);
  EXPECT_EQ(iir->SetValue(GVFK_FREQ, 250), S_OK);
  EXPECT_EQ(iir->SetValue(GVFK_GAIN, -60), S_OK);
  EXPECT_EQ(iir->SetValue(GVFK_Q, 0.1), S_OK);
  Bytes d = Head(L"", 3000000, FloatFormat(2, 44100), 2);
  PutGuid(d, kResampler), Put32(d, 1), Put32(d, 768000);
  PutGuid(d, kIir), Put32(d, 1), Put32(d, GVIIR_LOWSHELF);
  PutDouble(d, 250), PutDouble(d, -60), PutDouble(d, 0.1);
  Put32(d, 0), Put32(d, 0), Put32(d, 0);
  EXPECT_EQ(SaveBytes(g), MemoryForm(d));
  const struct {
    IGVFilter *f;
    DWORD key;
    double value;
  } refused[] = {{rs, GVFK_RATE, 999},       {rs, GVFK_RATE, 768001}, {rs, GVFK_RATE, 44100.5},
                 {rs, GVFK_GAIN, 1},         {iir, GVFK_TYPE, 0},     {iir, GVFK_TYPE, 4},
                 {iir, GVFK_FREQ, 0.99},     {iir, GVFK_FREQ, 384001}, {iir, GVFK_GAIN, 60.01},
                 {iir, GVFK_Q, 0.099},       {iir, GVFK_Q, 100.5},    {iir, GVFK_RATE, 48000}};
  FOR_EACH_CASE(refused) EXPECT_EQ(c.f->SetValue(c.key, c.value), E_INVALIDARG);
  EXPECT_EQ(SaveBytes(g), MemoryForm(d)) << "refused values change nothing";
  EXPECT_EQ(g->Release(), 0u);
}

TEST_F(GraphPersist, MemoryRoundTripWithSizeZeroReadsExactlyWhatWasSaved) {
  IGVGraphBuilder *g = SampleGraph(), *back = nullptr;
  const Bytes saved = SaveBytes(g);
  g->Release();
  ASSERT_EQ(LoadBytes(saved, &back), S_OK);
  CLSID clsid{};
  back->GetClassID(&clsid);
  EXPECT_TRUE(IsEqualCLSID(clsid, kClsidTalc));
  EXPECT_EQ(back->GetFilterCount(), 5u);
  EXPECT_EQ(back->GetConnectionCount(), 4u);
  EXPECT_EQ(back->IsDirty(), S_FALSE);
  IGVFilter *sink = nullptr;
  ASSERT_EQ(back->GetFilter(4, &sink), S_OK);
  wchar_t name[MAX_PATH];
  double bits = 0;
  EXPECT_EQ(sink->GetText(GVFK_FILE, name, MAX_PATH), S_OK);
  EXPECT_STREQ(name, L"C:\\out.wav");
  EXPECT_EQ(sink->GetValue(GVFK_BITS, &bits), S_OK);
  EXPECT_EQ(bits, 32.0);
  sink->Release();
  EXPECT_EQ(SaveBytes(back), saved);
  back->Release();
  // Any size is passed over: the length word alone counts.
  Bytes copy = saved;
  ASSERT_EQ(GvGraph_CreateFromMem(&back, copy.data(), 1), S_OK);
  EXPECT_EQ(SaveBytes(back), saved);
  back->Release();
}

TEST_F(GraphPersist, TwoGraphsInOneFileAreReadBackInTurn) {
  TempDir dir;
  HANDLE h = CreateFileA((dir / "two.gvg").c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                         CREATE_ALWAYS, 0, nullptr);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  IGVGraphBuilder *first = SampleGraph(), *second = NewGraph();
  second->SetName(L"Second");
  const Bytes a = SaveBytes(first), b = SaveBytes(second);
  DWORD written[2] = {gvtest::kSentinel, gvtest::kSentinel};
  EXPECT_EQ(GvGraph_SaveToFile(first, h, &written[0]), S_OK);
  EXPECT_EQ(GvGraph_SaveToFile(second, h, &written[1]), S_OK);
  EXPECT_EQ(written[0], a.size());
  EXPECT_EQ(written[1], b.size());
  first->Release(), second->Release();
  SetFilePointer(h, 0, nullptr, FILE_BEGIN);
  const Bytes expected[] = {a, b};
  DWORD end = 0;
  FOR_EACH_CASE(expected) {
    IGVGraphBuilder *g = reinterpret_cast<IGVGraphBuilder *>(1);
    ASSERT_EQ(GvGraph_CreateFromFile(&g, h), S_OK);
    end += DWORD(c.size());
    EXPECT_EQ(SetFilePointer(h, 0, nullptr, FILE_CURRENT), end) << "positioned after its data";
    EXPECT_EQ(SaveBytes(g), c);
    g->Release();
  }
  IGVGraphBuilder *g = reinterpret_cast<IGVGraphBuilder *>(1);
  EXPECT_EQ(GvGraph_CreateFromFile(&g, h), S_FALSE) << "at the end: the length cannot be read";
  EXPECT_EQ(g, nullptr);
  CloseHandle(h);
}

TEST_F(GraphPersist, FileReaderFailures) {
  TempDir dir;
  struct Case {
    const char *what;
    Bytes file;
    HRESULT hr;
    DWORD position;  // after the call
  } const cases[] = {
      {"two bytes of a length", Bytes{8, 0}, S_FALSE, 2},
      {"data shorter than the length", Bytes{40, 0, 0, 0, 1, 2, 3}, S_FALSE, 7},
      {"a length past any graph: skipped", Bytes{0, 0, 0, 0x40, 9, 9}, E_OUTOFMEMORY, 0x40000004},
  };
  FOR_EACH_CASE(cases) {
    WriteAll(dir / "bad.gvg", c.file);
    HANDLE h = CreateFileA((dir / "bad.gvg").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0,
                           nullptr);
    ASSERT_NE(h, INVALID_HANDLE_VALUE);
    IGVGraphBuilder *g = reinterpret_cast<IGVGraphBuilder *>(1);
    EXPECT_EQ(GvGraph_CreateFromFile(&g, h), c.hr) << c.what;
    EXPECT_EQ(g, nullptr) << c.what;
    EXPECT_EQ(SetFilePointer(h, 0, nullptr, FILE_CURRENT), c.position) << c.what;
    CloseHandle(h);
  }
}

TEST_F(GraphPersist, UnregisteredClassGivesCoCreateInstancesFailure) {
  IStream *s = nullptr;
  ASSERT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &s), S_OK);
  const GUID nobody = {0x01234567, 0x89AB, 0xCDEF, {1, 2, 3, 4, 5, 6, 7, 8}};
  WriteClassStm(s, nobody);
  LARGE_INTEGER zero{};
  s->Seek(zero, STREAM_SEEK_SET, nullptr);
  IGVGraphBuilder *g = nullptr;
  EXPECT_EQ(GvGraph_CreateFromStream(&g, s), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(g, nullptr);
  s->Release();
}

// Damaged data: each is refused, and the object made for it holds no
// reference but the caller's.
TEST_F(GraphPersist, RefusesDamagedData) {
  const Bytes good = SampleData();
  const GUID unknown = {0x5E0A7C7F, 0x3B1D, 0x4C6E, {0x9A, 0x10, 0x47, 0x56, 0x47, 0x52, 0x41, 0x7F}};
  Bytes unknownFilter = Head(L"", 3000000, FloatFormat(2, 44100), 1);
  PutGuid(unknownFilter, unknown), Put32(unknownFilter, 1);
  Bytes longName = good;
  longName[4] = 0xF0;  // the name's byte length: past the data
  Bytes oddName = good;
  oddName[4] = 25;
  Bytes missingFilter = Head(L"", 3000000, FloatFormat(2, 44100), 1);
  PutGuid(missingFilter, kGain), Put32(missingFilter, 1), PutDouble(missingFilter, 0);
  Put32(missingFilter, 1), Put32(missingFilter, 0), Put32(missingFilter, 0);
  PutConnection(missingFilter, 0, 0, 3, 0);
  Bytes twice = SampleData();
  twice[twice.size() - 8] = 1;  // the last connection feeds filter 1 again
  Bytes tooMany = Head(L"", 3000000, FloatFormat(2, 44100), GVGRAPH_MAXFILTERS + 1);
  Bytes version = good;
  version[0] = 2;
  Bytes badTime = Head(L"", 0, FloatFormat(2, 44100), 0);
  Put32(badTime, 0), Put32(badTime, 0), Put32(badTime, 0);
  Bytes badGain = Head(L"", 3000000, FloatFormat(2, 44100), 1);
  PutGuid(badGain, kGain), Put32(badGain, 1), PutDouble(badGain, 900.0);
  Put32(badGain, 0), Put32(badGain, 0), Put32(badGain, 0);
  Bytes longTime = Head(L"", 327680001, FloatFormat(2, 44100), 0);
  Put32(longTime, 0), Put32(longTime, 0), Put32(longTime, 0);
  struct Case {
    const char *what;
    Bytes form;
    HRESULT hr;
    bool reachesLoad;  // else refused before a graph is made
  } const cases[] = {
      {"truncated", MemoryForm(Bytes(good.begin(), good.end() - 9)), E_FAIL, true},
      {"absurd length", [&] { Bytes b = MemoryForm(good); b[3] = 0x7F; return b; }(), E_FAIL, false},
      {"unknown filter class", MemoryForm(unknownFilter), CLASS_E_CLASSNOTAVAILABLE, true},
      {"name length past the data", MemoryForm(longName), E_FAIL, true},
      {"odd name length", MemoryForm(oddName), E_FAIL, true},
      {"connection to a filter that does not exist", MemoryForm(missingFilter), E_FAIL, true},
      {"an input pin connected twice", MemoryForm(twice), E_FAIL, true},
      {"too many filters", MemoryForm(tooMany), E_FAIL, true},
      {"layout version 2", MemoryForm(version), E_FAIL, true},
      {"buffer length 0", MemoryForm(badTime), E_FAIL, true},
      {"buffer length past the longest", MemoryForm(longTime), E_FAIL, true},
      {"gain out of range", MemoryForm(badGain), E_FAIL, true},
  };
  FOR_EACH_CASE(cases) {
    IGVGraphBuilder *g = nullptr;
    EXPECT_EQ(LoadBytes(c.form, &g), c.hr) << c.what;
    EXPECT_EQ(g != nullptr, c.reachesLoad) << c.what;
    if (g) {
      EXPECT_EQ(g->GetFilterCount(), 0u) << c.what << ": the graph stays as it was";
      EXPECT_EQ(g->Release(), 0u) << c.what;
    }
  }
  // A failed Load leaves a loaded graph as it was.
  IGVGraphBuilder *g = SampleGraph();
  const Bytes before = SaveBytes(g);
  IStream *s = nullptr;
  CreateStreamOnHGlobal(nullptr, TRUE, &s);
  s->Write(missingFilter.data(), ULONG(missingFilter.size()), nullptr);
  LARGE_INTEGER zero{};
  s->Seek(zero, STREAM_SEEK_SET, nullptr);
  EXPECT_EQ(g->Load(s), E_FAIL);
  s->Release();
  EXPECT_EQ(SaveBytes(g), before);
  g->Release();
}

TEST_F(GraphPersist, SeededMutationsAreRefusedOrReadWhole) {
  const Bytes base = MemoryForm(SampleData());
  gvtest::riffmut::Rng rng(0x6A0F);
  int loaded = 0;
  for (int n = 0; n < 3000; ++n) {
    Bytes b = base;
    gvtest::riffmut::Mutate(b, rng);
    if (b.size() < 4) continue;
    IGVGraphBuilder *g = nullptr;
    const HRESULT hr = LoadBytes(b, &g);
    if (hr == S_OK) {
      ++loaded;
      const Bytes again = SaveBytes(g);
      IGVGraphBuilder *g2 = nullptr;
      ASSERT_EQ(LoadBytes(again, &g2), S_OK) << "variant " << n << ": what it saves reads back";
      EXPECT_EQ(SaveBytes(g2), again) << "variant " << n;
      EXPECT_EQ(g2->Release(), 0u);
    } else {
      ASSERT_TRUE(FAILED(hr)) << "variant " << n << ": " << std::hex << hr;
    }
    if (g) {
      ASSERT_EQ(g->Release(), 0u) << "variant " << n;
    }
  }
  EXPECT_GT(loaded, 0);
}

}  // namespace
