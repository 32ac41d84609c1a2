#!/usr/bin/env bash
# Configures and builds one build tree: tools/build.sh DIR [cmake options...]
set -euo pipefail
cd "$(dirname "$0")/.."
dir=$1
shift
cmake -S . -B "$dir" -DPAVA_WERROR=ON "$@" >/dev/null
cmake --build "$dir" -j"$(nproc)"
