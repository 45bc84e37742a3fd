# The sample client (examples/gvexample.c, built against the install tree):
# the version check, a setting of its own, and the WAVE file written above
# read as an audio stream, with its peaks.
set -e
dir=$(winepath -w "$GV_EXAMPLE_DIR" 2>/dev/null)
$GVEXAMPLE "$dir\\sweep.wav"
