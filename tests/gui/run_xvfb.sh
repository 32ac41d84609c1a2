#!/usr/bin/env bash
# Runs a GUI test program under Xvfb; 77 (skip) when there is no xvfb-run.
command -v xvfb-run >/dev/null || exit 77
# GTK and its libraries keep caches to the end of the process: not our leaks.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0}
exec xvfb-run -a -s "-screen 0 1280x1024x24" "$@"
