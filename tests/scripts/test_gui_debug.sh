#!/usr/bin/env bash
# The "Debug" page: its toggle starts switched on (green) and turns red when
# switched off; "Save this" writes dbg_1.txt, then dbg_2.txt, which holds the
# page's "Saved in dbg_1.txt" line and the dashed line.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
BODY=$(cat <<'EOS'
# The focus starts in the picture, inside the notebook: four pages on.
xdotool key ctrl+Page_Down ctrl+Page_Down ctrl+Page_Down ctrl+Page_Down
sleep 0.3
shot on.png
has_colour on.png '#00FF00' || fail "toggle not green"
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
EOS
)
gui_session
