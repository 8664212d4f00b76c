#!/usr/bin/env bash
# Configures and builds one variant of the project.
# Usage: scripts/build.sh NAME [cmake options...]   (builds into build/NAME)
set -euo pipefail
cd "$(dirname "$0")/.."
name=$1
shift
cmake -S . -B "build/$name" -G Ninja "$@" >"build-$name.configure.log" 2>&1 ||
  { cat "build-$name.configure.log"; exit 1; }
rm -f "build-$name.configure.log"
cmake --build "build/$name"
