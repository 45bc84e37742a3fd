/*
 * gvpeak.h -- peak files: waveform overviews of sound files (GvPeak_,
 * GvPeakEx_).
 *
 * A peak file holds, for every run of 2^n frames of its source (an element)
 * and every channel, the smallest and the largest sample as signed 16-bit
 * values. Applications draw waveforms at any zoom from it without reading
 * the sound data. It lies beside its source as "<name>.gvk" (optionally
 * followed by a decimal index) or, where that cannot be written, in the
 * temporary folder as "FPEAK000.TMP" .. "FPEAK999.TMP"; a temporary peak
 * file is deleted when its record is freed. Its header carries the source's
 * GvDosGetDateTime stamp and frame count, so a stale file is refused by
 * open and built anew.
 *
 * Frames per element: 1 << (kernel setting 200, 6 to 12, default 8), so 64
 * to 4096 frames, 256 by default.
 *
 * Samples become 16-bit values thus: 16-bit as they are; 8-bit (unsigned
 * data read as signed by flipping the top bit, or signed data) times 256
 * for a minimum and 258 for a maximum, so 127 gives 32766 and -128 gives
 * -32768 (kept so: files made by earlier releases hold these values),
 * limited to -32768..32767; 24-bit, 32-bit and floating-point samples as
 * x * 32768 for x scaled to -1.0..1.0 (24-bit by 2^-23, 32-bit by 2^-31),
 * rounded to the nearest integer (halves upward), limited to
 * -32768..32767; NaN gives 0. Big-endian data have no peaks.
 *
 * Not thread-safe: a record must be used by one thread at a time. Results:
 * the create and open functions give 0 or -1 and leave *ppPeak null on
 * failure; others S_OK or E_FAIL unless they say otherwise.
 */
#ifndef GVPEAK_H
#define GVPEAK_H

#include "gvaudio.h"

/* The file's 64-byte header, little-endian. */
typedef struct tGVPEAKHEADER {
  DWORD dwMagic;          /* "GVPK" */
  DWORD dwVersion;        /* 100; files above 100 are refused */
  DWORD dwDataOffset;     /* 64: elements start here */
  DWORD dwSourceStamp;    /* GvDosGetDateTime of the source; 0 until finished */
  DWORD dwBitsPerValue;   /* 16 */
  DWORD nChannels;
  DWORD nFramesPerElement;
  DWORD dwFramesLow;      /* source frames summarised so far (64-bit, two words) */
  DWORD dwFramesHigh;
  DWORD dwReserved[7];
} tGVPEAKHEADER;

#define GVPEAK_MAGIC 0x4B505647UL /* "GVPK" */

typedef struct tGVAUDIOPEAK tGVAUDIOPEAK; /* the open peak file */

/* pszOut = the source name with its extension (a "." in the file-name part
 * only) replaced by, or followed by, ".gvk". S_OK; E_INVALIDARG when it does
 * not fit. */
GVAPI(HRESULT) GvPeak_CreateDirectPeakName(LPCSTR pszSource, LPSTR pszOut, UINT cchOut);

/* Creates a new, empty peak file for nChannels channels of pszSource:
 * beside the source (index >= 0 is appended to ".gvk"), or, when
 * bTemporaryOnly is set or that fails, in pszTempDir (null: the system's
 * temporary folder). Frees what *ppPeak held first. 0 or -1. */
GVAPI(int) GvPeak_CreateExNew(tGVAUDIOPEAK **ppPeak, DWORD nChannels, BOOL bTemporaryOnly,
                              LPCSTR pszSource, int index, LPCSTR pszTempDir);
GVAPI(int) GvPeak_CreateEx(tGVAUDIOPEAK **ppPeak, DWORD nChannels, BOOL bTemporaryOnly,
                           LPCSTR pszSource, LPCSTR pszTempDir);

/* Opens the peak file beside pszSource when it is valid: magic, version
 * <= 100, data offset >= 64, 16 bits, nChannels channels, the source's
 * current stamp and sourceFrames frames summarised. 0, or -1 (the caller
 * then creates one). */
GVAPI(int) GvPeak_OpenExistingExNew(tGVAUDIOPEAK **ppPeak, DWORD nChannels, LPCSTR pszSource,
                                    int index, LPCSTR pszTempDir, ULONGLONG sourceFrames,
                                    BOOL bReadOnly);
GVAPI(int) GvPeak_OpenExistingEx(tGVAUDIOPEAK **ppPeak, DWORD nChannels, LPCSTR pszSource,
                                 LPCSTR pszTempDir, ULONGLONG sourceFrames, BOOL bReadOnly);

GVAPI(DWORD) GvPeak_GetCellsPerElementEx(const tGVAUDIOPEAK *pPeak); /* frames per element */
GVAPI(BOOL) GvPeak_IsPeakTemporary(const tGVAUDIOPEAK *pPeak);
/* The header as it stands in memory (frames summarised so far). */
GVAPI(HRESULT) GvPeak_GetHeader(const tGVAUDIOPEAK *pPeak, tGVPEAKHEADER *pHeader);
/* The peak file's name. */
GVAPI(LPCSTR) GvPeak_GetFileName(const tGVAUDIOPEAK *pPeak);

/* Opens the file (existing only, no sharing) with `access` (GENERIC_READ,
 * GENERIC_WRITE) unless it is open already; S_OK or E_FAIL. */
GVAPI(HRESULT) GvPeak_PeakFileOpen(tGVAUDIOPEAK *pPeak, DWORD access);
GVAPI(HRESULT) GvPeak_PeakFileClose(tGVAUDIOPEAK *pPeak);

/* Summarises `frames` frames of pData (format pwfx, its channel count the
 * peak's) into elements of frames-per-element frames, the last one possibly
 * shorter, and writes them at *pOffset bytes into the element area; on
 * success adds the frames to the header and the bytes to *pOffset. Pass
 * whole elements except at the end of the source. S_OK or E_FAIL. */
GVAPI(HRESULT) GvPeak_WritePeakDataExNew(tGVAUDIOPEAK *pPeak, const WAVEFORMATEX *pwfx,
                                         const void *pData, DWORD frames, ULONGLONG *pOffset);
/* The same with a 32-bit byte offset. */
GVAPI(HRESULT) GvPeak_WritePeakDataEx(tGVAUDIOPEAK *pPeak, const WAVEFORMATEX *pwfx,
                                      const void *pData, DWORD frames, DWORD *pOffset);
/* The same at the element of source frame firstFrame (a whole number of
 * elements from the start). */
GVAPI(HRESULT) GvPeak_WritePeakDataEx2(tGVAUDIOPEAK *pPeak, const WAVEFORMATEX *pwfx,
                                       const void *pData, DWORD frames, ULONGLONG firstFrame);
/* Appends after the frames summarised so far. */
GVAPI(HRESULT) GvPeak_WritePeakData(tGVAUDIOPEAK *pPeak, const WAVEFORMATEX *pwfx,
                                    const void *pData, DWORD frames);

/* One minimum and one maximum per pixel over frames first .. first+count-1:
 * pOut receives, per pixel, min and max of channel 1, then (for peaks of
 * two or more channels) of channel 2, as 16-bit values: 2 or 4 per pixel.
 * Nonzero when draw data were produced; 0 when the view is closer than one
 * element per pixel (count / pixels below frames per element: draw from the
 * samples), for more than 32768 pixels, or when the file cannot be read
 * (the record is then marked stale: frames summarised all ones). Elements
 * past the data give 0, 0. */
GVAPI(BOOL) GvPeak_GetDrawData(tGVAUDIOPEAK *pPeak, ULONGLONG first, LONGLONG count,
                               short *pOut, int pixels);
/* The same for one channel (any channel of the peak): 2 values per pixel. */
GVAPI(BOOL) GvPeak_GetChanDrawData(tGVAUDIOPEAK *pPeak, DWORD channel, ULONGLONG first,
                                   LONGLONG count, short *pOut, int pixels);

/* Finishes and frees the record: writes back cached elements, stamps a
 * newly made file with its source's current stamp (or restamps it when the
 * stamp changed), and deletes the file when it is temporary or bDiscard is
 * set. S_OK; a null record is ignored. */
GVAPI(HRESULT) GvPeak_FreeEx(tGVAUDIOPEAK *pPeak, BOOL bDiscard);

/* ---- Building from a source ------------------------------------------- */

/* Sample readers: what the peak functions read sound data through. A
 * reader is an object with a table of functions; the library makes two
 * (over a WAVE file, over memory), and a client may pass its own. */
typedef struct tGVSAMPLEREADER tGVSAMPLEREADER;
typedef struct tGVSAMPLEREADERVTBL {
  /* The data's format (PCM or IEEE float), valid while the reader lives. */
  const WAVEFORMATEX *(WINAPI *GetFormat)(tGVSAMPLEREADER *self);
  ULONGLONG (WINAPI *GetLength)(tGVSAMPLEREADER *self); /* frames */
  /* Reads up to `frames` frames from frame `first` in the data's format;
   * *pDone = frames read (fewer at the end). S_OK or an error. */
  HRESULT (WINAPI *Read)(tGVSAMPLEREADER *self, ULONGLONG first, void *pBuffer, DWORD frames,
                         DWORD *pDone);
  void (WINAPI *Destroy)(tGVSAMPLEREADER *self);
} tGVSAMPLEREADERVTBL;
struct tGVSAMPLEREADER {
  const tGVSAMPLEREADERVTBL *lpVtbl;
};

/* How an open-data call came by its peak data (*pHow, optional). */
#define GVPEAK_REUSED   0x1 /* a valid peak file was there */
#define GVPEAK_BUILT    0x2 /* built now */
#define GVPEAK_STALE    0x4 /* with BUILT: a peak file was there but stale or damaged */
#define GVPEAK_INTEMP   0x8 /* the peak file is in the temporary folder */

/* Open flags of the open-data calls. */
#define GVPEAK_TEMPORARYONLY 0x1 /* never beside the source */
#define GVPEAK_REBUILD       0x2 /* build even when a valid file is there */

/* Opens the peak data of a WAVE file (PCM or IEEE float, extensible
 * records too; GvGetFileWfxEx): the valid peak file beside it, or a new
 * one built from its samples. Like the create and open calls, it frees what
 * *ppPeak held first: set it to null after GvPeak_FreeEx. S_OK; E_FAIL when
 * the file is not such a WAVE file or its data are truncated;
 * E_OUTOFMEMORY. Free with GvPeak_FreeEx. */
GVAPI(HRESULT) GvPeak_OpenDataFromWaveFile(tGVAUDIOPEAK **ppPeak, LPCSTR pszWaveFile,
                                           DWORD flags, DWORD *pHow);
/* The same from a sample reader; pszSource names the file the peak file is
 * tied to (beside it and by its stamp; null: a temporary file). */
GVAPI(HRESULT) GvPeak_OpenDataFromStream(tGVAUDIOPEAK **ppPeak, tGVSAMPLEREADER *pReader,
                                         LPCSTR pszSource, DWORD flags, DWORD *pHow);

/* ---- Peak data streams: a reader paired with its peak data ------------ */

typedef struct tGVPEAKSTREAM tGVPEAKSTREAM;

/* Over pReader, or (null) a reader this stream makes over pszFile. Only PCM
 * and IEEE-float data (E_FAIL otherwise; a reader the stream made is
 * destroyed). 0 when the peak data opened, 1 when they did not (the stream
 * is handed out either way and draws from the samples). `flags` as the
 * open-data calls; `reserved` 0. */
GVAPI(HRESULT) GvPeakEx_CreateStreamNew(tGVPEAKSTREAM **ppStream, tGVSAMPLEREADER *pReader,
                                        LPCSTR pszFile, DWORD flags, DWORD reserved);
GVAPI(HRESULT) GvPeakEx_CreateStream(tGVPEAKSTREAM **ppStream, LPCSTR pszFile, DWORD flags,
                                     DWORD reserved);
/* Over frames * nBlockAlign bytes at pData (not copied: they must outlive
 * the stream); its peak data go to a temporary file. frames or
 * bAllowEmpty must be nonzero. S_OK or E_FAIL. */
GVAPI(HRESULT) GvPeakEx_CreateMemStream(tGVPEAKSTREAM **ppStream, const WAVEFORMATEX *pwfx,
                                        const void *pData, DWORD frames, BOOL bAllowEmpty);
GVAPI(tGVSAMPLEREADER *) GvPeakEx_GetStreamReader(tGVPEAKSTREAM *pStream);
/* The stream's peak record (null when its peak data did not open). */
GVAPI(tGVAUDIOPEAK *) GvPeakEx_GetPeak(tGVPEAKSTREAM *pStream);
/* Destroys a reader the stream made, frees the peak record and the stream. */
GVAPI(HRESULT) GvPeakEx_Free(tGVPEAKSTREAM *pStream);

/* Draw data at any zoom, laid out as GvPeak_GetDrawData's: from the peak
 * data when there is at least one element per pixel, otherwise from the
 * samples, read through the reader and scaled to 16 bits as above. TRUE
 * when produced. */
GVAPI(BOOL) GvPeakEx_GetDrawData(tGVPEAKSTREAM *pStream, ULONGLONG first, LONGLONG count,
                                 short *pOut, int pixels);
/* Always from the samples: of the stream's WAVE file, or of its memory. */
GVAPI(BOOL) GvPeakEx_GetDrawDataFromFile(tGVPEAKSTREAM *pStream, ULONGLONG first,
                                         LONGLONG count, short *pOut, int pixels);
GVAPI(BOOL) GvPeakEx_GetDrawDataFromMem(tGVPEAKSTREAM *pStream, ULONGLONG first,
                                        LONGLONG count, short *pOut, int pixels);

#endif /* GVPEAK_H */
