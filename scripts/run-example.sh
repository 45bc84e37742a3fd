#!/usr/bin/env bash
# The main job: builds everything (installing what is missing), installs the
# library into build/example/GVTALC, builds the sample client examples/ against
# that install tree, then runs the example steps under Wine on built-in data.
# Each family's steps are in scripts/examples/*.sh, run in name order with
# $GVTOOL (the gvtool client) and $GVEXAMPLE (the sample client) set.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="${GV_BUILD_DIR:-$root/build}"
GV_BUILD_DIR="$build" bash "$root/scripts/build.sh"
build=$(cd "$build" && pwd)
export GV_EXAMPLE_DIR="$build/example"
prefix="$GV_EXAMPLE_DIR/GVTALC"
mkdir -p "$GV_EXAMPLE_DIR"

echo "== install into $prefix, build examples/ against it"
rm -rf "$prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null
cmake -S "$root/examples" -B "$GV_EXAMPLE_DIR/client" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-i686.cmake" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$GV_EXAMPLE_DIR/client"

xvfb-run -a -s "-screen 0 1280x1024x24" \
  bash "$root/scripts/wine-session.sh" "$build" bash -c '
    set -e
    export GVTOOL="wine '"$build"'/bin/gvtool.exe"
    export GVEXAMPLE="wine '"$GV_EXAMPLE_DIR"'/client/gvexample.exe"
    for step in '"$root"'/scripts/examples/*.sh; do
      echo "== $(basename "$step" .sh)"
      bash "$step"
    done'
