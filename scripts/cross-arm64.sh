#!/usr/bin/env bash
# Builds the program for 64-bit ARM (arm64) with Debian's cross toolchain: shows that the code
# carries no processor-only path without a fallback. Installs the cross compiler and the arm64
# development packages when they are missing (adds the arm64 architecture to dpkg once). The
# packages that cannot sit beside their native ones (not Multi-Arch: same), with their
# libraries, are unpacked into the build folder instead, so the native build keeps its own.
set -euo pipefail
cd "$(dirname "$0")/.."
packages=(crossbuild-essential-arm64 libicu-dev:arm64 libsqlite3-dev:arm64 libpango1.0-dev:arm64
  libcairo2-dev:arm64 libpng-dev:arm64 libsystemd-dev:arm64
  "$@")
unpacked=(liburiparser-dev liburiparser1 libisal-dev libisal2)
sudo=""; [ "$(id -u)" -eq 0 ] || sudo="sudo"
if ! dpkg --print-foreign-architectures | grep -qx arm64; then
  $sudo dpkg --add-architecture arm64
fi
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
build=${VELMORA_BUILD_DIR:-build-arm64}
sysroot=$PWD/$build/arm64-dev
if [ ! -d "$sysroot" ]; then
  mkdir -p "$sysroot"
  debs=$(mktemp -d)
  (cd "$debs" && apt-get download -qq "${unpacked[@]/%/:arm64}")
  for deb in "$debs"/*.deb; do dpkg-deb -x "$deb" "$sysroot"; done
  rm -rf "$debs"
  # Their pkg-config files name /usr: point them at the unpacked copy.
  sed -i "s|^prefix=/usr|prefix=$sysroot/usr|" "$sysroot"/usr/lib/aarch64-linux-gnu/pkgconfig/*.pc
fi
export VELMORA_CROSS_PKG_CONFIG_PATH="$sysroot/usr/lib/aarch64-linux-gnu/pkgconfig"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVELMORA_WERROR=ON \
  -DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake \
  -DVELMORA_BUILD_TESTS=OFF -DVELMORA_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build "$build" --target velmora-widgets -j "$(nproc)"
file "$build/velmora-widgets"
