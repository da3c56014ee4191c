#!/usr/bin/env bash
# Builds the tests with AddressSanitizer and UndefinedBehaviorSanitizer in build-asan and runs the
# suite there, on a virtual display with a private session bus. Any report fails its test. Extra
# arguments go to ctest (e.g. -R Usage). HACKING.md says why the options below are what they are.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh --test
. scripts/sandbox-check.sh
# -g1: line tables are all a sanitizer report needs, and they build and link much faster.
cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-g1 \
  -DOSTREL_WERROR=ON -DOSTREL_SANITIZE=ON -DOSTREL_BUILD_BENCH=OFF >/dev/null
cmake --build build-asan

# Leaks are not checked: GTK, fontconfig, the GLib type system and the web engine keep allocations
# for the life of the process, and a suppression wide enough to silence them (any stack through
# GLib) would hide a leaked GObject of ours too. Use-after-free, overflows and undefined behaviour
# are what this run is for. The fake stack catches a coroutine that reads a caller's local after
# the caller returned.
export ASAN_OPTIONS=detect_leaks=0:detect_stack_use_after_return=1:strict_string_checks=1:abort_on_error=0
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
# GLib's slice allocator would hide its blocks' reuse from the sanitizer.
export G_SLICE=always-malloc

# LongRun measures the process's resident memory, which here is mostly the sanitizer's quarantine of
# freed blocks; it is also the longest test. It runs in the plain suite.
exec dbus-run-session -- xvfb-run -a -s "-screen 0 1280x1024x24 -noreset" \
  ctest --test-dir build-asan --output-on-failure -j2 -E '^LongRun\.' "$@"
