#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for a bounded time on
# its corpus in tests/fuzz/corpus/<name>: tools/fuzz.sh [seconds per target]
set -euo pipefail
cd "$(dirname "$0")/.."
secs=${1:-8}
CC=clang CXX=clang++ tools/build.sh build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPAVA_FUZZ=ON \
  -DPAVA_GUI=OFF -DPAVA_TESTS=OFF -DPAVA_BENCH=OFF
shopt -s nullglob
targets=(build-fuzz/bin/fuzz_*)
if [ ${#targets[@]} -eq 0 ]; then
  echo "fuzz: no targets"
  exit 0
fi
for t in "${targets[@]}"; do
  name=$(basename "$t")
  corpus=tests/fuzz/corpus/${name#fuzz_}
  mkdir -p "$corpus" build-fuzz/new-corpus/"$name"
  echo "fuzz: $name for ${secs}s"
  "$t" -max_total_time="$secs" -rss_limit_mb=2048 -print_final_stats=0 \
    build-fuzz/new-corpus/"$name" "$corpus" 2>build-fuzz/"$name".log || {
    tail -50 build-fuzz/"$name".log
    exit 1
  }
done
echo "fuzz: ${#targets[@]} targets, no crash"
