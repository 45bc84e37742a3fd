// A running chain. The graph's own thread hands each buffer node to the
// worker of the filter that comes next and takes it back from the shared
// completion queue when that filter is done; a fixed set of nodes bounds
// how far the source reads ahead.
#include "graph/run.h"

#include <atomic>
#include <memory>
#include <new>

#include "containers/queue.h"

namespace gv::graph {

namespace {

constexpr size_t kNodes = 8;             // buffers under way at once
constexpr int kMaxWorkers = 4;           // what one pool holds
constexpr uint64_t kMaxPieceBytes = 16u << 20;

struct Node {
  GVQUEUENODE link;  // first: the queues link nodes through it
  Run *run = nullptr;
  size_t stage = 0;
  Audio audio;
  HRESULT result = S_OK;
};

}  // namespace

class Run {
 public:
  std::vector<Filter *> chain;
  Flow source;
  DWORD piece = 0;
  int workers = 1;
  tGVQIO *qio = nullptr;
  GVQUEUE done{};
  std::unique_ptr<Node[]> nodes;
  HANDLE thread = nullptr;
  std::atomic<LONG> stopping{0};
  std::atomic<uint64_t> framesDone{0};
  HRESULT result = S_OK;

  ~Run() {
    if (thread) {
      stopping = 1;
      WaitForSingleObject(thread, INFINITE);
      CloseHandle(thread);
    }
    if (qio) qio::Destroy(qio);
    if (done.event) queue::Delete(&done);
    for (Filter *f : chain) {
      f->SetRunning(false);
      f->Release();
    }
  }

  int WorkerOf(size_t stage) const { return int(stage % size_t(workers)); }

  void Dispatch();
};

namespace {

// Runs on a queued-I/O worker: the node's filter works on its buffer.
DWORD CALLBACK Operate(GVQUEUENODE *link, DWORD) {
  Node *node = queue::Owner<Node>(link);
  Run &run = *node->run;
  if (node->stage == 0) {  // the source fills it
    node->audio.frames = run.piece;
    node->audio.channels = run.source.channels;
    node->audio.rate = run.source.rate;
  }
  try {
    node->result = run.chain[node->stage]->Process(node->audio);
  } catch (const std::bad_alloc &) {
    node->result = E_OUTOFMEMORY;
  }
  return 0;
}

DWORD WINAPI DispatchThread(void *param) {
  static_cast<Run *>(param)->Dispatch();
  return 0;
}

}  // namespace

void Run::Dispatch() {
  std::vector<Node *> idle;
  idle.reserve(kNodes);
  for (size_t i = 0; i < kNodes; ++i) idle.push_back(&nodes[i]);
  size_t underWay = 0;
  bool sourceEnded = false;
  HRESULT failure = S_OK;
  for (;;) {
    while (!sourceEnded && failure == S_OK && !stopping && !idle.empty()) {
      Node *n = idle.back();
      idle.pop_back();
      n->stage = 0;
      qio::Insert(qio, WorkerOf(0), &n->link);
      ++underWay;
    }
    if (underWay == 0) break;
    GVQUEUENODE *link = queue::Remove(&done, INFINITE);
    if (!link) continue;
    Node *n = queue::Owner<Node>(link);
    if (FAILED(n->result) && failure == S_OK) failure = n->result;
    const bool end = n->stage == 0 && n->audio.frames == 0;
    if (n->stage == 0 && SUCCEEDED(n->result)) {
      if (end) sourceEnded = true;
      framesDone += n->audio.frames;
    }
    if (SUCCEEDED(n->result) && failure == S_OK && !stopping && !end &&
        n->stage + 1 < chain.size()) {
      ++n->stage;
      qio::Insert(qio, WorkerOf(n->stage), &n->link);
    } else {
      --underWay;
      idle.push_back(n);
    }
  }
  qio::Destroy(qio);  // every worker is idle by now
  qio = nullptr;
  const bool complete = failure == S_OK && !stopping && sourceEnded;
  HRESULT finish = S_OK;
  // The last filter first: a sink's file is whole before a peak writer
  // before it stamps its peak file with that file's date.
  for (size_t i = chain.size(); i-- > 0;) {
    const HRESULT hr = chain[i]->Finish(complete);
    if (FAILED(hr) && finish == S_OK) finish = hr;
  }
  result = stopping ? E_ABORT : FAILED(failure) ? failure : finish;
}

HRESULT StartRun(const std::vector<Filter *> &chain, uint64_t bufferTime, Run **out) {
  *out = nullptr;
  Run *run = new (std::nothrow) Run;
  if (!run) return E_OUTOFMEMORY;
  std::unique_ptr<Run> hold(run);
  run->chain.reserve(chain.size());
  for (Filter *f : chain) {
    f->AddRef();
    f->SetRunning(true);
    run->chain.push_back(f);
  }
  Flow flow;
  for (size_t i = 0; i < chain.size(); ++i) {
    HRESULT hr = chain[i]->Start(&flow);
    if (SUCCEEDED(hr) && (flow.channels == 0 || flow.channels > 256 || flow.rate == 0))
      hr = E_FAIL;
    if (FAILED(hr)) {
      for (size_t k = i + 1; k-- > 0;) chain[k]->Finish(false);
      return hr;
    }
    if (i == 0) run->source = flow;
  }
  const uint64_t frames = run->source.rate * bufferTime / 10000000;
  const uint64_t most = kMaxPieceBytes / (4 * run->source.channels);
  run->piece = DWORD(frames < 1 ? 1 : frames > most ? most : frames);
  run->workers = int(chain.size() < size_t(kMaxWorkers) ? chain.size() : kMaxWorkers);
  HRESULT hr = E_OUTOFMEMORY;
  run->nodes.reset(new (std::nothrow) Node[kNodes]);
  if (run->nodes) {
    for (size_t i = 0; i < kNodes; ++i) run->nodes[i].run = run;
    hr = queue::Initialize(&run->done) ? S_OK : E_FAIL;
  }
  if (SUCCEEDED(hr))
    hr = qio::Create(&run->qio, &run->done, run->workers, THREAD_PRIORITY_NORMAL, Operate);
  if (SUCCEEDED(hr)) {
    run->workers = qio::WorkerCount(run->qio);
    run->thread = CreateThread(nullptr, 0, DispatchThread, run, 0, nullptr);
    if (!run->thread) hr = HRESULT_FROM_WIN32(GetLastError());
  }
  if (FAILED(hr)) {
    for (size_t k = chain.size(); k-- > 0;) chain[k]->Finish(false);
    return hr;
  }
  *out = hold.release();
  return S_OK;
}

HRESULT WaitRun(Run &run, DWORD milliseconds, tGVGRAPHPROGRESS *progress) {
  const bool ended = !run.thread || WaitForSingleObject(run.thread, milliseconds) == WAIT_OBJECT_0;
  if (progress) {
    progress->framesDone = run.framesDone;
    progress->framesTotal = run.source.frames;
  }
  return ended ? run.result : S_FALSE;
}

void StopRun(Run &run) {
  run.stopping = 1;
  if (run.thread) WaitForSingleObject(run.thread, INFINITE);
}

void EndRun(Run *run) { delete run; }

}  // namespace gv::graph
