/*
 * gvmetric.h -- settings ("metrics") in the registry and recent-file lists.
 *
 * A metrics handle names "Software\Marrowbeam\<app>\<major>.<minor>\Metrics[\<subKey>]"
 * under both HKEY_LOCAL_MACHINE (negative ids) and HKEY_CURRENT_USER
 * (ids >= 0). Value names: "S<n>" for REG_SZ, "B<n>" for REG_BINARY,
 * "<n>" for REG_DWORD, "Z<n>" for any other type, n = |id|.
 *
 * GVMETRIC_KERNEL (-1) stands for the library's own settings: readable,
 * never writable through these functions. A null handle reads as the
 * default everywhere. Reading never fails: any failure gives the default.
 *
 * A name whose whole key path does not fit in 259 characters (MAX_PATH less
 * the terminator) is refused, never cut: cut short, it would name another
 * application's key, or a parent of it.
 *
 * Threads: nothing here takes a lock of its own. A handle may be used from
 * several threads (the registry serialises each value's access) until it is
 * closed, but calls that read and then write, such as GvAddMRUNames on the
 * same list from two threads, may interleave and lose names: the recent-file
 * functions are not thread-safe.
 */
#ifndef GVMETRIC_H
#define GVMETRIC_H

#include "gvdefs.h"

typedef struct tGVMETRICS *HGVMETRIC;
#define GVMETRIC_KERNEL ((HGVMETRIC)(LONG_PTR)-1)

/* Opens (creating keys as needed) the settings of `app`, version word
 * `version` (major in bits 24..31, minor in 16..23), optional `subKey`.
 * *result is set to null first. S_OK, E_OUTOFMEMORY, or E_INVALIDARG when
 * result is null, app is null or empty, or the key path does not fit. Keys
 * that cannot be created are left closed and read as absent. Close with
 * GvMetric_Close. */
GVAPI(HRESULT) GvMetric_Open(HGVMETRIC *result, LPCSTR app, DWORD version, LPCSTR subKey);
/* Closes both keys and frees the handle (null is allowed). Returns S_OK. */
GVAPI(HRESULT) GvMetric_Close(HGVMETRIC handle);
/* Deletes the whole Metrics tree of `app` and `version`, machine-wide
 * first, then per-user. Deletes nothing for a name that GvMetric_Open
 * refuses. Returns S_OK whatever happens. */
GVAPI(HRESULT) GvMetric_DeleteAll(LPCSTR app, DWORD version);

/* The REG_DWORD of `id`, or 0 when missing, of another type or size. */
GVAPI(DWORD) GvGetMetric(HGVMETRIC handle, int id);
/* The REG_DWORD of `id` or `def`, clamped (signed) to minimum..maximum
 * unless minimum == maximum. A null handle returns `def` unclamped. */
GVAPI(int) GvGetMetricEx(HGVMETRIC handle, int id, int minimum, int maximum, int def);
/* 1 or 0 from the stored value or `def`; a null handle returns `def` as is. */
GVAPI(int) GvGetMetricBool(HGVMETRIC handle, int id, int def);
/* Writes a REG_DWORD. S_OK, or E_FAIL for GVMETRIC_KERNEL, a missing key or
 * a failed write. */
GVAPI(HRESULT) GvSetMetric(HGVMETRIC handle, int id, DWORD value);

/* Reads a REG_BINARY into buffer (at most size bytes) and zeroes the rest
 * of the buffer. Returns the bytes read; 0 when missing, larger than the
 * buffer or of another type. */
GVAPI(DWORD) GvGetMetricBinary(HGVMETRIC handle, int id, void *buffer, DWORD size);
/* Writes a REG_BINARY of exactly `size` bytes. S_OK or E_FAIL. */
GVAPI(HRESULT) GvSetMetricBinary(HGVMETRIC handle, int id, const void *data, DWORD size);

/* Reads a REG_SZ into buffer (at most size bytes, rest zeroed) and returns
 * the text's length. A stored empty text returns 0 when keepEmpty is
 * non-zero; otherwise a missing or empty text is replaced by `def`
 * (may be null), cut to the buffer.
 * No terminator is added to what was read: a value stored without one (by
 * another writer) that fills the buffer exactly can be left in it with no
 * terminator at all. Give a buffer one byte larger than the longest text you
 * accept, or terminate it yourself. */
GVAPI(int) GvGetMetricStringEx(HGVMETRIC handle, int id, LPSTR buffer, DWORD size,
                               LPCSTR def, BOOL keepEmpty);
/* Writes a REG_SZ including its terminator. S_OK or E_FAIL. */
GVAPI(HRESULT) GvSetMetricString(HGVMETRIC handle, int id, LPCSTR text);

/* S_OK when a value of this id and type exists, else S_FALSE. */
GVAPI(HRESULT) GvDoesMetricExist(HGVMETRIC handle, int id, DWORD type);
/* S_OK; E_FAIL when the deletion fails (also for a missing value);
 * S_FALSE when there is no key. */
GVAPI(HRESULT) GvDeleteMetric(HGVMETRIC handle, int id, DWORD type);

/* ---- Recent-file lists -------------------------------------------------
 * A list lives under application "TALC", version 1.0, sub-key = listName:
 * id 100 capacity (default 15, 0..300), 1000+i names (slot 0 the most
 * recent), 2500+i data blocks, 3000+i their sizes. Data blocks stay with
 * their slot number when names move. A list whose key path does not fit
 * cannot be opened: nothing of it is read or written. */

/* Writes the capacity. S_OK, or the error of opening the list (E_INVALIDARG
 * for a list name whose key path does not fit). */
GVAPI(HRESULT) GvSetMRUNum(LPCSTR listName, int capacity);
/* The capacity; 0 when the list cannot be opened. */
GVAPI(int) GvGetMRUNum(LPCSTR listName);
/* Stores up to maxCount names (at least one when there is one) into
 * names[]. Each is a locked moveable global block the caller frees with
 * GlobalUnlock and GlobalFree of its GlobalHandle. Returns the count. */
GVAPI(int) GvLoadMRUNames(LPCSTR listName, LPSTR *names, int maxCount);
/* Puts `name` (cut to 259 characters) at the top, moving it up if it is
 * already listed. 1, or 0 when `name` is null or the list cannot be opened. */
GVAPI(int) GvAddMRUNames(LPCSTR listName, LPCSTR name);
/* Attaches a data block to the slot holding `name`. S_OK when the name is
 * not found, else the result of writing the block; the error of opening the
 * list when it cannot be opened. */
GVAPI(HRESULT) GvSetMRUNamesData(LPCSTR listName, LPCSTR name, const void *data, DWORD size);
/* *size is set to 0 first; a listed name reports 0xFFFFFFFF (kept so:
 * size your buffer by other means). S_OK, or the error of opening the list. */
GVAPI(HRESULT) GvGetMRUNamesDataSize(LPCSTR listName, LPCSTR name, DWORD *size);
/* Reads the block of `name` into buffer (rest zeroed). Bytes read, or 0. */
GVAPI(DWORD) GvGetMRUNamesData(LPCSTR listName, LPCSTR name, void *buffer, DWORD size);

#endif /* GVMETRIC_H */
