#!/usr/bin/env bash
# Builds the Debian packages (the program, velmora-widgets; the host app's library,
# libvelmora-appgroup0; and its development files, libvelmora-appgroup-dev) with the
# distribution's hardening flags (dpkg-buildflags: fortify, stack protector, read-only relocations
# bound now, position-independent code), checks them with lintian and their programs and library
# with hardening-check, installs them into a fresh minimal Debian root (mmdebstrap, with the
# dependencies the packages name and nothing of this machine), and runs the installed program
# there: --version, list and a render; then builds the C example host app against the installed
# library with pkg-config, runs it, and reads its records back with the program.
#   scripts/package-test.sh [BUILD_DIR]     (default: build-release)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build-release}
scripts/install-deps.sh mmdebstrap lintian devscripts
# The flags a Debian package is built with, every hardening feature on, the preprocessor's with
# the compiler's. Stack clash protection and control-flow protection are the hardening features
# newer releases of dpkg-buildflags add by themselves; Debian 12's does not yet.
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
eval "$(dpkg-buildflags --export=sh)"
case "$(dpkg --print-architecture)" in
  amd64) CXXFLAGS="$CXXFLAGS -fstack-clash-protection -fcf-protection" ;;
  arm64) CXXFLAGS="$CXXFLAGS -fstack-clash-protection -mbranch-protection=standard" ;;
  *) CXXFLAGS="$CXXFLAGS -fstack-clash-protection" ;;
esac
cmake --preset release -B "$build" -DCMAKE_CXX_FLAGS="$CXXFLAGS $CPPFLAGS" \
  -DCMAKE_EXE_LINKER_FLAGS="$LDFLAGS" -DCMAKE_SHARED_LINKER_FLAGS="$LDFLAGS" >/dev/null
cmake --build "$build" --target velmora-widgets velmora-docs velmora-appgroup -j "$(nproc)"
(cd "$build" && cpack -G DEB >/dev/null)
debs=()
for package in velmora-widgets libvelmora-appgroup0 libvelmora-appgroup-dev; do
  deb=$(ls -t "$build/${package}"_*.deb | head -1)
  echo "== $deb: $(du -k "$deb" | cut -f1) KiB"
  echo "Depends: $(dpkg-deb -f "$deb" Depends)"
  debs+=("$deb")
done
# The program's package needs the library's, at its own version.
dpkg-deb -f "${debs[0]}" Depends | grep -q 'libvelmora-appgroup0 (= '
# lintian's errors fail the run; its warnings are shown.
lintian --no-tag-display-limit "${debs[@]}" 2>/dev/null | tee "$build/lintian.log"
! grep -q '^E:' "$build/lintian.log"

root=$(mktemp -d /tmp/velmora-root.XXXXXX)
trap 'rm -rf "$root"' EXIT
suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
installed=()
for deb in "${debs[@]}"; do installed+=("/tmp/$(basename "$deb")"); done
# With a C compiler and pkg-config, for the example host app.
mmdebstrap --quiet --variant=apt --mode=root \
  --customize-hook="copy-in ${debs[*]} /tmp" \
  --customize-hook="chroot \"\$1\" apt-get install -y -qq ${installed[*]} gcc libc6-dev pkg-config >/dev/null" \
  "$suite" "$root"
echo "== installed into a fresh $suite root"
chroot "$root" velmora-widgets --version
chroot "$root" velmora-widgets list
chroot "$root" velmora-widgets --store-dir /tmp/store render DailyBrief systemMedium \
  --request placeholder --out /tmp/brief.png
test -s "$root/usr/share/man/man1/velmora-widgets.1.gz"
test -x "$root/usr/libexec/velmora-widgets/velmora-widgets-desktop"
test -x "$root/usr/libexec/velmora-widgets/velmora-widgets-studio"
test -s "$root/usr/share/applications/app.velmora.desktop.widgets.desktop"
test -s "$root/tmp/brief.png"
# Control-flow protection is compiled in, but the program cannot be marked for it: Debian 12's C
# start-up files (crt1.o) carry no IBT/SHSTK property, and the linker marks a program only when
# every object does. hardening-check checks the mark, so that one check is left out.
hardening-check --nocfprotection "$root/usr/bin/velmora-widgets" \
  "$root/usr/libexec/velmora-widgets/velmora-widgets-desktop" \
  "$root/usr/libexec/velmora-widgets/velmora-widgets-studio"
hardening-check --nocfprotection "$root"/usr/lib/*/libvelmora-appgroup.so.0
cp "$root/tmp/brief.png" "$build/package-brief.png"
echo "== installed program ran: $build/package-brief.png, $(du -k "$root/usr/bin/velmora-widgets" | cut -f1) KiB program"

# A host app built against the installed library: its records land where the program reads them.
cp examples/host_app.c "$root/tmp/"
chroot "$root" sh -c 'cc /tmp/host_app.c $(pkg-config --cflags --libs velmora-appgroup) -o /tmp/host_app'
chroot "$root" /tmp/host_app /tmp/app-store
chroot "$root" velmora-widgets --store-dir /tmp/app-store defaults read vmDailyBrief | grep -q '"ticker":"NVDA"'
chroot "$root" velmora-widgets --store-dir /tmp/app-store render DailyBrief systemMedium --out /tmp/app-brief.png
test -s "$root/tmp/app-brief.png"
echo "== the example host app built against the installed library, its brief read back and drawn"
