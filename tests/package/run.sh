#!/usr/bin/env bash
# Usage: run.sh CASE SOURCE_DIR BUILD_DIR WORK_DIR
# The packaging tests, as a client developer meets the library: each case
# builds or links something against the install tree (WORK_DIR/install,
# made by the "install" case) or the sources, runs it under Wine and checks
# one result. Programs run with GVTALC.dll beside them.
set -euo pipefail
case=$1 src=$2 build=$3 work=$4
prefix=$work/install
toolchain=$src/cmake/mingw-i686.cmake
run() { "$src/cmake/wine-run.sh" "$build" "$@"; }
out=$work/$case
rm -rf "$out" && mkdir -p "$out"

case $case in
install)  # the install tree every other case uses ($out is $prefix)
  cmake --install "$build" --prefix "$prefix" >/dev/null
  ;;
no-build-path)  # the import libraries name no folder of this machine
  for dir in "$build" "$src"; do
    mangled=$(printf '%s' "$dir" | tr -c 'A-Za-z0-9' '_')  # as dlltool names members
    for lib in "$prefix/lib/libGVTALC.dll.a" "$prefix/lib/GVTALC.lib"; do
      if grep -q -a -F -e "$dir" -e "$mangled" "$lib"; then
        echo "$lib names $dir"; exit 1
      fi
    done
  done
  ;;
link-mingw)  # cross gcc, flags from gvtalc.pc: -lGVTALC picks libGVTALC.dll.a
  export PKG_CONFIG_PATH=$prefix/lib/pkgconfig PKG_CONFIG_LIBDIR=$prefix/lib/pkgconfig
  i686-w64-mingw32-gcc -Wall -Wextra -Werror $(pkg-config --cflags gvtalc) \
    -o "$out/link_mingw.exe" "$src/tests/package/link_mingw.c" $(pkg-config --libs gvtalc)
  cp "$prefix/bin/GVTALC.dll" "$out/"
  run "$out/link_mingw.exe"
  ;;
link-msvc)  # clang and lld-link with SafeSEH on, against GVTALC.lib
  printf 'LIBRARY kernel32.dll\nEXPORTS\n    ExitProcess@4\n' >"$out/kernel32.def"
  llvm-dlltool -m i386 -k -d "$out/kernel32.def" -l "$out/kernel32.lib"
  clang -target i686-pc-windows-msvc -O1 -Wall -Werror -c "$src/tests/package/link_msvc.c" \
    -o "$out/link_msvc.obj"
  lld-link /nologo /safeseh /subsystem:console /entry:start /nodefaultlib \
    /out:"$out/link_msvc.exe" "$out/link_msvc.obj" "$prefix/lib/GVTALC.lib" "$out/kernel32.lib"
  cp "$prefix/bin/GVTALC.dll" "$out/"
  run "$out/link_msvc.exe"
  ;;
find-package)  # examples/ as a developer builds it: find_package against the install tree
  cmake -S "$src/examples" -B "$out" -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
    -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
  cmake --build "$out" >/dev/null
  run "$out/gvexample.exe"
  ;;
add-subdirectory)  # the library built inside a client project from its sources
  cmake -S "$src/tests/package/subdir" -B "$out" -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
    -DGVTALC_SRC="$src" -DCMAKE_BUILD_TYPE=Release >/dev/null
  cmake --build "$out" -j"$(nproc)" >/dev/null
  run "$out/gvexample.exe"
  ;;
zip)  # the release archive: a stripped DLL that links to its debug file
  GV_BUILD_DIR=$build GV_DIST_DIR=$out bash "$src/scripts/package.sh" --no-build >/dev/null
  zip=$(ls "$out"/GVTALC-*-win32.zip)
  name=$(basename "$zip" .zip)
  unzip -q -d "$out" "$zip" "$name/bin/GVTALC.dll"
  sections=$(i686-w64-mingw32-objdump -h "$out/$name/bin/GVTALC.dll")
  if ! grep -q '\.gnu_debuglink' <<<"$sections" || grep -q '\.debug_info' <<<"$sections"; then
    echo "GVTALC.dll in $name.zip: not stripped, or no link to its debug file"; exit 1
  fi
  members=$(unzip -Z1 "$zip")
  if ! grep -qx "$name/bin/GVTALC.deu" <<<"$members"; then
    echo "$name.zip carries no German language module beside the DLL"; exit 1
  fi
  ;;
languages)  # the installed language modules, found by the installed gvtool
  listing=$(run "$prefix/bin/gvtool.exe" lang)
  if ! grep -q "^GVTALC.deu .* Deutsch (Deutschland)" <<<"$listing" ||
     grep -q "gvtest" <<<"$listing"; then
    echo "gvtool lang in the install tree:"; echo "$listing"; exit 1
  fi
  ;;
*)
  echo "unknown case $case"; exit 2
  ;;
esac
