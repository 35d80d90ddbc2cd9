#!/usr/bin/env bash
# The board draws only what the extension describes and sends: its program loads neither ICU
# nor SQLite, and holds none of the records', the store's, the painter's or the widgets' code.
set -euo pipefail
board=$1
status=0
libraries=$(ldd "$board")
for library in libicu libsqlite3; do
  if grep -q "$library" <<<"$libraries"; then
    echo "$board loads $library" >&2
    status=1
  fi
done
code=$(nm -C "$board" | grep -E ' (AppGroupContainer|store|render|dailybrief|watchlist|widgets|extension)::' |
  head -5 || true)
if [[ -n $code ]]; then
  printf '%s holds code it should leave to the extension:\n%s\n' "$board" "$code" >&2
  status=1
fi
exit $status
