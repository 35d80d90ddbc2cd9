#!/usr/bin/env bash
# The examples in C and in Python, built and run as a host app would: against the library installed
# into a prefix of their own (cmake --install), found through pkg-config. What they write is read
# back by the program's `defaults read`. No widget host runs, so their reloads find none.
#   examples_test.sh BUILD_DIR SOURCE_DIR PROGRAM [SANITIZERS]
set -euo pipefail
build=${1:?usage: examples_test.sh BUILD_DIR SOURCE_DIR PROGRAM [SANITIZERS]}
source=${2:?usage: examples_test.sh BUILD_DIR SOURCE_DIR PROGRAM [SANITIZERS]}
program=${3:?usage: examples_test.sh BUILD_DIR SOURCE_DIR PROGRAM [SANITIZERS]}
if [ -n "${4:-}" ]; then
  echo "SKIP: the library of a $4 build needs the sanitizer's runtime in the program that loads it"
  exit 77
fi
for tool in cc c++ pkg-config /usr/bin/python3; do
  command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed"; exit 77; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
  echo "FAIL: $*" >&2
  exit 1
}
for component in runtime dev; do
  cmake --install "$build" --prefix "$work/prefix" --component "$component" >/dev/null
done
pc=$(find "$work/prefix" -name velmora-appgroup.pc)
[ -n "$pc" ] || fail "no velmora-appgroup.pc installed"
export PKG_CONFIG_PATH=$(dirname "$pc")
libdir=$(pkg-config --variable=libdir velmora-appgroup)
[ -e "$libdir/libvelmora-appgroup.so.0" ] || fail "pkg-config's libdir $libdir holds no library"
# No session bus: the reloads must say so, not start one.
unset DBUS_SESSION_BUS_ADDRESS DISPLAY
export XDG_RUNTIME_DIR=$work VELMORA_STORE_DIR=
read_back() { "$program" --store-dir "$1" defaults read "$2"; }

# C, warnings as errors.
cc -std=c99 -Wall -Wextra -Werror "$source/examples/host_app.c" \
  $(pkg-config --cflags --libs velmora-appgroup) -Wl,-rpath,"$libdir" -o "$work/host_app"
"$work/host_app" "$work/c-store" >"$work/c.out"
grep -q "^wrote 3 records to $work/c-store$" "$work/c.out" || fail "C example: $(cat "$work/c.out")"
grep -q "^reload: none running (no widget host to ask: no session bus" "$work/c.out" ||
  fail "C example's reload: $(cat "$work/c.out")"
brief='{"ticker":"NVDA","companyName":"NVIDIA","summary":"Momentum continues with options flow signalling continuation through earnings.","signal":"Strong Buy","score":84,"generatedAt":"2025-11-16T06:30:00Z"}'
[ "$(read_back "$work/c-store" vmDailyBrief)" = "data (${#brief} bytes)
$brief" ] || fail "defaults read does not show the C example's brief: $(read_back "$work/c-store" vmDailyBrief)"
for key in vmWatchlistTickers vmPortfolioSnapshot; do
  read_back "$work/c-store" "$key" | grep '^data (' >/dev/null || fail "the C example wrote no $key"
done
echo "C example: 3 records written and read back, reload: none running"

# The C++ face compiles on its own against the installed headers.
cat >"$work/wrapper.cpp" <<'CPP'
#include <velmora/appgroup.hpp>
int main(int, char** argv) {
    auto store = velmora::appgroup::Store::open(argv[1]);
    return store && store.value().writeData("k", "v") && store.value().readData("k").value() == "v" ? 0 : 1;
}
CPP
c++ -std=c++17 -Wall -Wextra -Werror "$work/wrapper.cpp" \
  $(pkg-config --cflags --libs velmora-appgroup) -Wl,-rpath,"$libdir" -o "$work/wrapper"
"$work/wrapper" "$work/cpp-store" || fail "the C++ wrapper's round trip"
echo "C++ wrapper: built against the installed headers, a value written and read"

# Python through ctypes, Debian's interpreter.
VELMORA_APPGROUP_LIBRARY=$libdir/libvelmora-appgroup.so.0 \
  /usr/bin/python3 "$source/examples/host_app.py" "$work/py-store" >"$work/py.out"
grep -q '^refused: vmDailyBrief: score: expected a number, found a string$' "$work/py.out" ||
  fail "Python example: $(cat "$work/py.out")"
grep -q '^reload: none running' "$work/py.out" || fail "Python example's reload: $(cat "$work/py.out")"
read_back "$work/py-store" vmDailyBrief | grep '"score":84,' >/dev/null || fail "the refused brief replaced the stored one"
read_back "$work/py-store" vmWatchlistTickers | grep '^\[{"ticker":"AAPL"' >/dev/null || fail "the Python example wrote no rows"
echo "Python example: 3 records written, a bad brief refused, reload: none running"
