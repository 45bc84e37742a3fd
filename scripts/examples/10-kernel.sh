# The kernel version, a few settings written and read back, a recent-file list.
set -e
$GVTOOL version
$GVTOOL metric GvExample 1.0 set 7 42
$GVTOOL metric GvExample 1.0 sets 8 "hello, registry"
$GVTOOL metric GvExample 1.0 list 0 10
$GVTOOL mru GvExampleFiles size 3
for f in a.wav b.wav c.wav b.wav d.wav; do $GVTOOL mru GvExampleFiles add "C:\\audio\\$f"; done
$GVTOOL mru GvExampleFiles show
