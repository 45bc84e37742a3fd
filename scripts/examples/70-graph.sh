# A processing graph: the example tone through gain, a rate change to 48 kHz
# and two IIR stages into a 24-bit file, saved as a graph file, listed, run
# with progress, and the same steps run one after another by convert (the
# two outputs compared byte for byte).
set -e
dir=$(winepath -w "$GV_EXAMPLE_DIR" 2>/dev/null)
$GVTOOL graph make "$dir\\tone.gvg" --source "$dir\\tone.wav" --sink "$dir\\tone-graph.wav" \
  --gain -3 --resample 48000 --eq band:3000:6:2 --eq low:200:-10:1 -b 24
$GVTOOL graph show "$dir\\tone.gvg"
$GVTOOL graph run "$dir\\tone.gvg" --progress
$GVTOOL convert "$dir\\tone.wav" "$dir\\tone-step1.wav" --gain -3 -r 48000 -e float
$GVTOOL convert "$dir\\tone-step1.wav" "$dir\\tone-steps.wav" --eq band:3000:6:2 --eq low:200:-10:1 -b 24
cmp "$GV_EXAMPLE_DIR/tone-graph.wav" "$GV_EXAMPLE_DIR/tone-steps.wav"
echo "The graph's output equals convert's steps: $GV_EXAMPLE_DIR/tone-graph.wav"
