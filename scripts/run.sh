#!/usr/bin/env bash
# Builds Ostrel (installing missing packages first) and runs it. Arguments go to the app, e.g.
# `scripts/run.sh --demo` for live-looking data from built-in stand-in services.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
. scripts/sandbox-check.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DOSTREL_BUILD_TESTS=OFF >/dev/null
cmake --build build --target ostrel
if [[ -z "${DISPLAY:-}" && -z "${WAYLAND_DISPLAY:-}" ]]; then
  echo "No display found; running Ostrel on a virtual one (xvfb-run)."
  scripts/deps.sh --test
  exec xvfb-run -a build/src/app/ostrel "$@"
fi
exec build/src/app/ostrel "$@"
