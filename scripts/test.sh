#!/usr/bin/env bash
# Builds everything and runs every test, quickest verdicts first: formatting and layering (seconds),
# the regular build with its unit tests, then the browser and desktop tests, clang-tidy, the
# sanitizer builds and the fuzzers. Stops at the first failure; says how long each piece took.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
jobs=$(nproc)

timed() {  # name, command...
  local name=$1 start=$SECONDS
  shift
  "$@"
  echo "== $name: $((SECONDS - start)) s"
}

checks() {
  mapfile -t sources < <(git ls-files '*.h' '*.cpp')
  clang-format --dry-run --Werror "${sources[@]}"
  bash tests/layering/check_layers.sh
}

unit() {
  cmake --preset regular >/dev/null
  cmake --build build -j "$jobs"
  ctest --preset unit -j "$jobs" | tee build/ctest-summary.log
}

integration() {  # the gallery page in a browser, the board on an X server
  ctest --test-dir build --output-on-failure -j "$jobs" -L 'browser|board' |
    tee -a build/ctest-summary.log
}

timed "format and layering" checks
timed "regular build and unit tests" unit
timed "browser and desktop tests" integration
timed "clang-tidy" scripts/tidy.sh
timed "sanitizer builds and tests" scripts/sanitize.sh
timed "fuzzing" scripts/fuzz.sh

# One closing line for whoever reads the log: the regular suite's counts.
total=$(($(sed -n 's/.*tests failed out of \([0-9]*\).*/\1/p' build/ctest-summary.log | paste -sd+)))
skipped=$(grep -c '(Skipped)' build/ctest-summary.log || true)
echo "$((total - skipped)) passed, 0 failed, $skipped skipped"
