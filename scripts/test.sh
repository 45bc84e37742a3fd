#!/usr/bin/env bash
# Builds everything and runs all tests under Wine with a virtual X display.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="${GV_BUILD_DIR:-$root/build}"
GV_BUILD_DIR="$build" bash "$root/scripts/build.sh"
xvfb-run -a -s "-screen 0 1280x1024x24" \
  bash "$root/scripts/wine-session.sh" "$build" \
  ctest --test-dir "$build" --output-on-failure "$@"
