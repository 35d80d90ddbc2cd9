# Screens read back for the toolkit programs' tests: where a widget that `render` drew stands on
# an X screen, pixel for pixel. Sourced by a test that defines `work` (its scratch folder), `v`
# (the program with the test's store and options) and `fail`; `screen_width` (default 1280) and
# `program_log` (default board.log, in `work`) as its screen and log are.

# Where a widget drawn by `render --scale 1` stands on the screen, pixel for pixel inside its
# rounded corners (the 35 x 35 squares where the corner curves run are left out); given the
# background's colour, also whether the pixels just outside its four corners are the background.
cat >"$work/find.py" <<'PY'
import sys
shot, sw, widget, w, h = open(sys.argv[1], "rb").read(), int(sys.argv[2]), open(sys.argv[3], "rb").read(), int(sys.argv[4]), int(sys.argv[5])
background = bytes.fromhex(sys.argv[6]) if len(sys.argv) > 6 else None
c = 35
row = lambda data, width, y, a, b: data[(y * width + a) * 3:(y * width + b) * 3]
start = 0
while (i := shot.find(row(widget, w, h // 2, 0, w), start)) >= 0:
    start, x, y = i + 1, i // 3 % sw, i // 3 // sw - h // 2
    if i % 3 == 0 and all(row(shot, sw, y + r, x + a, x + b) == row(widget, w, r, a, b) for r in range(h)
                          for a, b in [(c, w - c) if r < c or r >= h - c else (0, w)]):
        outside = [(x + dx, y + dy) for dx in (0, 1, w - 2, w - 1) for dy in (0, 1, h - 2, h - 1)]
        if background and any(row(shot, sw, b, a, a + 1) != background for a, b in outside):
            sys.exit(print("corners", x, y))
        sys.exit(print(x, y))
sys.exit(1)
PY
size() { case $1 in systemSmall) echo "170 170" ;; systemMedium) echo "364 170" ;; *) echo "364 382" ;; esac; }
# expect NAME KIND FAMILY [RENDER OPTION...]: the widget as `render` draws it now, and its link.
expect() {
  local name=$1 kind=$2 family=$3
  shift 3
  v render "$kind" "$family" --scale 1 --out "$work/$name.png" "$@" | sed 's/^link: //' >"$work/$name.link"
  stream -map rgb -storage-type char "$work/$name.png" "$work/$name.rgb"
  echo "$(size "$family")" >"$work/$name.size"
}
# locate NAME: "x y" of the widget's top-left corner on the screen, waiting up to 15 s.
locate() {
  for _ in $(seq 30); do
    import -window root "$work/shot.png"
    stream -map rgb -storage-type char "$work/shot.png" "$work/shot.rgb"
    /usr/bin/python3 "$work/find.py" "$work/shot.rgb" "${screen_width:-1280}" "$work/$1.rgb" $(cat "$work/$1.size") && return
    sleep 0.5
  done
  fail "$1 is not on the screen as render draws it (screen: $work/shot.png, log: $work/${program_log:-board.log})"
}
wait_for() {  # SECONDS DESCRIPTION COMMAND...
  local tries=$(($1 * 4)) what=$2
  shift 2
  for _ in $(seq "$tries"); do "$@" && return; sleep 0.25; done
  fail "$what"
}
