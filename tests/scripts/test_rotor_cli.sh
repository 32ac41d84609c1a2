#!/bin/sh
# pava-cli rotor: what goes out on the board (emulator) and on a serial pseudo
# terminal for one target; bad angles fail. Argument: the build's bin directory.
set -u
CLI="$1/pava-cli"
fail=0
out=$("$CLI" rotor --xy 80,95 --board-emulator 2>/dev/null) || { echo "FAIL: status"; fail=1; }
# X 80 deg: +80 steps (E0 50) on output X; Y 95 deg: -40 steps (D0 28) on output Y.
want='[[16,49],[17,110],[18,224],[19,80],[12,64],[3,0],[16,49],[17,110],[18,208],[19,40],[12,96]'
case "$out" in *"$want"*) ;; *) echo "FAIL: board registers: $out"; fail=1 ;; esac
if "$CLI" rotor --to 1 >/dev/null 2>&1; then echo "FAIL: bad angles accepted"; fail=1; fi
if "$CLI" rotor --to 1,2 --xy 3,4 >/dev/null 2>&1; then echo "FAIL: both targets accepted"; fail=1; fi
if command -v socat >/dev/null 2>&1; then
  d=$(mktemp -d)
  socat "pty,raw,echo=0,link=$d/a" "pty,raw,echo=0,link=$d/b" &
  spid=$!
  i=0
  while [ ! -e "$d/b" ] && [ $i -lt 100 ]; do sleep 0.05; i=$((i + 1)); done
  timeout 2 cat "$d/b" >"$d/got" &
  cpid=$!
  sleep 0.2
  out=$("$CLI" rotor --to 12.4,33.6 --serial-device "$d/a" 2>/dev/null)
  wait $cpid
  kill $spid 2>/dev/null
  wait $spid 2>/dev/null
  got=$(od -An -c "$d/got" | tr -s ' ')
  case "$out" in *'"ok":true'*) ;; *) echo "FAIL: serial: $out"; fail=1 ;; esac
  # The default template "AZ%.1f EL%.1f" gets a line feed.
  [ "$got" = " A Z 1 2 . 4 E L 3 3 . 6 \\n" ] || { echo "FAIL: serial bytes '$got'"; fail=1; }
  rm -rf "$d"
fi
exit $fail
