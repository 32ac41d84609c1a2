#!/usr/bin/env bash
# The tuner window and the hardware test panel against the emulated board
# (preference usb_backend = emulator): Help/Manually tune opens "Tune" and
# "Set" sends the manual record; Help/Test interface opens the panel, and a
# value typed into the entry of register 0x14 is written to the board.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
gui_require
GUI_WORK=$(mktemp -d)
trap 'rm -rf "$GUI_WORK"' EXIT
printf '# pava.ini\nusb_backend = emulator\n' >"$GUI_WORK/pava.ini"
BODY=$(cat <<'EOS'
menu 6 4                      # Help/Manually tune
tw=$(wait_window "Tune") || fail "no Tune window"
xdotool windowfocus --sync "$tw" 2>/dev/null
sleep 0.2
# Name, Freq, F-Offset, Freq-offset, QPSK, Set
xdotool key Tab Tab Tab Tab Tab space
sleep 0.5
menu 6 2                      # Help/Test interface
hw=$(wait_window "Test interface") || fail "no test panel"
xdotool windowfocus --sync "$hw" 2>/dev/null
sleep 0.2
# Tabs, Open USB, Close USB, Read, then the value entries row by row (two
# columns: 0x00 0x0e, 0x01 0x0f, ...): 0x14 is the 14th.
xdotool key Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab
xdotool type 5a
xdotool key Return
sleep 0.5
grep -E 'Gtk-|GLib-' stderr && fail "GTK complained"
true
EOS
)
out=$(gui_session)
rc=$?
echo "$out"
[ $rc = 0 ] || exit $rc
grep -q '^foffset=0$' <<<"$out" || { echo "FAIL: Set did not tune"; exit 1; }
grep -q '^17  A_14   D_14  5a$' <<<"$out" || { echo "FAIL: no write of register 0x14"; exit 1; }
echo ok
