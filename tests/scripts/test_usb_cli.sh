#!/usr/bin/env bash
# pava-cli usb: frames through the board emulator, capture and replay of the
# raw USB stream, the D2XX and libftdi backends (the connection error without
# a board: test_record_cli.py).
set -u
bin=$1
shared=${PAVA_SHARED_DIR:?}/testdata
hrpt=$shared/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be
cadu=$shared/ccsds/snpp_synchronized_cadus_2016-02-10.dat
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
fail=0
expect() {  # expect NAME EXPECTED-OUTPUT ARGS...: pava-cli usb ARGS prints EXPECTED-OUTPUT
  local name=$1 want=$2 out
  shift 2
  out=$(timeout 60 "$bin/pava-cli" usb "$@" 2>&1)
  [ "$out" = "$want" ] || { echo "FAIL $name: expected $want, got $out"; fail=1; }
}
frames() { echo "{\"type\":\"$1\",\"frames\":$2,\"in_sync\":$2,\"out_of_sync\":0,\"device_lost\":false}"; }

expect "hrpt frames" "$(frames hrpt 30)" frames --emulate "$hrpt"
expect "metop frames" "$(frames metop 65)" frames --emulate "$cadu" --type metop
expect "info" '{"backend":"emulator","firmware":"45 4D 55 31","mode":0,"mode_name":"HRPT"}' \
  info --emulate "$hrpt"
# 5 frames of 22180 bytes captured and replayed: the short last block ends the
# replay (its bytes are not used once recording stops), so 4 whole frames.
timeout 60 "$bin/pava-cli" usb capture --emulate "$hrpt" --out "$tmp/cap.bin" --bytes 110900 >/dev/null
[ "$(stat -c %s "$tmp/cap.bin")" = 110900 ] || { echo "FAIL capture size"; fail=1; }
expect "replay" "$(frames hrpt 4)" frames --replay "$tmp/cap.bin"

# The D2XX backend through a stand-in library: chosen by "auto" when loadable.
fake=$bin/../fake-d2xx
if [ -f "$fake/libftd2xx.so" ]; then
  LD_LIBRARY_PATH=$fake expect "d2xx list" \
    '{"backend":"d2xx","devices":[{"serial":"D2XXFAKE","description":"Fake D2XX","id":0}]}' list
  LD_LIBRARY_PATH=$fake expect "d2xx info" \
    '{"backend":"d2xx","firmware":"44 32 58 58","mode":0,"mode_name":"HRPT"}' info --backend d2xx
else
  echo "FAIL: $fake/libftd2xx.so not built"
  fail=1
fi
# Without it (and no D2XX installed) the program still runs, on libftdi1.
if ! ldconfig -p 2>/dev/null | grep -q libftd2xx; then
  expect "libftdi list" '{"backend":"libftdi","devices":[]}' list
  expect "no d2xx" "pava-cli: USB backend not available: d2xx" list --backend d2xx
fi
exit $fail
