/*
 * gvtalc.h -- the whole exported interface of GVTALC.dll.
 * Link with the import library GVTALC.lib.
 */
#ifndef GVTALC_H
#define GVTALC_H

#include "gvdefs.h"
#include "gvkernel.h"
#include "gvmetric.h"

#endif /* GVTALC_H */
