#!/usr/bin/env bash
# Installs the Debian packages the build, the tests, the benchmarks and the host tools need.
# Does nothing when they are all present.
set -euo pipefail

packages=(
  cmake ninja-build g++ clang clang-format
  libclang-rt-14-dev                 # clang's sanitizer and libFuzzer runtimes
  libc++-14-dev libc++abi-14-dev     # LLVM's C++ library, for the memory-sanitizer build
  android-liblog-dev                 # <android/log.h> and a host liblog
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  libcli11-dev nlohmann-json3-dev pkgconf
  libvips-dev                        # lut2d: reading and writing pictures
  libcairo2-dev libpango1.0-dev fonts-dejavu-core  # lut2d: plots, compares and labels
  libopencv-dev                      # the OpenCV peer in bench/frame_bench.cpp
  binutils python3 pkgconf
  g++-aarch64-linux-gnu lld          # the aarch64 cross builds (g++, and clang with lld)
  qemu-user-static                   # runs their tests
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then exit 0; fi

echo "Installing: ${missing[*]}"
sudo_cmd=()
[ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
