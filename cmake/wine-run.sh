#!/usr/bin/env bash
# Usage: wine-run.sh BUILD_DIR PROGRAM [ARGS...]
# Runs a cross-built Windows program under Wine in the build's own prefix
# (BUILD_DIR/wineprefix). scripts/wine-session.sh prepares the prefix and keeps
# one wineserver alive for a whole test run.
build=$1; shift
export WINEPREFIX="${WINEPREFIX:-$build/wineprefix}"
export WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
exec wine "$@"
