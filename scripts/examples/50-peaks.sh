# Peak files and waveform pictures: the example sweep's peak file built and
# then reused, the peak files of three more files built on two workers
# (their lines come in the order they finish), and the sweep drawn as a PNG,
# a band per channel (its half second over 1800 pixels is closer than an
# element a pixel: drawn from the samples).
set -e
dir=$(winepath -w "$GV_EXAMPLE_DIR" 2>/dev/null)
rm -f "$GV_EXAMPLE_DIR/sweep.gvk"
$GVTOOL peaks "$dir\\sweep.wav"
$GVTOOL peaks "$dir\\sweep.wav"
rm -f "$GV_EXAMPLE_DIR/tone.gvk" "$GV_EXAMPLE_DIR/tone-u8.gvk" "$GV_EXAMPLE_DIR/speech-f32.gvk"
$GVTOOL peaks -j 2 "$dir\\tone.wav" "$dir\\tone-u8.wav" "$dir\\speech-f32.wav"
$GVTOOL draw "$dir\\sweep.wav" "$dir\\sweep.png" --split-channels
echo "The waveform picture of the sweep is $GV_EXAMPLE_DIR/sweep.png"
