#!/usr/bin/env bash
# Installs what is missing, then configures and builds everything into build/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bash "$root/scripts/setup.sh"
build="${GV_BUILD_DIR:-$root/build}"
cmake -S "$root" -B "$build" -G "Unix Makefiles" -DCMAKE_BUILD_TYPE=Release
cmake --build "$build" -j"$(nproc)"
