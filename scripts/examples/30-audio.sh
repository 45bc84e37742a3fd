# Example audio made by gvtool itself, converted between headerless sample
# formats, and the chunk tree of a WAVE file written through the RIFF layer.
set -e
dir=$(winepath -w "$GV_EXAMPLE_DIR" 2>/dev/null)
$GVTOOL tone "$dir\\sweep.raw" --seconds 1 --rate 44100
$GVTOOL convert-raw "$dir\\sweep.raw" "$dir\\sweep-f32.raw" --from int16 --to float32 --gain -6.02 -c 2
$GVTOOL convert-raw "$dir\\sweep-f32.raw" "$dir\\sweep-24.raw" --from float32 --to int24 --gain 6.02 -c 2
$GVTOOL tone "$dir\\sweep.wav" --seconds 0.5 --rate 48000
$GVTOOL riff "$dir\\sweep.wav"
