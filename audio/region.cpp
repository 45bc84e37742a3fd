// Overlap of two 64-bit sample regions.
#include "gvaudio.h"

GVAPI(BOOL) GvIntersectRegionLongLong(tGVREGION64 *pOut, const tGVREGION64 *a,
                                      const tGVREGION64 *b) {
  if (!pOut || !a || !b) return FALSE;
  const LONGLONG d = a->start - b->start;
  if (d < 0) {  // a starts first: the overlap runs from b's start to a's end
    const LONGLONG n = d + a->length;
    if (n <= 0) return FALSE;
    pOut->start = b->start;
    pOut->length = n < b->length ? n : b->length;
  } else {
    const LONGLONG n = b->length - d;
    if (n <= 0) return FALSE;
    pOut->start = a->start;
    pOut->length = n < a->length ? n : a->length;
  }
  return TRUE;
}
