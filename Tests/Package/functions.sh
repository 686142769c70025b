# For the package tests: a temporary folder that goes with the test, and a host run within it.
set -euo pipefail

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

# run_host PROGRAM: with a home of its own, so that nothing of the user's is touched.
run_host() {
  env -u XDG_DATA_HOME -u XDG_CONFIG_HOME -u XDG_CACHE_HOME -u XDG_STATE_HOME HOME="$work/home" timeout 60 "$1" | tee "$work/output"
  grep -q "^kaleo $version\$" "$work/output" || fail "$1 did not say its version"
}
