#!/usr/bin/env bash
# The main window takes the size of -w and -h. With "-ts" the tracker has a window "Tracker" of its own and the notebook
# holds "Viewer", "Live", "Debug". The page in front is kept in the
# GUI-settings file pava_gui.ini of the home directory and comes back at the
# next start.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
BODY=$(cat <<'EOS'
trk=$(wait_window Tracker) || fail "no Tracker window"
eval "$(xdotool getwindowgeometry --shell "$trk")"
[ "$WIDTH" = 500 ] && [ "$HEIGHT" = 200 ] || fail "Tracker window is ${WIDTH}x$HEIGHT"
# The size given on the command line (-w, -h) is the window's size.
eval "$(xdotool getwindowgeometry --shell "$win")"
[ "$WIDTH" = 1100 ] && [ "$HEIGHT" = 800 ] || fail "window is ${WIDTH}x$HEIGHT"
xdotool windowfocus --sync "$win" 2>/dev/null
xdotool key ctrl+Page_Down ctrl+Page_Down   # Viewer -> Live -> Debug
sleep 0.3
shot debug.png
has_colour debug.png '#00FF00' || fail "third page is not Debug"
EOS
)
gui_session -ts -w 1100 -h 800 || exit 1
grep -qx 'Pava/Notebook=2' "$GUI_WORK/pava_gui.ini" ||
  { echo "page not stored: $(cat "$GUI_WORK/pava_gui.ini")"; exit 1; }
BODY=$(cat <<'EOS'
sleep 0.3
shot again.png
has_colour again.png '#00FF00' || fail "Debug page not in front at the next start"
EOS
)
gui_session -ts
