#!/usr/bin/env bash
# The desktop board's figures on Xvfb, beside a bare GTK 4 window measured in the same run, under
# GTK's default renderer and under its cairo renderer: resident memory with all five families
# placed, when idle and after the reloads below, split by mapping (from /proc/PID/smaps); wake-ups (voluntary context switches of every
# thread, from /proc) over IDLE idle seconds between reload dates; and the time from a reload to
# the new pixels on screen (the board's own measure, from the trigger to the frame's paint, with
# the board's own part of it), beside the floor: the bare window repainting its whole content.
# Prints two markdown tables.
#
#   scripts/desktop-figures.sh PROGRAM [IDLE_SECONDS]     (default 60)
set -euo pipefail
program=$(realpath "${1:?usage: desktop-figures.sh PROGRAM [IDLE_SECONDS]}")
idle=${2:-60}
tools=(xdotool) screen=1280x1024
source "$(dirname "$0")/../tests/support/in_xvfb.sh"
work=$(mktemp -d)
pids=()
trap 'kill "${pids[@]}" 2>/dev/null; rm -rf "$work" "$VELMORA_TEST_RUNTIME"' EXIT
export HOME=$work/home XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
store=$work/store
v() { "$program" --store-dir "$store" --locale en_US --time-zone UTC "$@"; }
v defaults write vmDailyBrief --data '{"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues with options flow signalling continuation through earnings.","signal":"Strong Buy","score":84,"generatedAt":"2025-11-16T06:30:00Z"}' >/dev/null
v defaults write vmWatchlistTickers --data '[{"ticker":"AMD","price":151.2,"changePct":2.4,"signal":"Buy"},{"ticker":"INTC","price":24.1,"changePct":-1.3,"signal":"Sell"}]' >/dev/null
echo '[{"kind":"WatchlistGlance","family":"systemSmall"},{"kind":"WatchlistGlance","family":"systemMedium"},{"kind":"WatchlistGlance","family":"systemLarge"},{"kind":"DailyBrief","family":"systemMedium"},{"kind":"DailyBrief","family":"systemLarge"}]' >"$work/placements.json"

# The same window without widgets: an application window with a header bar, as large as the
# board's, filled by a drawing area. SIGUSR1 asks it to repaint all of it, in a new colour, and it
# prints how long that took to reach the screen (from the queued draw to the frame's paint): what
# any GTK window of that size costs to repaint on this server with this renderer.
cat >"$work/bare.cpp" <<'CPP'
#include <glib-unix.h>
#include <gtk/gtk.h>
#include <csignal>
#include <cstdio>
static GtkWidget* area;
static gint64 queuedAt;
static int repaints;
int main(int argc, char** argv) {
    GtkApplication* app = gtk_application_new("app.velmora.bare", G_APPLICATION_DEFAULT_FLAGS);
    g_signal_connect(app, "activate", G_CALLBACK(+[](GtkApplication* app) {
        GtkWidget* window = gtk_application_window_new(app);
        gtk_window_set_titlebar(GTK_WINDOW(window), gtk_header_bar_new());
        gtk_window_set_default_size(GTK_WINDOW(window), 1260, 1000);
        area = gtk_drawing_area_new();
        gtk_drawing_area_set_draw_func(GTK_DRAWING_AREA(area), +[](GtkDrawingArea*, cairo_t* cr,
                                       int, int, gpointer) {
            const double shade = 0.1 + 0.05 * (repaints % 2);
            cairo_set_source_rgb(cr, shade, shade, shade);
            cairo_paint(cr);
        }, nullptr, nullptr);
        gtk_window_set_child(GTK_WINDOW(window), area);
        g_signal_connect(window, "realize", G_CALLBACK(+[](GtkWidget* window) {
            g_signal_connect(gtk_widget_get_frame_clock(window), "after-paint",
                             G_CALLBACK(+[](GdkFrameClock*) {
                if (queuedAt == 0) return;
                std::printf("repainted in %.2f ms\n", (g_get_monotonic_time() - queuedAt) / 1e3);
                std::fflush(stdout);
                queuedAt = 0;
            }), nullptr);
        }), nullptr);
        g_unix_signal_add(SIGUSR1, +[](gpointer) {
            ++repaints;
            queuedAt = g_get_monotonic_time();
            gtk_widget_queue_draw(area);
            return gboolean(G_SOURCE_CONTINUE);
        }, nullptr);
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
# Resident KiB by what is mapped, "KIND KIB" a line, in the order of `kinds`.
kinds="program ICU SQLite fonts GTK+libraries GL-driver heap+anonymous other"
mappings() {
  awk -v exe="$(readlink "/proc/$1/exe")" -v kinds="$kinds" '
    /^[0-9a-f]+-[0-9a-f]+ / {
      path = $6; for (i = 7; i <= NF; ++i) path = path " " $i
      if (path == exe) kind = "program"
      else if (path ~ /libicu/) kind = "ICU"
      else if (path ~ /libsqlite3/) kind = "SQLite"
      else if (path ~ /\.(ttf|otf|ttc|woff2?)$/ || path ~ /fontconfig\/.*cache/) kind = "fonts"
      else if (path ~ /(libgallium|libLLVM|libGLX|libGL\.|libEGL|libgbm|libvulkan|libdrm|dri\/|libglapi|libxcb-(glx|dri|present))/) kind = "GL-driver"
      else if (path ~ /\.so/) kind = "GTK+libraries"
      else if (path == "" || path == "[heap]") kind = "heap+anonymous"
      else kind = "other"
      next
    }
    /^Rss:/ { kib[kind] += $2 }
    END { n = split(kinds, order, " "); for (i = 1; i <= n; ++i) print order[i], kib[order[i]] + 0 }
  ' "/proc/$1/smaps"
}
idling() {  # PID: settles, then prints "SWITCHES THREADS" over the idle seconds
  sleep 10
  local before
  before=$(switches "$1")
  sleep "$idle"
  echo "$(woken "$before" "$(switches "$1")") $(threads "$1")"
}
resident() {  # NAME PID: prints RSS_KIB, mappings to NAME.maps
  mappings "$2" >"$work/$1.maps"
  rss "$2"
}
median() { sort -n | awk '{a[NR] = $1} END {print a[int((NR + 1) / 2)]}'; }
worst() { sort -n | tail -1; }
reloads=20

# RENDERER (the name in the tables; GSK_RENDERER as exported): one row set for each.
figures() {
  local name=$1 bare board
  "$work/bare" >"$work/bare-$name.log" 2>&1 &
  pids+=($!)
  local bare_pid=${pids[-1]}
  bare="$(idling "$bare_pid") $(resident "bare-$name" "$bare_pid")"
  for _ in $(seq "$reloads"); do
    kill -USR1 "$bare_pid"
    sleep 0.5
  done
  # The floor of memory after redrawing: the bare window after as many whole repaints.
  local bare_repainted
  bare_repainted=$(resident "bare-$name-repainted" "$bare_pid")
  kill "$bare_pid"

  # Not through v: the process measured is the board itself (`desktop` replaces itself with it).
  G_MESSAGES_DEBUG=velmora-desktop "$program" --store-dir "$store" --locale en_US --time-zone UTC \
    desktop --placements "$work/placements.json" >"$work/board-$name.log" 2>&1 &
  pids+=($!)
  local board_pid=${pids[-1]}
  sleep 3
  xdotool search --onlyvisible --name '^Velmora Widgets$' windowsize 1260 1000
  board="$(idling "$board_pid") $(resident "board-$name" "$board_pid")"
  for _ in $(seq "$reloads"); do
    v reload
    sleep 0.5
  done
  board="$board $(resident "board-$name-reloaded" "$board_pid")"
  kill "$board_pid"

  local screen ours floor
  screen=$(grep -o 'on screen [0-9.]* ms' "$work/board-$name.log" | awk '{print $3}')
  ours=$(grep -o 'ours [0-9.]* ms' "$work/board-$name.log" | awk '{print $2}')
  floor=$(grep -o 'repainted in [0-9.]* ms' "$work/bare-$name.log" | awk '{print $3}')
  local bare_rss bare_wakes bare_threads board_rss board_wakes board_threads
  read -r bare_wakes bare_threads bare_rss <<<"$bare"
  read -r board_wakes board_threads board_rss board_reloaded <<<"$board"
  mb() { awk -v k="$1" 'BEGIN {printf "%.1f", k / 1024}'; }
  over() { awk -v k="$1" 'BEGIN {printf "%.1f MB %s", (k < 0 ? -k : k) / 1024, k < 0 ? "under" : "over"}'; }
  rows+="| $name: resident memory (VmRSS) when idle | $(mb "$board_rss") MB | $(mb "$bare_rss") MB | ≤ bare + 10 MB ($(over $((board_rss - bare_rss)))) |"$'\n'
  rows+="| $name: resident memory after $reloads reloads (bare: repaints) | $(mb "$board_reloaded") MB | $(mb "$bare_repainted") MB | ≤ bare + 10 MB ($(over $((board_reloaded - bare_repainted)))) |"$'\n'
  rows+="| $name: wake-ups in ${idle} s idle (voluntary switches, all threads) | $board_wakes ($board_threads threads) | $bare_wakes ($bare_threads threads) | none of ours |"$'\n'
  rows+="| $name: reload to new pixels on screen / whole-window repaint, median / worst of $(echo "$screen" | wc -l) and $(echo "$floor" | wc -l) | $(echo "$screen" | median) ms / $(echo "$screen" | worst) ms | $(echo "$floor" | median) ms / $(echo "$floor" | worst) ms | ≤ 16 ms |"$'\n'
  rows+="| $name: of which the board's (requests, layout, painting into pixel buffers), median / worst | $(echo "$ours" | median) ms / $(echo "$ours" | worst) ms | | |"$'\n'
}

rows=""
unset GSK_RENDERER
figures default
export GSK_RENDERER=cairo
figures cairo

echo "| Figure | Board | Bare GTK 4 window | Target |"
echo "|---|---|---|---|"
printf '%s' "$rows"
echo
echo "| Resident MB by mapping | Board (default) | after reloads | Bare (default) | after repaints | Board (cairo) | after reloads | Bare (cairo) | after repaints |"
echo "|---|---|---|---|---|---|---|---|---|"
for kind in $kinds; do
  printf '| %s |' "${kind//+/ and }"
  for run in board-default board-default-reloaded bare-default bare-default-repainted board-cairo \
    board-cairo-reloaded bare-cairo bare-cairo-repainted; do
    awk -v k="$kind" '$1 == k {printf " %.1f |", $2 / 1024}' "$work/$run.maps"
  done
  echo
done
