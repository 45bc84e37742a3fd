// A running chain. The chain is cut into as many runs of consecutive
// filters as there are processors (at most a pool's four workers), each run
// on a worker of its own. The graph's own thread hands each buffer node to
// the worker of the next run and takes it back from the shared completion
// queue when that run is done; a fixed set of nodes bounds how far the
// source reads ahead. Every hand-over costs a wake-up and moves the buffers
// to another processor's cache, so there are no more runs than processors
// can work on at once, and a node carries several consecutive buffers
// (each filter still works on them one by one, in order).
#include "graph/run.h"

#include <atomic>
#include <memory>
#include <new>

#include "containers/queue.h"

namespace gv::graph {

namespace {

constexpr int kMaxWorkers = 4;              // what one pool holds
constexpr size_t kNodes = 2 * kMaxWorkers;  // nodes under way at once, at most
constexpr uint64_t kMaxPieceBytes = 16u << 20;
constexpr size_t kMaxBatch = 32;            // buffers in one node
constexpr uint64_t kBatchBytes = 4u << 20;  // samples a node carries, about

struct Node {
  GVQUEUENODE link{};  // first: the queues link nodes through it (tag 0)
  Run *run = nullptr;
  size_t group = 0;  // the run of filters it goes to or comes from
  DWORD read = 0;    // frames the source put in it
  size_t count = 0;  // buffers in use: the source's before its end
  Audio audio[kMaxBatch];
  HRESULT result = S_OK;
};

}  // namespace

class Run {
 public:
  std::vector<Filter *> chain;
  size_t groups[kMaxWorkers + 1] = {};  // where each run of filters begins, then its end
  size_t groupCount = 1;
  Flow source;
  DWORD piece = 0;    // frames a buffer
  size_t batch = 1;   // buffers a node
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


  void Dispatch();
};

namespace {

// Runs on a queued-I/O worker: the filters of the node's run work on its
// buffers, each buffer through all of them before the next (so that it
// stays in this processor's cache), every filter's buffers in order. The
// source fills buffers until its end (an empty one), which goes no further.
DWORD CALLBACK Operate(GVQUEUENODE *link, DWORD) {
  Node *node = queue::Owner<Node>(link);
  Run &run = *node->run;
  const size_t first = run.groups[node->group], end = run.groups[node->group + 1];
  try {
    if (first == 0) node->read = 0, node->count = 0;
    const size_t count = first == 0 ? run.batch : node->count;
    for (size_t k = 0; k < count && SUCCEEDED(node->result); ++k) {
      Audio &a = node->audio[k];
      size_t at = first;
      if (at == 0) {
        a.frames = run.piece;
        a.channels = run.source.channels;
        a.rate = run.source.rate;
        node->result = run.chain[at++]->Process(a);
        if (FAILED(node->result) || a.frames == 0) break;
        node->read += a.frames;
        ++node->count;
      }
      for (; at < end && SUCCEEDED(node->result); ++at) node->result = run.chain[at]->Process(a);
    }
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
  // Two buffers a worker: one to work on, one waiting for it. More would
  // only spread the work over more memory than the caches hold; the last
  // buffer back is the next one out, still warm.
  const size_t use = 2 * groupCount;
  idle.reserve(use);
  for (size_t i = 0; i < use; ++i) idle.push_back(&nodes[i]);
  size_t underWay = 0;
  bool sourceEnded = false;
  HRESULT failure = S_OK;
  for (;;) {
    while (!sourceEnded && failure == S_OK && !stopping && !idle.empty()) {
      Node *n = idle.back();
      idle.pop_back();
      n->group = 0;
      n->result = S_OK;
      qio::Insert(qio, 0, &n->link);
      ++underWay;
    }
    if (underWay == 0) break;
    GVQUEUENODE *link = queue::Remove(&done, INFINITE);
    if (!link) continue;
    Node *n = queue::Owner<Node>(link);
    if (FAILED(n->result) && failure == S_OK) failure = n->result;
    const bool end = n->group == 0 && n->count == 0;
    if (n->group == 0 && SUCCEEDED(n->result)) {
      if (end) sourceEnded = true;
      framesDone += n->read;
    }
    if (SUCCEEDED(n->result) && failure == S_OK && !stopping && !end &&
        n->group + 1 < groupCount) {
      ++n->group;
      qio::Insert(qio, int(n->group), &n->link);
    } else {
      --underWay;
      idle.push_back(n);
    }
  }
  qio::Destroy(qio);  // every worker is idle by now
  qio = nullptr;
  // Read once: a Stop arriving during the finish step must not report
  // E_ABORT for output already renamed into place.
  const bool stopped = stopping != 0;
  const bool complete = failure == S_OK && !stopped && sourceEnded;
  HRESULT finish = S_OK;
  // The last filter first: a sink's file is whole before a peak writer
  // before it stamps its peak file with that file's date.
  for (size_t i = chain.size(); i-- > 0;) {
    const HRESULT hr = chain[i]->Finish(complete);
    if (FAILED(hr) && finish == S_OK) finish = hr;
  }
  result = stopped ? E_ABORT : FAILED(failure) ? failure : finish;
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
  double growth = 1;  // the most samples a second in the chain, over the source's
  for (size_t i = 0; i < chain.size(); ++i) {
    HRESULT hr = chain[i]->Start(&flow);
    if (SUCCEEDED(hr) && (flow.channels == 0 || flow.channels > 256 || flow.rate == 0))
      hr = E_FAIL;
    if (FAILED(hr)) {
      for (size_t k = i + 1; k-- > 0;) chain[k]->Finish(false);
      return hr;
    }
    if (i == 0) run->source = flow;
    const double ratio = double(flow.rate) * flow.channels /
                         (double(run->source.rate) * run->source.channels);
    if (ratio > growth) growth = ratio;
  }
  const uint64_t frames = run->source.rate * bufferTime / 10000000;
  const uint64_t most = kMaxPieceBytes / (4 * run->source.channels);
  run->piece = DWORD(frames < 1 ? 1 : frames > most ? most : frames);
  // About kBatchBytes of the largest buffers a node: a resampler's or a
  // channel spread's output, not only the source's.
  const double batch =
      double(kBatchBytes) / (double(run->piece) * 4 * run->source.channels * growth);
  run->batch = batch < 1 ? 1 : batch > double(kMaxBatch) ? kMaxBatch : size_t(batch);
  SYSTEM_INFO si;
  GetSystemInfo(&si);
  size_t count = chain.size();
  if (count > si.dwNumberOfProcessors) count = si.dwNumberOfProcessors;
  if (count > size_t(kMaxWorkers)) count = kMaxWorkers;
  if (count < 1) count = 1;
  run->workers = int(count);
  HRESULT hr = E_OUTOFMEMORY;
  run->nodes.reset(new (std::nothrow) Node[kNodes]);
  if (run->nodes) {
    for (size_t i = 0; i < kNodes; ++i) run->nodes[i].run = run;
    hr = queue::Initialize(&run->done) ? S_OK : E_FAIL;
  }
  if (SUCCEEDED(hr))
    hr = qio::Create(&run->qio, &run->done, run->workers, THREAD_PRIORITY_NORMAL, Operate);
  if (SUCCEEDED(hr)) {
    // Runs of nearly equal length, the longer ones first, one per worker
    // the pool could start.
    count = size_t(qio::WorkerCount(run->qio));
    size_t at = 0;
    for (size_t g = 0; g < count; ++g) {
      run->groups[g] = at;
      at += chain.size() / count + (g < chain.size() % count ? 1 : 0);
    }
    run->groups[count] = at;
    run->groupCount = count;
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
