/*
 * gvriff.h -- RIFF chunk I/O on open file handles (riff_ family).
 *
 * RIFF files are chunks of a four-character-code identifier and an unsigned
 * little-endian 32-bit size (data bytes, not counting the 8-byte header nor
 * the pad byte that follows a chunk of odd size). A RIFF file starts with
 * the 12-byte header "RIFF", file length - 8, form type; its first inner
 * chunk is at offset 12. A "LIST" chunk's data begin with a 4-byte list type
 * that its size counts.
 *
 * Every function works on a HANDLE from CreateFileA and moves only that
 * handle's file pointer. Nothing is buffered and no state is kept, so the
 * functions are re-entrant. They are not thread-safe on one handle: every
 * call moves the file pointer, so two threads must never use the same
 * handle (nor duplicates of it, which share its file pointer) at once.
 * Results are S_OK or one of the GVRIFF_E_ codes below unless a function
 * says otherwise. A read that returns fewer bytes than asked is
 * not an error: the bytes that were not read come back as zero. On an error
 * the file pointer stays where the failing step left it, except where a
 * function says that it restores it.
 *
 * Budgets ("remaining counts"): the searches take an optional pointer to a
 * signed 32-bit count of the bytes left in the enclosing chunk. They read it
 * as their budget and write back what is left; a null pointer keeps no
 * budget. Arithmetic on a budget is plain 32-bit two's complement.
 */
#ifndef GVRIFF_H
#define GVRIFF_H

#include "gvdefs.h"

/* Four-character code: first character in the low byte. */
#define GVRIFF_FOURCC(a, b, c, d)                                         \
  ((DWORD)(BYTE)(a) | ((DWORD)(BYTE)(b) << 8) | ((DWORD)(BYTE)(c) << 16) | \
   ((DWORD)(BYTE)(d) << 24))
#define GVRIFF_ID_RIFF 0x46464952UL /* "RIFF" */
#define GVRIFF_ID_LIST 0x5453494CUL /* "LIST" */

/* Result codes of the family (besides E_OUTOFMEMORY and E_INVALIDARG). */
#define GVRIFF_E_READ         ((HRESULT)0x8004E008L) /* a read from the file failed */
#define GVRIFF_E_WRITE        ((HRESULT)0x8004E009L) /* a write to the file failed */
#define GVRIFF_E_NOTFOUND     ((HRESULT)0x8004E00AL) /* not found within the budget */
#define GVRIFF_E_NOTRIFF      ((HRESULT)0x8004E080L) /* file does not begin with "RIFF" */
#define GVRIFF_E_NOTLIST      ((HRESULT)0x8004E081L) /* header read is not "LIST" */
#define GVRIFF_E_ZEROSIZE     ((HRESULT)0x8004E082L) /* chunk size is 0 */
#define GVRIFF_E_NEGATIVESIZE ((HRESULT)0x8004E083L) /* chunk size has its top bit set */

/* Data record of riff_ReadDataAlloc. */
typedef struct tGVRIFFDATA {
  DWORD size;  /* in: the number of bytes to read */
  void *data;  /* out: locked moveable zero-filled global block, or null */
} tGVRIFFDATA;

/* ---- Position and data ------------------------------------------------ */

/* Stores the current file offset (the low 32 bits) in *location. Returns
 * S_OK. A null location is ignored. */
GVAPI(HRESULT) riff_SaveLocation(HANDLE file, DWORD *location);
/* Moves the file pointer to the absolute offset `location`. Returns S_OK;
 * the seek's own result is not looked at. */
GVAPI(HRESULT) riff_RestoreLocation(HANDLE file, DWORD location);
/* Moves to offset 12, the first chunk after the RIFF header and form type.
 * Returns S_OK. */
GVAPI(HRESULT) riff_SeekDataStart(HANDLE file);
/* Moves forward by size + (size & 1) and returns that padded size (not a
 * result code; 0 for size 0xFFFFFFFF, whose padded size needs 33 bits). */
GVAPI(DWORD) riff_SkipChunk(HANDLE file, DWORD size);
/* Looks at a chunk size only (the identifier is ignored): GVRIFF_E_NEGATIVESIZE
 * when size < 0, GVRIFF_E_ZEROSIZE when it is 0, else S_OK. */
GVAPI(HRESULT) riff_ValidateChunkHeader(DWORD id, LONG size);
/* Reads `size` bytes into buffer, then steps over the pad byte when size is
 * odd. S_OK, or GVRIFF_E_READ when the read fails (also for a null buffer
 * with a non-zero size). */
GVAPI(HRESULT) riff_ReadData(HANDLE file, void *buffer, DWORD size);
/* Reads min(bufferSize, chunkSize) bytes into buffer, then moves on so that
 * the file stands after the whole padded chunk. S_OK, or GVRIFF_E_READ when
 * the read fails (the file then stays where the read left it). */
GVAPI(HRESULT) riff_ReadDataBounded(HANDLE file, void *buffer, DWORD bufferSize,
                                    DWORD chunkSize);
/* Sets record->data to null first. Size 0: returns S_OK without allocating.
 * Otherwise allocates record->size bytes (GlobalAlloc(GMEM_MOVEABLE |
 * GMEM_ZEROINIT) kept locked) and reads them as riff_ReadData does. Results:
 * S_OK; E_INVALIDARG for a null record; E_OUTOFMEMORY; GVRIFF_E_READ when the
 * read fails or when the size runs past the end of a disk file (then
 * nothing is allocated and the file pointer has not moved). On failure
 * nothing stays allocated. The caller frees the block:
 *     HGLOBAL h = GlobalHandle(record.data); GlobalUnlock(h); GlobalFree(h); */
GVAPI(HRESULT) riff_ReadDataAlloc(HANDLE file, tGVRIFFDATA *record);

/* ---- Headers ---------------------------------------------------------- */

/* Reads the 4-byte identifier, then the 4-byte size. S_OK; GVRIFF_E_READ when
 * either read fails; E_INVALIDARG when a pointer is null. */
GVAPI(HRESULT) riff_ReadChunkHeader(HANDLE file, DWORD *id, DWORD *size);
/* Reads an 8-byte header. GVRIFF_E_READ on a failed read. GVRIFF_E_NOTLIST
 * when the identifier is not "LIST" (then *listType holds the identifier
 * found and *size its size). On success *size = list size - 4 (the bytes of
 * the list's entries) and *listType = the 4-byte list type read after the
 * header. E_INVALIDARG when a pointer is null. A damaged list whose size is
 * below 4 gives a wrapped *size (0xFFFFFFFC to 0xFFFFFFFF): check it against
 * what the enclosing chunk holds before using it. */
GVAPI(HRESULT) riff_ReadListHeader(HANDLE file, DWORD *listType, DWORD *size);
/* Reads the RIFF header from the current position (normally 0). *size (if
 * given) receives header size - 4 before the identifier is tested, so it is
 * set even when the result is GVRIFF_E_NOTRIFF. Then reads the form type
 * into *formType (if given; GVRIFF_E_READ if that read fails). On success
 * the file stands at offset 12. */
GVAPI(HRESULT) riff_ReadFileID(HANDLE file, DWORD *size, DWORD *formType);
/* Writes identifier then size. S_OK or GVRIFF_E_WRITE. */
GVAPI(HRESULT) riff_WriteChunkHeader(HANDLE file, DWORD id, DWORD size);
/* Writes the header, `size` bytes of data and, when size is odd, one zero
 * pad byte. *written (optional) receives size + pad + 8 on success only.
 * S_OK; GVRIFF_E_WRITE on a failed write; E_INVALIDARG (nothing written) for
 * null data with a non-zero size. */
GVAPI(HRESULT) riff_WriteChunk(HANDLE file, DWORD id, const void *data, DWORD size,
                               DWORD *written);
/* Writes a "LIST" header of `size` (which counts the 4 type bytes), then the
 * list type. S_OK or GVRIFF_E_WRITE. */
GVAPI(HRESULT) riff_WriteListHeader(HANDLE file, DWORD listType, DWORD size);
/* Writes a "RIFF" header of `size`, then the form type. Only the form
 * type's write decides between S_OK and GVRIFF_E_WRITE. */
GVAPI(HRESULT) riff_WriteFileID(HANDLE file, DWORD formType, DWORD size);

/* ---- Size of the whole file ------------------------------------------- */

/* Writes `size` at offset 4. S_OK or GVRIFF_E_WRITE; the file pointer
 * comes back to where it was either way. */
GVAPI(HRESULT) riff_SetRIFFSize(HANDLE file, DWORD size);
/* Adds `difference` to the size at offset 4. S_OK, or GVRIFF_E_WRITE when
 * the read or the write fails; the file pointer comes back either way. */
GVAPI(HRESULT) riff_UpdateRIFFSize(HANDLE file, LONG difference);

/* ---- Searches --------------------------------------------------------- */

/* Reads chunk headers from the current position, skipping padded chunks,
 * until one has identifier `id`. Each header costs the budget 8 bytes and
 * each skipped chunk its padded size; the search gives up with
 * GVRIFF_E_NOTFOUND (budget written back) when the budget is below 8 before
 * a header. On success: S_OK, the file at the chunk's first data byte, *size
 * (optional) = the chunk's size, *remaining reduced by the header only. A
 * read error is returned as it is, without writing the budget back. A search
 * that reaches the end of the file ends there: with a budget as if zero
 * headers had been read until the budget ran out, without one with
 * GVRIFF_E_NOTFOUND. */
GVAPI(HRESULT) riff_FindChunkHeader(HANDLE file, DWORD id, DWORD *size, LONG *remaining);
/* Seeks to 0, riff_ReadFileID (its error is returned and *remaining is left
 * untouched), then riff_FindChunkHeader with a budget of RIFF size - 4. The
 * budget left is stored in *remaining (optional; its input is ignored) on
 * success and on the search's own failure; *size on success. */
GVAPI(HRESULT) riff_FindChunkHeaderInRIFF(HANDLE file, DWORD id, DWORD *size,
                                          LONG *remaining);
/* Finds the "LIST" chunk of type `listType` with riff_FindChunkHeader (its
 * error is returned). Reading a list type costs 4 (GVRIFF_E_NOTFOUND when
 * fewer are left); a non-matching list is skipped and its even-rounded size
 * taken from the budget, so each skipped list costs 4 bytes more than it
 * occupies (callers rely on this count). On success: S_OK, the file at the
 * list's first entry, *size (optional) = list size - 4.
 * A damaged "LIST" whose size is below 4 has its type read from the 4 bytes
 * after its header, beyond its end; when those match, the *size reported is
 * that size - 4 wrapped around (0xFFFFFFFC to 0xFFFFFFFF), so check *size
 * against the budget before reading or allocating by it. The same holds for
 * riff_FindListChunkFromStart. */
GVAPI(HRESULT) riff_FindListChunk(HANDLE file, DWORD listType, DWORD *size, LONG *remaining);
/* Seeks to 0, riff_ReadFileID (error returned), then riff_FindListChunk with
 * a budget of RIFF size - 4; *size (optional) on success. */
GVAPI(HRESULT) riff_FindListChunkFromStart(HANDLE file, DWORD listType, DWORD *size);
/* Counts the chunks from the current position while *remaining >= 8 (or,
 * with a null pointer, up to the end of the file). Returns the count, or
 * GVRIFF_E_READ (negative). The file pointer comes back to where it was,
 * but *remaining stays spent (normally 0): copy it first if it is needed
 * again.
 * With a budget larger than what is left of the file (a damaged size), the
 * end of the file does not stop the count: every 8 bytes of budget left
 * there count as one more empty chunk (a 64-byte file of zeros with a
 * budget of 100 gives 12). Do not size arrays by the count unchecked:
 * each real chunk takes at least 8 bytes of the file, so compare the count
 * with what is left of the file. */
GVAPI(LONG) riff_GetNumListEntries(HANDLE file, LONG *remaining);

#endif /* GVRIFF_H */
