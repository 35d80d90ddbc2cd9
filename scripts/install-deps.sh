#!/usr/bin/env bash
# Installs the Debian packages the build and tests need, when they are missing (chromium: the
# browser test of the gallery page; time and pango1.0-tools: figures of scripts/bench.sh; the Noto
# fonts: every script a locale or a record may need; GTK 4: the desktop board; Xvfb, xauth,
# xdotool, dbus, ImageMagick, at-spi2-core and python3-dbus: its tests on a real X server with
# real clicks, screenshots and the accessibility bus; desktop-file-utils and appstream: the checks
# of its data files; the Wayland and X11 client libraries, wayland-scanner and the protocols
# Debian ships: the widgets on the desktop layer; sway, swaybg and grim: its test on a headless
# Wayland compositor; openbox and the X utilities: its test under an EWMH window manager;
# GtkSourceView 5: the record editors of the preview studio).
set -euo pipefail
packages=(cmake ninja-build g++ clang libclang-rt-dev clang-format clang-tidy pkg-config
  libicu-dev libsqlite3-dev nlohmann-json3-dev libcairo2-dev libpango1.0-dev libfontconfig-dev libpng-dev zlib1g-dev libisal-dev
  liburiparser-dev libseccomp-dev libcli11-dev libsystemd-dev libgtest-dev libgmock-dev libbenchmark-dev
  fonts-inter fonts-jetbrains-mono fonts-noto-core fonts-noto-cjk fonts-noto-color-emoji
  chromium time pango1.0-tools
  libgtk-4-dev xvfb xauth xdotool dbus imagemagick desktop-file-utils appstream
  at-spi2-core python3 python3-dbus
  libwayland-dev libwayland-bin wayland-protocols libx11-dev libxext-dev
  sway swaybg grim
  openbox x11-utils
  libgtksourceview-5-dev "$@")
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "installing: ${missing[*]}" >&2
  sudo=""; [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
