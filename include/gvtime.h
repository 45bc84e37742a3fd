/*
 * gvtime.h -- time text: positions and lengths held as NANOTIME (signed
 * 64-bit counts of 100 ns, 10,000,000 a second) written in one of ten
 * display formats.
 *
 * All text goes through the token formatter (gvformat.h), so the decimal
 * separator and the SMPTE separators follow the user's settings. out has no
 * size argument: 64 characters hold every result of the built-in formats.
 * Nothing here keeps state; any thread may call.
 */
#ifndef GVTIME_H
#define GVTIME_H

#include "gvdefs.h"

typedef LONGLONG NANOTIME;

#define GVNANOTIME_PER_SECOND 10000000

/* Display formats (tGVTIMEFORMAT.dwFormat). Full / brief format strings:
 *   0 samples at dwSampleRate, rounded      "$I64d"                  / the same
 *   1 time with milliseconds                 "%02u:%02u:%02u$*%03u"   / "%02u:%02u:%02u"
 *   2 seconds                                "$.3f"                   / "$.0f"
 *   3 SMPTE at dFrameRate                    "%02u$:%02u$:%02u$;%02u" / "%02u:%02u:%02u"
 *   4 absolute frames at dFrameRate          "$.3f"                   / "$.0f"
 *   5 measure:beat.quarter (from 1, 1, 0)    "$u:%u$*%u"              / the same
 *   6 SMPTE at 29.97, 7 SMPTE 30 drop-frame, 8 SMPTE at 25, 9 SMPTE at 24:
 *                                            "%02u$:%02u$:%02u$;%02u" / the same
 *   10 and above: the raw value              "$I64d"                  / the same */
#define GVTIME_SAMPLES      0
#define GVTIME_MILLISECONDS 1
#define GVTIME_SECONDS      2
#define GVTIME_SMPTE        3
#define GVTIME_FRAMES       4
#define GVTIME_MEASURES     5
#define GVTIME_SMPTE_2997   6
#define GVTIME_SMPTE_30DROP 7
#define GVTIME_SMPTE_25     8
#define GVTIME_SMPTE_24     9

/* The caller's choice of format; read only. */
typedef struct tGVTIMEFORMAT {
  DWORD dwFormat;     /* GVTIME_... */
  DWORD dwReserved;   /* not used here */
  double dTempo;      /* beats per minute (format 5) */
  DWORD dwTimeSig;    /* high 16 bits: beats per measure (format 5); low 16 not used */
  DWORD dwSampleRate; /* samples per second (format 0) */
  double dFrameRate;  /* frames per second (formats 3 and 4) */
} tGVTIMEFORMAT;

#define GVTIME_MAKESIG(beats, unit) ((DWORD)(((DWORD)(beats) << 16) | ((unit) & 0xFFFF)))

/* A time code; dwReserved is left as the caller had it. */
typedef struct tGVTIMECODE {
  DWORD dwReserved;
  DWORD dwHours;   /* 0..23: whole days wrap */
  DWORD dwMinutes;
  DWORD dwSeconds;
  DWORD dwFrames;
} tGVTIMECODE;

/* Splits t into hours (mod 24), minutes, seconds and frames at
 * framesPerSecond, in double with each part truncated toward zero; frames
 * are trunc(fraction of the second * framesPerSecond + 0.1), the 0.1
 * absorbing the rounding of the division. Returns the frames (also for a
 * null pOut, which is not written). Negative times go through the same
 * arithmetic, so their fields are the two's complement of negative parts. */
GVAPI(LONGLONG) GvNanoTimeToHMSF(NANOTIME t, tGVTIMECODE *pOut, double framesPerSecond);

/* Zero-based measure, beat in the measure and quarter of the beat (0..3)
 * at pFormat's tempo and beats per measure; m = t * tempo / beats /
 * (60 * 10^7) + 0.00005 measures. Returns the quarter. Null out pointers
 * are skipped; a null pFormat gives 0 everywhere. Zero beats or a tempo
 * that is not a number give meaningless but defined values. */
GVAPI(DWORD) GvNanoTimeToMeasures(NANOTIME t, const tGVTIMEFORMAT *pFormat, DWORD *pMeasure,
                                  DWORD *pBeat, DWORD *pQuarter);

/* Writes t in pFormat's format with the format string text, whose
 * conversions must take what the format passes: 0 and 10+ a 64-bit
 * integer ($I64d), 2 and 4 a double, 1, 3 and 6-9 four 32-bit unsigned
 * values (hours, minutes, seconds, frames; format 1's frames are
 * milliseconds), 5 three (measure + 1, beat + 1, quarter). Format 7 labels
 * frames 0 and 1 of a minute not divisible by ten as frame 2 (drop-frame
 * numbering); the time is not rescaled. Returns the length written; 0 and
 * nothing written for a null out; "" for a null pFormat. */
GVAPI(int) GvNanoTimeToAsciiEx(LPSTR out, const tGVTIMEFORMAT *pFormat, NANOTIME t, LPCSTR text);

/* GvNanoTimeToAsciiEx with the format's full (brief 0) or brief string
 * from the table above. */
GVAPI(int) GvNanoTimeToAscii(LPSTR out, const tGVTIMEFORMAT *pFormat, NANOTIME t, BOOL brief);

#endif /* GVTIME_H */
