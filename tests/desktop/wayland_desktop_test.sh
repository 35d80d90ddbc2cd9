#!/usr/bin/env bash
# The widgets on the desktop layer of a Wayland compositor: sway on its headless backend, with a
# solid wallpaper, run (with the widgets) as an unprivileged user, as sway will not run as root.
# Screenshots (grim) are compared with `render --scale 1`; a click goes through the seat's own
# commands, a drag through a virtual pointer (the seat's commands move no pointer while a button
# is held). Leaves the last screenshot in BUILD_DIR/wayland-desktop-screenshot.png.
#
#   wayland_desktop_test.sh PROGRAM VIRTUAL_POINTER BUILD_DIR
#
# Exits 77 (skipped) when sway or one of the tools is missing.
set -euo pipefail
program=${1:?usage: wayland_desktop_test.sh PROGRAM VIRTUAL_POINTER BUILD_DIR}
pointer_program=${2:?usage: wayland_desktop_test.sh PROGRAM VIRTUAL_POINTER BUILD_DIR}
build_dir=${3:?usage: wayland_desktop_test.sh PROGRAM VIRTUAL_POINTER BUILD_DIR}
for tool in sway swaymsg swaybg grim dbus-daemon stream setpriv update-desktop-database python3; do
  command -v "$tool" >/dev/null ||
    { echo "SKIP: $tool is not installed (scripts/install-deps.sh installs it)"; exit 77; }
done

# sway on its headless backend with the session's bus, as nobody when run as root.
. "$(dirname "$0")/../../scripts/headless-sway.sh"
share_program pointer_program

# A virtual pointer gives the seat a pointer; its input is the fifo held open on fd 7.
mkfifo "$work/pointer.in" && chmod 666 "$work/pointer.in"
"${as_user[@]}" "$pointer_program" <"$work/pointer.in" >"$work/pointer.out" 2>&1 &
pids+=($!)
exec 7>"$work/pointer.in"
for _ in $(seq 20); do grep -q ready "$work/pointer.out" && break; sleep 0.25; done
grep -q ready "$work/pointer.out" || fail "no virtual pointer: $(cat "$work/pointer.out")"
device() {  # a line for the virtual pointer, answered once the compositor has it
  local before
  before=$(grep -c done "$work/pointer.out" || true)
  echo "$*" >&7
  for _ in $(seq 20); do [ "$(grep -c done "$work/pointer.out")" -gt "$before" ] && return; sleep 0.1; done
  fail "the virtual pointer did not take: $*"
}

store=$session/store
v() { u "$program" --store-dir "$store" --locale en_US --time-zone UTC "$@"; }
write() { v defaults write "$1" --data "$2" >/dev/null; }
write vmDailyBrief '{"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues with options flow signalling continuation through earnings.","signal":"Strong Buy","score":84,"generatedAt":"2025-11-16T06:30:00Z"}'
rows() {
  write vmWatchlistTickers "[{\"ticker\":\"AMD\",\"price\":$1,\"changePct\":2.4,\"signal\":\"Buy\"}]"
}
rows 151.2

# Where a widget drawn by `render --scale 1` stands on the screen, pixel for pixel inside its
# rounded corners (the 35 x 35 squares where the corner curves run are left out); then, that
# the pixel just outside each corner is the wallpaper.
cat >"$work/find.py" <<'PY'
import sys
shot, sw, widget, w, h, wall, scale = open(sys.argv[1], "rb").read(), int(sys.argv[2]), open(sys.argv[3], "rb").read(), int(sys.argv[4]), int(sys.argv[5]), bytes.fromhex(sys.argv[6]), int(sys.argv[7])
w, h, c = w * scale, h * scale, 35 * scale
row = lambda data, width, y, a, b: data[(y * width + a) * 3:(y * width + b) * 3]
start = 0
while (i := shot.find(row(widget, w, h // 2, 0, w), start)) >= 0:
    start, x, y = i + 1, i // 3 % sw, i // 3 // sw - h // 2
    if i % 3 == 0 and all(row(shot, sw, y + r, x + a, x + b) == row(widget, w, r, a, b) for r in range(h)
                          for a, b in [(c, w - c) if r < c or r >= h - c else (0, w)]):
        corners = [row(shot, sw, cy, cx, cx + 1) for cx, cy in [(x + 1, y + 1), (x + w - 2, y + 1), (x + 1, y + h - 2), (x + w - 2, y + h - 2)]]
        if any(p != wall for p in corners):
            sys.exit(print("corners are not the wallpaper:", [p.hex() for p in corners], file=sys.stderr) or 2)
        sys.exit(print(x, y))
sys.exit(1)
PY
# expect NAME KIND FAMILY [SCALE]: the widget as `render` draws it now, and its link.
scale=1
expect() {
  local name=$1 kind=$2 family=$3
  v render "$kind" "$family" --scale "${4:-1}" --out "$work/$name.png" | sed 's/^link: //' >"$work/$name.link"
  stream -map rgb -storage-type char "$work/$name.png" "$work/$name.rgb"
  case $family in systemSmall) echo "170 170" ;; systemMedium) echo "364 170" ;; *) echo "364 382" ;; esac >"$work/$name.size"
}
# locate NAME: "x y" of the widget's top-left corner on the screen, waiting up to 10 s.
locate() {
  # The software cursor is in the screenshots until it hides, 200 ms after it last moved.
  sleep 0.3
  for _ in $(seq 20); do
    u grim "$session/shot.png"
    stream -map rgb -storage-type char "$session/shot.png" "$work/shot.rgb"
    /usr/bin/python3 "$work/find.py" "$work/shot.rgb" $((1024 * scale)) "$work/$1.rgb" $(cat "$work/$1.size") $wallpaper $scale && return
    sleep 0.5
  done
  cp "$session/shot.png" "$work/failed.png"
  fail "$1 is not on the desktop as render draws it (screen: $work/failed.png, log: $work/desktop.log)"
}
wait_for() {  # SECONDS DESCRIPTION COMMAND...
  local tries=$(($1 * 4)) what=$2
  shift 2
  for _ in $(seq "$tries"); do "$@" && return; sleep 0.25; done
  fail "$what"
}

# The scratch URL handler, in the session's data folder before the widgets start.
printf '#!/bin/sh\necho "$1" >>%s/opened\n' "$session" >"$work/handler.sh"
chmod 755 "$work/handler.sh"
printf '[Desktop Entry]\nType=Application\nName=Handler\nExec=%s %%u\nMimeType=x-scheme-handler/velmora;\n' \
  "$work/handler.sh" >"$XDG_DATA_HOME/applications/velmora-handler.desktop"
update-desktop-database "$XDG_DATA_HOME/applications"
[ ${#as_user[@]} -eq 0 ] || chown -R 65534:65534 "$session"

placements=$session/placements.json
echo '[{"kind": "WatchlistGlance", "family": "systemSmall"},
 {"kind": "DailyBrief", "family": "systemMedium", "output": "HEADLESS-1", "column": 2, "row": 1}]' >"$placements"
[ ${#as_user[@]} -eq 0 ] || chown 65534:65534 "$placements"
G_MESSAGES_DEBUG=velmora-desktop "${as_user[@]}" "$program" --store-dir "$store" \
  --locale en_US --time-zone UTC desktop --placements "$placements" >"$work/desktop.log" 2>&1 &
desktop=$!
pids+=("$desktop")

# --- On the desktop layer: at their cells, as render draws them, the wallpaper at the corners ------
expect watchlist WatchlistGlance systemSmall
expect brief DailyBrief systemMedium
[ "$(locate watchlist)" = "24 24" ] || fail "the watchlist, placed without a cell, is not at the first cell: $(locate watchlist)"
[ "$(locate brief)" = "412 218" ] || fail "the brief is not at column 2, row 1: $(locate brief)"
grep -q "the widgets stand on the desktop: Wayland layer shell" "$work/desktop.log" ||
  fail "the widgets are not on the layer shell: $(cat "$work/desktop.log")"
layers=$(u swaymsg -t get_outputs -r | grep -c '"name": "HEADLESS-1"' || true)
[ "$layers" -ge 1 ] || fail "no headless output"
u swaymsg -t get_tree -r | grep -q '"app_id": "app.velmora' && fail "a window of the widgets is in the tree"
cp "$session/shot.png" "$build_dir/wayland-desktop-screenshot.png"
echo "on the desktop layer: the watchlist at the first cell, the brief at its saved cell, pixels as render draws them, wallpaper outside the corners"

# --- A click through the seat's commands opens the link --------------------------------------------
sway seat - cursor set 600 300
sway seat - cursor press button1
sway seat - cursor release button1
wait_for 5 "the click did not open the brief's link" test -s "$session/opened"
[ "$(cat "$session/opened")" = "$(cat "$work/brief.link")" ] ||
  fail "opened $(cat "$session/opened"), expected $(cat "$work/brief.link")"
echo "click: opened $(cat "$session/opened")"

# --- A drag moves the widget to the nearest cell, and the placements file keeps it -----------------
sway seat - cursor set 100 100  # on the watchlist
device press
for _ in $(seq 10); do device motion 3 40; done  # 30 x 400 points: 0.15 columns, 2.06 rows
device release
wait_for 5 "the drag did not reach the placements file" grep -q '"row":2' "$placements"
grep -q '{"kind":"WatchlistGlance","family":"systemSmall","output":"HEADLESS-1","column":0,"row":2}' "$placements" ||
  fail "placements after the drag: $(cat "$placements")"
grep -q '{"kind":"DailyBrief","family":"systemMedium","output":"HEADLESS-1","column":2,"row":1}' "$placements" ||
  fail "the brief lost its cell: $(cat "$placements")"
[ "$(locate watchlist)" = "24 412" ] || fail "the watchlist is not at its new cell: $(locate watchlist)"
[ "$(wc -l <"$session/opened")" = 1 ] || fail "the drag opened a link too"
echo "drag: the watchlist snapped to column 0, row 2 and the placements file keeps it"

# --- A store write and a reload redraw ----------------------------------------------------------
briefs=$(grep -c "timeline DailyBrief" "$work/desktop.log")
rows 99.25
expect reloaded WatchlistGlance systemSmall
v reload WatchlistGlance || fail "reload did not reach the widgets"
[ "$(locate reloaded)" = "24 412" ] || fail "the reloaded watchlist is not at its cell"
[ "$(grep -c "timeline DailyBrief" "$work/desktop.log")" = "$briefs" ] || fail "reload asked the brief too"
kill -0 "$desktop" || fail "the widgets ended"
echo "reload WatchlistGlance: redrawn in place, the brief not asked"

# --- An output at scale 2: each widget drawn again at twice the pixels, as render draws it --------
sway output HEADLESS-1 resolution 2048x1536 scale 2  # the same 1024 x 768 points
scale=2
expect brief-2x DailyBrief systemMedium 2
[ "$(locate brief-2x)" = "824 436" ] || fail "the brief is not drawn at scale 2 at its cell"
echo "scale 2: the brief drawn again at twice the pixels, as render --scale 2 draws it"

# --- Stopped as a session stops it: at once, and quietly -----------------------------------------
kill -TERM "$desktop"
wait_for 5 "the widgets did not end on SIGTERM" bash -c "! kill -0 $desktop 2>/dev/null"
wait "$desktop" || fail "the widgets ended with status $? on SIGTERM"
echo "SIGTERM: ended with status 0"
