#!/usr/bin/env bash
# pava-cli usb: frames through the board emulator, capture and replay of the
# raw USB stream, and the connection error without a board.
set -u
bin=$1
shared=${PAVA_SHARED_DIR:?}/testdata
hrpt=$shared/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be
cadu=$shared/ccsds/snpp_synchronized_cadus_2016-02-10.dat
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
fail=0
check() {  # check NAME EXPECTED ACTUAL
  if [ "$2" != "$3" ]; then
    echo "FAIL $1: expected $2, got $3"
    fail=1
  fi
}

out=$(timeout 60 "$bin/pava-cli" usb frames --emulate "$hrpt")
check "hrpt frames" '{"type":"hrpt","frames":30,"in_sync":30,"out_of_sync":0,"device_lost":false}' "$out"

out=$(timeout 60 "$bin/pava-cli" usb frames --emulate "$cadu" --type metop)
check "metop frames" '{"type":"metop","frames":65,"in_sync":65,"out_of_sync":0,"device_lost":false}' "$out"

out=$(timeout 60 "$bin/pava-cli" usb info --emulate "$hrpt")
check "info" '{"backend":"emulator","firmware":"45 4D 55 31","mode":0,"mode_name":"HRPT"}' "$out"

# 5 frames of 22180 bytes captured and replayed: the short last block ends the
# replay (its bytes are not used once recording stops), so 4 whole frames.
timeout 60 "$bin/pava-cli" usb capture --emulate "$hrpt" --out "$tmp/cap.bin" --bytes 110900 >/dev/null
check "capture size" 110900 "$(stat -c %s "$tmp/cap.bin")"
out=$(timeout 60 "$bin/pava-cli" usb frames --replay "$tmp/cap.bin")
check "replay" '{"type":"hrpt","frames":4,"in_sync":4,"out_of_sync":0,"device_lost":false}' "$out"

# No board, no serial number: the message ends in "USB ".
err=$(timeout 60 "$bin/pava-cli" usb info --backend emulator 2>&1 >/dev/null)
status=$?
check "no board status" 1 "$status"
check "no board message" "pava-cli: Can't connect to decoder via USB " "$err"

# The D2XX backend through a stand-in library: chosen by "auto" when loadable.
fake=$bin/../fake-d2xx
if [ -f "$fake/libftd2xx.so" ]; then
  out=$(LD_LIBRARY_PATH=$fake timeout 60 "$bin/pava-cli" usb list)
  check "d2xx list" '{"backend":"d2xx","devices":[{"serial":"D2XXFAKE","description":"Fake D2XX","id":0}]}' "$out"
  out=$(LD_LIBRARY_PATH=$fake timeout 60 "$bin/pava-cli" usb info --backend d2xx)
  check "d2xx info" '{"backend":"d2xx","firmware":"44 32 58 58","mode":0,"mode_name":"HRPT"}' "$out"
else
  echo "FAIL: $fake/libftd2xx.so not built"
  fail=1
fi
# Without it (and no D2XX installed) the program still runs, on libftdi1.
if ! ldconfig -p 2>/dev/null | grep -q libftd2xx; then
  out=$(timeout 60 "$bin/pava-cli" usb list)
  check "libftdi list" '{"backend":"libftdi","devices":[]}' "$out"
  err=$(timeout 60 "$bin/pava-cli" usb list --backend d2xx 2>&1 >/dev/null)
  check "no d2xx" "pava-cli: USB backend not available: d2xx" "$err"
fi

exit $fail
