#!/usr/bin/env bash
# clang-tidy over the program's own sources (not tests, benchmarks or fuzz targets), with the
# checks .clang-tidy names and defends; any finding fails. Uses the compile commands of a
# configured build folder (default: build, as scripts/test.sh leaves it).
#   scripts/tidy.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
[ -f "$build/compile_commands.json" ] || cmake --preset regular >/dev/null
mapfile -t sources < <(git ls-files '*.cpp' |
  grep -E '^(platform|records|store|appgroup|timeline|ui|style|layout|render|dailybrief|watchlist|widgets|ipc|extension|hosting|gallery|desktop|studio|cli)/')
# The build's g++ knows warning options clang does not; they mean nothing to the checks.
run-clang-tidy -quiet -p "$build" -j "$(nproc)" -extra-arg=-Wno-unknown-warning-option \
  "${sources[@]}" >"$build/tidy.log" 2>&1 || {
  grep -E 'warning:|error:' "$build/tidy.log" | sort -u >&2
  echo "clang-tidy: findings above (whole log: $build/tidy.log)" >&2
  exit 1
}
echo "clang-tidy: ${#sources[@]} files, no findings"
