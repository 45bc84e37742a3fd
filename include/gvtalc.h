/*
 * gvtalc.h -- the whole exported interface of GVTALC.dll.
 * Link with the import library GVTALC.lib.
 */
#ifndef GVTALC_H
#define GVTALC_H

#include "gvdefs.h"
#include "gvkernel.h"
#include "gvformat.h"
#include "gvnumber.h"
#include "gvlang.h"
#include "gvtime.h"
#include "gvpath.h"
#include "gvmetric.h"
#include "gvaudio.h"
#include "gvconvert.h"
#include "gvsamples.h"
#include "gvresample.h"
#include "gviir.h"
#include "gvlist.h"
#include "gvqueue.h"
#include "gvriff.h"
#include "gvinfo.h"
#include "gvstream.h"
#include "gvpeak.h"
#include "gvgraph.h"

#endif /* GVTALC_H */
