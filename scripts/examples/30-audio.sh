# Example audio made by gvtool itself, converted between sample formats,
# and the chunk tree of a WAVE file written through the RIFF layer.
set -e
dir=$(winepath -w "$GV_EXAMPLE_DIR" 2>/dev/null)
$GVTOOL tone "$dir\\sweep.raw" 1 44100
$GVTOOL convert "$dir\\sweep.raw" "$dir\\sweep-f32.raw" int16 float32 0.5 2 44100
$GVTOOL convert "$dir\\sweep-f32.raw" "$dir\\sweep-24.raw" float32 int24 2.0 2 44100
$GVTOOL tone "$dir\\sweep.wav" 0.5 48000
$GVTOOL riff "$dir\\sweep.wav"
