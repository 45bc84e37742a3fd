// The frame's process-wide state: one instance, filled in by the load sequence.
#include "kernel/frame.h"

namespace gv {

FrameState g_frame;

}  // namespace gv
