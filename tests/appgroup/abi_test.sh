#!/usr/bin/env bash
# The library's binary interface: the dynamic symbols it defines are exactly the list kept beside
# it (each function under its version node), every function the C header declares is among them,
# and its soname is the one the runtime package is named after.
#   abi_test.sh LIBRARY APPGROUP_SOURCE_DIR
set -euo pipefail
library=${1:?usage: abi_test.sh LIBRARY APPGROUP_SOURCE_DIR}
source=${2:?usage: abi_test.sh LIBRARY APPGROUP_SOURCE_DIR}
for tool in nm readelf; do
  command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed (binutils)"; exit 77; }
done
fail() {
  echo "FAIL: $*" >&2
  exit 1
}
exported=$(nm -D --defined-only "$library" | awk '{print $3}' | sort)
diff -u "$source/symbols.txt" - <<<"$exported" ||
  fail "the exported symbols (+) differ from symbols.txt (-): a removed or renamed function breaks every host app built against the library; a new one goes into symbols.txt and, once released, under a new version node"
declared=$(grep -o 'velmora_appgroup_[a-z_]*(' "$source/include/velmora/appgroup.h" | tr -d '(' | sort -u)
missing=$(comm -23 <(echo "$declared") <(sed 's/@.*//' <<<"$exported" | sort -u))
[ -z "$missing" ] || fail "declared in appgroup.h but not exported: $missing"
readelf -d "$library" | grep 'SONAME.*\[libvelmora-appgroup\.so\.0\]' >/dev/null || fail "the soname is not libvelmora-appgroup.so.0"
echo "$(wc -l <<<"$exported") symbols as listed, soname libvelmora-appgroup.so.0"
