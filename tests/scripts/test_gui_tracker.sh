#!/usr/bin/env bash
# The tracker: with -ts its own window "Tracker" shows the pass list built
# from the shipped elements and the world map (coastlines, observer mark);
# without it the page sits in the main window's notebook and builds its list
# too. Argument: the build's bin directory.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
gui_require
BODY=$(cat <<'EOS'
tw=$(wait_window "Tracker") || fail "no Tracker window"
for i in $(seq 100); do grep -qs 'Tracker: [1-9][0-9]* passes in the list' pava.log && break; sleep 0.1; done
grep -q 'Tracker: 10 passes in the list' pava.log || fail "no pass list: $(cat pava.log)"
xdotool windowmove "$win" 1300 1100   # the main window out of the way
xdotool windowmove "$tw" 0 0
xdotool windowsize "$tw" 1000 800
sleep 6   # the map is drawn at the new size within its 5 s period
import -window "$tw" tracker.png
cp tracker.png "${GUI_SHOT_DIR:-.}/" 2>/dev/null
has_colour tracker.png '#C8C8A0' || fail "no coastlines on the map"
has_colour tracker.png '#0000FF' || fail "no observer mark on the map"
# "Start /Stop" (the first control) starts the cycle on a new list.
xdotool windowfocus --sync "$tw" 2>/dev/null
xdotool key space
sleep 3
[ "$(grep -c 'Tracker: passlist' pava.log)" -ge 2 ] || fail "Start /Stop built no new list: $(cat pava.log)"
xdotool key space
sleep 0.5
true
EOS
)
gui_session -ts -log || exit 1
BODY=$(cat <<'EOS'
for i in $(seq 100); do grep -qs 'Tracker: .* passes in the list' pava.log && break; sleep 0.1; done
grep -q 'Tracker: 10 passes in the list' pava.log || fail "no pass list in the notebook page"
xdotool search --onlyvisible --name '^Tracker$' >/dev/null 2>&1 && fail "a Tracker window without -ts"
true
EOS
)
rm -f "$GUI_WORK/pava.log"
gui_session -log
