#!/usr/bin/env bash
# pava without a picture, three sessions in one home: 1. -ts -w 1100 -h 800:
# main window and "Tracker" window sizes, pass list, map, Start /Stop, the
# Debug page; 2. -ts: the page in front kept in pava_gui.ini; 3. emulated
# board: refusals without orbit, Prog info, a broken file, Tune, Test interface,
# the recorder panel.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
gui_require
BODY=$(cat <<'EOS'
trk=$(wait_window Tracker) || fail "no Tracker window"
eval "$(xdotool getwindowgeometry --shell "$trk")"
[ "$WIDTH" = 500 ] && [ "$HEIGHT" = 200 ] || fail "Tracker window is ${WIDTH}x$HEIGHT"
eval "$(xdotool getwindowgeometry --shell "$win")"
[ "$WIDTH" = 1100 ] && [ "$HEIGHT" = 800 ] || fail "window is ${WIDTH}x$HEIGHT"
focus "$win"
xdotool key ctrl+Page_Down ctrl+Page_Down   # Viewer -> Live -> Debug
sleep 0.3
shot on.png
has_colour on.png '#00FF00' || fail "third page is not Debug, or its toggle not green"
has_colour on.png '#FF0000' && fail "red before switching off"
xdotool key Tab Tab        # text -> toggle
xdotool key space
sleep 0.3
shot off.png
has_colour off.png '#FF0000' || fail "toggle not red when off"
has_colour off.png '#00FF00' && fail "still green when off"
xdotool key space          # on again
xdotool key Tab Tab        # toggle -> clear -> Save this
xdotool key space
sleep 0.3
[ -f dbg_1.txt ] || fail "dbg_1.txt not written"
xdotool key space
sleep 0.3
[ -f dbg_2.txt ] || fail "dbg_2.txt not written"
# Tracker lines may come before them; the page's own two lines end the file.
printf 'Saved in dbg_1.txt\n---------------------------\n' | cmp - <(tail -n 2 dbg_2.txt) ||
  fail "dbg_2.txt: $(cat dbg_2.txt)"

wait_log 'Tracker: [1-9][0-9]* passes in the list'
grep -q 'Tracker: 10 passes in the list' pava.log || fail "no pass list: $(cat pava.log)"
aside "$win"
xdotool windowmove "$trk" 0 0
xdotool windowsize "$trk" 1000 800
sleep 6   # the map is drawn at the new size within its 5 s period
import -window "$trk" tracker.png
has_colour tracker.png '#C8C8A0' || fail "no coastlines on the map"
has_colour tracker.png '#0000FF' || fail "no observer mark on the map"
# "Start /Stop" (the first control) starts the cycle on a new list.
focus "$trk"
xdotool key space
sleep 3
[ "$(grep -c 'Tracker: passlist' pava.log)" -ge 2 ] || fail "Start /Stop built no new list: $(cat pava.log)"
xdotool key space
sleep 0.5
xdotool windowmove "$win" 0 0
EOS
)
gui_session -ts -w 1100 -h 800 -log || exit 1
grep -qx 'Pava/Notebook=2' "$GUI_WORK/pava_gui.ini" ||
  { echo "page not stored: $(cat "$GUI_WORK/pava_gui.ini")"; exit 1; }

BODY=$(cat <<'EOS'
sleep 0.3
shot again.png
has_colour again.png '#00FF00' || fail "Debug page not in front at the next start"
EOS
)
gui_session -ts || exit 1

rm -f "$GUI_WORK/pava.log"
printf '# pava.ini\nusb_backend = emulator\n' >"$GUI_WORK/pava.ini"
BODY=$(cat <<'EOS'
wait_log 'Tracker: .* passes in the list'
grep -q 'Tracker: 10 passes in the list' pava.log || fail "no pass list in the notebook page"
xdotool search --onlyvisible --name '^Tracker$' >/dev/null 2>&1 && fail "a Tracker window without -ts"

menu 2 2; close_box Error  # View/Grid
menu 2 3; close_box Error  # View/Coast
menu 6 1; close_box "Program info"  # Help/Prog info
# File/Open... a file of no known kind: "Error" box, the title stays "Pava".
head -c 5000 /dev/urandom >"$PWD/junk.bin"
menu 0 1
sel=$(wait_window Open) || fail "no file selector"
focus "$sel"
xdotool key ctrl+l
sleep 0.5
xdotool type --delay 40 "$PWD/junk.bin"
sleep 0.3
xdotool key Return
wait_window Error >/dev/null || fail "no Error box for a broken file"
xdotool search --onlyvisible --name '^Pava$' >/dev/null || fail "title changed for a broken file"
grep -q "Error: Unknown file type of \$" pava.log || fail "wrong message: $(cat pava.log)"
grep -qx "$PWD/junk.bin." pava.log || fail "file name missing in the message"
# The refusals went to the log with their text.
grep -c 'Error: Valid time: Error' pava.log | grep -qx 2 || fail "refusals not logged: $(cat pava.log)"
grep -q '^Valid kepler data: Error' pava.log || fail "second line of the refusal missing"
grep -q 'Program info: Pava' pava.log || fail "Program info not logged"
close_box Error

menu 6 4                      # Help/Manually tune
tw=$(wait_window "Tune") || fail "no Tune window"
focus "$tw"
sleep 0.2
# Name, Freq, F-Offset, Freq-offset, QPSK, Set
xdotool key Tab Tab Tab Tab Tab space
sleep 0.5
menu 6 2                      # Help/Test interface
hw=$(wait_window "Test interface") || fail "no test panel"
focus "$hw"
sleep 0.2
# Tabs, Open USB, Close USB, Read, then the value entries row by row (two
# columns: 0x00 0x0e, 0x01 0x0f, ...): 0x14 is the 14th.
xdotool key Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab Tab
xdotool type 5a
xdotool key Return
sleep 0.5
menu 4 1                      # Record/(A)HRPT...
wait_window "Record \\(A\\)HRPT" >/dev/null || fail "no recorder panel from the menu"
EOS
)
out=$(gui_session -log)
rc=$?
echo "$out"
[ $rc = 0 ] || exit $rc
grep -q '^foffset=0$' <<<"$out" || { echo "FAIL: Set did not tune"; exit 1; }
grep -q '^17  A_14   D_14  5a$' <<<"$out" || { echo "FAIL: no write of register 0x14"; exit 1; }
