#!/usr/bin/env bash
# The picture viewer on a real recording: zoom keys change the picture and
# their inverses restore it pixel for pixel ("i"/"o", "l", "f"), View/North
# bound mirrors it and back, Channel/Ch2 shows another channel, a dragged
# rectangle zooms ("z"), Zoom/Values... sets the zoom, File/File info... opens its window, and the timing lines under -log stay within bounds
# (first picture 1.5 s after start, redraw median 20 ms).
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
gui_require
gui_sample_recording
BODY=$(cat <<'EOS'
key() { xdotool windowfocus --sync "$win" 2>/dev/null; xdotool key "$1"; sleep 0.4; }
xdotool mousemove 1270 1010   # keep the readouts still
sleep 0.5
shot fit.png
key i; shot in.png
same fit.png in.png && fail "zoom in changed nothing"
key o; shot out.png
same fit.png out.png || fail "out after in is not the whole picture"
key l; shot last.png
same in.png last.png || fail "last zoom is not the zoomed view"
key f; shot f.png
same fit.png f.png || fail "f is not the whole picture"
menu 2 1; shot north.png         # View/North bound
same fit.png north.png && fail "north bound mirrored nothing"
menu 2 1; shot south.png
same fit.png south.png || fail "north bound off is not the first view"
menu 5 3; shot ch2.png           # Channel/Ch2
same fit.png ch2.png && fail "channel 2 looks like the first view"
menu 5 2                         # Channel/Ch1
key z
eval "$(xdotool getwindowgeometry --shell "$win")"
xdotool mousemove $((X + 200)) $((Y + 200)) mousedown 1 mousemove $((X + 300)) $((Y + 260)) \
  mousemove $((X + 400)) $((Y + 320)) mouseup 1
xdotool mousemove 1270 1010
sleep 0.4; shot rect.png
same fit.png rect.png && fail "dragged rectangle did not zoom"
key f
menu 3 11                        # Zoom/Values...: zx 2, zy 2, Apply
zw=$(wait_window "Zoom values") || fail "no Zoom values window"
xdotool windowfocus --sync "$zw" 2>/dev/null
xdotool key ctrl+a type 2
xdotool key Tab ctrl+a
xdotool type 2
xdotool key Tab Tab Tab space    # zy -> ox -> oy -> Apply
xdotool key Tab space            # Close (it would cover the picture)
gone_window "Zoom values" || fail "Zoom values did not close"
sleep 0.4
shot values.png
same fit.png values.png && fail "Zoom/Values... Apply changed nothing"
key l
shot values_last.png
same fit.png values_last.png || fail "last after Zoom/Values... is not the whole picture"
menu 0 4                         # File/File info...
wait_window "File info" >/dev/null || fail "no File info window"
grep -q 'First picture drawn' pava.log || fail "no timing line: $(cat pava.log)"
first=$(sed -n 's/.*First picture drawn \([0-9]*\) ms after start/\1/p' pava.log)
median=$(sed -n 's/.*Picture drawn ([0-9x]*) in \([0-9.]*\) ms/\1/p' pava.log | sort -n |
  awk '{v[NR]=$1} END {print v[int((NR+1)/2)]}')
echo "first picture after $first ms, redraw median $median ms"
# A sanitizer build measures the sanitizer, not the program.
if ! grep -q __asan_init "$bin/pava"; then
  [ "$first" -le 1500 ] || fail "first picture after $first ms"
  awk -v m="$median" 'BEGIN {exit !(m <= 20)}' || fail "redraw median $median ms"
fi
EOS
)
gui_session -log -i "$pic"
