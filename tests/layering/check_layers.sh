#!/usr/bin/env bash
# Every folder includes only from itself and the folders below it; the order, lowest first:
set -euo pipefail
cd "${1:-$(dirname "$0")/../..}"
layers=(platform records store appgroup timeline ui style layout render dailybrief watchlist widgets
        ipc extension hosting gallery desktop studio cli)
# Folders that stand side by side and never include each other.
siblings=(dailybrief:watchlist gallery:desktop gallery:studio)
# What a folder never includes although it sits above it: the channel, what the hosts share, the
# pages and the board know the widgets only as the extension describes and draws them, so they
# never include the records, the store, the painter, a widget or the extension itself; nor the
# host app's library, which only the command line shares.
forbidden=()
for folder in timeline ui style layout render dailybrief watchlist widgets extension; do
  forbidden+=("$folder:appgroup")
done
for host in ipc hosting gallery desktop; do
  for part in records store appgroup render dailybrief watchlist widgets extension; do
    forbidden+=("$host:$part")
  done
done
# The studio reads and writes the records and checks them with the widgets' decoder, and draws
# them only through the extension.
for part in appgroup render dailybrief watchlist widgets extension; do
  forbidden+=("studio:$part")
done
declare -A rank
for i in "${!layers[@]}"; do rank[${layers[$i]}]=$i; done
status=0
for folder in "${layers[@]}"; do
  while IFS=: read -r file _ include; do
    path=${include#*\"}; path=${path%\"*}
    target=${path%%/*}
    [[ -v rank[$target] ]] || continue
    [[ $target == "$folder" ]] && continue
    if ((rank[$target] > rank[$folder])); then
      echo "$file includes $path, which sits above $folder/" >&2
      status=1
    fi
    for pair in "${siblings[@]}"; do
      if [[ $pair == "$folder:$target" || $pair == "$target:$folder" ]]; then
        echo "$file includes $path: $folder/ and $target/ stand side by side" >&2
        status=1
      fi
    done
    for rule in "${forbidden[@]}"; do
      [[ $rule == "$folder:$target" ]] || continue
      echo "$file includes $path, which $folder/ never includes" >&2
      status=1
    done
  done < <(grep -Hn '^#include "' "$folder"/*.h "$folder"/*.cpp 2>/dev/null || true)
done
# No folder is left out of the order.
for dir in */; do
  dir=${dir%/}
  if compgen -G "$dir/*.h" > /dev/null && [[ ! -v rank[$dir] ]] && [[ $dir != tests && $dir != bench && $dir != fuzz ]]; then
    echo "$dir/ holds headers but has no place in the order" >&2
    status=1
  fi
done
exit $status
