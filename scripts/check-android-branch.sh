#!/usr/bin/env bash
# The Android branch of the CMake build without an NDK: configures the project with ANDROID
# set, as the NDK's toolchain file sets it, and what comes closest to the NDK here: aarch64,
# clang, lld and LLVM's C++ library (Debian's, from the private sysroot). No DSP runtime is
# given. Builds what that branch builds by default and checks the library as the test suite
# would: exactly the listed exports, only the C and C++ runtimes and liblog needed, the DSP
# runtime bound weakly, a plain file name and soname, and Android.bp building the same sources
# with the same flags. What this cannot show (bionic, the NDK's compiler and headers, loading
# on a device) is listed in the README.
# Usage: scripts/check-android-branch.sh   (after scripts/arm64-sysroot.sh)
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/android-branch
sysroot=$PWD/build/sysroot-arm64
libcxx=(-DCMAKE_CXX_FLAGS="-nostdinc++ -isystem $sysroot/usr/lib/llvm-14/include/c++/v1")
for kind in SHARED EXE; do
  libcxx+=(-DCMAKE_${kind}_LINKER_FLAGS="-stdlib=libc++ -L$sysroot/usr/lib/llvm-14/lib")
done
bash scripts/build.sh android-branch -DANDROID=ON \
  -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/aarch64-linux-gnu-clang.cmake \
  -DLUT2D_AARCH64_SYSROOT="$sysroot" -DCMAKE_BUILD_TYPE=Release "${libcxx[@]}" >/dev/null

lib=$build/lut2dalgo/liborvix_lut2d.so
readelf -d "$lib" | grep -q 'NEEDED.*\[libc++\.so' || { echo "$lib does not use libc++"; exit 1; }
[ -f "$lib" ] && [ ! -L "$lib" ] || { echo "$lib is not a plain file"; exit 1; }
soname=$(readelf -d "$lib" | sed -n 's/.*(SONAME).*\[\(.*\)\]$/\1/p')
[ "$soname" = liborvix_lut2d.so ] || { echo "soname $soname, not liborvix_lut2d.so"; exit 1; }
for part in tests host tools bench; do
  [ ! -e "$build/$part" ] || { echo "the Android branch built $part/"; exit 1; }
done
bash tests/check_exports.sh "$lib" tests/exports.txt nm lut2dalgo/orvix_lut2d.map
bash tests/check_dependencies.sh "$lib"
python3 tests/check_android_bp.py Android.bp "$build/lut2d_library.json"
