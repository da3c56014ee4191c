#!/usr/bin/env bash
# Builds Ostrel with warnings as errors (installing missing packages first) and runs every test on
# a virtual display with a private session bus. Extra arguments go to ctest (e.g. -R Settings).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh --test
. scripts/sandbox-check.sh
cmake -S . -B build-tests -G Ninja -DCMAKE_BUILD_TYPE=Debug -DOSTREL_WERROR=ON >/dev/null
cmake --build build-tests
# -noreset: an X server resets whenever its last client leaves, and refuses the next test's
# connection while it does.
exec dbus-run-session -- xvfb-run -a -s "-screen 0 1280x1024x24 -noreset" \
  ctest --test-dir build-tests --output-on-failure -j2 "$@"
