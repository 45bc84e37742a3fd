/*
 * gvstream.h -- WAVE sample data as a stream of frames (GvAudioStream_).
 *
 * A stream gives the interleaved sample data of a file in the format the
 * caller works in (the client format), whatever format the file holds (the
 * file format), converting on every read and write in 128 KiB pieces. The
 * stream knows nothing of RIFF: the caller says where the sample data begin
 * (GvGetFileWfx finds that for a WAVE file) and what format they have.
 * Lengths and positions are 64-bit frame counts; the Abs functions work on
 * 64-bit byte offsets of the file.
 *
 * Not thread-safe: a stream must be used by one thread at a time.
 *
 * Result codes: S_OK; E_FAIL (null stream; the file could not be opened or
 * created); E_NOTIMPL (no converter for the pair of formats; no view;
 * channel counts differ in CopyTo; the editing functions); E_INVALIDARG
 * (create with a read-only mode; a frame beyond the length for the view);
 * E_OUTOFMEMORY (record, buffers or slots exhausted; the zero header could
 * not be written in full); STG_E_ACCESSDENIED (writing a read-only stream,
 * reading a write-only one); STG_E_SEEKERROR; STG_E_WRITEFAULT;
 * STG_E_READFAULT (a failed read; a view load that read no frame);
 * HRESULT_FROM_WIN32 codes from AbsRead and AbsWrite.
 */
#ifndef GVSTREAM_H
#define GVSTREAM_H

#include "gvaudio.h"

typedef struct tGVAUDIOSTREAM *HGVAUDIOSTREAM;

/* Open flags (the last argument of GvAudioStream_OpenFile). The low 4 bits
 * give the access mode; without GVAS_CREATE and GVAS_OPENREAD the low 16
 * bits are also the share mode passed to CreateFile. */
#define GVAS_READONLY  0x00001 /* every writing operation: STG_E_ACCESSDENIED */
#define GVAS_WRITEONLY 0x00002 /* GvAudioStream_Read: STG_E_ACCESSDENIED */
#define GVAS_CREATE    0x10000 /* create or replace; the data offset is zero-filled */
#define GVAS_DELETEONCLOSE 0x20000
#define GVAS_OPENREAD  0x40000 /* open an existing file for reading, shared for reading */
/* With neither GVAS_CREATE nor GVAS_OPENREAD the file is opened for reading
 * and writing and an existing file is REPLACED (callers rely on this). */

/* View modes (the 9th argument, low byte): where the frame asked for sits
 * in the block of frames the view loads. */
#define GVAS_VIEW_NONE   0
#define GVAS_VIEW_START  1 /* the view starts at the frame */
#define GVAS_VIEW_END    2 /* the view ends at the frame */
#define GVAS_VIEW_MIDDLE 3 /* any other value: the frame is in the middle */

/* Seek origins; GVAS_SEEK_FILE added to one also moves the file pointer. */
#define GVAS_SEEK_SET  0
#define GVAS_SEEK_CUR  1
#define GVAS_SEEK_END  2
#define GVAS_SEEK_FILE 0x100

/* The view: one block of frames held in memory in client format, fourteen
 * 32-bit words. Read it through the pointer GvAudioStream_GetView gives;
 * only the library writes it. */
typedef struct tGVAUDIOVIEW {
  DWORD bDirty;          /* 1: frames changed and not yet written to the file */
  DWORD dwFlags;         /* client dwFlags */
  DWORD nChannels;       /* client nChannels */
  DWORD nBitsPerSample;  /* client nBitsPerSample */
  DWORD nBytesPerSample; /* client nBytesPerSample */
  DWORD nBlockAlign;     /* client bytes per frame */
  DWORD dwStartLow;      /* first frame held, low word (all ones: empty) */
  DWORD dwStartHigh;
  DWORD nFrames;         /* frames held; 0 = empty */
  DWORD dwReserved[4];
  void *pData;           /* the 128 KiB view buffer */
} tGVAUDIOVIEW;

/* Opens a stream over `pszFile` whose sample data start dataOffset bytes in
 * and are described by *pFileAttr (a 48-byte record). The client format
 * takes the file's rate and channels, clientBits (0: the file's, unless
 * clientFlags has GVAA_SCALEDFLOAT) and clientFlags. The logical length is
 * (lengthHigh:lengthLow) frames. *phStream is null on failure. Scaled float
 * gains are worked out and kept, but Read and Write convert at gain 1.0. */
GVAPI(HRESULT) GvAudioStream_OpenFile(HGVAUDIOSTREAM *phStream, LPCSTR pszFile, DWORD dataOffset,
                                      DWORD lengthLow, DWORD lengthHigh,
                                      const tGVAUDIOATTRIBS *pFileAttr, DWORD clientBits,
                                      DWORD clientFlags, DWORD viewMode, DWORD openFlags);
/* Frees slot buffers, writes back a dirty view, closes the file (deleting
 * it with GVAS_DELETEONCLOSE) and frees the stream. E_FAIL for null. */
GVAPI(HRESULT) GvAudioStream_Close(HGVAUDIOSTREAM hStream);

/* Read: min(frames, length - position) frames at the position; 0 frames at
 * or past the length. Write: at the position, growing the length. A short
 * file gives a short count. *pDone (optional) = frames done. */
GVAPI(HRESULT) GvAudioStream_Read(HGVAUDIOSTREAM hStream, void *pBuffer, DWORD frames,
                                  DWORD *pDone);
GVAPI(HRESULT) GvAudioStream_Write(HGVAUDIOSTREAM hStream, const void *pBuffer, DWORD frames,
                                   DWORD *pDone);
/* Moves the logical position (origin GVAS_SEEK_SET/CUR/END). With
 * GVAS_SEEK_FILE the file pointer moves to dataOffset + position * file
 * align; only GVAS_SEEK_FILE|GVAS_SEEK_SET corrects for the data offset.
 * *pNewPos (optional): the new position, all ones after STG_E_SEEKERROR. */
GVAPI(HRESULT) GvAudioStream_Seek(HGVAUDIOSTREAM hStream, LONGLONG position, DWORD origin,
                                  ULONGLONG *pNewPos);

/* Raw bytes at the byte position (absolute file offsets), no conversion. */
GVAPI(HRESULT) GvAudioStream_AbsRead(HGVAUDIOSTREAM hStream, void *pBuffer, DWORD bytes,
                                     DWORD *pDone);
GVAPI(HRESULT) GvAudioStream_AbsWrite(HGVAUDIOSTREAM hStream, const void *pBuffer, DWORD bytes,
                                      DWORD *pDone);
GVAPI(HRESULT) GvAudioStream_AbsSeek(HGVAUDIOSTREAM hStream, LONGLONG position, DWORD origin,
                                     ULONGLONG *pNewPos);

/* One channel, packed (client nBytesPerSample per sample). ReadChannel's
 * count is required. WriteChannel reads the frames first and writes them
 * all back: frames past the data get whatever its scratch held in the other
 * channels, so write channels only over frames that exist. */
GVAPI(HRESULT) GvAudioStream_ReadChannel(HGVAUDIOSTREAM hStream, DWORD channel, void *pBuffer,
                                         DWORD frames, DWORD *pDone);
GVAPI(HRESULT) GvAudioStream_WriteChannel(HGVAUDIOSTREAM hStream, DWORD channel,
                                          const void *pBuffer, DWORD frames, DWORD *pDone);

GVAPI(HRESULT) GvAudioStream_GetLength(HGVAUDIOSTREAM hStream, ULONGLONG *pLength);
/* A shorter length moves the position there and never truncates the file;
 * a longer one writes silence from the old end. */
GVAPI(HRESULT) GvAudioStream_SetSize(HGVAUDIOSTREAM hStream, DWORD lengthLow, DWORD lengthHigh);
/* Copies cbAttr bytes of the client attributes (at most what the stream
 * record holds from there) and sets pAttr->cbSize to min(cbAttr, 48). */
GVAPI(HRESULT) GvAudioStream_GetAttribs(HGVAUDIOSTREAM hStream, tGVAUDIOATTRIBS *pAttr,
                                        DWORD cbAttr);

/* Metrics: 1 client align, 2 frames per buffer, 10-13 file dwFlags, rate,
 * bits, channels, 20-23 the same of the client; 0 for anything else. */
#define GVAS_METRIC_CLIENTALIGN     1
#define GVAS_METRIC_FRAMESPERBUFFER 2
#define GVAS_METRIC_FILEFLAGS       10
#define GVAS_METRIC_FILERATE        11
#define GVAS_METRIC_FILEBITS        12
#define GVAS_METRIC_FILECHANNELS    13
#define GVAS_METRIC_CLIENTFLAGS     20
#define GVAS_METRIC_CLIENTRATE      21
#define GVAS_METRIC_CLIENTBITS      22
#define GVAS_METRIC_CLIENTCHANNELS  23
GVAPI(DWORD) GvAudioStream_GetMetric(HGVAUDIOSTREAM hStream, DWORD metric);

/* The view record; E_NOTIMPL and null for a stream opened without a view. */
GVAPI(HRESULT) GvAudioStream_GetView(HGVAUDIOSTREAM hStream, tGVAUDIOVIEW **ppView);

/* Single frames through the view. A frame outside the view loads a block
 * around it (moving the position). GetSampleCell fills *pFrame with silence
 * when the load fails and returns its error. GetSample and SetSample carry
 * no value: GetSample returns 0xFFFFFFFF with *pError 0 once the frame is
 * in the view, else the client's silence value with *pError set; SetSample
 * only marks the view dirty. Values travel through the cell functions. */
GVAPI(DWORD) GvAudioStream_GetSample_X(HGVAUDIOSTREAM hStream, DWORD frameLow, DWORD frameHigh,
                                       DWORD channel, HRESULT *pError);
GVAPI(HRESULT) GvAudioStream_SetSample_X(HGVAUDIOSTREAM hStream, DWORD frameLow,
                                         DWORD frameHigh, DWORD channel, DWORD value);
GVAPI(HRESULT) GvAudioStream_GetSampleCell_X(HGVAUDIOSTREAM hStream, DWORD frameLow,
                                             DWORD frameHigh, void *pFrame);
GVAPI(HRESULT) GvAudioStream_SetSampleCell_X(HGVAUDIOSTREAM hStream, DWORD frameLow,
                                             DWORD frameHigh, const void *pFrame);
/* Writes a dirty view back. Always S_OK; write errors are not reported. */
GVAPI(HRESULT) GvAudioStream_Commit(HGVAUDIOSTREAM hStream, DWORD flags);

/* Copies frames from the source's position to the destination's, through a
 * buffer taken from the destination's slots; E_NOTIMPL when the client
 * channel counts differ. The staging buffer stays in the destination's slot
 * until the destination is closed (callers rely on this), so a destination
 * takes at most eight CopyTo calls unless it releases them itself. */
GVAPI(HRESULT) GvAudioStream_CopyTo(HGVAUDIOSTREAM hSource, HGVAUDIOSTREAM hDest, DWORD frames,
                                    DWORD *pRead, DWORD *pWritten);
/* Reads the same bytes as another channel count: the length doubles unless
 * the new count is 2, when it halves; the position goes to 0. E_NOTIMPL for
 * a stream with a view. */
GVAPI(HRESULT) GvAudioStream_PrestoChangoChannels(HGVAUDIOSTREAM hStream, DWORD channels);

/* Buffers of client frames: locked moveable global blocks filled with 0xEE
 * (128 KiB when frames equals the frames per buffer). Get/Release keep them
 * in the stream's eight slots (Get gives null when all are taken; Release
 * frees only a buffer of this stream's slots); Alloc/Free do not. */
GVAPI(void *) GvAudioStream_AllocBuffer(HGVAUDIOSTREAM hStream, DWORD frames);
GVAPI(HRESULT) GvAudioStream_FreeBuffer(HGVAUDIOSTREAM hStream, void *pBuffer);
GVAPI(void *) GvAudioStream_GetBuffer(HGVAUDIOSTREAM hStream, DWORD frames);
GVAPI(void) GvAudioStream_ReleaseBuffer(HGVAUDIOSTREAM hStream, void *pBuffer);

/* Editing is not implemented: every stream is a plain file. E_NOTIMPL. */
GVAPI(HRESULT) GvAudioStream_Clone(HGVAUDIOSTREAM hStream, DWORD a, DWORD b, DWORD c,
                                   HGVAUDIOSTREAM *phClone);
GVAPI(HRESULT) GvAudioStream_Insert(HGVAUDIOSTREAM hStream, DWORD a, DWORD b, DWORD c, DWORD d);
GVAPI(HRESULT) GvAudioStream_Delete(HGVAUDIOSTREAM hStream, DWORD a, DWORD b, DWORD c);
GVAPI(HRESULT) GvAudioStream_Revert(HGVAUDIOSTREAM hStream);
GVAPI(HRESULT) GvAudioStream_LockRegion(HGVAUDIOSTREAM hStream, DWORD a, DWORD b, DWORD c,
                                        DWORD d, DWORD e);
GVAPI(HRESULT) GvAudioStream_UnlockRegion(HGVAUDIOSTREAM hStream, DWORD a, DWORD b, DWORD c,
                                          DWORD d, DWORD e);
GVAPI(HRESULT) GvAudioStream_Stat(HGVAUDIOSTREAM hStream, DWORD a, DWORD b);

/* The format record of a WAVE file, read from its "fmt " chunk, for the
 * PCM family only (PCM, IEEE float, the three private tags) with nBlockAlign
 * = nChannels * (wBitsPerSample / 8) and not 0; null otherwise, or when the
 * file cannot be opened or has no "fmt " or "data" chunk within its RIFF
 * size. *pFrames (optional) = data size / nBlockAlign; *pDataOffset
 * (optional) = the offset of the first data byte. Free the record with the
 * C runtime's free() (msvcrt). */
GVAPI(WAVEFORMATEX *) GvGetFileWfx(LPCSTR pszFile, ULONGLONG *pFrames, ULONGLONG *pDataOffset);

/* What GvGetFileWfxEx found besides the format. Set cbSize before the call. */
typedef struct tGVWAVEINFO {
  DWORD cbSize;         /* in: sizeof(tGVWAVEINFO) */
  DWORD dwFlags;        /* GVWAVE_ flags */
  DWORD dwChannelMask;  /* speaker mask of an extensible record, else 0 */
  WORD wFileTag;        /* the tag as the file has it (0xFFFE: extensible) */
  WORD wReserved;
  ULONGLONG nFrames;     /* whole frames present (see the flags) */
  ULONGLONG nDataOffset; /* offset of the first data byte */
  ULONGLONG nDataSize;   /* the data chunk's size field as written */
} tGVWAVEINFO;

#define GVWAVE_EXTENSIBLE 0x1 /* reduced from WAVE_FORMAT_EXTENSIBLE */
#define GVWAVE_STREAMED   0x2 /* data size left unset (all ones, or 0 with data after it
                                 in a file whose RIFF size is unset): the data run to
                                 the end of the file, and the file is fine */
#define GVWAVE_TRUNCATED  0x4 /* the data size runs past the end of the file: damage;
                                 nFrames counts what is there */

/* As GvGetFileWfx, and also: extensible records with a PCM or IEEE-float
 * sub-format, reduced with GvAudio_ReduceExtensible; chunks found within the
 * file when the RIFF size is unset (0 or all ones) or larger than the file;
 * streamed and truncated data as the flags say. *pInfo is written only when
 * a record is returned. Free the record with free() (msvcrt). */
GVAPI(WAVEFORMATEX *) GvGetFileWfxEx(LPCSTR pszFile, tGVWAVEINFO *pInfo);

#endif /* GVSTREAM_H */
