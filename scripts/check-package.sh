#!/usr/bin/env bash
# Installs a build into a temporary prefix and uses the installed package alone: checks the
# installed files and the library's load-time needs, compiles the installed header as C11,
# and builds and runs a host that processes one frame, as C through pkg-config and as C++
# through CMake's find_package. Then builds the C++ host once more with the library as part
# of its own CMake project (tests/package/subproject).
# Usage: scripts/check-package.sh [BUILD_DIR]   (default build/release)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null

pc=$(find "$prefix" -name orvix_lut2d.pc)
export PKG_CONFIG_PATH=$(dirname "$pc")
version=$(pkg-config --modversion orvix_lut2d)
libdir=$(realpath "$(pkg-config --variable=libdir orvix_lut2d)")
l=${libdir#"$prefix"/}
expected="include/orvix_lut2d.h
include/orvix_lut2d_version.h
$l/cmake/orvix_lut2d/orvix_lut2dConfig.cmake
$l/cmake/orvix_lut2d/orvix_lut2dConfigVersion.cmake
$l/cmake/orvix_lut2d/orvix_lut2dTargets-release.cmake
$l/cmake/orvix_lut2d/orvix_lut2dTargets.cmake
$l/liborvix_lut2d.so
$l/liborvix_lut2d.so.${version%%.*}
$l/liborvix_lut2d.so.$version
$l/pkgconfig/orvix_lut2d.pc"
installed=$(cd "$prefix" && find . -type f -o -type l | sed 's#^\./##' | LC_ALL=C sort)
if [ "$installed" != "$(LC_ALL=C sort <<<"$expected")" ]; then
  echo "installed files differ from the package's:"
  diff <(LC_ALL=C sort <<<"$expected") <(echo "$installed") || true
  exit 1
fi
bash tests/check_dependencies.sh "$libdir/liborvix_lut2d.so"

gcc -std=c11 -pedantic -Wall -Wextra -Werror -fsyntax-only $(pkg-config --cflags orvix_lut2d) \
  -x c "$prefix/include/orvix_lut2d.h"

# shellcheck disable=SC2046
gcc -std=c11 -pedantic -Wall -Wextra -Werror -DEXPECTED_VERSION="\"$version\"" \
  tests/package/consumer.c -o "$prefix/consumer_c" $(pkg-config --cflags --libs orvix_lut2d) \
  -Wl,-rpath,"$libdir"
"$prefix/consumer_c"

cmake -S tests/package -B "$prefix/consumer_cpp" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_BUILD_TYPE=Release >"$prefix/consumer_cpp.log" 2>&1 ||
  { cat "$prefix/consumer_cpp.log"; exit 1; }
cmake --build "$prefix/consumer_cpp" >>"$prefix/consumer_cpp.log" 2>&1 ||
  { cat "$prefix/consumer_cpp.log"; exit 1; }
"$prefix/consumer_cpp/consumer_cpp"

cmake -S tests/package/subproject -B "$prefix/subproject" -G Ninja -DLUT2D_SOURCE_DIR="$PWD" \
  >"$prefix/subproject.log" 2>&1 || { cat "$prefix/subproject.log"; exit 1; }
cmake --build "$prefix/subproject" >>"$prefix/subproject.log" 2>&1 ||
  { cat "$prefix/subproject.log"; exit 1; }
"$prefix/subproject/consumer_cpp"
echo "package: installed, the host built against it alone as C and as C++, one frame each; the C++"
echo "host also built with the library as part of its own project"
