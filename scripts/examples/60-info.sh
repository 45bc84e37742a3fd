# INFO lists and language modules: a copy of the speech sample tagged with
# a title, an artist and a comment, shown by info under the summary table's
# English names and then, with kernel setting 100 at German (0x407), under
# the German names of the library's translation; last, the language modules
# found beside the DLL.
set -e
dir=$(winepath -w "$GV_EXAMPLE_DIR" 2>/dev/null)
cp "$(dirname "$0")/../../tests/data/espeak-s16-mono.wav" "$GV_EXAMPLE_DIR/speech-tagged.wav"
$GVTOOL tag "$dir\\speech-tagged.wav" --set "INAM=Example speech" --set "IART=espeak-ng" \
  --set "ICMT=Tagged by gvtool"
$GVTOOL info "$dir\\speech-tagged.wav"
key='HKCU\Software\Marrowbeam\TALC\1.0\Metrics\Kernel'
trap 'wine reg delete "$key" /v 100 /f >/dev/null 2>&1 || true' EXIT
wine reg add "$key" /v 100 /t REG_DWORD /d 1031 /f >/dev/null
$GVTOOL info "$dir\\speech-tagged.wav"
$GVTOOL lang
