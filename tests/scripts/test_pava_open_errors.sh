#!/usr/bin/env bash
# pava FILE: a file that can't be read ends the program with status 1 and the
# start-up message of its result code (a missing file: tests/app).
set -u
bin=$1
pava=$bin/pava
[ -x "$pava" ] || exit 77
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
fail=0
expect() {  # expect FILE MESSAGE
  out=$(DISPLAY= HOME=$tmp "$pava" "$1" 2>&1 >/dev/null)
  st=$?
  if [ $st -ne 1 ] || [ "$out" != "$2" ]; then
    echo "pava $1: status $st, message '$out', expected status 1 and '$2'"
    fail=1
  fi
}
printf 'hello' >"$tmp/a.txt"
expect "$tmp/a.txt" "ERROR: $tmp/a.txt is unknown file type."
printf 'HRPT' >"$tmp/short.hrpt"
expect "$tmp/short.hrpt" "ERROR: Problem with reading $tmp/short.hrpt (code r = 114)."
exit $fail
