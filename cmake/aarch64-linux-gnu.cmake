# Cross-compiling for 64-bit ARM with Debian's cross toolchain (crossbuild-essential-arm64) and
# the arm64 development packages installed beside the native ones (multiarch).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
# scripts/cross-arm64.sh unpacks the packages that cannot be installed beside their native ones
# into the build folder and names their pkg-config folder.
set(ENV{PKG_CONFIG_LIBDIR}
    "$ENV{VELMORA_CROSS_PKG_CONFIG_PATH}:/usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
