#!/usr/bin/env bash
# Usage: package.sh [--no-build]
# Builds (unless --no-build), installs into a staging folder and makes the
# release archive GVTALC-<version>-win32.zip in $GV_DIST_DIR (default
# build/dist). The DLL and gvtool in it are stripped; their debug information
# goes to GVTALC-<version>-win32-debug.zip as bin/*.debug, which the stripped
# files name in their .gnu_debuglink section (unzip both into one folder and
# a debugger finds it).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="${GV_BUILD_DIR:-$root/build}"
[ "${1:-}" = "--no-build" ] || GV_BUILD_DIR="$build" bash "$root/scripts/build.sh"
build=$(cd "$build" && pwd)
dist=$(mkdir -p "${GV_DIST_DIR:-$build/dist}" && cd "${GV_DIST_DIR:-$build/dist}" && pwd)

cache() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
version=$(cache CMAKE_PROJECT_VERSION)
objcopy=$(cache CMAKE_OBJCOPY)
name=GVTALC-$version-win32
stage=$dist/stage
rm -rf "$stage" "$dist/$name.zip" "$dist/$name-debug.zip"
mkdir -p "$stage/debug/$name/bin"
cmake --install "$build" --prefix "$stage/$name" >/dev/null

for f in GVTALC.dll gvtool.exe; do
  (cd "$stage/$name/bin"
   "$objcopy" --only-keep-debug "$f" "$f.debug"
   "$objcopy" --strip-all "$f"
   "$objcopy" --add-gnu-debuglink="$f.debug" "$f"
   mv "$f.debug" "$stage/debug/$name/bin/")
done

(cd "$stage" && zip -q -X -r "$dist/$name.zip" "$name")
(cd "$stage/debug" && zip -q -X -r "$dist/$name-debug.zip" "$name")
rm -rf "$stage"
ls -l "$dist/$name.zip" "$dist/$name-debug.zip"
