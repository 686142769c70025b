#!/usr/bin/env bash
# Installs a built tree into an empty prefix, moves it, and builds the smallest host against it, by find_package and by pkg-config.
#
#   installed_test.sh BUILD VERSION CXX [CMAKE_ARGUMENT]...
build=$1 version=$2 cxx=$3
shift 3
source "$(dirname "$0")/functions.sh"
here=$(cd "$(dirname "$0")" && pwd)

cmake --install "$build" --prefix "$work/first" >"$work/install.log" || fail "$(cat "$work/install.log")"
mv "$work/first" "$work/prefix"

stray=$(cd "$work/prefix" && find . -name '*.h' -not -path './include/kaleo/*' -not -path './include/kaleo-qt/*' -not -path './include/kaleo-qt-web/*' -not -path './include/kaleo-diagnosis/*')
[ -z "$stray" ] || fail "private headers are installed: $stray"
[ -f "$work/prefix/share/kaleo/Kaleo.bundle/placeholder.png" ] || fail "the resources are missing"
if [ -x "$build/bin/kaleo" ]; then "$work/prefix/bin/kaleo" --version | grep -qF "$version" || fail "the kaleo command does not run"; fi
if grep -rlF -e "$build" -e "$here" "$work/prefix" --include='*.cmake' --include='*.pc'; then fail "a package file names the build"; fi

# by_find_package FOLDER [CMAKE_ARGUMENT]...
by_find_package() {
  local folder=$1
  shift
  echo "== find_package: $folder"
  cmake -S "$here/$folder" -B "$work/$folder" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_PREFIX_PATH="$work/prefix" "$@" >"$work/log" ||
    fail "$(cat "$work/log")"
  cmake --build "$work/$folder" >"$work/log" || fail "$(cat "$work/log")"
  run_host "$work/$folder/host"
}

by_find_package Host "$@"
if [ -d "$work/prefix/include/kaleo-qt" ]; then
  export QT_QPA_PLATFORM=offscreen
  by_find_package QtHost "$@"
fi

echo "== pkg-config"
PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name kaleo.pc)")
export PKG_CONFIG_PATH
[ "$(pkg-config --modversion kaleo)" = "$version" ] || fail "kaleo.pc has another version"
# The flags are meant to be split.
# shellcheck disable=SC2046
"$cxx" -std=c++20 "$here/Host/main.cpp" -o "$work/host" $(pkg-config --cflags --libs kaleo)
LD_LIBRARY_PATH=$(pkg-config --variable=libdir kaleo) run_host "$work/host"
