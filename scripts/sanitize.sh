#!/usr/bin/env bash
# The sanitizer runs, built with clang so that the whole tree is also checked by the second
# compiler (the regular build uses g++):
#   build-asan: AddressSanitizer + UndefinedBehaviorSanitizer, every target, the whole suite;
#   build-tsan: ThreadSanitizer, the test programs holding Concurrency tests, those tests.
# Benchmarks are off in both; RelWithDebInfo keeps the runs fast and the reports readable.
#   scripts/sanitize.sh [asan|tsan]   (both when not named)
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)
which=${1:-all}
suppressions=$PWD/scripts/sanitizers

configure() {  # preset (CMakePresets.json): asan builds in build-asan, tsan in build-tsan
  cmake --preset "$1" >/dev/null
}

if [[ $which == all || $which == asan ]]; then
  echo "== AddressSanitizer + UndefinedBehaviorSanitizer: build-asan, whole suite"
  configure asan
  cmake --build build-asan -j "$jobs"
  # Leak checking stays on everywhere; lsan.supp says which third-party reports it drops.
  ASAN_OPTIONS=detect_leaks=1:check_initialization_order=1:strict_init_order=1:detect_stack_use_after_return=1 \
  LSAN_OPTIONS=suppressions=$suppressions/lsan.supp:print_suppressions=0 \
  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir build-asan --output-on-failure -j "$jobs"
fi

if [[ $which == all || $which == tsan ]]; then
  echo "== ThreadSanitizer: build-tsan, Concurrency tests"
  configure tsan
  # The test programs holding tests whose name says Concurrency
  # (tests/<folder>/ -> <folder>_tests).
  mapfile -t targets < <(grep -rlE --include='*.cpp' 'TEST(_F|_P)?\([^)]*Concurrency' tests |
    sed -E 's|^tests/([^/]+)/.*|\1_tests|' | sort -u)
  ((${#targets[@]})) || { echo "no Concurrency tests found" >&2; exit 1; }
  cmake --build build-tsan -j "$jobs" --target "${targets[@]}"
  # No suppressions: the reads' uninstrumented libraries (SQLite, ICU) report nothing today.
  TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
    ctest --test-dir build-tsan --output-on-failure -j "$jobs" -R Concurrency \
    --no-tests=error
fi
