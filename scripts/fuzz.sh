#!/usr/bin/env bash
# Builds the fuzz targets over the record decoders and the extension protocol with clang
# (libFuzzer, address and undefined behaviour sanitizers) in build-fuzz and runs each for SECONDS
# (default 15) on a scratch copy of its seed corpus, so the committed corpus never changes. Fails
# on any finding; the reproducer is kept under build-fuzz/findings/.
#   scripts/fuzz.sh [SECONDS]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-15}
build=build-fuzz
targets=(DailyBrief PortfolioSnapshot WatchlistRow WatchlistRows RoundTrip
  HostReply ExtensionRequest)

cmake --preset fuzz >/dev/null
cmake --build "$build" --target fuzzers -j "$(nproc)"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
findings="$build/findings"
mkdir -p "$findings"

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
failed=()
for target in "${targets[@]}"; do
  corpus="$scratch/$target"
  mkdir -p "$corpus"
  cp fuzz/corpus/"$target"/* "$corpus"/
  log="$scratch/$target.log"
  status=0
  case $target in
    # Frames of up to 64 KiB, whose reading never allocates 2 MB at once: a count that lies
    # sizes no list. Value profiles lead the fuzzer to the lengths and counts that are compared.
    HostReply | ExtensionRequest)
      options=(-dict=fuzz/protocol.dict -max_len=65536 -malloc_limit_mb=2 -use_value_profile=1) ;;
    *) options=(-dict=fuzz/records.dict -max_len=4096) ;;
  esac
  "$build/fuzz/fuzz_$target" "$corpus" "${options[@]}" -max_total_time="$seconds" \
    -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$findings/$target-" >"$log" 2>&1 || status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  corpusSize=$(find "$corpus" -type f | wc -l)
  if ((status != 0)); then
    failed+=("$target")
    printf '%-18s FINDING after %s executions (exit %d)\n' "$target" "${runs:-?}" "$status"
    grep -E 'ERROR|SUMMARY|property violated|runtime error|Test unit written' -A3 "$log" | head -40
  else
    printf '%-18s %10s executions in %ss, corpus %d inputs\n' "$target" "$runs" "$seconds" "$corpusSize"
  fi
done

if ((${#failed[@]})); then
  echo "fuzzing found faults in: ${failed[*]} (reproducers in $findings)" >&2
  exit 1
fi
