#!/usr/bin/env bash
# Builds everything and opens a small shop beside a popup server that serves the sample campaigns.
#
#   ./demo.sh              the shop in a window; without a display as with --headless
#   ./demo.sh --headless   plays a visit from a script, without a screen; pictures go into demo-output/
#
# On a fresh Debian 12 it installs what is missing first. It leaves nothing running. Its exit code is that of the shop.
set -euo pipefail
cd "$(dirname "$0")"

build=build/release
output=demo-output

headless=no
[ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] || headless=yes
for argument in "$@"; do
  case "$argument" in
    --headless) headless=yes ;;
    -h | --help) sed -n '2,7s/^# \{0,1\}//p' "$0"; exit 0 ;;
    *) echo "demo.sh: unknown argument '$argument' (known: --headless)" >&2; exit 2 ;;
  esac
done

scripts/bootstrap.sh core qt

if [ ! -f $build/build.ninja ]; then
  echo "Configuring the release build in $build."
  cmake --preset release >/dev/null
fi
echo "Building what has changed."
cmake --build $build --target kaleo-tool kaleo-shop

work=$(mktemp -d)
running=()
leave() {
  for process in "${running[@]}"; do
    kill "$process" 2>/dev/null || true
    wait "$process" 2>/dev/null || true
  done
  rm -rf "$work"
}
trap leave EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# The campaigns leave 20 seconds between two popups. A scripted visit has less time, and a window of its own.
campaigns=Examples/Campaigns
if [ $headless = yes ]; then
  cp -r $campaigns "$work/campaigns"
  campaigns=$work/campaigns
  sed -i 's/\("popup_interval_global".*"value": \)20}/\13}/' "$campaigns/user_popup_configs.json"
  mkdir -p $output
  rm -f $output/*.png
  export XDG_RUNTIME_DIR=${XDG_RUNTIME_DIR:-$work}
fi

$build/bin/kaleo serve "$campaigns" --print-port-file "$work/port" >"$work/server.log" 2>&1 &
server=$!
running+=("$server")
until [ -s "$work/port" ]; do
  kill -0 "$server" 2>/dev/null || { cat "$work/server.log" >&2; exit 1; }
  sleep 0.05
done
url=http://127.0.0.1:$(cat "$work/port")
echo "A popup server serves $campaigns at $url."

# In the background, so that a signal ends the wait at once and the shop with it.
status=0
open_shop() {
  $build/bin/kaleo-shop --server "$url" "$@" &
  running=("$!" "${running[@]}")
  wait "$!" || status=$?
}
if [ $headless = yes ]; then
  echo "The shop plays a visit from a script, without a screen."
  open_shop --data "$work/data" --headless --out $output
  cp "$work/server.log" $output/server.log
  echo "Pictures and the server's log are in $output/."
else
  echo "The shop opens. Look at a product, add it to the cart, pay, log in; the pane beside the shop says what happens and why."
  echo "Edit the files in Examples/Campaigns while it runs: the shop fetches them each minute. Close the shop to end."
  open_shop --data "$PWD/$build/shop-data"
fi
exit $status
