#!/usr/bin/env bash
# The desktop board on a real X server (Xvfb) with a private session bus, driven by real clicks
# (xdotool) and read back from screenshots. Leaves the first screenshot in
# BUILD_DIR/desktop-screenshot.png.
#
#   board_test.sh PROGRAM BUILD_DIR
#
# Exits 77 (skipped) when Xvfb or one of the tools is missing.
set -euo pipefail
program=${1:?usage: board_test.sh PROGRAM BUILD_DIR}
build_dir=${2:?usage: board_test.sh PROGRAM BUILD_DIR}
/usr/bin/python3 -c "import dbus" 2>/dev/null ||
  { echo "SKIP: python3-dbus is not installed (scripts/install-deps.sh installs it)"; exit 77; }
tools=(xdotool import stream) screen=1280x1024
source "$(dirname "$0")/../support/in_xvfb.sh"

work=$(mktemp -d)
board=
# The scratch folder stays when the test fails, for its screenshot and the board's log.
trap 'status=$?; [ -n "$board" ] && kill "$board" 2>/dev/null; ((status)) || rm -rf "$work" "$VELMORA_TEST_RUNTIME"' EXIT
export HOME=$work/home XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
export G_MESSAGES_DEBUG=velmora-desktop
store=$work/store
mkdir -p "$XDG_DATA_HOME/applications"  # watched by GIO from the start, so a handler put there is seen
fail() {
  echo "FAIL: $*" >&2
  exit 1
}
v() { "$program" --store-dir "$store" --locale en_US --time-zone UTC "$@"; }
write() { v defaults write "$1" --data "$2" >/dev/null; }
rows() {
  write vmWatchlistTickers "[{\"ticker\":\"BRK B\",\"price\":$1,\"changePct\":0.4,\"signal\":\"Hold\"},
    {\"ticker\":\"AMD\",\"companyName\":\"Advanced Micro Devices\",\"price\":151.2,\"changePct\":2.4,\"signal\":\"Buy\"},
    {\"ticker\":\"INTC\",\"price\":24.1,\"changePct\":-1.3,\"signal\":\"Sell\"}]"
}
write vmDailyBrief '{"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues with options flow signalling continuation through earnings.","signal":"Strong Buy","score":84,"generatedAt":"2025-11-16T06:30:00Z"}'
write vmPortfolioSnapshot '{"totalValue":25400.5,"totalPnl":1200,"totalReturn":4.9,"dailyChange":-80,"dailyChangePct":-0.31,"holdingCount":3,"sourceLabel":"Broker","updatedAt":"2025-11-10T09:30:00Z"}'
rows 412.5  # "BRK B" forms no URL: the small watchlist has no link

source "$(dirname "$0")/../support/on_screen.sh"
# click NAME [BUTTON]: a real click in the middle of the widget.
click() {
  local at x y w h
  at=$(locate "$1")
  read -r x y <<<"$at"
  read -r w h <"$work/$1.size"
  xdotool mousemove $((x + w / 2)) $((y + h / 2)) click "${2:-1}"
}

widgets=(WatchlistGlance:systemSmall WatchlistGlance:systemMedium WatchlistGlance:systemLarge
  DailyBrief:systemMedium DailyBrief:systemLarge)
placements=$work/placements.json
printf '%s\n' "${widgets[@]}" | sed -E 's/(.*):(.*)/{"kind": "\1", "family": "\2"}/' | paste -sd, |
  sed 's/.*/[&]/' >"$placements"
v desktop --placements "$placements" >"$work/board.log" 2>&1 &
board=$!
for widget in "${widgets[@]}"; do expect "${widget/:/-}" "${widget%:*}" "${widget#*:}"; done
# Once shown, six columns: every widget in view, the large watchlist beside a small and a medium.
locate WatchlistGlance-systemSmall >/dev/null
xdotool search --onlyvisible --name '^Velmora Widgets$' windowsize 1260 1000

# --- The screen shows what render draws -----------------------------------------------------------
for widget in "${widgets[@]}"; do locate "${widget/:/-}" >/dev/null; done
cp "$work/shot.png" "$build_dir/desktop-screenshot.png"
echo "all five widgets on screen as render draws them; screenshot: $build_dir/desktop-screenshot.png"

# --- What a screen reader is told: one element per widget, its name and its texts in order ------
a11y=$(/usr/bin/python3 - <<'PY'
import dbus
address = dbus.SessionBus().get_object("org.a11y.Bus", "/org/a11y/bus").GetAddress(dbus_interface="org.a11y.Bus")
bus = dbus.bus.BusConnection(address)
def walk(name, path):
    node = bus.get_object(name, path)
    get = lambda key: str(node.Get("org.a11y.atspi.Accessible", key, dbus_interface=dbus.PROPERTIES_IFACE))
    role = node.GetRoleName(dbus_interface="org.a11y.atspi.Accessible")
    # The board's window alone: the gallery's previews live in a window of their own.
    if role in ("frame", "window", "dialog") and get("Name") != "Velmora Widgets":
        return
    if role == "button" and get("Description"):
        print(get("Name") + ": " + " / ".join(get("Description").split("\n")))
    for child in node.GetChildren(dbus_interface="org.a11y.atspi.Accessible"):
        walk(*child)
walk("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
PY
)
a11y=$(grep -E "^(Watchlist Glance|Daily Brief): " <<<"$a11y")
grep -qx "Watchlist Glance: BRK B / Hold / \$412.50 / +0.40%" <<<"$a11y" &&
  grep -qx "Daily Brief: NVDA / NVIDIA / Strong Buy / 84 / Momentum .* / DAILY BRIEF · NOV 16, 6:30 AM / Read full analysis →" <<<"$a11y" &&
  [ "$(cut -d: -f1 <<<"$a11y" | paste -sd,)" = "Watchlist Glance,Watchlist Glance,Watchlist Glance,Daily Brief,Daily Brief" ] ||
  fail "accessible widgets:
$a11y"
echo "accessible: five buttons named after their widgets, described by their texts in reading order"

# --- Clicks: no handler yet, then a handler in the scratch data folder ----------------------------
click WatchlistGlance-systemMedium
wait_for 5 "no message that nothing opens velmora: links" grep -q "opens velmora: links" "$work/board.log"
kill -0 "$board" || fail "the board ended when no app opened its link"
printf '#!/bin/sh\necho "$1" >>%s/opened\n' "$work" >"$work/handler.sh"
chmod +x "$work/handler.sh"
printf '[Desktop Entry]\nType=Application\nName=Handler\nExec=%s %%u\nMimeType=x-scheme-handler/velmora;\n' \
  "$work/handler.sh" >"$XDG_DATA_HOME/applications/velmora-handler.desktop"
update-desktop-database "$XDG_DATA_HOME/applications"  # as installing a package does
sleep 1  # GIO notices the new entry through its folder monitor
expected=()
for widget in "${widgets[@]}"; do
  click "${widget/:/-}"
  link=$(cat "$work/${widget/:/-}.link")
  [ "$link" = none ] || expected+=("$link")
  sleep 0.5
done
wait_for 5 "the handler did not get ${#expected[@]} links" \
  test "$(wc -l <"$work/opened" 2>/dev/null || echo 0)" -ge "${#expected[@]}"
sleep 0.5
[ "$(cat "$work/opened")" = "$(printf '%s\n' "${expected[@]}")" ] ||
  fail "links opened: $(cat "$work/opened"); expected: ${expected[*]}"
echo "clicks opened: ${expected[*]} (the small watchlist has none)"

# --- Remove and add through the window's controls --------------------------------------------------
click DailyBrief-systemLarge 3
sleep 0.5
xdotool mousemove_relative 0 22 click 1  # the menu opens just below the pointer
wait_for 5 "removing did not rewrite the placements file" \
  bash -c "! grep -q '\"systemLarge\"}' <(grep DailyBrief '$placements')"
eval "$(xdotool search --onlyvisible --name '^Velmora Widgets$' getwindowgeometry --shell)"
xdotool mousemove $((X + 60)) $((Y + 25)) click 1  # "Add Widget", first in the header bar
expect gallery-brief-large DailyBrief systemLarge --request placeholder
xdotool search --sync --onlyvisible --name '^Add Widget$' >/dev/null
sleep 0.5
xdotool search --onlyvisible --name '^Add Widget$' windowsize 1000 1000  # every preview in view
click gallery-brief-large
wait_for 5 "adding did not rewrite the placements file" \
  bash -c "tail -2 '$placements' | grep -q '\"kind\":\"DailyBrief\",\"family\":\"systemLarge\"'"
echo "removed and added DailyBrief systemLarge: $(tr -d '\n ' <"$placements")"

# --- reload after a store write: the watchlist at once, the brief not asked -----------------------
briefs=$(grep -c "timeline DailyBrief" "$work/board.log")
rows 99.25
expect reloaded WatchlistGlance systemMedium
v reload WatchlistGlance || fail "reload did not reach the board"
locate reloaded >/dev/null
[ "$(grep -c "timeline DailyBrief" "$work/board.log")" = "$briefs" ] || fail "reload asked the brief too"
echo "reload WatchlistGlance: new rows drawn, the brief not asked"

# --- The host app's library: the Python example's records, its reload taken by the board ----------
# (A sanitizer's build of the library needs the sanitizer's runtime in Python: left out there.)
library=$build_dir/appgroup/libvelmora-appgroup.so.0
if nm -D --undefined-only "$library" | grep -E ' __(asan|tsan|ubsan)_' >/dev/null; then
  echo "the host app's library: left out, a sanitizer's build"
else
  VELMORA_APPGROUP_LIBRARY=$library \
    /usr/bin/python3 "$(dirname "$0")/../../examples/host_app.py" "$store" >"$work/host_app.out" ||
    fail "the Python example failed: $(cat "$work/host_app.out")"
  grep -q '^reload: taken$' "$work/host_app.out" ||
    fail "the library's reload did not reach the board: $(cat "$work/host_app.out")"
  expect library-rows WatchlistGlance systemMedium
  locate library-rows >/dev/null
  echo "the host app's library: records written, its reload taken, the new rows drawn"
fi

# --- A corrupt store: the board stays up with what the providers fall back to ----------------------
printf 'not a database' >"$store/group.app.velmora.shared.sqlite"
expect corrupt-watchlist WatchlistGlance systemMedium
expect corrupt-brief DailyBrief systemMedium
v reload
locate corrupt-watchlist >/dev/null
locate corrupt-brief >/dev/null
kill -0 "$board" || fail "the board ended on a corrupt store"
echo "corrupt store: the board is up and shows the sample rows and the empty brief"

# --- A second launch shows the running board; autostart on and off --------------------------------
timeout 10 "$program" desktop --placements "$placements" || fail "a second launch did not end"
kill -0 "$board" || fail "the board ended on a second launch"
v desktop --autostart on >/dev/null
desktop-file-validate "$XDG_CONFIG_HOME"/autostart/*.desktop || fail "the autostart entry is invalid"
v desktop --autostart off >/dev/null
[ -z "$(ls "$XDG_CONFIG_HOME/autostart")" ] || fail "autostart off left the entry"
echo "second launch and autostart: ok"

# --- An extension that fails every timeline: a new widget shows its placeholder, not nothing ------
# $board is the shell that runs `v desktop`; the board is its child.
pkill -TERM -P "$board" || true
wait "$board" 2>/dev/null || true
board=
echo '[{"kind": "WatchlistGlance", "family": "systemSmall"}]' >"$work/failing.json"
expect placeholder-small WatchlistGlance systemSmall --request placeholder
VELMORA_EXTENSION=$build_dir/tests/velmora-faulty-extension VELMORA_FAULT=garbage \
  VELMORA_FAULT_REQUEST=timeline v desktop --placements "$work/failing.json" >"$work/failing.log" 2>&1 &
board=$!
locate placeholder-small >/dev/null
wait_for 5 "no warning naming the failing widget" grep -q "WatchlistGlance systemSmall: " "$work/failing.log"
echo "failing extension: the widget shows its placeholder and the board says why"

# --- A hung extension: the board stops within a second of SIGTERM and leaves no extension ---------
pkill -TERM -P "$board" || true
wait "$board" 2>/dev/null || true
VELMORA_EXTENSION=$build_dir/tests/velmora-faulty-extension VELMORA_FAULT=hang \
  VELMORA_FAULT_REQUEST=timeline v desktop --placements "$placements" >"$work/hung.log" 2>&1 &
board=$!
wait_for 10 "the board did not start" pgrep -P "$board" >/dev/null
process=$(pgrep -P "$board")
wait_for 10 "the board launched no extension" pgrep -P "$process" >/dev/null
extension=$(pgrep -P "$process")
sleep 0.5  # its worker now waits for the timeline the extension never sends
started=$(date +%s%N)
kill -TERM "$process"
# Gone, or a zombie of a parent that is gone (this sandbox's init may not reap it).
ended() { ! kill -0 "$1" 2>/dev/null || [ "$(cut -d' ' -f3 "/proc/$1/stat" 2>/dev/null)" = Z ]; }
wait_for 5 "the board did not stop on SIGTERM" ended "$process"
elapsed=$((($(date +%s%N) - started) / 1000000))
((elapsed < 1000)) || fail "the board took $elapsed ms to stop with a hung extension"
ended "$extension" || fail "the board left its hung extension running"
board=
echo "hung extension: the board stopped $elapsed ms after SIGTERM and ended its extension"
