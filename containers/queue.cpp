// The intrusive queue. The record is the sentinel of a circular list of
// caller-owned nodes; the lock guards the links, and the event lets
// consumers sleep while the queue is empty.
//
// Setting or resetting an event costs a trip into the kernel (far more
// under Wine than the list work), so the queue touches its event only when
// a consumer must sleep: its state says whether the event is set. The
// record's layout is the clients', so that state lives beside it, in a
// small table (see EventStates). An insert
// sets it only when it is known to be reset, and the removal that empties
// the queue leaves it set; the next caller that finds the queue empty
// resets it (a consumer about to wait, or one draining with no time-out,
// so a client waiting on the event directly wakes at most once for
// nothing). So the event is set whenever a node is there, and a producer
// and a consumer that keep pace never touch it. A flush leaves it set on
// purpose until the next insert.
//
// Before a consumer sleeps on an empty queue it watches the links a moment:
// a few hundred pause instructions, then giving up its time slice a few
// times so that a producer waiting for a processor can run. Each sleep
// costs the kernel's part of a reset, a wait and a set (on two busy
// processors under Wine, over 100 microseconds); without the watch a
// one-worker pool fell into a sleep every twenty-odd nodes in some runs and
// moved 150,000 nodes a second instead of millions.
#include "containers/queue.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace gv::queue {
namespace {

static_assert(offsetof(GVQUEUE, first) == offsetof(GVQUEUENODE, next) &&
                  offsetof(GVQUEUE, last) == offsetof(GVQUEUENODE, prev),
              "the queue record is laid out like a node");
static_assert(sizeof(void *) != 4 || sizeof(GVQUEUE) == 40, "clients allocate 40 bytes");

// kEventUnknown: nothing is known, so every transition calls the kernel.
// kEventFlushed: set by a flush, and left so until the next insert.
enum State : std::uint32_t { kEventUnknown = 0, kEventReset = 1, kEventSet = 2, kEventFlushed = 3 };

// What each queue knows of its event: one word per slot holding a queue's
// address and its state, so a slot is always one queue's whole entry. A
// queue writes its entry only under its own lock, right after it changed
// its event, so an entry naming a queue is that queue's latest word. Two
// queues sharing a slot take it from each other; the one that lost it reads
// kEventUnknown and makes the kernel calls it would otherwise have spared.
class EventStates {
 public:
  State Get(const GVQUEUE *q) const {
    const std::uint64_t v = Slot(q).load(std::memory_order_relaxed);
    return std::uint32_t(v) == Key(q) ? State(v >> 32) : kEventUnknown;
  }
  void Put(const GVQUEUE *q, State state) {
    Slot(q).store(std::uint64_t(state) << 32 | Key(q), std::memory_order_relaxed);
  }

 private:
  static constexpr unsigned kSlots = 1024;
  static std::uint32_t Key(const GVQUEUE *q) { return std::uint32_t(std::uintptr_t(q)); }
  std::atomic<std::uint64_t> &Slot(const GVQUEUE *q) const {
    const std::uint32_t a = Key(q);
    return slots_[(a >> 3 ^ a >> 13) % kSlots];
  }
  mutable std::atomic<std::uint64_t> slots_[kSlots] = {};
};
static_assert(sizeof(void *) != 4 || std::atomic<std::uint64_t>::is_always_lock_free,
              "a slot is read and written whole");

EventStates g_states;
// Producers and consumers hold the lock for a few dozen instructions:
// spinning briefly is far cheaper than sleeping in the kernel.
constexpr DWORD kLockSpins = 4000;
constexpr int kWatchPauses = 300;
constexpr int kWatchYields = 20;
// Only waits this long or longer are preceded by the watch.
constexpr DWORD kWatchMinTimeout = 50;

GVQUEUENODE *Sentinel(GVQUEUE *q) { return reinterpret_cast<GVQUEUENODE *>(q); }

// Read without the lock: another thread may change them at any moment.
HANDLE LoadEvent(const GVQUEUE *q) { return *static_cast<HANDLE const volatile *>(&q->event); }
GVQUEUENODE *LoadFirst(const GVQUEUE *q) {
  return *static_cast<GVQUEUENODE *const volatile *>(&q->first);
}

// Without the lock, on a queue found empty: true when a node came while it
// watched. A flushed queue is not watched: its callers return at once. The
// time given away to other threads counts against *timeoutMs, so the wait
// that may follow still ends when the caller asked.
bool WatchForANode(const GVQUEUE *q, DWORD *timeoutMs) {
  if (*timeoutMs < kWatchMinTimeout || g_states.Get(q) == kEventFlushed) return false;
  const GVQUEUENODE *empty = reinterpret_cast<const GVQUEUENODE *>(q);
  for (int i = 0; i < kWatchPauses; ++i) {
    if (LoadFirst(q) != empty) return true;
    YieldProcessor();
  }
  const DWORD start = GetTickCount();
  bool came = false;
  for (int i = 0; i < kWatchYields && !came; ++i) {
    SwitchToThread();
    came = LoadFirst(q) != empty;
  }
  if (*timeoutMs != INFINITE) {
    const DWORD spent = GetTickCount() - start;
    *timeoutMs = spent < *timeoutMs ? *timeoutMs - spent : 0;
  }
  return came;
}

class Lock {
 public:
  explicit Lock(GVQUEUE *q) : q_(q) { EnterCriticalSection(&q_->lock); }
  ~Lock() { LeaveCriticalSection(&q_->lock); }
  Lock(const Lock &) = delete;
  Lock &operator=(const Lock &) = delete;

 private:
  GVQUEUE *q_;
};

bool IsEmpty(GVQUEUE *q) { return q->first == Sentinel(q); }

// Under the lock, on an empty queue: the event must not stay set from the
// last removal once a caller has seen the queue empty. After a flush it
// stays set, and every consumer finds nothing at once until the next insert.
void ResetWhenEmpty(GVQUEUE *q) {
  const State state = g_states.Get(q);
  if (state == kEventSet || state == kEventUnknown) {
    ResetEvent(q->event);
    g_states.Put(q, kEventReset);
  }
}

// Under the lock: the first node, unlinked and with its links cleared.
GVQUEUENODE *TakeFirst(GVQUEUE *q) {
  GVQUEUENODE *node = q->first;
  GVQUEUENODE *after = node->next;
  q->first = after;
  if (after == Sentinel(q)) q->last = Sentinel(q);
  else after->prev = Sentinel(q);
  node->next = nullptr;
  node->prev = nullptr;
  return node;
}

}  // namespace

bool Initialize(GVQUEUE *q) {
  if (!q) return false;
  if (!q->event) {
    HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    if (!event) return false;
    InitializeCriticalSectionAndSpinCount(&q->lock, kLockSpins);
    q->first = q->last = Sentinel(q);
    g_states.Put(q, kEventReset);
    q->event = event;
    return true;
  }
  Lock lock(q);  // live already: only its links are emptied
  q->first = q->last = Sentinel(q);
  return true;
}

void Delete(GVQUEUE *q) {
  if (!q) return;
  // Only the caller that takes the event out goes on; waiters that wake see
  // it gone and leave without touching the lock.
  HANDLE event = InterlockedExchangePointer(&q->event, nullptr);
  if (!event) return;
  SetEvent(event);
  CloseHandle(event);
  EnterCriticalSection(&q->lock);  // lets any thread inside finish
  LeaveCriticalSection(&q->lock);
  q->first = q->last = Sentinel(q);
  DeleteCriticalSection(&q->lock);
}

void Flush(GVQUEUE *q) {
  if (!q || !LoadEvent(q)) return;
  Lock lock(q);
  q->first = q->last = Sentinel(q);
  // Set although empty, to wake every waiting consumer: that is what a
  // flush is for.
  if (q->event) SetEvent(q->event);
  g_states.Put(q, kEventFlushed);
}

bool Insert(GVQUEUE *q, GVQUEUENODE *node) {
  if (!q || !node || node == Sentinel(q) || !LoadEvent(q)) return false;
  Lock lock(q);
  // The same node twice in a row would link it to itself.
  if (node == q->last || node == q->first) return false;
  GVQUEUENODE *before = q->last;
  node->next = Sentinel(q);
  node->prev = before;
  if (before == Sentinel(q)) q->first = node;
  else before->next = node;
  q->last = node;
  const State state = g_states.Get(q);
  if (state != kEventSet && state != kEventFlushed && q->event) SetEvent(q->event);
  if (state != kEventSet) g_states.Put(q, kEventSet);
  return true;
}

GVQUEUENODE *Remove(GVQUEUE *q, DWORD timeoutMs) {
  if (!q || !LoadEvent(q)) return nullptr;
  if (LoadFirst(q) == Sentinel(q)) {
    WatchForANode(q, &timeoutMs);
    if (!LoadEvent(q)) return nullptr;  // deleted while it watched: its lock is gone
  }
  EnterCriticalSection(&q->lock);
  if (IsEmpty(q)) {
    HANDLE event = q->event;
    if (event) ResetWhenEmpty(q);
    if (!timeoutMs || !event) {
      LeaveCriticalSection(&q->lock);
      return nullptr;
    }
    LeaveCriticalSection(&q->lock);
    // One wait only: whatever wakes it, the queue is looked at once more.
    WaitForSingleObject(event, timeoutMs);
    if (!LoadEvent(q)) return nullptr;  // deleted meanwhile: its lock is gone
    EnterCriticalSection(&q->lock);
    if (IsEmpty(q)) {
      LeaveCriticalSection(&q->lock);
      return nullptr;
    }
  }
  GVQUEUENODE *node = TakeFirst(q);
  LeaveCriticalSection(&q->lock);
  return node;
}

bool Wait(GVQUEUE *q, DWORD timeoutMs) {
  if (!q || !LoadEvent(q)) return false;
  if (LoadFirst(q) != Sentinel(q)) return true;
  if (!timeoutMs) {
    // A client that waits on the event and drains with Wait(0) and
    // Remove(0) must not find it still set from the last removal; never
    // waits for the lock, though.
    if (g_states.Get(q) != kEventReset && TryEnterCriticalSection(&q->lock)) {
      if (IsEmpty(q) && q->event) ResetWhenEmpty(q);
      LeaveCriticalSection(&q->lock);
    }
    return false;
  }
  const bool came = WatchForANode(q, &timeoutMs);
  if (!LoadEvent(q)) return false;  // deleted while it watched
  if (came) return true;
  HANDLE event;
  {
    Lock lock(q);
    if (!IsEmpty(q)) return true;
    event = q->event;
    if (!event) return false;
    ResetWhenEmpty(q);
  }
  WaitForSingleObject(event, timeoutMs);
  return LoadEvent(q) && LoadFirst(q) != Sentinel(q);
}

}  // namespace gv::queue

GVAPI(BOOL) GvQueueInitialize(GVQUEUE *queue) { return gv::queue::Initialize(queue); }
GVAPI(void) GvQueueDelete(GVQUEUE *queue) { gv::queue::Delete(queue); }
GVAPI(void) GvQueueFlush(GVQUEUE *queue) { gv::queue::Flush(queue); }
GVAPI(void) GvQueueInsert(GVQUEUE *queue, GVQUEUENODE *node) { gv::queue::Insert(queue, node); }
GVAPI(GVQUEUENODE *) GvQueueRemove(GVQUEUE *queue, DWORD timeout) {
  return gv::queue::Remove(queue, timeout);
}
GVAPI(BOOL) GvQueueWait(GVQUEUE *queue, DWORD timeout) { return gv::queue::Wait(queue, timeout); }
