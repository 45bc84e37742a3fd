# The token formatter and number text.
set -e
$GVTOOL format -t AppName=Quill '$(AppName): $d samples, $.2z s, %.1f dB, %s' i:1234567 i:31415926 f:-6.02 s:done
$GVTOOL number '-1234567.891' 2
$GVTOOL number '7fff'
