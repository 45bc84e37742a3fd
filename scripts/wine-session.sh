#!/usr/bin/env bash
# Usage: wine-session.sh BUILD_DIR COMMAND [ARGS...]
# Runs COMMAND with the build's own Wine prefix ready and one wineserver kept
# alive for its whole length, so each program starts quickly. Run it under an
# X display (xvfb-run) so windows and message boxes behave as on a desktop.
set -uo pipefail
build=$(cd "$1" && pwd); shift
export WINEPREFIX="$build/wineprefix"
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  wineboot -i >/dev/null 2>&1
  wineserver -w   # parallel first starts race; let the prefix settle
fi
wineserver -p
trap 'wineserver -k >/dev/null 2>&1' EXIT
# Start Wine's own services now, with their output going nowhere: started by
# a test instead, they would inherit its output pipe and hold it open.
wine cmd.exe /c exit >/dev/null 2>&1 </dev/null
# Without a window manager Wine waits about 2 s for every managed window to
# be mapped; unmanaged windows show at once.
wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null 2>&1 </dev/null
"$@"
