#!/usr/bin/env bash
# Builds everything and runs every test: the regular build, then the sanitizer builds, then the
# decoder fuzzers. Stops at the first failure; says how long each piece took.
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

regular() {
  cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMORA_WERROR=ON >/dev/null
  cmake --build build -j "$jobs"
  ctest --test-dir build --output-on-failure -j "$jobs" | tee build/ctest-summary.log
}

timed "regular build and tests" regular
timed "sanitizer builds and tests" scripts/sanitize.sh
timed "fuzzing" scripts/fuzz.sh

# One closing line for whoever reads the log: the regular suite's counts.
total=$(sed -n 's/.*tests failed out of \([0-9]*\).*/\1/p' build/ctest-summary.log | tail -1)
skipped=$(grep -c '(Skipped)' build/ctest-summary.log || true)
echo "$((total - skipped)) passed, 0 failed, $skipped skipped"
