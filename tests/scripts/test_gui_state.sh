#!/usr/bin/env bash
# With "-ts" the tracker has a window "Tracker" of its own and the notebook
# holds "Viewer", "Live", "Debug". The page in front is kept in the
# GUI-settings file pava_gui.ini of the home directory and comes back at the
# next start.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
BODY=$(cat <<'EOS'
wait_window Tracker >/dev/null || fail "no Tracker window"
xdotool windowfocus --sync "$win" 2>/dev/null
xdotool key ctrl+Page_Down ctrl+Page_Down   # Viewer -> Live -> Debug
sleep 0.3
shot debug.png
has_colour debug.png '#00FF00' || fail "third page is not Debug"
EOS
)
gui_session -ts || exit 1
grep -qx 'Pava/Notebook=2' "$GUI_WORK/pava_gui.ini" ||
  { echo "page not stored: $(cat "$GUI_WORK/pava_gui.ini")"; exit 1; }
BODY=$(cat <<'EOS'
sleep 0.3
shot again.png
has_colour again.png '#00FF00' || fail "Debug page not in front at the next start"
EOS
)
gui_session -ts
