#!/usr/bin/env bash
# The demo: builds the program, seeds a demo store of its own under ./demo/store (never the
# user's store; keys already there are left as they are), draws every widget in every family
# into ./demo/gallery and prints the gallery page's path last.
#
# VELMORA_BUILD_DIR picks the build folder (default: build).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
build=${VELMORA_BUILD_DIR:-build}
generator=()
[ -f "$build/CMakeCache.txt" ] || generator=(-G Ninja)
cmake -S . -B "$build" "${generator[@]}" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target velmora-widgets -j "$(nproc)"

program=$build/velmora-widgets
store=demo/store
now=$(date -u +%Y-%m-%dT%H:%M:%SZ)

# Writes a data value under KEY unless the demo store already holds that key.
seed() {
  if ! "$program" --store-dir "$store" defaults read "$1" >/dev/null 2>&1; then
    "$program" --store-dir "$store" defaults write "$1" --data "$2"
  fi
}

seed vmDailyBrief '{"ticker":"NVDA","companyName":"NVIDIA","summary":"Data-centre demand keeps outrunning supply; guidance and options flow both point to another beat, with valuation the main risk.","signal":"Strong Buy","score":86,"generatedAt":"'"$now"'"}'
seed vmWatchlistTickers '[
  {"ticker":"NVDA","companyName":"NVIDIA","price":488.5,"changePct":1.92,"signal":"Strong Buy","score":86},
  {"ticker":"AAPL","companyName":"Apple Inc.","price":187.32,"changePct":0.84,"signal":"Buy","score":72},
  {"ticker":"MSFT","companyName":"Microsoft","price":411.22,"changePct":-0.31,"signal":"Hold","score":64},
  {"ticker":"TSLA","companyName":"Tesla","price":251.4,"changePct":-2.55,"signal":"Sell","score":38},
  {"ticker":"AMZN","companyName":"Amazon","price":178.9,"changePct":0.12,"signal":"Buy","score":69},
  {"ticker":"INTC","companyName":"Intel","price":24.1,"changePct":-1.34,"signal":"Strong Sell","score":22}]'
seed vmPortfolioSnapshot '{"totalValue":125430.55,"totalPnl":8120.4,"totalReturn":6.92,"dailyChange":-412.3,"dailyChangePct":-0.33,"holdingCount":6,"sourceLabel":"Demo broker","updatedAt":"'"$now"'"}'

echo "== Gallery of every widget in every family (store: $store)"
echo "   (live instead: $program --store-dir $store host --out demo/host)"
"$program" --store-dir "$store" gallery --out demo/gallery
