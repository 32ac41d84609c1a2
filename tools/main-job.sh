#!/usr/bin/env bash
# Installs what is missing, builds, and runs the main job: the program's main
# window (the sample pass in it once the sample exists); without a display it
# says so.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh
tools/build.sh build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPAVA_TESTS=OFF -DPAVA_BENCH=OFF
if [ -z "${DISPLAY:-}" ]; then
  echo "No display available: start 'build/bin/pava' on a desktop, or use build/bin/pava-cli." >&2
  exit 0
fi
exec build/bin/pava "$@"
