#!/usr/bin/env bash
# Runs clang-tidy (the checks in .clang-tidy) over every tracked C++ source, with the compile
# commands of the test build (configured here if it is not yet). Needs clang-tidy 17 or later for
# the coroutine checks; Debian bookworm has clang-tidy-19 (scripts/deps.sh --tidy installs it).
# Extra arguments are file regexes, e.g. `scripts/tidy.sh src/async`.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh --tidy
build=build-tests
if [[ ! -f "$build/compile_commands.json" ]]; then
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DOSTREL_WERROR=ON >/dev/null
fi
mapfile -t files < <(git ls-files '*.cpp')
if [[ $# -gt 0 ]]; then
  mapfile -t files < <(printf '%s\n' "${files[@]}" | grep -E "$(IFS='|'; echo "$*")")
fi
exec run-clang-tidy-19 -quiet -p "$build" -j "$(nproc)" "${files[@]/#/$PWD/}"
