#!/usr/bin/env bash
# Builds the project and runs the demo on its built-in defaults.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-deps.sh
mkdir -p build
bash scripts/build.sh gcc -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc >build/demo-build.log 2>&1 ||
  { cat build/demo-build.log; exit 1; }
exec build/gcc/tools/lut2d demo "$@"
