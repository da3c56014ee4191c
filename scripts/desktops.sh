#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs the demo under every real tray host this machine can run headless (GNOME Shell with the
# AppIndicator extension, sway with waybar on a light and a dark bar, Plasma, Xfce, and no tray),
# photographs each bar and prints a PASS or FAIL line per point checked (tools/desktops.py says
# which). By hand, before a change to the tray is sent: it takes a few minutes and the hosts are
# large (scripts/deps.sh --desktops installs them).
#   scripts/desktops.sh [--hosts gnome,sway,plasma,xfce,none] [--starts N] [OUTPUT_FOLDER]
# The pictures go to OUTPUT_FOLDER (default: BUILD/desktops); OSTREL_BUILD_DIR names the build
# folder (default: build-tests). Run as root, the sway run drops to the user nobody (sway refuses
# root), so the build folder must be readable by all.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${OSTREL_BUILD_DIR:-build-tests}
args=()
out=""
while [[ $# -gt 0 ]]; do
  case "$1" in
    --hosts | --starts) args+=("$1" "$2"); shift 2 ;;
    *) out=$1; shift ;;
  esac
done
out=$(realpath -m "${out:-$build/desktops}")

scripts/deps.sh --desktops
if [[ ! -f $build/CMakeCache.txt ]]; then
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug >/dev/null
fi
cmake --build "$build" --target ostrel
exec python3 tools/desktops.py --app "$build/src/app/ostrel" --out "$out" "${args[@]}"
