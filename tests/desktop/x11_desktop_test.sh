#!/usr/bin/env bash
# The widgets on the desktop of an X11 session: Xvfb with an EWMH window manager (openbox) and no
# compositing manager, the board started without its window, driven by real clicks and drags
# (xdotool) and read back from xprop and screenshots. Leaves its first screenshot in
# BUILD_DIR/x11-desktop-screenshot.png.
#
#   x11_desktop_test.sh PROGRAM BUILD_DIR
#
# Exits 77 (skipped) when Xvfb, openbox or one of the tools is missing.
set -euo pipefail
program=${1:?usage: x11_desktop_test.sh PROGRAM BUILD_DIR}
build_dir=${2:?usage: x11_desktop_test.sh PROGRAM BUILD_DIR}
tools=(openbox xdotool xprop xwininfo xmessage xkill import stream display update-desktop-database)
screen=1280x1024
source "$(dirname "$0")/../support/in_xvfb.sh"
unset WAYLAND_DISPLAY GDK_SCALE GDK_BACKEND  # the toolkit on the X server, drawings at scale 1

work=$(mktemp -d)
pids=()
# The scratch folder stays when the test fails, for its screenshots and the board's log.
trap 'status=$?; ((${#pids[@]})) && kill "${pids[@]}" 2>/dev/null; ((status)) || rm -rf "$work" "$VELMORA_TEST_RUNTIME"' EXIT
export HOME=$work/home XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
export XDG_CACHE_HOME=$work/cache G_MESSAGES_DEBUG=velmora-desktop
mkdir -p "$HOME" "$XDG_CONFIG_HOME" "$XDG_DATA_HOME/applications" "$XDG_CACHE_HOME"
store=$work/store
fail() {
  echo "FAIL: $*" >&2
  exit 1
}
v() { "$program" --store-dir "$store" --locale en_US --time-zone UTC "$@"; }
source "$(dirname "$0")/../support/on_screen.sh"
write() { v defaults write "$1" --data "$2" >/dev/null; }
write vmDailyBrief '{"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues with options flow signalling continuation through earnings.","signal":"Strong Buy","score":84,"generatedAt":"2025-11-16T06:30:00Z"}'
write vmWatchlistTickers '[{"ticker":"AMD","companyName":"Advanced Micro Devices","price":151.2,"changePct":2.4,"signal":"Buy"}]'

# The desktop: openbox over a plain background.
openbox --sm-disable >"$work/openbox.log" 2>&1 &
pids+=($!)
wait_for 15 "openbox did not start" bash -c "xprop -root _NET_SUPPORTING_WM_CHECK | grep -q 'window id'"
background=336699
stream_rgb() { stream -map rgb -storage-type char "$1" "$2"; }
convert -size 1280x1024 "xc:#$background" "$work/background.png"
display -window root "$work/background.png" || true  # paints the root, then says it failed

expect brief DailyBrief systemMedium
expect watchlist WatchlistGlance systemSmall

screenshot() {
  import -window root "$work/shot.png"
  stream_rgb "$work/shot.png" "$work/shot.rgb"
}
# locate NAME: "x y" of the widget's top-left corner on the screen, waiting up to 15 s; fails
# when the desktop does not show outside its corners (on_screen.sh's, with the background).
locate() {
  local at
  for _ in $(seq 30); do
    screenshot
    if at=$(/usr/bin/python3 "$work/find.py" "$work/shot.rgb" 1280 "$work/$1.rgb" \
      $(cat "$work/$1.size") "$background"); then
      [[ $at != corners* ]] || fail "$1: its corners cover the desktop (screen: $work/shot.png)"
      echo "$at"
      return
    fi
    sleep 0.5
  done
  fail "$1 is not on the screen as render draws it (screen: $work/shot.png, log: $work/board.log)"
}
# pixel X Y: the colour of the screen at (X, Y) in the last screenshot, as hex.
pixel() {
  /usr/bin/python3 -c 'import sys; d = open(sys.argv[1], "rb").read(); i = (int(sys.argv[3]) * 1280 + int(sys.argv[2])) * 3
print(d[i:i + 3].hex())' "$work/shot.rgb" "$1" "$2"
}
window() { xdotool search --name "^$1\$" | head -1; }
screenshot
[ "$(pixel 0 0)" = "$background" ] || fail "the desktop's background is not #$background"

# A handler for velmora: links, as an installed app would be.
printf '#!/bin/sh\necho "$1" >>%s/opened\n' "$work" >"$work/handler.sh"
chmod +x "$work/handler.sh"
printf '[Desktop Entry]\nType=Application\nName=Handler\nExec=%s %%u\nMimeType=x-scheme-handler/velmora;\n' \
  "$work/handler.sh" >"$XDG_DATA_HOME/applications/velmora-handler.desktop"
update-desktop-database "$XDG_DATA_HOME/applications"

placements=$work/placements.json
echo '[{"kind": "DailyBrief", "family": "systemMedium"}, {"kind": "WatchlistGlance", "family": "systemSmall"}]' >"$placements"
"$program" --store-dir "$store" --locale en_US --time-zone UTC desktop --placements "$placements" \
  >"$work/board.log" 2>&1 &
board=$!
pids+=($board)
wait_for 15 "no widget windows (log: $work/board.log)" \
  bash -c "xdotool search --name '^Daily Brief\$' && xdotool search --name '^Watchlist Glance\$'" >/dev/null
grep -q "X11 windows kept below" "$work/board.log" || fail "the board did not use the X11 layer"

# --- Below every window, on every workspace, out of the task bar and the pager ---------------------
supported=$(xprop -root _NET_SUPPORTED)
for name in "Daily Brief" "Watchlist Glance"; do
  properties=$(xprop -id "$(window "$name")")
  for state in BELOW SKIP_TASKBAR SKIP_PAGER; do
    grep -q "_NET_WM_STATE(ATOM) = .*_NET_WM_STATE_$state" <<<"$properties" ||
      fail "$name lacks _NET_WM_STATE_$state: $(grep _NET_WM_STATE <<<"$properties")"
  done
  # A window manager without the sticky state (openbox) drops it and keeps the window on every
  # workspace by its desktop, all of them.
  if grep -q _NET_WM_STATE_STICKY <<<"$supported"; then
    grep -q "_NET_WM_STATE(ATOM) = .*_NET_WM_STATE_STICKY" <<<"$properties" ||
      fail "$name is not sticky"
  fi
  grep -qx "_NET_WM_DESKTOP(CARDINAL) = 4294967295" <<<"$properties" ||
    fail "$name is not on every workspace"
  grep -q "Client accepts input or input focus: False" <<<"$properties" ||
    fail "$name takes the keyboard"
  grep -qx '_MOTIF_WM_HINTS(_MOTIF_WM_HINTS) = 0x2, 0x0, 0x0, 0x0, 0x0' <<<"$properties" ||
    fail "$name has a frame"
done
echo "both windows kept below, on every workspace, out of the task bar and pager, undecorated"

# --- The screen shows what render draws, the desktop outside the corners ---------------------------
at=$(locate brief)
[ "$at" = "24 24" ] || fail "the brief is not in the first cell: $at"
at=$(locate watchlist)
[ "$at" = "24 218" ] || fail "the watchlist is not below it: $at"
cp "$work/shot.png" "$build_dir/x11-desktop-screenshot.png"
echo "both widgets in their cells as render draws them, cut to their corners;" \
  "screenshot: $build_dir/x11-desktop-screenshot.png"

# --- A window over a widget stays over it, even when the widget is clicked ---------------------------
# A click on the brief opens its link, and the window manager raises what is clicked as far as
# its layer goes.
xmessage -geometry 160x80+300+60 -bg '#ff00ff' -fg '#ff00ff' -title cover over 2>/dev/null &
cover=$!
pids+=($cover)
wait_for 10 "xmessage did not come" bash -c "xdotool search --onlyvisible --name '^cover\$'" >/dev/null
eval "$(xwininfo -id "$(xdotool search --onlyvisible --name '^cover$' | head -1)" |
  sed -nE 's/ *Absolute upper-left (X|Y): *(-?[0-9]+)/cover\1=\2/p')"
sleep 0.5
xdotool mousemove 100 110 click 1
wait_for 10 "the click on the brief opened no link" test -s "$work/opened"
[ "$(cat "$work/opened")" = "$(cat "$work/brief.link")" ] ||
  fail "the click opened $(cat "$work/opened"), not $(cat "$work/brief.link")"
sleep 0.5
screenshot
[ "$(pixel $((coverX + 5)) $((coverY + 5)))" = ff00ff ] ||
  fail "the brief came over the window on it (screen: $work/shot.png)"
echo "a click on the brief opened $(cat "$work/opened"); the window over it stayed over it"
kill "$cover"
wait_for 5 "xmessage did not go" bash -c "! xdotool search --onlyvisible --name '^cover\$'" >/dev/null

# --- A drag moves the brief to the cell where it is dropped, kept in the placements file ------------
# Dropped with its corner at (424, 224): column round(400 / 194) = 2, row round(200 / 194) = 1.
xdotool mousemove 100 110 mousedown 1
for step in $(seq 1 10); do
  xdotool mousemove $((100 + step * 40)) $((110 + step * 20))
  sleep 0.05
done
xdotool mouseup 1
wait_for 10 "the drop was not kept in $placements" \
  grep -q '"kind":"DailyBrief","family":"systemMedium","column":2,"row":1' "$placements"
sleep 0.5
[ "$(wc -l <"$work/opened")" = 1 ] || fail "the drag also opened the link: $(cat "$work/opened")"
at=$(locate brief)
[ "$at" = "412 218" ] || fail "the brief is not in cell 2, 1: $at"
at=$(locate watchlist)
[ "$at" = "24 218" ] || fail "the watchlist moved with the brief: $at"
echo "dragged the brief to column 2, row 1: $(tr -d '\n ' <"$placements")"
kill -0 "$board" || fail "the board ended"

# --- The layer's connection cut by the server (xkill on a widget): the board lives on -----------
xkill -id "$(window "Watchlist Glance")" >/dev/null
wait_for 10 "the board did not say the widgets left the desktop" \
  grep -q "the connection to the X server is lost" "$work/board.log"
sleep 0.5
kill -0 "$board" || fail "the board ended with its desktop layer's connection"
[ -z "$(xdotool search --name '^Daily Brief$')" ] || fail "the brief outlived its connection"
echo "xkill on a widget: its connection ends, the board lives on"
