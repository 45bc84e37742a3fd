#!/usr/bin/env bash
# Installs what the build and the tests need on a fresh Debian machine:
# the MinGW-w64 i686 cross compilers, CMake, GoogleTest sources, Xvfb,
# 32-bit Wine, and for the import libraries and the packaging tests LLVM
# (llvm-dlltool), clang, lld (lld-link), pkg-config, zip and unzip. Quick when
# everything is already there.
set -euo pipefail

need=()
command -v cmake >/dev/null 2>&1 || need+=(cmake)
command -v i686-w64-mingw32-g++-posix >/dev/null 2>&1 || need+=(g++-mingw-w64-i686 binutils-mingw-w64-i686)
[ -f /usr/src/googletest/CMakeLists.txt ] || need+=(googletest)
[ -f /usr/include/CLI/CLI.hpp ] || need+=(libcli11-dev)
[ -f /usr/include/stb/stb_image_write.h ] || need+=(libstb-dev)
command -v xvfb-run >/dev/null 2>&1 || need+=(xvfb xauth)
command -v llvm-dlltool >/dev/null 2>&1 || need+=(llvm)
command -v lld-link >/dev/null 2>&1 || need+=(lld)
command -v clang >/dev/null 2>&1 || need+=(clang)
command -v pkg-config >/dev/null 2>&1 || need+=(pkgconf)
command -v zip >/dev/null 2>&1 || need+=(zip)
command -v unzip >/dev/null 2>&1 || need+=(unzip)
have_wine=1
{ command -v wine >/dev/null 2>&1 && dpkg -s wine32:i386 >/dev/null 2>&1; } || have_wine=0

if [ ${#need[@]} -eq 0 ] && [ $have_wine -eq 1 ]; then
  exit 0
fi

SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO=sudo
export DEBIAN_FRONTEND=noninteractive

if [ $have_wine -eq 0 ] && ! dpkg --print-foreign-architectures | grep -qx i386; then
  $SUDO dpkg --add-architecture i386
fi
$SUDO apt-get update -q >/dev/null || true

if [ ${#need[@]} -gt 0 ]; then
  $SUDO apt-get install -y -q --no-install-recommends "${need[@]}"
fi

if [ $have_wine -eq 0 ]; then
  if ! $SUDO apt-get install -y -q --no-install-recommends wine wine32:i386; then
    # The security suite's i386 index can lag behind its amd64 one, leaving
    # wine32:i386 unresolvable. Retry with the security suite left out.
    echo "setup: retrying the Wine install without the security suite" >&2
    tmp=$(mktemp -d)
    trap 'rm -rf "$tmp"' EXIT
    src=/etc/apt/sources.list.d/debian.sources
    if [ -f "$src" ]; then
      # Keep every deb822 stanza whose Suites line does not name -security.
      awk 'BEGIN{RS="";ORS="\n\n"} !/Suites:[^\n]*-security/' "$src" >"$tmp/debian.sources"
    fi
    if [ -f /etc/apt/sources.list ]; then
      grep -v -- '-security' /etc/apt/sources.list >"$tmp/extra.list" || true
    fi
    opts=(-o Dir::Etc::SourceParts="$tmp" -o Dir::Etc::SourceList=/dev/null)
    [ -f "$tmp/extra.list" ] && opts=(-o Dir::Etc::SourceParts="$tmp" -o Dir::Etc::SourceList="$tmp/extra.list")
    $SUDO apt-get "${opts[@]}" update -q >/dev/null
    $SUDO apt-get "${opts[@]}" install -y -q --no-install-recommends wine wine32:i386
  fi
fi
