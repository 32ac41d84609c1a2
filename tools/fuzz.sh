#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for a bounded time on
# its corpus in tests/fuzz/corpus/<name>: tools/fuzz.sh [seconds per target]
set -euo pipefail
cd "$(dirname "$0")/.."
secs=${1:-8}
shopt -s nullglob
sources=(tests/fuzz/fuzz_*.cpp)
if [ ${#sources[@]} -eq 0 ]; then
  echo "fuzz: no targets"
  exit 0
fi
names=()
for s in "${sources[@]}"; do names+=("$(basename "$s" .cpp)"); done
CC=clang CXX=clang++ cmake -S . -B build-fuzz -DPAVA_WERROR=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DPAVA_FUZZ=ON -DPAVA_GUI=OFF -DPAVA_TESTS=OFF -DPAVA_BENCH=OFF >/dev/null
targets=()
for n in "${names[@]}"; do targets+=(--target "$n"); done
cmake --build build-fuzz -j"$(nproc)" "${targets[@]}"
for name in "${names[@]}"; do
  t=build-fuzz/bin/$name
  corpus=tests/fuzz/corpus/${name#fuzz_}
  mkdir -p "$corpus" build-fuzz/new-corpus/"$name"
  echo "fuzz: $name for ${secs}s"
  "$t" -max_total_time="$secs" -rss_limit_mb=2048 -print_final_stats=0 \
    build-fuzz/new-corpus/"$name" "$corpus" 2>build-fuzz/"$name".log || {
    tail -50 build-fuzz/"$name".log
    exit 1
  }
done
echo "fuzz: ${#names[@]} targets, no crash"
