#!/usr/bin/env bash
# Builds the project and runs every test:
#   gcc (tests, tools, benchmarks), gcc in the Release configuration, gcc with
#   AddressSanitizer + UndefinedBehaviorSanitizer, gcc with ThreadSanitizer, and clang;
#   warnings are errors in all of them. Sources must be
#   formatted with the project's .clang-format.
# Usage: scripts/test.sh [--quick]   (--quick: the plain gcc build only)
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-deps.sh

quick=0
[ "${1:-}" = "--quick" ] && quick=1

run() {  # run NAME [cmake options...]: build into build/NAME and run its tests
  local name=$1
  shift
  echo "=== $name"
  bash scripts/build.sh "$name" "$@"
  ctest --test-dir "build/$name" --output-on-failure -j2 --timeout 600
}

echo "=== format"
git ls-files '*.cpp' '*.h' '*.c' | xargs clang-format --dry-run --Werror

run gcc -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc
[ $quick -eq 1 ] && exit 0
run release -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc -DCMAKE_BUILD_TYPE=Release
echo "=== package"
bash scripts/check-package.sh build/release
run asan -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc -DLUT2D_SANITIZE=address,undefined \
    -DLUT2D_BUILD_BENCH=OFF -DLUT2D_BUILD_TOOLS=OFF
TSAN_OPTIONS="halt_on_error=1" \
run tsan -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc -DLUT2D_SANITIZE=thread \
    -DLUT2D_BUILD_BENCH=OFF -DLUT2D_BUILD_TOOLS=OFF
run clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang
