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
shared=${PAVA_SHARED_DIR:-$(dirname "$0")/../../../shared}
shared=$(cd "$shared" 2>/dev/null && pwd) || exit 77
pic=$shared/testdata/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be
[ -f "$pic" ] || { echo "no sample recording"; exit 77; }
if DISPLAY= "$BIN/pava" -i "$pic" 2>&1 | grep -q '^ERROR:'; then
  echo "pava can't open the sample recording yet"; exit 77
fi
BODY=$(cat <<'EOS'
same() { [ "$(compare -metric AE "$1" "$2" null: 2>&1)" = 0 ]; }
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
