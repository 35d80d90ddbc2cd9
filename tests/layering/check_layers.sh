#!/usr/bin/env bash
# Every folder includes only from itself and the folders below it; the order, lowest first:
set -euo pipefail
cd "${1:-$(dirname "$0")/../..}"
layers=(platform records store timeline ui style render dailybrief watchlist widgets host)
declare -A rank
for i in "${!layers[@]}"; do rank[${layers[$i]}]=$i; done
# dailybrief and watchlist stand side by side: neither includes the other.
status=0
for folder in "${layers[@]}"; do
  while IFS=: read -r file _ include; do
    target=${include#*\"}; target=${target%%/*}
    [[ -v rank[$target] ]] || continue
    if ((rank[$target] > rank[$folder])) ||
       { [[ $folder != "$target" ]] && [[ $folder$target == dailybriefwatchlist || $folder$target == watchlistdailybrief ]]; }; then
      echo "$file includes $target/, which sits above $folder/" >&2
      status=1
    fi
  done < <(grep -Hn '^#include "' "$folder"/*.h "$folder"/*.cpp 2>/dev/null || true)
done
exit $status
