#!/usr/bin/env bash
# Builds the libFuzzer targets of fuzz/ and runs each for a fixed time on its seed corpus
# (fuzz/corpus/TARGET, read only; what a run adds goes to build/fuzz-corpus/). Any finding (a
# crash, a sanitizer report, a leak, a timeout, running out of memory) fails the run, and the
# input that caused it is kept in build/fuzz-findings/. Two builds, both with clang:
#   fuzz-asan  AddressSanitizer + UndefinedBehaviorSanitizer: every target
#   fuzz-msan  MemorySanitizer: the library's targets (the tool's readers run on libvips and
#              its codecs, which are not instrumented)
# Usage: scripts/fuzz.sh [SECONDS [TARGET...]]
#   SECONDS  per target and build (default 45); TARGET: handle, record_check, record_reader,
#            picture_reader, frame_reader (default all)
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-deps.sh

seconds=${1:-45}
[ $# -gt 0 ] && shift
targets=("$@")
[ ${#targets[@]} -eq 0 ] &&
  targets=(handle record_check record_reader picture_reader frame_reader)
library_targets=(handle record_check)

# Longest input per target: a whole binary record and a few frames' choices; a JSON record;
# small pictures and clips.
declare -A max_len=([handle]=4096 [record_check]=2048 [record_reader]=16384
                    [picture_reader]=32768 [frame_reader]=16384)

configure() {  # configure NAME [cmake options...]
  local name=$1
  shift
  cmake -S . -B "build/$name" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang \
    -DLUT2D_BUILD_FUZZERS=ON -DLUT2D_BUILD_TESTS=OFF -DLUT2D_BUILD_BENCH=OFF "$@" \
    >"build-$name.configure.log" 2>&1 || { cat "build-$name.configure.log"; exit 1; }
  rm -f "build-$name.configure.log"
}

fuzz() {  # fuzz BUILD TARGET: one run; prints executions and time
  local build=$1 target=$2
  local exe=build/$build/fuzz/lut2d_${target}_fuzzer
  local corpus=build/fuzz-corpus/$build/$target log=build/fuzz-logs/$build-$target.log
  mkdir -p "$corpus" build/fuzz-findings build/fuzz-logs
  local start=$SECONDS
  if ! LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp" "$exe" "$corpus" "fuzz/corpus/$target" \
      -max_total_time="$seconds" -max_len="${max_len[$target]}" -timeout=20 \
      -rss_limit_mb=3072 -print_final_stats=1 \
      -artifact_prefix="build/fuzz-findings/$build-$target-" >"$log" 2>&1; then
    tail -n 60 "$log"
    echo "FINDING: $build $target (input kept in build/fuzz-findings/)"
    exit 1
  fi
  local runs
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  echo "$build $target: $runs executions in $((SECONDS - start)) s," \
       "corpus $(ls "$corpus" | wc -l) + $(ls "fuzz/corpus/$target" | wc -l) seeds"
}

want() {  # want TARGET: whether it was asked for
  local t
  for t in "${targets[@]}"; do [ "$t" = "$1" ] && return 0; done
  return 1
}

configure fuzz-asan -DLUT2D_SANITIZE=address,undefined
cmake --build build/fuzz-asan --target $(for t in "${targets[@]}"; do echo "lut2d_${t}_fuzzer"; done)
for t in "${targets[@]}"; do fuzz fuzz-asan "$t"; done

msan=()
for t in "${library_targets[@]}"; do want "$t" && msan+=("$t"); done
if [ ${#msan[@]} -gt 0 ]; then
  configure fuzz-msan -DLUT2D_SANITIZE=memory -DLUT2D_BUILD_TOOLS=OFF
  cmake --build build/fuzz-msan --target $(for t in "${msan[@]}"; do echo "lut2d_${t}_fuzzer"; done)
  for t in "${msan[@]}"; do fuzz fuzz-msan "$t"; done
fi
