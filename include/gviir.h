/*
 * gviir.h -- coefficient design for two-pole recursive filters: low and high
 * shelves (boost and cut) and a band (peak or notch) around a frequency.
 * The library only designs; this header says how to run the result.
 *
 * Request: dFreq as a fraction of the sample rate (0.5 = Nyquist), dGain in
 * dB, dQ the bandwidth divisor (larger = narrower). Each routine clamps its
 * working frequency w to 0.0003 .. 0.49 and writes
 *   c0 = c1 = 0.0 (not used by the filter),
 *   c2 = 2 r cos(2 pi w), c3 = r^2 with r = exp(-pi w / dQ),
 *   c4 = 1 - c2 + c3 (the poles' gain at 0 Hz; the section below then has
 *        unit gain at 0 Hz), except as noted,
 * and c5..c7 as listed with each routine. Words a routine does not list are
 * left as the caller had them.
 *
 * Running the coefficients. The filter is two identical passes in series,
 * each keeping its own history per channel (all zero at the start); the
 * shelf gains and band gain are 10^(dGain/40) per pass, so the two passes
 * make 10^(dGain/20). One pass over input u[n] computes the section
 *     s[n] = c4 * v[n] + c2 * s[n-1] - c3 * s[n-2]
 * with v[n] = u[n] (shelves) or u[n] - u[n-2] (band), and outputs y[n] as
 * given per routine. The second pass takes the first pass's y as its u.
 *
 * The routines are stdcall, keep no state and may run on any thread. The
 * first call of the band routine prepares a shared table; later calls only
 * read it.
 */
#ifndef GVIIR_H
#define GVIIR_H

#include "gvdefs.h"

typedef struct tGVIIRREQUEST {
  double dFreq; /* fraction of the sample rate */
  double dGain; /* dB */
  double dQ;    /* bandwidth divisor */
} tGVIIRREQUEST;

typedef struct tGVIIRCOEFFS {
  double c[8];
} tGVIIRCOEFFS;

/* Low-shelf cut. w = dFreq / 3.3 from 500/44100 up, dFreq / 2.2 below.
 * c6 = g, c7 = 1 - g with g = 10^(dGain/40) (0.0 at -25 dB and below).
 * y = c6 * u + c7 * (u - s): the highs pass, the lows are scaled by g. */
GVAPI(void) GvIIR_FindLowShelfCutCoeffs(tGVIIRCOEFFS *pOut, const tGVIIRREQUEST *pIn);

/* Low-shelf boost. w = dFreq * 2/3. c6 = 1.0, c7 = 10^(dGain/40) - 1.
 * y = c6 * u + c7 * s. */
GVAPI(void) GvIIR_FindLowShelfBoostCoeffs(tGVIIRCOEFFS *pOut, const tGVIIRREQUEST *pIn);

/* High-shelf boost. w = dFreq. c4 = 1.0 (so s is not normalised),
 * c5 = the high-frequency gain at dFreq (below), c6 = 1.0,
 * c7 = 10^(dGain/40) - 1.
 * y = c6 * u + c7 * c5 * (u - (1 - c2 + c3) * s). */
GVAPI(void) GvIIR_FindHiShelfBoostCoeffs(tGVIIRCOEFFS *pOut, const tGVIIRREQUEST *pIn);

/* High-shelf cut. f = dFreq clamped to 0.0004 .. 0.49, w = f * k with
 * k = 0.4 below 0.125, else 0.4 + 1.6 * (f - 0.125), then clamped.
 * c5 = the high-frequency gain at f * k, c6 = 1.0,
 * c7 = 10^(dGain/40) - 1 (-1.0 at -25 dB and below).
 * y = c6 * u + c7 * c5 * (u - s). */
GVAPI(void) GvIIR_FindHiShelfCutCoeffs(tGVIIRCOEFFS *pOut, const tGVIIRREQUEST *pIn);

/* Band around w = dFreq (clamped): a peak for a positive dGain, a dip for a
 * negative one, nothing at 0 dB. r comes from a corrected divisor
 * dQ * k(w, dQ), where k is interpolated in a table so that the section's
 * half-power width comes close to w / dQ. c4 = cos(pi w) * sqrt(1 - c2 + c3),
 * c5 = (10^(dGain/40) - 1) / (dQ * k(w, dQ)) for a positive dGain (the
 * change at w per pass over the working bandwidth; not used by the run),
 * left as it was otherwise; c6 = 1.0,
 * c7 = the weight that gives each pass a gain of exactly 10^(dGain/40) at w
 * (0.0 at 0 dB; for deep narrow dips the nearest reachable).
 * y = c6 * u + c7 * s with v[n] = u[n] - u[n-2]. */
GVAPI(void) GvIIR_FindBandPassCoeffs(tGVIIRCOEFFS *pOut, const tGVIIRREQUEST *pIn);

/* The high-frequency gain (c5 of the high shelves): a curve of 0, -1, -2,
 * -3, -4, -5, -5, -6, -7, -8, -9, -10, -11, -12, -12, -13 dB at multiples of
 * 1000/44100 from 0, linear in dB between them and beyond the last, at x
 * clamped to 0.0003 .. 0.49, as an amplitude 10^(dB/20). */

#endif /* GVIIR_H */
