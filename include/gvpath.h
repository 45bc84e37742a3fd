/*
 * gvpath.h -- path strings and file queries.
 *
 * Paths are ANSI strings in the system code page with "\" between folders
 * and ":" after a drive letter; every buffer is the caller's, with its size
 * in characters including the terminating zero. Stateless and safe from
 * any thread, except that GvGetDiskFreeSpace looks up its platform entry
 * point once per process.
 */
#ifndef GVPATH_H
#define GVPATH_H

#include "gvdefs.h"

/* The character after the last "\" or ":"; the path itself when it has
 * neither. */
GVAPI(LPSTR) GvGetFileNamePtr(LPCSTR path);
/* The last "." anywhere in the path (one in a folder name counts too: check
 * it lies after GvGetFileNamePtr when that matters); the terminating zero
 * when there is none. */
GVAPI(LPSTR) GvGetFileNameExtensionPtr(LPCSTR path);
/* TRUE when the name holds none of  " / : < > \ |  (* and ? are not
 * tested). Otherwise FALSE; with `repair` every such character becomes "_",
 * without it the name is left alone. */
GVAPI(BOOL) GvValidateFileName(LPSTR name, BOOL repair);
/* Appends "\" unless the path is empty or already ends with one. Returns
 * the length the path had; 0 for an empty path, and 0 with nothing
 * appended when length + 2 exceeds `size`. */
GVAPI(UINT) GvAddSlashToPathName(LPSTR path, UINT size);
/* The folder part, up to and including the last "\" or ":". `out` is set
 * empty first (when size > 0); the part's length is returned (0 when there
 * is none) and it is copied only when it fits with its terminator. */
GVAPI(UINT) GvGetPathNameFromFilePath(LPCSTR filePath, LPSTR out, UINT size);
/* The root: up to and including the first "\" of a drive or relative path;
 * for a network path (\\server\share\...) up to and including the "\" after
 * the share name, so "\\server\share" without it has none. Returned and
 * copied as GvGetPathNameFromFilePath. Double-byte characters are never
 * split. */
GVAPI(UINT) GvGetRootPathFromFilePath(LPCSTR filePath, LPSTR out, UINT size);
/* The folder of a module's file, as GvGetPathNameFromFilePath; 0 when the
 * module's name cannot be had. */
GVAPI(UINT) GvGetModulePath(HMODULE module, LPSTR out, UINT size);
/* The full path of `path` (GetFullPathNameA). FALSE for size 0, when the
 * platform fails, or when the result needs more than `size` characters. */
GVAPI(BOOL) GvQualifyPath(LPCSTR path, LPSTR out, UINT size);

/* TRUE when the file can be opened for reading (shared for reading and
 * writing). */
GVAPI(BOOL) GvDoesFileExist(LPCSTR fileName);
/* The file's last-write time in local time, packed as MS-DOS time (high 16
 * bits) and date (low 16 bits), the stamp peak files carry; 0 when the file
 * cannot be opened for reading. Two seconds is its resolution. */
GVAPI(DWORD) GvDosGetDateTime(LPCSTR fileName);

/* The current local time. */
typedef struct tGVDATETIME {
  DWORD dwDate; /* month in bits 24-31, day in bits 16-23, year in bits 0-15 */
  DWORD dwTime; /* hour 24-31, minute 16-23, second 8-15, hundredths 0-7 */
} tGVDATETIME;
/* Fills *pNow (a null pointer is ignored); returns S_OK. */
GVAPI(HRESULT) GvGetDateTime(tGVDATETIME *pNow);

/* Free space available to the caller on the volume holding `path`, in
 * units of `unit` bytes (bytes when 0), saturated at 0xFFFFFFFF. When it
 * cannot be had: 0xFFFFFFFF for a network path (taken as unlimited), else
 * 0; a path without a root cannot be asked. */
GVAPI(DWORD) GvGetDiskFreeSpace(LPCSTR path, DWORD unit);

#endif /* GVPATH_H */
