#!/usr/bin/env bash
# Installs what is missing, builds and runs the whole test suite: once normally,
# once under AddressSanitizer + UBSan, then every fuzz target for a bounded time.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh
jobs=$(nproc)
root=$(pwd)

echo "== normal build and tests"
tools/build.sh build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPAVA_TESTS=ON -DPAVA_BENCH=ON -DPAVA_GUI=ON
(cd build && ctest --no-tests=error --output-on-failure -j"$jobs")

echo "== AddressSanitizer + UBSan build and tests"
tools/build.sh build-asan -DCMAKE_BUILD_TYPE=Debug -DPAVA_SANITIZE=ON -DPAVA_BENCH=OFF -DPAVA_TESTS=ON -DPAVA_GUI=ON
(cd build-asan && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
   UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
   LSAN_OPTIONS=suppressions="$root/tools/lsan.supp" \
   ctest --no-tests=error --output-on-failure -j"$jobs")

echo "== fuzz targets (bounded time)"
tools/fuzz.sh "${PAVA_FUZZ_SECONDS:-5}"
