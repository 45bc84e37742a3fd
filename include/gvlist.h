/*
 * gvlist.h -- the dynamic list: a growable array of fixed-size slots.
 *
 * A list is one of three kinds, chosen at creation:
 *   - inline (GVLIST_INLINE): items are stored by value in the slots; the
 *     slot size is the item size rounded up to a multiple of 4;
 *   - owned (GVLIST_OWNITEMS): each slot holds a pointer to a block that the
 *     list allocates (GvList_AllocItem), resizes and frees;
 *   - plain (neither): each slot holds one 32-bit value of the caller's,
 *     which the list never frees.
 * An "item value" is, for an inline list, a pointer to the item's slot, and
 * for the other kinds the 32-bit value stored in the slot. Callbacks and the
 * GVLIST_ITEM macro hand out item values.
 *
 * Results: S_OK; E_FAIL for a refused call (null list, bad index or range,
 * wrong kind of list); E_OUTOFMEMORY when memory runs out, in which case the
 * list is left as it was. Functions returning an index return -1 for none.
 *
 * Threads: a GVLIST_THREADSAFE list holds its critical section for the whole
 * of each call, callbacks included (a callback must not wait for another
 * thread that uses the same list). Lists created without GVLIST_THREADSAFE
 * are not thread-safe: they are not locked at all, calls from any thread are
 * served, and the caller serialises them. The GVLIST_COUNT, GVLIST_SLOT and
 * GVLIST_ITEM macros never lock. GvList_SortTo takes both lists' locks; see
 * there for the deadlock it can cause.
 */
#ifndef GVLIST_H
#define GVLIST_H

#include "gvdefs.h"

/* Create options. Bits not named here are stored and returned unchanged. */
#define GVLIST_THREADSAFE   0x80000000UL /* every call holds the list's lock */
#define GVLIST_PRIVATEHEAP  0x10000000UL /* owned items come from a private heap */
#define GVLIST_INLINE       0x00000004UL /* items stored by value in the slots */
#define GVLIST_OWNITEMS     0x00000002UL /* slots point to blocks the list owns */

/* "VORN" in memory order: the signature of a live list record. */
#define GVLIST_SIGNATURE    0x4E524F56UL
/* Size of the list record on 32-bit Windows; GvList_IsList demands it. */
#define GVLIST_RECORD_SIZE  76

/* The list record. Clients may read count, slotSize and slots (through the
 * macros below) while they are the only user of the list or hold no other
 * expectation; everything else belongs to the library. */
typedef struct tGVLIST {
  LONG count;              /* items in use */
  DWORD slotSize;          /* bytes per slot: multiple of 4; 4 unless inline */
  void *slots;             /* locked moveable global block; null at capacity 0 */
  CRITICAL_SECTION lock;   /* initialised for GVLIST_THREADSAFE lists only */
  DWORD signature;         /* GVLIST_SIGNATURE */
  DWORD options;           /* create options as given */
  LONG userData;           /* the caller's word */
  DWORD sortCriteria;      /* last criteria given to GvList_Sort / GvList_SortTo */
  HANDLE ownerThread;      /* GetCurrentThread() at creation */
  LONG allocated;          /* capacity in slots */
  LONG growth;             /* capacity changes by whole multiples of this */
  HANDLE itemHeap;         /* private heap of owned items (GVLIST_PRIVATEHEAP) */
  DWORD itemAllocFlags;    /* HEAP_NO_SERIALIZE|HEAP_ZERO_MEMORY for owned lists */
  DWORD itemFreeFlags;     /* HEAP_NO_SERIALIZE for owned lists */
} tGVLIST;

/* Unchecked, unlocked access for callers that serialise their own use. */
#define GVLIST_COUNT(list) ((list)->count)
#define GVLIST_SLOT(list, index) \
  ((void *)((BYTE *)(list)->slots + (SIZE_T)(index) * (list)->slotSize))
#define GVLIST_ITEM(list, index) \
  (((list)->options & GVLIST_INLINE) ? GVLIST_SLOT(list, index) \
                                     : *(void **)GVLIST_SLOT(list, index))

/* Sort comparison: > 0 when a sorts after b, 0 when equal, < 0 before.
 * The sorted searches call it as (criteria, key, item value). */
typedef int (CALLBACK *GVLISTSORTPROC)(DWORD criteria, const void *a, const void *b);
/* Match callback of GvList_FindItemRange: 0 for a match, else non-zero. */
typedef int (CALLBACK *GVLISTMATCHPROC)(const void *key, const void *item);

/* ---- Creation and destruction ------------------------------------------ */

/* Creates a list. *list is set to null first and set only on success.
 * itemSize counts only for inline lists (at least 1 there; slot size is
 * itemSize rounded up to a multiple of 4). initialCount <= 0 means 16, then
 * at least 4; growth <= 0 means 16, then clamped to 4..66560. The capacity
 * is initialCount rounded up to whole growth steps. sourceFile and line are
 * accepted and ignored (pass 0, 0).
 * S_OK; E_FAIL for GVLIST_INLINE|GVLIST_OWNITEMS, a null out pointer or an
 * inline item size below 1; E_OUTOFMEMORY. Free with GvList_Destroy. */
GVAPI(HRESULT) GvList_CreateEx(tGVLIST **list, int itemSize, int initialCount, int growth,
                               DWORD options, LPCSTR sourceFile, int line);
/* Frees the list and, for owned lists, every item. S_OK, also for null. */
GVAPI(HRESULT) GvList_Destroy(tGVLIST *list);
/* 1 when size is exactly GVLIST_RECORD_SIZE, the record is readable and its
 * signature matches; else 0. The only validity test for foreign handles. */
GVAPI(BOOL) GvList_IsList(const void *list, int size);
/* 1 when 0 <= index <= count-1, else 0 (also for a null list). */
GVAPI(BOOL) GvList_IsValidIndexSlow(tGVLIST *list, int index);

/* ---- Record fields ------------------------------------------------------ */

/* Stores value (interlocked) and returns the previous user data; 0 for null. */
GVAPI(LONG) GvList_SetUserData(tGVLIST *list, LONG value);
/* The user data; 0 for a null list. */
GVAPI(LONG) GvList_GetUserData(tGVLIST *list);
/* The create options as given; 0 for a null list. */
GVAPI(DWORD) GvList_GetCreateOptions(tGVLIST *list);
/* The criteria of the last sort; 0 for a null list. */
GVAPI(DWORD) GvList_GetSortCriteria(tGVLIST *list);
/* Always -1; writes an empty string into buffer when size >= 1. */
GVAPI(int) GvList_GetFileAndLine(tGVLIST *list, LPSTR buffer, int size);

/* ---- Capacity ----------------------------------------------------------- */

/* Adds slots (<= 0: one growth step), rounded up to whole growth steps; new
 * slots read as zero. S_OK, E_FAIL, E_OUTOFMEMORY. */
GVAPI(HRESULT) GvList_GrowAllocated(tGVLIST *list, int slots);
/* Removes free slots (negative: all free slots) in whole growth steps, never
 * below the count; removing less than one step does nothing. Items are
 * never freed. S_OK, E_FAIL, E_OUTOFMEMORY. */
GVAPI(HRESULT) GvList_ShrinkAllocated(tGVLIST *list, int slots);

/* ---- Insertion, deletion, moving ---------------------------------------- */

/* Inserts count items from `items` (count * slot size bytes; an array of
 * 32-bit values unless inline) before index (negative or beyond the count:
 * append). Grows by whole growth steps when the free slots are fewer than
 * count. count 0 does nothing. S_OK; E_FAIL for a negative count or null
 * items; E_OUTOFMEMORY with the list unchanged. */
GVAPI(HRESULT) GvList_InsertList(tGVLIST *list, int index, const void *items, int count);
/* Deletes count items from index (negative count: to the end), freeing owned
 * items. A count below 1 returns S_OK without checking the index. E_FAIL for
 * an index outside 0..count-1. With shrink non-zero, gives back the free
 * slots when they exceed one growth step. */
GVAPI(HRESULT) GvList_DeleteList(tGVLIST *list, int index, int count, BOOL shrink);
/* Moves count items at `from` so that the first ends at `to`, keeping the
 * order of the others. Negative count: count - max(from, to). E_FAIL when
 * a block end passes the count; then S_OK without change for an empty block
 * or from == to; E_FAIL when from or to is negative; E_OUTOFMEMORY for a
 * block over 512 bytes when no scratch memory can be had. */
GVAPI(HRESULT) GvList_MoveRange(tGVLIST *list, int from, int to, int count);

/* ---- Searches ------------------------------------------------------------
 * Range normalisation: a negative start is 0; a negative count, or one that
 * runs past the end, covers the rest of the list. Note the argument order:
 * the plain searches take (start, count, key), the sorted ones (key, start,
 * count). */

/* First index whose item equals `item`: slot-size bytes at `item` for an
 * inline list, else the 32-bit value `item` itself. -1 when none. */
GVAPI(int) GvList_FindSpecificItemRange(tGVLIST *list, int start, int count, const void *item);
/* First index for which match(key, item value) returns 0; -1 when none. */
GVAPI(int) GvList_FindItemRange(tGVLIST *list, int start, int count, const void *key,
                                GVLISTMATCHPROC match);
/* Binary search of a list sorted with the same criteria, probing the lower
 * middle; compare(criteria, key, item value). Among equal items the one
 * returned is the first that the probe sequence meets. -1 when none, for an
 * empty range and for a null comparison. */
GVAPI(int) GvList_FindSortedItemRange(tGVLIST *list, const void *key, int start, int count,
                                      GVLISTSORTPROC compare);
/* Where key would be inserted to keep the range sorted: before an equal item
 * that the probes meet, else after the last smaller one. 0 for an empty
 * range; -1 for a start beyond the count or a null comparison. */
GVAPI(int) GvList_FindSortedInsertIndexRange(tGVLIST *list, const void *key, int start,
                                             int count, GVLISTSORTPROC compare);

/* ---- Sorting ------------------------------------------------------------ */

/* Stores criteria, then (when compare is not null and there are 2 or more
 * items) sorts by selection, building the sorted run from the end: n(n-1)/2
 * comparisons, not stable, allocates nothing. S_OK or E_FAIL. */
GVAPI(HRESULT) GvList_Sort(tGVLIST *list, DWORD criteria, GVLISTSORTPROC compare);
/* Stores criteria in dest, then inserts every item of src, in order, at its
 * sorted insertion index in dest (nothing when compare is null). Insertion
 * errors are not reported. S_OK; E_FAIL for a null list, dest == src or
 * differing slot sizes.
 * Ownership: the slot values are copied, not the blocks they point to. From
 * one GVLIST_OWNITEMS list into another, both lists then own the same blocks
 * and each frees them on delete and destroy, so a block is freed twice. Copy
 * out of an owning list only into a list that does not own its items, and
 * stop using the copy's values once the owning list has freed them.
 * Locking: holds src's lock throughout and takes dest's lock for each call
 * made on dest while src's is held. Two threads copying two GVLIST_THREADSAFE
 * lists into each other in opposite directions (A into B and B into A) at the
 * same time deadlock; serialise such copies. */
GVAPI(HRESULT) GvList_SortTo(tGVLIST *dest, tGVLIST *src, DWORD criteria,
                             GVLISTSORTPROC compare);

/* ---- Owned items -------------------------------------------------------- */

/* Allocates a zero-filled block of size bytes, inserts its pointer at index
 * (negative or beyond the count: append), copies `contents` (size bytes) in
 * when not null. *newIndex (may be null) is set to -1 first, then to the
 * item's index. S_OK; E_FAIL unless GVLIST_OWNITEMS or for size 0;
 * E_OUTOFMEMORY. The list frees the block on delete and destroy. */
GVAPI(HRESULT) GvList_AllocItem(tGVLIST *list, const void *contents, DWORD size, int index,
                                int *newIndex);
/* Resizes the owned block at index (new bytes zero-filled) and stores the
 * new pointer. S_OK; E_FAIL unless GVLIST_OWNITEMS, for a bad index or size
 * 0; E_OUTOFMEMORY with the old block kept. */
GVAPI(HRESULT) GvList_ReAllocItem(tGVLIST *list, int index, DWORD size);
/* Negative index: bytes held by the list: its owned items, the slot array and
 * the record (GVLIST_RECORD_SIZE). With an index: the slot size for an inline
 * list (any index), the owned block's size for an owned list, 0 for a plain
 * list or an owned list's index out of range. 0 for a null list. */
GVAPI(DWORD) GvList_AllocSize(tGVLIST *list, int index);

#endif /* GVLIST_H */
