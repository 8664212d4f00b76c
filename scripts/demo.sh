#!/usr/bin/env bash
# Builds the project and runs the demo on its built-in defaults: the showcase tuning on a test
# chart in both modes. It prints the time each mode took and the folder it wrote the pictures
# into (build/demo unless --output is given).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-deps.sh
mkdir -p build
bash scripts/build.sh gcc -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc >build/demo-build.log 2>&1 ||
  { cat build/demo-build.log; exit 1; }
exec build/gcc/tools/lut2d demo --output build/demo "$@"
