// Internal interface of the COM server: what a class's creator looks like.
#pragma once

#include "include/gvkernel.h"

namespace gv {

// Called by every object the server hands out, once, when its count hits 0.
using ReleasedCallback = LONG (*)();

// Creation function of a class-table entry.
using ObjectCreator = HRESULT (*)(IUnknown *outer, REFIID iid, void **result,
                                  ReleasedCallback released);

// Serves the library's class: dispatches on the interface asked for.
HRESULT CreateKernelObject(IUnknown *outer, REFIID iid, void **result,
                           ReleasedCallback released);

const CLSID &TalcClassId();

}  // namespace gv
