#!/usr/bin/env bash
# Opens the gallery page in headless Chromium and checks what a person would see: every image
# loaded, at twice its shown size in pixels, and every card linked to its widget's URL as the
# gallery command printed it. Leaves a screenshot of the page in the build folder.
#
#   gallery_test.sh PROGRAM BUILD_DIR
#
# Exits 77 (skipped) when Chromium is not installed.
set -euo pipefail
program=${1:?usage: gallery_test.sh PROGRAM BUILD_DIR}
build_dir=${2:?usage: gallery_test.sh PROGRAM BUILD_DIR}

browser=$(command -v chromium || command -v chromium-browser || true)
if [ -z "$browser" ]; then
  echo "SKIP: chromium is not installed (scripts/install-deps.sh installs it)"
  exit 77
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
store=$work/store
at=2025-11-16T09:41:00Z

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

write() {
  "$program" --store-dir "$store" defaults write "$1" --data "$2" >/dev/null
}
write vmDailyBrief '{"ticker":"AMD","companyName":"Advanced Micro Devices","summary":"Server share gains continue as new accelerators ship; margins widen while the options market prices a strong quarter.","signal":"Strong Buy","score":84,"generatedAt":"2025-11-16T06:30:00Z"}'
write vmWatchlistTickers '[{"ticker":"AMD","companyName":"Advanced Micro Devices","price":151.2,"changePct":2.4,"signal":"Buy","score":80},{"ticker":"INTC","companyName":"Intel","price":24.1,"changePct":-1.3,"signal":"Sell","score":31},{"ticker":"MSFT","companyName":"Microsoft","price":411.22,"changePct":0.31,"signal":"Hold","score":58}]'
write vmPortfolioSnapshot '{"totalValue":25400.5,"totalPnl":1200,"totalReturn":4.9,"dailyChange":-80,"dailyChangePct":-0.31,"holdingCount":3,"sourceLabel":"Broker","updatedAt":"2025-11-16T09:30:00Z"}'

"$program" --store-dir "$store" --at "$at" --locale en_US --time-zone UTC \
  gallery --out "$work/gallery" >"$work/printed" || fail "the gallery command failed"
page=$(tail -n 1 "$work/printed")
[ -f "$page" ] || fail "the gallery printed \"$page\", which is not a file"

# The links in card order, as the gallery printed them: "... (link: URL)" or "... (no link)".
cards=$(($(wc -l <"$work/printed") - 1))
expected=$(head -n "$cards" "$work/printed" |
  sed -E 's/.*\(link: (.*)\)$/\1/; s/.*\(no link\)$/-/' | paste -sd ' ')

chrome() {
  HOME=$work/home timeout 120 "$browser" --headless --no-sandbox --disable-gpu --disable-quic \
    --no-first-run --disable-background-networking --disable-component-update --disable-sync \
    --disable-dev-shm-usage --hide-scrollbars --user-data-dir="$(mktemp -d -p "$work")" "$@" \
    "file://$page" 2>>"$work/chromium.log"
}

chrome --virtual-time-budget=5000 --dump-dom >"$work/dom.html" ||
  { cat "$work/chromium.log" >&2; fail "chromium could not dump the page"; }

# The page's script notes its findings on <body>; the dump escapes & in attribute values.
attribute() {
  grep -o "$1=\"[^\"]*\"" "$work/dom.html" | head -n 1 | sed -E "s/^$1=\"(.*)\"$/\1/; s/&amp;/\\&/g"
}
loaded=$(attribute data-images-loaded)
crisp=$(attribute data-images-crisp)
links=$(attribute data-links)

[ -n "$loaded" ] || fail "the page's script did not run (no data-images-loaded on <body>)"
[ "$loaded" = "$cards/$cards" ] || fail "images loaded: $loaded, expected $cards/$cards"
[ "$crisp" = "$cards/$cards" ] || fail "images with twice their shown size in pixels: $crisp"
[ "$links" = "$expected" ] || fail "card links differ:
  page:    $links
  printed: $expected"
anchors=$(grep -o '<a href="velmora://[^"]*"><img' "$work/dom.html" | wc -l)
[ "$anchors" -eq "$(grep -c '(link: ' "$work/printed")" ] || fail "$anchors linked images in the DOM"
echo "images loaded $loaded, crisp $crisp; links match: $links"

screenshot=$build_dir/gallery-screenshot.png
rm -f "$screenshot"
chrome --virtual-time-budget=5000 --window-size=1280,1800 --screenshot="$screenshot" >/dev/null ||
  { cat "$work/chromium.log" >&2; fail "chromium could not take a screenshot"; }
[ "$(head -c 8 "$screenshot" | od -An -tx1 | tr -d ' \n')" = "89504e470d0a1a0a" ] ||
  fail "no PNG screenshot at $screenshot"
echo "screenshot: $screenshot"
