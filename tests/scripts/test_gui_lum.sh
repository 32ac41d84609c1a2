#!/usr/bin/env bash
# The luminance window "Lum thr." on the sample: View/Lum... opens it with the
# histogram of the picture drawn; "Auto" narrows the window to the histogram,
# which stretches the grey picture. Edit/File header..., Edit/Kepler... and
# Edit/Preferences... open their windows; View/Film... steps through the
# sample's folder.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
gui_require
gui_sample_recording
BODY=$(cat <<'EOS'
xdotool mousemove 1270 1010
sleep 0.4; shot before.png
menu 2 16                     # View/Lum...
lw=$(wait_window "Lum thr.") || fail "no Lum thr. window"
sleep 0.3
import -window "$lw" lum.png
# The histogram: light bars on black.
has_colour lum.png '#CCCCCC' || fail "no histogram drawn"
xdotool windowfocus --sync "$lw" 2>/dev/null
xdotool key Tab Tab space     # Min -> Max -> Auto
sleep 0.2
xdotool windowmove "$lw" 1300 1100
sleep 0.5; shot after.png
same before.png after.png && fail "Auto changed nothing"
menu 1 1                      # Edit/File header...
wait_window "File header" >/dev/null || fail "no File header window"
menu 1 2                      # Edit/Kepler...
wait_window "Kepler" >/dev/null || fail "no Kepler window"
menu 1 3                      # Edit/Preferences...
wait_window "Preferences" >/dev/null || fail "no Preferences window"
menu 2 18                     # View/Film...
fw=$(wait_window "Film") || fail "no Film window"
xdotool windowfocus --sync "$fw" 2>/dev/null
xdotool key Tab space         # ">>": the folder's only file again
sleep 0.5
xdotool search --onlyvisible --name '^Pava .*noaa18' >/dev/null || fail "film lost the picture"
grep -E 'Gtk-|GLib-' stderr && fail "GTK complained"
true
EOS
)
gui_session -log -i "$pic"
