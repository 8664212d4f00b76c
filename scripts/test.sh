#!/usr/bin/env bash
# Builds the project and runs every test, warnings as errors everywhere, after checking that
# every source is formatted with the project's .clang-format:
#   gcc            tests, tools and benchmarks
#   release        the same in the Release configuration, then the package: installed into a
#                  temporary prefix, with a C and a C++ host built against it
#   asan, tsan     gcc with AddressSanitizer + UndefinedBehaviorSanitizer, ThreadSanitizer
#   clang          tests, tools and benchmarks
#   msan           clang with MemorySanitizer: the library and its tests
#   arm64-gcc      aarch64 with Debian's cross g++ (Release), tests under qemu
#   arm64-clang    aarch64 with clang and lld, tests under qemu
#   android-branch the CMake build's Android branch, configured with the aarch64 clang
#                  toolchain and ANDROID set; the library checked, and Android.bp against it
#   fuzz           every libFuzzer target for 45 s in each of its builds (scripts/fuzz.sh)
# Usage: scripts/test.sh [--quick]   (--quick: the format check and the gcc build only)
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-deps.sh

quick=0
[ "${1:-}" = "--quick" ] && quick=1

step() {  # step NAME COMMAND...: runs one stage and prints its time
  local name=$1 start=$SECONDS
  shift
  echo "=== $name"
  "$@"
  echo "--- $name: $((SECONDS - start)) s"
}

run() {  # run NAME [cmake options...]: build into build/NAME and run its tests
  step "$1" build_and_test "$@"
}

build_and_test() {
  bash scripts/build.sh "$@"
  ctest --test-dir "build/$1" --output-on-failure -j2 --timeout 600
}

echo "=== format"
git ls-files '*.cpp' '*.h' '*.c' | xargs clang-format --dry-run --Werror

run gcc -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc
[ $quick -eq 1 ] && exit 0
run release -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc -DCMAKE_BUILD_TYPE=Release
step package bash scripts/check-package.sh build/release
run asan -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc -DLUT2D_SANITIZE=address,undefined \
    -DLUT2D_BUILD_BENCH=OFF -DLUT2D_BUILD_TOOLS=OFF
TSAN_OPTIONS="halt_on_error=1" \
run tsan -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc -DLUT2D_SANITIZE=thread \
    -DLUT2D_BUILD_BENCH=OFF -DLUT2D_BUILD_TOOLS=OFF
run clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang
run msan -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang -DLUT2D_SANITIZE=memory \
    -DLUT2D_BUILD_BENCH=OFF -DLUT2D_BUILD_TOOLS=OFF

# aarch64: the library and the whole test suite (the NEON colour kernel included), run
# through qemu by CTest. The tools and benchmarks are host programs.
bash scripts/arm64-sysroot.sh build/sysroot-arm64
arm64=(-DLUT2D_AARCH64_SYSROOT="$PWD/build/sysroot-arm64" -DLUT2D_BUILD_TOOLS=OFF
       -DLUT2D_BUILD_BENCH=OFF)
run arm64-gcc -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/aarch64-linux-gnu-gcc.cmake \
    -DCMAKE_BUILD_TYPE=Release "${arm64[@]}"
run arm64-clang -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/aarch64-linux-gnu-clang.cmake "${arm64[@]}"
step android-branch bash scripts/check-android-branch.sh
step fuzz bash scripts/fuzz.sh 45
