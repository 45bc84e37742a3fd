# The sample client (examples/gvexample.c, built against the install tree):
# the version check, a setting of its own, and the format of the WAVE file
# written above.
set -e
dir=$(winepath -w "$GV_EXAMPLE_DIR" 2>/dev/null)
$GVEXAMPLE "$dir\\sweep.wav"
