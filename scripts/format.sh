#!/usr/bin/env bash
# Formats every tracked C++ file with the repository's .clang-format. With --check it changes
# nothing, lists the files that differ from the format and fails when there are any (CI runs that).
set -euo pipefail
cd "$(dirname "$0")/.."

mapfile -d '' files < <(git ls-files -z '*.cpp' '*.h')
if [[ "${1:-}" != "--check" ]]; then
  clang-format -i "${files[@]}"
  exit 0
fi

if report=$(clang-format --dry-run --Werror "${files[@]}" 2>&1); then
  echo "clang-format: ${#files[@]} files formatted"
  exit 0
fi
echo "clang-format: these files are not formatted (scripts/format.sh fixes them):"
# Each diagnostic starts with "path:line:col: error:"; one line per file is enough.
grep -oE '^[^:]+:[0-9]+:[0-9]+: error' <<<"$report" | cut -d: -f1 | sort -u | sed 's/^/  /'
# A failure with no diagnostics (clang-format missing, a bad .clang-format) shows as it is.
grep -qE '^[^:]+:[0-9]+:[0-9]+: error' <<<"$report" || echo "$report"
exit 1
