// Queued-I/O pools: up to four workers, each taking nodes from its own
// input queue, running the operation on them and passing them on to the
// shared completion queue.
#include <algorithm>
#include <cstdlib>

#include "containers/queue.h"

namespace {

struct QioWorker {
  tGVQIO *owner;
  GVQUEUE input;
  HANDLE thread;
  int priority;
  DWORD threadId;
  GVQIOPROC proc;
};

constexpr int kMaxWorkers = 4;

}  // namespace

struct tGVQIO {
  GVQUEUE *completion;
  int count;
  QioWorker workers[kMaxWorkers];
};

namespace gv::qio {
namespace {

DWORD WINAPI WorkerMain(void *parameter) {
  auto *w = static_cast<QioWorker *>(parameter);
  for (;;) {
    GVQUEUENODE *node = queue::Remove(&w->input, INFINITE);
    if (!node) {
      // A wake-up without a node; only a deleted queue (never while the
      // pool lives) would make this spin.
      if (!*static_cast<HANDLE const volatile *>(&w->input.event)) return 0;
      continue;
    }
    if (node->tag == GVQIO_STOPTAG) return 0;
    w->proc(node, 0);
    queue::Insert(w->owner->completion, node);
  }
}

HANDLE StartThread(LPTHREAD_START_ROUTINE routine, void *parameter, DWORD *threadId) {
  return CreateThread(nullptr, 0, routine, parameter, 0, threadId);
}

int ClampIndex(const tGVQIO *qio, int index) { return std::clamp(index, 0, qio->count - 1); }

}  // namespace

const Platform kPlatform = {queue::Initialize, StartThread};

HRESULT Create(tGVQIO **out, GVQUEUE *completion, int workers, int priority, GVQIOPROC proc,
               const Platform &platform) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  if (!completion || !proc) return E_INVALIDARG;
  workers = std::clamp(workers, 1, kMaxWorkers);
  priority = std::clamp(priority, -15, 15);
  auto *qio = static_cast<tGVQIO *>(std::calloc(1, sizeof(tGVQIO)));
  if (!qio) return E_OUTOFMEMORY;
  qio->completion = completion;
  for (int k = 0; k < workers; ++k) {
    QioWorker &w = qio->workers[k];
    w.owner = qio;
    w.priority = priority;
    w.proc = proc;
    HANDLE thread = nullptr;
    if (platform.initQueue(&w.input)) {
      w.input.tag = GVQIO_QUEUETAG;
      thread = platform.startThread(WorkerMain, &w, &w.threadId);
      if (!thread) queue::Delete(&w.input);
    }
    if (!thread) {
      // No first worker: no pool. A later one: the pool makes do with fewer.
      if (k == 0) {
        std::free(qio);
        return E_FAIL;
      }
      break;
    }
    SetThreadPriority(thread, priority);
    w.thread = thread;
    qio->count = k + 1;
  }
  *out = qio;
  return S_OK;
}

void Insert(tGVQIO *qio, int index, GVQUEUENODE *node) {
  queue::Insert(&qio->workers[ClampIndex(qio, index)].input, node);
}

int WorkerCount(const tGVQIO *qio) { return qio->count; }
int WorkerPriority(const tGVQIO *qio, int index) {
  return qio->workers[ClampIndex(qio, index)].priority;
}
DWORD WorkerThreadId(const tGVQIO *qio, int index) {
  return qio->workers[ClampIndex(qio, index)].threadId;
}

void Destroy(tGVQIO *qio, DWORD slowAfterMs) {
  // Behind the work already queued: that work is still done. The stop nodes
  // stay valid until every worker has ended, since this waits for them.
  GVQUEUENODE stops[kMaxWorkers] = {};
  HANDLE threads[kMaxWorkers] = {};
  const int n = qio->count;
  for (int k = 0; k < n; ++k) {
    stops[k].tag = GVQIO_STOPTAG;
    queue::Insert(&qio->workers[k].input, &stops[k]);
    threads[k] = qio->workers[k].thread;
  }
  if (n) {
    const DWORD rc = WaitForMultipleObjects(n, threads, TRUE, slowAfterMs);
    if (rc >= WAIT_OBJECT_0 + n) {
      // An operation still runs. Freeing the pool under it, or returning
      // while it may still reach the completion queue, would let it write
      // into freed memory: wait for it however long it takes.
      OutputDebugStringA("GVTALC: GvQio_Destroy: workers still busy, waiting for them\n");
      for (int k = 0; k < n; ++k) WaitForSingleObject(threads[k], INFINITE);
    }
  }
  for (int k = 0; k < n; ++k) {
    CloseHandle(qio->workers[k].thread);
    qio->workers[k].thread = nullptr;
    queue::Delete(&qio->workers[k].input);
  }
  std::free(qio);
}

}  // namespace gv::qio

GVAPI(HRESULT) GvQio_Create(tGVQIO **qio, GVQUEUE *completion, int workers, int priority,
                            GVQIOPROC proc) {
  return gv::qio::Create(qio, completion, workers, priority, proc);
}

GVAPI(BOOL) GvQio_InsertOperation(tGVQIO *qio, int index, GVQUEUENODE *node) {
  if (!qio || !node) return FALSE;
  gv::qio::Insert(qio, index, node);
  return TRUE;
}

GVAPI(int) GvQio_GetWorkerCount(const tGVQIO *qio) { return qio ? gv::qio::WorkerCount(qio) : 0; }

GVAPI(int) GvQio_Destroy(tGVQIO *qio) {
  if (qio) gv::qio::Destroy(qio);
  return 0;
}
