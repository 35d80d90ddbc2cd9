# Sourced: starts sway on its headless backend (no GPU, no input devices, the pixman renderer)
# with a solid wallpaper and one output at scale 1 (1024 x 768 unless `resolution` says), and a session bus, for a program
# to be tested or measured on the desktop layer. sway refuses to run as root: as root, the whole
# session (sway, the bus, what `u` runs) runs as nobody, in a private runtime folder.
#
# Needs: program (the program to run, made runnable by the user; see share_program). Gives: work (a scratch folder, removed on success),
# session (the user's home, runtime, data and configuration folders), wallpaper (its colour),
# as_user (the command prefix that runs as the session's user; in the background, use it rather
# than `u`, so that $! is the program's pid), u, sway (a sway command), fail, and pids (killed
# on exit).
# sway refuses root: as root, everything of the session runs as nobody.
as_user=()
if [ "$(id -u)" -eq 0 ]; then
  as_user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
fi
work=$(mktemp -d)
chmod 755 "$work"
[ "$(id -u)" -ne 0 ] || chown 65534:65534 "$work"
# share_program VARIABLE: the program the variable names, runnable by the session's user: where a
# folder above it is closed to others, a copy in the scratch folder (with the board program
# beside it, as the build puts them) that the variable then names.
share_program() {
  local path
  path=$(realpath "${!1}")
  printf -v "$1" '%s' "$path"
  "${as_user[@]}" test -x "$path" && return
  mkdir -p "$work/bin"
  cp "$path" "$work/bin/"
  local board
  board=$(dirname "$path")/velmora-widgets-desktop
  [ ! -e "$board" ] || cp "$board" "$work/bin/"
  chmod -R a+rX "$work/bin"
  printf -v "$1" '%s' "$work/bin/$(basename "$path")"
}
share_program program
pids=()
trap 'status=$?; for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; exec 7>&- 2>/dev/null
      ((status)) || rm -rf "$work"' EXIT
fail() {
  echo "FAIL: $*" >&2
  exit 1
}
session=$work/session  # the unprivileged user's: home, runtime folder, store, placements
mkdir -p "$session/home" "$session/runtime" "$session/data/applications" "$session/config"
chmod 700 "$session/runtime"
[ ${#as_user[@]} -eq 0 ] || chown -R 65534:65534 "$session"
export HOME=$session/home XDG_RUNTIME_DIR=$session/runtime XDG_DATA_HOME=$session/data \
  XDG_CONFIG_HOME=$session/config WAYLAND_DISPLAY=wayland-velmora
unset DISPLAY
u() { "${as_user[@]}" "$@"; }  # in the background, "${as_user[@]}" itself: its pid is the program's

wallpaper=${wallpaper:-336699}
cat >"$work/sway.config" <<EOF
xwayland disable
seat * hide_cursor 200
output * bg #$wallpaper solid_color
output HEADLESS-1 resolution ${resolution:-1024x768} scale 1
EOF
WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman \
  "${as_user[@]}" sway -c "$work/sway.config" >"$work/sway.log" 2>&1 &
pids+=($!)
for _ in $(seq 40); do ls "$XDG_RUNTIME_DIR"/sway-ipc.*.sock >/dev/null 2>&1 && break; sleep 0.25; done
SWAYSOCK=$(ls "$XDG_RUNTIME_DIR"/sway-ipc.*.sock 2>/dev/null) || fail "sway did not start: $(tail -3 "$work/sway.log")"
export SWAYSOCK
WAYLAND_DISPLAY=$(basename "$(ls "$XDG_RUNTIME_DIR"/wayland-* | grep -v lock | head -1)")
sway() { u swaymsg "$@" >/dev/null; }
# The session's bus, the user's own, for the widgets' name and the reload command.
{ read -r DBUS_SESSION_BUS_ADDRESS; read -r bus_pid; } < <(u dbus-daemon --session --fork --print-address=1 --print-pid=1)
export DBUS_SESSION_BUS_ADDRESS
pids+=("$bus_pid")

