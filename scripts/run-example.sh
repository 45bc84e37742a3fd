#!/usr/bin/env bash
# The main job: builds everything (installing what is missing), then runs the
# gvtool client under Wine on built-in example data. Each family's example
# steps are in scripts/examples/*.sh, run in name order with $GVTOOL set.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="${GV_BUILD_DIR:-$root/build}"
GV_BUILD_DIR="$build" bash "$root/scripts/build.sh" >/dev/null
export GV_EXAMPLE_DIR="$build/example"
mkdir -p "$GV_EXAMPLE_DIR"
xvfb-run -a -s "-screen 0 1280x1024x24" \
  bash "$root/scripts/wine-session.sh" "$build" bash -c '
    set -e
    export GVTOOL="wine '"$build"'/bin/gvtool.exe"
    for step in '"$root"'/scripts/examples/*.sh; do
      echo "== $(basename "$step" .sh)"
      bash "$step"
    done'
