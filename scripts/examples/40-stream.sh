# WAVE files as audio streams: a tone made here and files written by other
# tools inspected (format, extensible records, each channel's peak), then
# converted through streams (8-bit, mono spread to stereo as float) and
# inspected again.
set -e
dir=$(winepath -w "$GV_EXAMPLE_DIR" 2>/dev/null)
data=$(winepath -w "$(cd "$(dirname "$0")/../../tests/data" && pwd)" 2>/dev/null)
$GVTOOL tone "$dir\\tone.wav" --seconds 1 --rate 44100
$GVTOOL info "$dir\\tone.wav" "$data\\sox-s24-stereo.wav" "$data\\ffmpeg-s16-streamed.wav"
$GVTOOL convert "$dir\\tone.wav" "$dir\\tone-u8.wav" -b 8
$GVTOOL convert "$data\\espeak-s16-mono.wav" "$dir\\speech-f32.wav" -c 2 -e float --gain -3
$GVTOOL info "$dir\\tone-u8.wav" "$dir\\speech-f32.wav"
