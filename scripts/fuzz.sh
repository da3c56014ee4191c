#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Builds the libFuzzer targets of fuzz/ in build-fuzz/ (clang, AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs each for the given number of seconds (60 by default), from a
# scratch copy of its seeds in fuzz/corpus/<name>, so the seeds do not grow. Prints per target the
# inputs it ran and whether it found something; a finding is kept in build-fuzz/runs/<name>/ and
# makes the script fail. Replay one with: build-fuzz/fuzz/fuzz_<name> <file>
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
if ! [[ $seconds =~ ^[0-9]+$ ]] || ((seconds == 0)); then
  echo "usage: $0 [seconds per target]" >&2
  exit 2
fi

scripts/deps.sh --fuzz
cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=Debug -DOSTREL_FUZZ=ON \
  -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 >/dev/null
cmake --build build-fuzz -j2

# GLib's slice allocator would reuse the key file's blocks out of AddressSanitizer's sight.
export G_SLICE=always-malloc
found=0
summary=()
for seeds in fuzz/corpus/*/; do
  name=$(basename "$seeds")
  run=build-fuzz/runs/$name
  rm -rf "$run"
  mkdir -p "$run/corpus"
  cp "$seeds"* "$run/corpus/"
  echo "== fuzz_$name for ${seconds}s"
  status=0
  # A slow input (10 s) counts as a finding too; libFuzzer stops at the first one.
  "build-fuzz/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$run/" "$run/corpus" >"$run/log" 2>&1 || status=$?
  runs=$(grep -oE 'stat::number_of_executed_units: *[0-9]+' "$run/log" | grep -oE '[0-9]+$' || echo "?")
  artifacts=$(find "$run" -maxdepth 1 -type f -name '*-*' ! -name log | sort)
  if ((status != 0)) || [[ -n $artifacts ]]; then
    found=1
    summary+=("$(printf '%-14s %12s runs  FOUND: %s (log: %s)' "$name" "$runs" "${artifacts:-exit $status}" "$run/log")")
  else
    summary+=("$(printf '%-14s %12s runs  nothing found' "$name" "$runs")")
  fi
done

echo
printf '%s\n' "${summary[@]}"
exit "$found"
