// The graph builder object served for IGVGraphBuilder.
#pragma once

#include "kernel/comserver.h"

namespace gv::graph {

// Creator for the class factory: IID_IUnknown or IGVGraphBuilder, else
// E_NOINTERFACE; E_OUTOFMEMORY when the object cannot be made.
HRESULT CreateGraphBuilder(IUnknown *outer, REFIID iid, void **result, ReleasedCallback released);

}  // namespace gv::graph
