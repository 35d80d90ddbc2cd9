#!/usr/bin/env bash
# The desktop board's figures on Xvfb, beside a bare GTK 4 window measured in the same run:
# resident memory with all five families placed, wake-ups (voluntary context switches of every
# thread, from /proc) over IDLE idle seconds between reload dates, and the time from a reload to
# the new pixels on screen (the board's own measure, from the trigger to the frame's paint).
# Prints one markdown table.
#
#   scripts/desktop-figures.sh PROGRAM [IDLE_SECONDS]     (default 60)
set -euo pipefail
program=$(realpath "${1:?usage: desktop-figures.sh PROGRAM [IDLE_SECONDS]}")
idle=${2:-60}
if [ -z "${VELMORA_IN_XVFB:-}" ]; then
  export VELMORA_IN_XVFB=1
  exec dbus-run-session -- xvfb-run -a -s "-screen 0 1280x1024x24" bash "$0" "$@"
fi
work=$(mktemp -d)
pids=()
trap 'kill "${pids[@]}" 2>/dev/null; rm -rf "$work"' EXIT
export HOME=$work/home XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
store=$work/store
v() { "$program" --store-dir "$store" --locale en_US --time-zone UTC "$@"; }
v defaults write vmDailyBrief --data '{"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues with options flow signalling continuation through earnings.","signal":"Strong Buy","score":84,"generatedAt":"2025-11-16T06:30:00Z"}' >/dev/null
v defaults write vmWatchlistTickers --data '[{"ticker":"AMD","price":151.2,"changePct":2.4,"signal":"Buy"},{"ticker":"INTC","price":24.1,"changePct":-1.3,"signal":"Sell"}]' >/dev/null
echo '[{"kind":"WatchlistGlance","family":"systemSmall"},{"kind":"WatchlistGlance","family":"systemMedium"},{"kind":"WatchlistGlance","family":"systemLarge"},{"kind":"DailyBrief","family":"systemMedium"},{"kind":"DailyBrief","family":"systemLarge"}]' >"$work/placements.json"

# The same window, empty: an application window with a header bar, as large as the board's.
cat >"$work/bare.cpp" <<'CPP'
#include <gtk/gtk.h>
int main(int argc, char** argv) {
    GtkApplication* app = gtk_application_new("app.velmora.bare", G_APPLICATION_DEFAULT_FLAGS);
    g_signal_connect(app, "activate", G_CALLBACK(+[](GtkApplication* app) {
        GtkWidget* window = gtk_application_window_new(app);
        gtk_window_set_titlebar(GTK_WINDOW(window), gtk_header_bar_new());
        gtk_window_set_default_size(GTK_WINDOW(window), 1260, 1000);
        gtk_window_present(GTK_WINDOW(window));
    }), nullptr);
    return g_application_run(G_APPLICATION(app), argc, argv);
}
CPP
c++ -O2 -o "$work/bare" "$work/bare.cpp" $(pkg-config --cflags --libs gtk4)

rss() { awk '/^VmRSS/ {print $2}' "/proc/$1/status"; }  # KiB
# Voluntary switches per thread, "TID COUNT" a line: a thread that ends in between takes its
# count with it, so wake-ups are summed over the threads seen at the end.
switches() { grep -H '^voluntary_ctxt_switches' /proc/"$1"/task/*/status | awk -F'[/: \t]+' '{print $5, $NF}'; }
woken() {  # BEFORE AFTER: the wake-ups in between
  awk 'NR == FNR {before[$1] = $2; next} {n += $2 - before[$1]} END {print n + 0}' <(echo "$1") <(echo "$2")
}
threads() { ls "/proc/$1/task" | wc -l; }
measure() {  # NAME PID: settles, then prints "NAME RSS_KIB SWITCHES THREADS"
  sleep 10
  local before
  before=$(switches "$2")
  sleep "$idle"
  echo "$1 $(rss "$2") $(woken "$before" "$(switches "$2")") $(threads "$2")"
}

"$work/bare" >/dev/null 2>&1 &
pids+=($!)
bare=$(measure bare "${pids[-1]}")
kill "${pids[-1]}"

# Not through v: the process measured is the board itself (`desktop` replaces itself with it).
G_MESSAGES_DEBUG=velmora-desktop "$program" --store-dir "$store" --locale en_US --time-zone UTC \
  desktop --placements "$work/placements.json" >"$work/board.log" 2>&1 &
pids+=($!)
board_pid=${pids[-1]}
sleep 3
xdotool search --onlyvisible --name '^Velmora Widgets$' windowsize 1260 1000
board=$(measure board "$board_pid")
for _ in $(seq 20); do
  v reload
  sleep 0.5
done
redraws=$(grep -o 'on screen [0-9.]* ms' "$work/board.log" | awk '{print $3}' | sort -n)
median=$(echo "$redraws" | awk '{a[NR] = $1} END {print a[int((NR + 1) / 2)]}')
worst=$(echo "$redraws" | tail -1)

read -r _ bare_rss bare_wakes bare_threads <<<"$bare"
read -r _ board_rss board_wakes board_threads <<<"$board"
echo "| Figure | Board | Bare GTK 4 window | Target |"
echo "|---|---|---|---|"
echo "| Resident memory (VmRSS) | $((board_rss / 1024)) MB | $((bare_rss / 1024)) MB | ≤ bare + 10 MB ($(((board_rss - bare_rss) / 1024)) MB over) |"
echo "| Wake-ups in ${idle} s idle (voluntary switches, all threads) | $board_wakes ($board_threads threads) | $bare_wakes ($bare_threads threads) | none of ours |"
echo "| Reload to new pixels on screen, median / worst of $(echo "$redraws" | wc -l) | $median ms / $worst ms | | ≤ 16 ms |"
