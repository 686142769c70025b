#!/usr/bin/env bash
# Builds the smallest host with Kaleo inside its own tree, and looks at the commands with which the host's file is compiled.
#
#   embedded_test.sh SOURCE VERSION [CMAKE_ARGUMENT]...
source_dir=$1 version=$2
shift 2
source "$(dirname "$0")/functions.sh"

cmake -S "$(dirname "$0")/Embedded" -B "$work/build" -G Ninja -DKALEO_SOURCE="$source_dir" "$@" >"$work/log" ||
  fail "$(cat "$work/log")"
grep -q '^KALEO_WARNINGS_AS_ERRORS:BOOL=OFF$' "$work/build/CMakeCache.txt" || fail "warnings of Kaleo's code would stop a host's build"
# From here on as in our own presets, whose objects a compiler cache then has already.
cmake -DKALEO_WARNINGS_AS_ERRORS=ON "$work/build" >"$work/log" || fail "$(cat "$work/log")"
cmake --build "$work/build" -j 2 --target host >"$work/log" || fail "$(tail -50 "$work/log")"
run_host "$work/build/host"

command=$(grep -F 'Host/main.cpp' "$work/build/compile_commands.json" | grep -F '"command"') || fail "no compile command of the host"
for leak in ' -W' ' -fvisibility' ' -fsanitize' "$source_dir/Source"; do
  case $command in *"$leak"*) fail "'$leak' reached the host: $command" ;; esac
done
