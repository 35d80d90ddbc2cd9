#!/usr/bin/env bash
# The preview studio's figures on Xvfb, beside a bare GTK 4 window with the same editors measured
# in the same run: the time from a keystroke to the new pixels of all five widgets (the studio's
# own measure, from the edit to the drawings handed to the toolkit), EDITS edits of each record;
# resident memory of the studio's process (and of its extension) against the bare window; and a
# simulated week under the platform's budget. Prints a markdown table.
#
#   scripts/studio-figures.sh PROGRAM [EDITS]     (default 20)
set -euo pipefail
program=$(realpath "${1:?usage: studio-figures.sh PROGRAM [EDITS]}")
edits=${2:-20}
tools=(xdotool) screen=1600x1050
source "$(dirname "$0")/../tests/support/in_xvfb.sh"
work=$(mktemp -d)
pids=()
trap 'kill "${pids[@]}" 2>/dev/null; rm -rf "$work" "$VELMORA_TEST_RUNTIME"' EXIT
export HOME=$work/home XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
store=$work/store
v() { "$program" --store-dir "$store" --locale en_US --time-zone UTC "$@"; }

# The bare window: the studio's window size, a notebook of three source views with JSON
# highlighting holding the same records, nothing drawn beside them.
cat >"$work/bare.cpp" <<'CPP'
#include <gtk/gtk.h>
#include <gtksourceview/gtksource.h>
#include <fstream>
#include <sstream>
int main(int argc, char** argv) {
    static char** files = argv + 1;
    GtkApplication* app = gtk_application_new("app.velmora.bare", G_APPLICATION_NON_UNIQUE);
    g_signal_connect(app, "activate", G_CALLBACK(+[](GtkApplication* app) {
        gtk_source_init();
        GtkWidget* window = gtk_application_window_new(app);
        gtk_window_set_default_size(GTK_WINDOW(window), 1560, 1000);
        GtkWidget* notebook = gtk_notebook_new();
        for (int i = 0; i < 3; ++i) {
            std::ifstream in(files[i]);
            std::stringstream text;
            text << in.rdbuf();
            GtkSourceBuffer* buffer = gtk_source_buffer_new(nullptr);
            gtk_source_buffer_set_language(buffer, gtk_source_language_manager_get_language(
                gtk_source_language_manager_get_default(), "json"));
            gtk_text_buffer_set_text(GTK_TEXT_BUFFER(buffer), text.str().c_str(), -1);
            GtkWidget* view = gtk_source_view_new_with_buffer(buffer);
            GtkWidget* scrolled = gtk_scrolled_window_new();
            gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scrolled), view);
            gtk_notebook_append_page(GTK_NOTEBOOK(notebook), scrolled, gtk_label_new("record"));
        }
        gtk_window_set_child(GTK_WINDOW(window), notebook);
        gtk_window_present(GTK_WINDOW(window));
    }), nullptr);
    char* none[] = {argv[0], nullptr};
    return g_application_run(G_APPLICATION(app), 1, none);
}
CPP
c++ -O2 -o "$work/bare" "$work/bare.cpp" $(pkg-config --cflags --libs gtk4 gtksourceview-5)
rss() { awk '/^VmRSS/ {print $2}' "/proc/$1/status"; }  # KiB
mb() { awk -v k="$1" 'BEGIN { printf "%.1f", k / 1024 }'; }

# The studio opens on its samples (an empty store); the bare window gets the same texts.
v studio --timing >"$work/studio.log" 2>&1 &
pids+=($!)
for _ in $(seq 40); do grep -q '^redrawn' "$work/studio.log" 2>/dev/null && break; sleep 0.25; done
sleep 2
studio=$(pgrep -f velmora-widgets-studio | head -1)
extension=$(pgrep -f -- 'velmora-studio-.* extension' | head -1 || true)
studio_rss=$(rss "$studio")

# EDITS keystrokes in each record's editor, each a space typed at its end and taken back: the
# record stays valid, and each keystroke redraws all five widgets.
declare -A took
for i in 1 2 3; do
  xdotool key --clearmodifiers "ctrl+$i" ctrl+End
  sleep 0.5
  before=$(grep -c '^redrawn' "$work/studio.log")
  for _ in $(seq "$edits"); do
    xdotool key --clearmodifiers space
    sleep 0.25
    xdotool key --clearmodifiers BackSpace
    sleep 0.25
  done
  took[$i]=$(grep '^redrawn' "$work/studio.log" | tail -n +$((before + 1)) | awk '{print $5}' | sort -n |
    awk '{a[NR] = $1} END { printf "%.1f ms median, %.1f ms slowest of %d", a[int((NR + 1) / 2)], a[NR], NR }')
done
studio_after=$(rss "$studio")
extension_rss=$( [ -n "$extension" ] && [ -e "/proc/$extension" ] && rss "$extension" || echo 0)

# The samples as the studio shows them: what it writes to the store when asked.
keys=(vmDailyBrief vmWatchlistTickers vmPortfolioSnapshot)
files=()
xdotool key --clearmodifiers ctrl+s
sleep 1
for key in "${keys[@]}"; do
  v defaults read "$key" | tail -n +2 >"$work/$key.json"
  files+=("$work/$key.json")
done
"$work/bare" "${files[@]}" &
pids+=($!)
sleep 4
bare_rss=$(rss "${pids[-1]}")

start=2025-11-16T00:00:00Z
week_start=$(date +%s.%N)
v --at "$start" host --simulate --budget 40 --until 2025-11-23T00:00:00Z --out "$work/week" >/dev/null
week=$(awk -v a="$week_start" -v b="$(date +%s.%N)" 'BEGIN { printf "%.2f", b - a }')

echo "| figure | studio | bare window with the same editors | target |"
echo "|---|---|---|---|"
for i in 1 2 3; do
  echo "| keystroke to new pixels of all five widgets, ${keys[$((i - 1))]} edited | ${took[$i]} | — | < 16 ms |"
done
echo "| resident memory (VmRSS) after start | $(mb "$studio_rss") MB | $(mb "$bare_rss") MB | ≤ bare + 15 MB ($(mb $((studio_rss - bare_rss))) MB over) |"
echo "| resident memory after $((3 * edits * 2)) edits | $(mb "$studio_after") MB (its extension: $(mb "$extension_rss") MB) | — | — |"
echo "| \`host --simulate --budget 40\`, a week of five widgets, whole process | $week s | — | < 1 s |"
