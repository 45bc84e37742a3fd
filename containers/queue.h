// The queue and queued-I/O pools for the library's own threads (the graph's
// filters carry their work on them). The exports are thin wrappers over
// these; include/gvqueue.h is the manual for both.
#pragma once

#include "include/gvqueue.h"

namespace gv::queue {

// The GvQueue* calls. Insert returns false when it refused the node.
bool Initialize(GVQUEUE *q);
void Delete(GVQUEUE *q);
void Flush(GVQUEUE *q);
bool Insert(GVQUEUE *q, GVQUEUENODE *node);
GVQUEUENODE *Remove(GVQUEUE *q, DWORD timeoutMs);
bool Wait(GVQUEUE *q, DWORD timeoutMs);

// A node's owning structure from its header (the header is its first member).
template <class T>
T *Owner(GVQUEUENODE *node) {
  return reinterpret_cast<T *>(node);
}

}  // namespace gv::queue

namespace gv::qio {

// What starting a worker needs from the platform; tests put in failures.
struct Platform {
  bool (*initQueue)(GVQUEUE *q);
  // CreateThread's part: returns the thread handle, null on failure.
  HANDLE (*startThread)(LPTHREAD_START_ROUTINE routine, void *parameter, DWORD *threadId);
};
extern const Platform kPlatform;

HRESULT Create(tGVQIO **out, GVQUEUE *completion, int workers, int priority, GVQIOPROC proc,
               const Platform &platform = kPlatform);
// Clamps index to the workers there are.
void Insert(tGVQIO *qio, int index, GVQUEUENODE *node);
int WorkerCount(const tGVQIO *qio);
// The priority and thread id that worker `index` runs with (clamped index).
int WorkerPriority(const tGVQIO *qio, int index);
DWORD WorkerThreadId(const tGVQIO *qio, int index);
// Stops after the queued work; see GvQio_Destroy. slowAfterMs is when the
// still-running workers are reported (they are waited for all the same).
void Destroy(tGVQIO *qio, DWORD slowAfterMs = GVQIO_DESTROY_WAIT);

}  // namespace gv::qio
