#!/usr/bin/env bash
# The "Map channels" window on the sample: View/Channel_map... opens it with
# the controls of the picture's channels; raising the red weight of channel 1
# ("r1") changes the false-colour picture; "CMap A" keeps it drawn.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
gui_require
gui_sample_recording
BODY=$(cat <<'EOS'
xdotool mousemove 1270 1010   # keep the readouts still
menu 5 1                      # Channel/False clr
sleep 0.4; shot before.png
menu 2 17                     # View/Channel_map...
mw=$(wait_window "Map channels") || fail "no Map channels window"
xdotool windowfocus --sync "$mw" 2>/dev/null
xdotool key Tab ctrl+a        # the focus is on Ch1 first: -> r1
xdotool type 2
xdotool key Tab
sleep 0.2
xdotool windowmove "$mw" 1300 1100   # off the main window
sleep 0.5; shot after.png
same before.png after.png && fail "the red weight of channel 1 changed nothing"
# More red, the same green: it was the red weight.
mean() { convert "$1" -crop 600x300+20+80 -channel "$2" -separate -format '%[fx:mean]' info:; }
awk -v a="$(mean after.png R)" -v b="$(mean before.png R)" 'BEGIN {exit !(a > b + 0.05)}' ||
  fail "red did not grow"
awk -v a="$(mean after.png G)" -v b="$(mean before.png G)" 'BEGIN {exit !(a - b < 0.01 && b - a < 0.01)}' ||
  fail "green changed"
EOS
)
gui_session -log -i "$pic"
