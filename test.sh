#!/usr/bin/env bash
# Installs what is missing, builds and runs all tests:
#   dev    everything under the address and undefined behaviour sanitizers; the Qt back end on the offscreen platform and under Xvfb
#   tsan   the threaded parts under the thread sanitizer
#   no-qt  the core, its tools and tests as on a machine without Qt, and hosts built against the installed copy
#
#   ./test.sh [dev|tsan|no-qt]...     default: all three
set -euo pipefail
cd "$(dirname "$0")"

scripts/bootstrap.sh core qt test
[ $# -gt 0 ] || set -- dev tsan no-qt

for preset in "$@"; do
  echo
  echo "== $preset: configure and build"
  cmake --preset "$preset" --log-level=WARNING
  cmake --build --preset "$preset"
  echo
  echo "== $preset: test"
  ctest --preset "$preset" -j "$(nproc)"
done
