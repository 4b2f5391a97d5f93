#!/bin/sh
# Installs what the presets aarch64 and aarch64-libcxx need, as root: Debian's cross compiler, qemu and arm64 packages.
# Debian's libc++ for arm64 cannot be installed beside the one for this machine: it is unpacked into
# build/aarch64-libcxx-root.
set -eu
cd "$(dirname "$0")/.."
command -v dpkg >/dev/null || { echo "Expected dpkg and Debian's arm64 packages."; exit 1; }
if ! dpkg --print-foreign-architectures | grep -qx arm64; then
  [ "$(id -u)" = 0 ] || { echo "Run this as root, then try again: dpkg --add-architecture arm64"; exit 1; }
  dpkg --add-architecture arm64
fi
tools/setup.sh aarch64
root=$PWD/build/aarch64-libcxx-root
[ ! -e "$root/usr/lib/llvm-14/lib/libc++.so" ] || exit 0
packages=$(mktemp -d)
trap 'rm -rf "$packages"' EXIT
log=$packages/log
if ! (cd "$packages" && apt-get download libc++-14-dev:arm64 libc++1-14:arm64 libc++abi-14-dev:arm64 \
  libc++abi1-14:arm64 libunwind-14:arm64 libunwind-14-dev:arm64) >"$log" 2>&1; then
  tail -n 20 "$log"
  echo "libc++ for arm64 could not be downloaded."
  exit 1
fi
mkdir -p "$root"
for package in "$packages"/*.deb; do dpkg-deb -x "$package" "$root"; done
