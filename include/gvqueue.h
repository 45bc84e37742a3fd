/*
 * gvqueue.h -- the queue and queued I/O: moving work between threads.
 *
 * GVQUEUE is an intrusive first-in-first-out queue of caller-owned nodes,
 * guarded by a critical section, with a manual-reset event that consumers
 * block on. Nothing is allocated per node: the queue links the nodes in
 * place through their first three words.
 *
 * tGVQIO is a pool of one to four worker threads, each with its own input
 * queue. A worker takes each node given to it, calls the caller's operation
 * function on it, and appends it to the caller's completion queue.
 *
 * Nodes. A node is any caller structure that begins with GVQUEUENODE:
 *     struct MyWork { GVQUEUENODE node; ... the caller's fields ... };
 * The queue reads and writes only next and prev; tag and the fields after
 * the header are the caller's. next and prev are null while the node is in
 * no queue (GvQueueRemove clears them; GvQueueFlush does not).
 *
 * Ownership. A node belongs to the queue from GvQueueInsert until
 * GvQueueRemove hands it back; the caller must not move, free or insert it
 * anywhere else in between. Between removal and the next insertion the node
 * belongs to whoever removed it. Inserting a node that is already in a queue
 * corrupts that queue; inserting the node that is already last or first in
 * the same queue, the queue itself, or a null node is refused and changes
 * nothing (a cheap check, not a full one).
 *
 * Reserved tag. In a queue served by queued-I/O workers, a node whose tag
 * is GVQIO_STOPTAG stops the worker that takes it; it is never passed to the
 * operation function nor to the completion queue.
 *
 * Null and dead queues. A queue without an event (null, zero-filled, never
 * initialised, failed to initialise, or deleted) is refused where the call
 * can tell: GvQueueInsert, GvQueueFlush and GvQueueDelete do nothing,
 * GvQueueRemove returns null, GvQueueWait returns 0. A record with garbage
 * in it cannot be told apart and is the caller's fault.
 *
 * Threads. Any number of producers and consumers may use one queue at once.
 * Each call holds the queue's lock only for its list work and never waits
 * while holding it. Before it sleeps on an empty queue, a GvQueueRemove or
 * GvQueueWait with a time-out of 50 ms or more watches the queue for a
 * moment (a short spin, then giving up its time slice a few times), so that
 * a producer that keeps pace is met without a trip into the kernel.
 */
#ifndef GVQUEUE_H
#define GVQUEUE_H

#include "gvdefs.h"

/* The tag that tells a queued-I/O worker to stop. */
#define GVQIO_STOPTAG       0xFFFFFFFFUL
/* GvQio_Create writes this into the tag of each worker's input queue. */
#define GVQIO_QUEUETAG      0x87654321UL
/* How long GvQio_Destroy waits before it says workers are slow to stop. */
#define GVQIO_DESTROY_WAIT  30000

/* The three words that begin every node. */
typedef struct tGVQUEUENODE {
  DWORD tag;                   /* the caller's word; see GVQIO_STOPTAG */
  struct tGVQUEUENODE *next;   /* the following node, or the queue when last */
  struct tGVQUEUENODE *prev;   /* the preceding node, or the queue when first */
} GVQUEUENODE;

/* The queue record, allocated by the caller. It begins like a node, so the
 * queue is a circular doubly-linked list whose sentinel is the record: first
 * and last point to the record itself while the queue is empty. Clients may
 * read tag, first (the record itself: empty), last and event; the library
 * keeps what it knows of the event's state beside the record, so the record
 * is these five members and nothing else. */
typedef struct tGVQUEUE {
  DWORD tag;                   /* the caller's word */
  GVQUEUENODE *first;          /* first node; the record itself when empty */
  GVQUEUENODE *last;           /* last node; the record itself when empty */
  CRITICAL_SECTION lock;       /* guards first, last and the links */
  HANDLE event;                /* manual-reset; null before initialising and
                                  after deleting */
} GVQUEUE;                     /* 40 bytes in a 32-bit process */

/* The event is set whenever the queue holds a node. It may also be set
 * while the queue is empty: after a flush, until the next insert; and after
 * the last node was taken, until a GvQueueRemove or GvQueueWait finds the
 * queue empty (GvQueueWait(queue, 0) resets it only when no other thread
 * holds the queue at that moment). So a client that waits on it directly
 * must look at the queue after waking, and may wake once for nothing after
 * it drained the queue. */

/* Operation function of a queued-I/O pool: (node, 0); the result is
 * ignored. It runs on the worker's thread with no lock held and reports its
 * outcome inside the node. */
typedef DWORD (CALLBACK *GVQIOPROC)(GVQUEUENODE *node, DWORD reserved);

/* The queued-I/O record; opaque. */
typedef struct tGVQIO tGVQIO;

/* ---- Queue ---------------------------------------------------------------- */

/* Makes the queue live and empty. On a record without an event (zero-filled,
 * or deleted) it creates the event and the lock; on a live queue it only
 * empties the links (the nodes in it are dropped without being touched).
 * Returns 1; 0 when queue is null or the event cannot be created (the record
 * then stays without an event). */
GVAPI(BOOL) GvQueueInitialize(GVQUEUE *queue);

/* Ends the queue: takes its event out atomically (so only one of several
 * concurrent deletions does the work), sets it to wake every waiter, who
 * returns null/0, closes it, waits for any thread inside the lock, empties
 * the links and deletes the lock. The nodes still in it are dropped
 * untouched and belong to the caller again. The record may be initialised
 * anew afterwards; it may be freed once no thread is inside a call on it. */
GVAPI(void) GvQueueDelete(GVQUEUE *queue);

/* Empties the queue (the nodes are dropped without their links being
 * cleared) and sets the event, so that every consumer waiting on it wakes
 * up, finds nothing and returns null/0 before its time-out. The event stays
 * set until the next insert: until then every GvQueueRemove or GvQueueWait
 * with a time-out returns null/0 at once, without waiting. */
GVAPI(void) GvQueueFlush(GVQUEUE *queue);

/* Appends node at the tail. Sets the event when the queue was empty. See
 * the top of this file for refused nodes. */
GVAPI(void) GvQueueInsert(GVQUEUE *queue, GVQUEUENODE *node);

/* Removes and returns the first node, its next and prev cleared. When the
 * queue is empty and timeout is not 0, waits once for at most timeout
 * milliseconds (INFINITE: no limit) and looks once more. Returns null when
 * nothing was there: after the time-out, after a flush, after a deletion, or
 * when another consumer took the node first; so null can come before the
 * time-out has run out. timeout 0 never waits. */
GVAPI(GVQUEUENODE *) GvQueueRemove(GVQUEUE *queue, DWORD timeout);

/* 1 when the queue holds a node. When it is empty and timeout is not 0,
 * waits as GvQueueRemove does and answers for the queue then; the node is
 * not taken, so another consumer may get it first. timeout 0 never waits. */
GVAPI(BOOL) GvQueueWait(GVQUEUE *queue, DWORD timeout);

/* ---- Queued I/O ------------------------------------------------------------- */

/* Starts a pool. *qio is set to null first and set only on success.
 * workers is clamped to 1..4 and priority to -15..15 (a SetThreadPriority
 * value). completion receives every finished node; it must be a live queue
 * for as long as the pool runs. proc must not be null.
 * Returns S_OK; E_OUTOFMEMORY when the record cannot be allocated;
 * E_INVALIDARG for a null qio, completion or proc; E_FAIL when the first
 * worker cannot be started (no input queue or no thread). When a later
 * worker cannot be started the pool keeps the workers it has and returns
 * S_OK: GvQio_GetWorkerCount tells how many. Free with GvQio_Destroy. */
GVAPI(HRESULT) GvQio_Create(tGVQIO **qio, GVQUEUE *completion, int workers, int priority,
                            GVQIOPROC proc);

/* Gives node to one worker: index is clamped to the workers there are (a
 * negative index is worker 0, a too large one the last worker). One worker
 * carries out its nodes one after another in the order given; nodes given
 * to different workers finish in any order. A node tagged GVQIO_STOPTAG
 * stops that worker for good: nodes given to it afterwards are never
 * carried out. Returns 1; 0 for a null qio or node (nothing is queued). A
 * node that is already the first or last of that worker's queue is refused
 * as GvQueueInsert refuses it, and 1 is still returned. */
GVAPI(BOOL) GvQio_InsertOperation(tGVQIO *qio, int index, GVQUEUENODE *node);

/* Workers in use (1..4); 0 for a null qio. */
GVAPI(int) GvQio_GetWorkerCount(const tGVQIO *qio);

/* Stops the pool: appends a stop node behind the work already queued to each
 * worker, so that work is still carried out and reaches the completion
 * queue, then waits for all workers to end. Workers still busy after
 * GVQIO_DESTROY_WAIT milliseconds are reported with OutputDebugString and
 * waited for without limit: Destroy never frees the record, the input queues
 * or the stop nodes under a running worker, and never returns while an
 * operation may still touch the completion queue (an operation that never
 * returns keeps Destroy from returning). Then closes the threads, deletes the
 * input queues and frees the record. Returns 0 (also for a null qio). */
GVAPI(int) GvQio_Destroy(tGVQIO *qio);

#endif /* GVQUEUE_H */
