#!/usr/bin/env bash
# The main window's menus driven by keyboard: View/Grid and View/Coast are
# refused without a valid time and orbit ("Error" box with both findings),
# Help/Prog info, File/Open... opens the
# file selector "Open" and reports a file of no known kind in an "Error" box,
# and message boxes are logged under -log.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
BODY=$(cat <<'EOS'
for item in 2 3; do   # View/Grid, View/Coast
  menu 2 $item
  box=$(wait_window Error) || fail "no Error box for View item $item"
  xdotool windowfocus --sync "$box" 2>/dev/null
  xdotool key Return   # the box's OK button has the focus
  gone_window Error || fail "Error box did not close"
done
menu 6 1               # Help/Prog info
box=$(wait_window "Program info") || fail "no Program info box"
xdotool windowfocus --sync "$box" 2>/dev/null
xdotool key Return
gone_window "Program info" || fail "Program info did not close"
menu 0 1               # File/Open...
sel=$(wait_window Open) || fail "no file selector"
xdotool windowfocus --sync "$sel" 2>/dev/null
xdotool key Escape
gone_window Open || fail "file selector did not close"
# A file of no known kind: "Error" box, the title stays "Pava".
head -c 5000 /dev/urandom >"$PWD/junk.bin"
menu 0 1
sel=$(wait_window Open) || fail "no file selector"
xdotool windowfocus --sync "$sel" 2>/dev/null
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
EOS
)
gui_session -log
