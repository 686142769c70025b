#!/usr/bin/env bash
# Installs the Debian packages that a build needs and that are missing. Safe to run again: it does nothing when all are there.
#
#   scripts/bootstrap.sh [core|qt|test|bench|web]...     default: core qt test
#
#   core  the library, its command line tool and their build
#   qt    the Qt 6 presentation back end and the example application
#   test  what only the tests need
#   bench what only the benchmarks need
#   web   Qt WebEngine (some 70 MB more), for libkaleo-qt-web
set -euo pipefail

core=(g++ cmake ninja-build ccache pkg-config
      libsqlite3-dev libcurl4-openssl-dev libssl-dev libicu-dev
      libsimdjson-dev libcbor-dev libfmt-dev libasio-dev
      libjpeg62-turbo-dev libspng-dev libgif-dev
      libcpp-httplib-dev libcli11-dev)
qt=(qt6-base-dev libgl-dev fonts-wqy-microhei fonts-noto-color-emoji)
test=(libgtest-dev libgmock-dev openssl sqlite3 python3 iproute2 nghttp2-server xvfb xdotool dbus at-spi2-core)
bench=(libbenchmark-dev)
web=(qt6-webengine-dev)

[ $# -gt 0 ] || set -- core qt test
wanted=()
for group in "$@"; do
  case "$group" in
    core)  wanted+=("${core[@]}") ;;
    qt)    wanted+=("${qt[@]}") ;;
    test)  wanted+=("${test[@]}") ;;
    bench) wanted+=("${bench[@]}") ;;
    web)   wanted+=("${web[@]}") ;;
    *) echo "bootstrap: unknown group '$group' (known: core qt test bench web)" >&2; exit 2 ;;
  esac
done

missing=()
for package in "${wanted[@]}"; do
  state=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [ "$state" = "install ok installed" ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

if [ "$(id -u)" -eq 0 ]; then
  as_root=()
elif command -v sudo >/dev/null; then
  as_root=(sudo)
else
  echo "bootstrap: these packages are missing and neither root nor sudo is at hand: ${missing[*]}" >&2
  exit 1
fi

echo "Installing ${#missing[@]} missing Debian packages: ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
  apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
