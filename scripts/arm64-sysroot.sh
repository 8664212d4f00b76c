#!/usr/bin/env bash
# Fills a private sysroot with the arm64 builds of the Debian packages that the aarch64 builds
# need, for cmake/toolchains/aarch64-linux-gnu*.cmake: GoogleTest and the Android log for the
# test build, and LLVM's C++ library (Android's C++ runtime) for scripts/check-android-branch.sh.
# apt downloads them from Debian's arm64 archive through a configuration and state of its own
# under build/, and dpkg-deb unpacks them: the machine's packages and architectures stay as
# they are. Does nothing when the sysroot already holds these packages.
# Usage: scripts/arm64-sysroot.sh [DIR]   (default build/sysroot-arm64)
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(realpath -m "${1:-build/sysroot-arm64}")
packages=(libgtest-dev android-liblog android-liblog-dev
          libc++-14-dev libc++1-14 libc++abi-14-dev libc++abi1-14 libunwind-14 libunwind-14-dev)
stamp="$root/.packages"
if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "${packages[*]}" ]; then exit 0; fi

apt_dir=$(realpath -m build/apt-arm64)
rm -rf "$root" "$apt_dir"
mkdir -p "$apt_dir"/{lists/partial,cache/archives/partial,sources,debs} "$root"
# Debian's archive as this machine reaches it, arm64 only.
if [ -f /etc/apt/sources.list.d/debian.sources ]; then
  sed -e '/^Architectures:/d' -e '/^Types:/a Architectures: arm64' \
    /etc/apt/sources.list.d/debian.sources >"$apt_dir/sources/debian.sources"
else
  cat >"$apt_dir/sources/debian.list" <<LIST
deb [arch=arm64] http://deb.debian.org/debian bookworm main
deb [arch=arm64] http://deb.debian.org/debian bookworm-updates main
deb [arch=arm64] http://deb.debian.org/debian-security bookworm-security main
LIST
fi
apt_options=(
  -o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$apt_dir/sources"
  -o Dir::State::Lists="$apt_dir/lists" -o Dir::Cache="$apt_dir/cache"
  -o APT::Architectures::=arm64 -o Debug::NoLocking=true
)
[ "$(id -u)" -eq 0 ] && apt_options+=(-o APT::Sandbox::User=root)
apt-get "${apt_options[@]}" -qq update
(cd "$apt_dir/debs" && apt-get "${apt_options[@]}" -qq download "${packages[@]/%/:arm64}")
for deb in "$apt_dir"/debs/*.deb; do dpkg-deb -x "$deb" "$root"; done
echo "${packages[*]}" >"$stamp"
echo "arm64 sysroot: $root (${packages[*]})"
