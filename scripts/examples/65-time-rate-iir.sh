# Time text, rate change and filter design: one time in several display
# formats (drop-frame labels, measures, grouped samples), the example tone
# changed from 44.1 to 48 kHz through the streaming interpolator and by
# repetition, and a band and a shelf filter designed with the band's
# magnitude response drawn as a PNG.
set -e
dir=$(winepath -w "$GV_EXAMPLE_DIR" 2>/dev/null)
$GVTOOL time 3723.5s --format ms
$GVTOOL time 1min --format smpte30drop
$GVTOOL time 10min --format smpte30drop
$GVTOOL time 20s --format measures --tempo 120 --beats 4
$GVTOOL time 1s --format samples --rate 44100
$GVTOOL convert "$dir\\tone.wav" "$dir\\tone-48k.wav" -r 48000
$GVTOOL convert "$dir\\tone.wav" "$dir\\tone-48k-repeat.wav" -r 48000 --method repeat -b 24
$GVTOOL info "$dir\\tone-48k.wav" "$dir\\tone-48k-repeat.wav"
$GVTOOL iir band 1000 6 2 --rate 48000 --plot "$dir\\band.png"
$GVTOOL iir hiboost 6000 4 0.7 --rate 48000
echo "The band filter's response is $GV_EXAMPLE_DIR/band.png"
