#!/usr/bin/env bash
# The preview studio on a real X server (Xvfb) with a private session bus, typed into with real
# keys (xdotool) and read back from screenshots: whatever the editors hold, each widget shows
# exactly what `render` draws from a store holding the same bytes. Leaves a screenshot in
# BUILD_DIR/studio-screenshot.png.
#
#   studio_test.sh PROGRAM BUILD_DIR
#
# Exits 77 (skipped) when Xvfb or one of the tools is missing.
set -euo pipefail
program=${1:?usage: studio_test.sh PROGRAM BUILD_DIR}
build_dir=${2:?usage: studio_test.sh PROGRAM BUILD_DIR}
/usr/bin/python3 -c "import dbus" 2>/dev/null ||
  { echo "SKIP: python3-dbus is not installed (scripts/install-deps.sh installs it)"; exit 77; }
tools=(xdotool import stream) screen=1600x1050
source "$(dirname "$0")/../support/in_xvfb.sh"

work=$(mktemp -d)
studio=
trap 'status=$?; [ -n "$studio" ] && kill "$studio" 2>/dev/null; ((status)) || rm -rf "$work" "$VELMORA_TEST_RUNTIME"' EXIT
export HOME=$work/home XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
screen_width=1600 program_log=studio.log
store=$work/store    # the store the studio opens and writes
mirror=$work/mirror  # the same bytes, for render
start=2025-11-16T05:00:00Z
fail() {
  echo "FAIL: $*" >&2
  exit 1
}
v() { "$program" --store-dir "$mirror" --locale en_US --time-zone UTC "$@"; }
source "$(dirname "$0")/../support/on_screen.sh"

brief='{"ticker":"AMD","companyName":"Advanced Micro Devices","summary":"Share gains in servers continue.","signal":"Buy","score":71,"generatedAt":"2025-11-16T04:00:00Z"}'
rows='[{"ticker":"BRK B","price":412.5,"changePct":0.4,"signal":"Hold"},{"ticker":"AMD","price":151.2,"changePct":2.4,"signal":"Buy"}]'
portfolio='{"totalValue":25400.5,"totalPnl":1200,"totalReturn":4.9,"dailyChange":-80,"dailyChangePct":-0.31,"holdingCount":3,"sourceLabel":"Broker","updatedAt":"2025-11-16T04:30:00Z"}'
for folder in "$store" "$mirror"; do
  "$program" --store-dir "$folder" defaults write vmDailyBrief --data "$brief" >/dev/null
  "$program" --store-dir "$folder" defaults write vmWatchlistTickers --data "$rows" >/dev/null
  "$program" --store-dir "$folder" defaults write vmPortfolioSnapshot --data "$portfolio" >/dev/null
done
before=$(sha256sum "$store"/*)

"$program" --store-dir "$store" --at "$start" --locale en_US --time-zone UTC studio --timing \
  >"$work/studio.log" 2>&1 &
studio=$!

watchlist=(systemSmall systemMedium systemLarge)
# expect_watchlist AT: the three watchlist families on screen as render draws them at AT.
expect_watchlist() {
  for family in "${watchlist[@]}"; do
    expect "w-$family" WatchlistGlance "$family"
    v --at "$1" render WatchlistGlance "$family" --scale 1 --out "$work/w-$family.png" >/dev/null
    stream -map rgb -storage-type char "$work/w-$family.png" "$work/w-$family.rgb"
  done
  for family in "${watchlist[@]}"; do locate "w-$family" >/dev/null; done
}
# The brief at AT, as render draws it.
expect_brief() {
  expect brief DailyBrief systemMedium
  v --at "$1" render DailyBrief systemMedium --scale 1 --out "$work/brief.png" >/dev/null
  stream -map rgb -storage-type char "$work/brief.png" "$work/brief.rgb"
}
# type_record INDEX TEXT: the record's editor emptied and TEXT typed into it, key by key.
type_record() {
  xdotool key --clearmodifiers "ctrl+$1"
  sleep 0.3
  xdotool key --clearmodifiers ctrl+a BackSpace
  xdotool type --delay 4 -- "$2"
}

# --- The studio opens with what the store holds -------------------------------------------------
expect_watchlist "$start"
# The brief shows what the host asked for last: its first request of the day, at midnight.
expect_brief 2025-11-16T00:00:00Z
locate brief >/dev/null
cp "$work/shot.png" "$build_dir/studio-screenshot.png"
echo "opened on the store: all five widgets as render draws them"

# --- Typing into the watchlist's editor redraws its three families -------------------------------
typed='[{"ticker":"NVDA","price":488.5,"changePct":-1.9,"signal":"Sell","score":31}]'
type_record 2 "$typed"
v defaults write vmWatchlistTickers --data "$typed" >/dev/null
expect_watchlist "$start"
echo "typed rows: all three watchlist families redrawn as render draws them"

# --- A record the widgets cannot decode: the decoder's message, and what the widgets show then ---
broken='[{"ticker":"NVDA","price":"488.5","changePct":1}]'
type_record 2 "$broken"
v defaults write vmWatchlistTickers --data "$broken" >/dev/null
expect_watchlist "$start"
labels() {
  /usr/bin/python3 - <<'PY'
import dbus
address = dbus.SessionBus().get_object("org.a11y.Bus", "/org/a11y/bus").GetAddress(dbus_interface="org.a11y.Bus")
bus = dbus.bus.BusConnection(address)
def walk(name, path):
    node = bus.get_object(name, path)
    if node.GetRoleName(dbus_interface="org.a11y.atspi.Accessible") == "label":
        print(str(node.Get("org.a11y.atspi.Accessible", "Name", dbus_interface=dbus.PROPERTIES_IFACE)))
    for child in node.GetChildren(dbus_interface="org.a11y.atspi.Accessible"):
        walk(*child)
walk("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
PY
}
shows_fault() { labels | grep 'Line 1: \[0\]\.price: expected a number, found a string' >/dev/null; }
wait_for 10 "the decoder's message under the editor (labels: $(labels | paste -sd'|'))" shows_fault
echo "invalid rows: the decoder's message, and the widgets as render draws them for those bytes"

# --- The scrubber across 06:30 UTC: the brief's new timeline and its next reload ----------------
caption() { labels | grep -x "Daily Brief · medium · timeline of $1, next reload $2" >/dev/null; }
wait_for 10 "the brief's caption at 05:00 (labels: $(labels | paste -sd'|'))" caption 00:00 06:30
for _ in 1 2 3 4 5; do xdotool key --clearmodifiers alt+Right; done
wait_for 10 "the brief's caption at 06:15" caption 00:00 06:30
xdotool key --clearmodifiers alt+Right
wait_for 10 "the brief's caption at 06:30 (labels: $(labels | paste -sd'|'))" \
  caption 06:30 "2025-11-17 06:30"
expect_brief 2025-11-16T06:30:00Z
locate brief >/dev/null
echo "06:30 UTC: the brief drawn from its 06:30 timeline, its next reload a day later"

# --- Writing to the store: only when asked, and only records the widgets decode ------------------
[ "$(sha256sum "$store"/*)" = "$before" ] || fail "the store changed before it was written"
xdotool key --clearmodifiers ctrl+s
sleep 1
[ "$(sha256sum "$store"/*)" = "$before" ] || fail "a record the widgets cannot decode was written"
type_record 2 "$typed"
sleep 0.5
xdotool key --clearmodifiers ctrl+s
read_back() { [ "$("$program" --store-dir "$store" defaults read vmWatchlistTickers | tail -n +2)" = "$typed" ]; }
wait_for 5 "defaults read gives the edited bytes" read_back
echo "write to store: defaults read gives the typed bytes"

grep -E '^redrawn' "$work/studio.log" | tail -3
