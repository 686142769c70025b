#!/usr/bin/env bash
# Installs what is missing, builds and runs all tests:
#   dev    everything under the address and undefined behaviour sanitizers; the Qt back end on the offscreen platform and under Xvfb;
#          each fuzz target for half a minute
#   tsan   the threaded parts under the thread sanitizer
#   no-qt  the core and its tools as on a machine without Qt, the tests that run the whole of them, and hosts built against the
#          installed copy; the other suites, which know nothing of Qt either way, have run under both sanitizers
#
#   ./test.sh [dev|tsan|no-qt]...     default: all three
set -euo pipefail
cd "$(dirname "$0")"

scripts/bootstrap.sh core qt test
# Ten seconds, once; without them their tests are skipped, and say so.
timeout 120 scripts/fetch_picture_suites || true
[ $# -gt 0 ] || set -- dev tsan no-qt

for preset in "$@"; do
  echo
  echo "== $preset: configure and build"
  suites=
  [ "$preset" != no-qt ] || suites="headless;entry;tools;examples"
  cmake --preset "$preset" --log-level=WARNING -DKALEO_TEST_SUITES="$suites"
  cmake --build --preset "$preset"
  echo
  echo "== $preset: test"
  ctest --preset "$preset" -j "$(nproc)"
done
