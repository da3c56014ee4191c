#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Builds Ostrel and photographs its panel for the software centres: runs the demo on a virtual
# display with a private session bus, opens the panel (by starting the demo a second time) and
# saves it in the light and the dark style as panel-light.png and panel-dark.png, and in each other
# gauge theme as panel-<theme>.png. Then photographs the tray in a real tray host (xfce4-panel):
# tray-dark.png and tray-light.png with one item per service, tray-label.png with the wide label.
# The tray under the other hosts (GNOME Shell, waybar, Plasma) is photographed by scripts/desktops.sh.
#   scripts/screenshots.sh [OUTPUT_FOLDER]     (default: build/screenshots)
# OSTREL_BUILD_DIR names another build folder to use (one already configured is used as it is).
set -euo pipefail
cd "$(dirname "$0")/.."
build=${OSTREL_BUILD_DIR:-build}
out=$(realpath -m "${1:-$build/screenshots}")

if [[ "${OSTREL_SCREENSHOTS_INSIDE:-}" != 1 ]]; then
  scripts/deps.sh --test
  if [[ ! -f $build/CMakeCache.txt ]]; then
    cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DOSTREL_BUILD_TESTS=OFF >/dev/null
  fi
  cmake --build "$build" --target ostrel
  mkdir -p "$out"
  # Again, inside a display and a session bus of its own, so nothing of the user's desktop shows.
  export OSTREL_SCREENSHOTS_INSIDE=1 OSTREL_BUILD_DIR=$build
  exec dbus-run-session -- xvfb-run -a -s "-screen 0 1280x1024x24 -noreset" "$0" "$out"
fi

. scripts/sandbox-check.sh
app=$build/src/app/ostrel
log=$(mktemp)
trap 'rm -f "$log"' EXIT

# The panel is the undecorated top-level window titled "Ostrel" that is shown.
panel_window() {
  xwininfo -root -tree | awk '/"Ostrel": \(/ { print $1 }' | while read -r id; do
    if xwininfo -id "$id" | grep -q "Map State: IsViewable"; then echo "$id"; fi
  done | head -n1
}

shoot() {
  local style=$1 theme=$2 gauge=${3:-theme1}
  GTK_THEME=$theme OSTREL_DEMO_THEME=$gauge "$app" --demo >"$log" 2>&1 &
  local pid=$!
  # The demo has logged in and has numbers once every service has answered once.
  for _ in $(seq 60); do
    [[ $(grep -c " OK, main:" "$log" || true) -ge 3 ]] && break
    sleep 0.5
  done
  GTK_THEME=$theme "$app" --demo >/dev/null 2>&1 # opens the running demo's panel
  local id=""
  for _ in $(seq 20); do
    id=$(panel_window)
    [[ -n "$id" ]] && break
    sleep 0.5
  done
  sleep 2 # the gauges' first motion settles
  if [[ -z "$id" ]]; then
    kill "$pid"
    wait "$pid" || true
    echo "screenshots.sh: the panel did not open; the demo said:" >&2
    cat "$log" >&2
    exit 1
  fi
  import -window "$id" "$out/panel-$style.png"
  kill "$pid" # the demo ends cleanly on SIGTERM and removes its folder
  wait "$pid" || true
  echo "Wrote $out/panel-$style.png"
}

shoot light Adwaita
shoot dark Adwaita:dark
for gauge in theme3 theme4 candle hearts plant; do
  shoot "$gauge" Adwaita "$gauge"
done

# The host brings its own display and bus.
python3 tools/tray_host.py --app "$app" --out "$out" --scenes dark,light,label
