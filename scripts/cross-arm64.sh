#!/usr/bin/env bash
# Builds the program for 64-bit ARM (arm64) with Debian's cross toolchain: shows that the code
# carries no processor-only path without a fallback. Installs the cross compiler and the arm64
# development packages when they are missing (adds the arm64 architecture to dpkg once).
set -euo pipefail
cd "$(dirname "$0")/.."
packages=(crossbuild-essential-arm64 libicu-dev:arm64 libsqlite3-dev:arm64 libpango1.0-dev:arm64
  libcairo2-dev:arm64 libpng-dev:arm64 liburiparser-dev:arm64 libsystemd-dev:arm64
  libisal-dev:arm64 "$@")
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
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DVELMORA_WERROR=ON \
  -DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake \
  -DVELMORA_BUILD_TESTS=OFF -DVELMORA_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build "$build" --target velmora-widgets -j "$(nproc)"
file "$build/velmora-widgets"
