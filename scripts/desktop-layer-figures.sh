#!/usr/bin/env bash
# The widgets on the desktop layer against the board's window with the same five widgets, both on
# a headless Wayland compositor (sway, as the layer's test runs it), measured in turns: resident
# memory when idle and after reloads, wake-ups (voluntary context switches of every thread) over
# IDLE idle seconds between reload dates, and the time from a reload request to the new pixels on
# screen: the whole (to the compositor's frame callback for the layer, to the toolkit's paint for
# the window) and the process's own part (requests, layout and painting in the extension, the
# pixels handed over). Prints a markdown table.
#
#   scripts/desktop-layer-figures.sh PROGRAM [IDLE_SECONDS] [TURNS]     (default 30 and 2)
set -euo pipefail
program=${1:?usage: desktop-layer-figures.sh PROGRAM [IDLE_SECONDS] [TURNS]}
idle=${2:-30}
turns=${3:-2}
resolution=1920x1080
. "$(dirname "$0")/headless-sway.sh"
trap 'for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; rm -rf "$work"' EXIT

store=$session/store
v() { u "$program" --store-dir "$store" --locale en_US --time-zone UTC "$@"; }
v defaults write vmDailyBrief --data '{"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues with options flow signalling continuation through earnings.","signal":"Strong Buy","score":84,"generatedAt":"2025-11-16T06:30:00Z"}' >/dev/null
v defaults write vmWatchlistTickers --data '[{"ticker":"AMD","price":151.2,"changePct":2.4,"signal":"Buy"},{"ticker":"INTC","price":24.1,"changePct":-1.3,"signal":"Sell"}]' >/dev/null
echo '[{"kind":"WatchlistGlance","family":"systemSmall"},{"kind":"WatchlistGlance","family":"systemMedium"},{"kind":"WatchlistGlance","family":"systemLarge"},{"kind":"DailyBrief","family":"systemMedium"},{"kind":"DailyBrief","family":"systemLarge"}]' >"$session/placements.json"
chmod a+r "$session/placements.json"

rss() { awk '/^VmRSS/ {print $2}' "/proc/$1/status"; }  # KiB
switches() { grep -H '^voluntary_ctxt_switches' /proc/"$1"/task/*/status | awk -F'[/: \t]+' '{print $5, $NF}'; }
woken() {  # BEFORE AFTER: the wake-ups in between, over the threads seen at the end
  awk 'NR == FNR {before[$1] = $2; next} {n += $2 - before[$1]} END {print n + 0}' <(echo "$1") <(echo "$2")
}
median() { sort -n | awk '{a[NR] = $1} END {print a[int((NR + 1) / 2)]}'; }
reloads=10

# NAME OPTION...: one turn of the widgets shown as the options say; appends "RSS WAKES RELOADED"
# to NAME.figures and the reload lines to NAME.log.
turn() {
  local name=$1 pid before
  shift
  G_MESSAGES_DEBUG=velmora-desktop "${as_user[@]}" "$program" --store-dir "$store" --locale en_US \
    --time-zone UTC desktop --placements "$session/placements.json" "$@" >>"$work/$name.log" 2>&1 &
  pid=$!
  sleep 8  # drawn, and settled
  before=$(switches "$pid")
  sleep "$idle"
  local wakes idle_rss
  wakes=$(woken "$before" "$(switches "$pid")")
  idle_rss=$(rss "$pid")
  for _ in $(seq "$reloads"); do
    v reload
    sleep 0.5
  done
  echo "$idle_rss $wakes $(rss "$pid")" >>"$work/$name.figures"
  kill "$pid"
  wait "$pid" 2>/dev/null || true
}
for _ in $(seq "$turns"); do
  turn layer
  turn window --no-desktop-layer
done

mb() { awk -v k="$1" 'BEGIN {printf "%.1f", k / 1024}'; }
column() { awk -v c="$2" '{print $c}' "$work/$1.figures" | median; }
screen() { grep -o 'on screen [0-9.]* ms' "$work/$1.log" | awk '{print $3}' | median; }
ours() { grep -o 'ours [0-9.]* ms' "$work/$1.log" | awk '{print $2}' | median; }
echo "| Figure (median of $turns turns) | Desktop layer | Board window | Target |"
echo "|---|---|---|---|"
echo "| resident memory (VmRSS) when idle | $(mb "$(column layer 1)") MB | $(mb "$(column window 1)") MB | less |"
echo "| resident memory after $reloads reloads | $(mb "$(column layer 3)") MB | $(mb "$(column window 3)") MB | less |"
echo "| wake-ups in $idle s idle, all threads | $(column layer 2) | $(column window 2) | none of ours |"
echo "| reload to new pixels on screen, whole | $(screen layer) ms | $(screen window) ms | |"
echo "| of which ours | $(ours layer) ms | $(ours window) ms | < 5 ms |"
