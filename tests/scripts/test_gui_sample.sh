#!/usr/bin/env bash
# pava -log -i on the real NOAA 18 recording, one session: zoom keys and their
# inverses, timing bounds (first picture 1.5 s, redraw median 20 ms), the
# drawing area equal to pava-cli render (grey, channel 2, false colour), the
# channel map, Lum thr., and the picture's other windows.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
gui_require
command -v xwininfo >/dev/null || exit 77
gui_sample_recording
BODY=$(cat <<'EOS'
xdotool mousemove 1270 1010   # keep the readouts still
sleep 0.5
shot fit.png
key i; expect_shot in ! fit "zoom in changed nothing"
key o; expect_shot out = fit "out after in is not the whole picture"
key l; expect_shot last = in "last zoom is not the zoomed view"
key f; expect_shot f = fit "f is not the whole picture"
menu 2 1; expect_shot north ! fit "north bound mirrored nothing"  # View/North bound
menu 2 1; expect_shot south = fit "north bound off is not the first view"
menu 5 3; expect_shot ch2 ! fit "channel 2 looks like the first view"  # Channel/Ch2
menu 5 2                         # Channel/Ch1
key z
eval "$(xdotool getwindowgeometry --shell "$win")"
xdotool mousemove $((X + 200)) $((Y + 200)) mousedown 1 mousemove $((X + 300)) $((Y + 260)) \
  mousemove $((X + 400)) $((Y + 320)) mouseup 1
xdotool mousemove 1270 1010
sleep 0.4; expect_shot rect ! fit "dragged rectangle did not zoom"
key f
menu 3 11                        # Zoom/Values...: zx 2, zy 2, Apply
zw=$(wait_window "Zoom values") || fail "no Zoom values window"
focus "$zw"
xdotool key ctrl+a type 2
xdotool key Tab ctrl+a
xdotool type 2
xdotool key Tab Tab Tab space    # zy -> ox -> oy -> Apply
xdotool key Tab space            # Close (it would cover the picture)
gone_window "Zoom values" || fail "Zoom values did not close"
sleep 0.4; expect_shot values ! fit "Zoom/Values... Apply changed nothing"
key l; expect_shot values_last = fit "last after Zoom/Values... is not the whole picture"
first=$(sed -n 's/.*First picture drawn \([0-9]*\) ms after start/\1/p' pava.log)
[ -n "$first" ] || fail "no timing line: $(cat pava.log)"
median=$(sed -n 's/.*Picture drawn ([0-9x]*) in \([0-9.]*\) ms/\1/p' pava.log | sort -n |
  awk '{v[NR]=$1} END {print v[int((NR+1)/2)]}')
echo "first picture after $first ms, redraw median $median ms"
# A sanitizer build measures the sanitizer, not the program.
if ! grep -q __asan_init "$bin/pava"; then
  [ "$first" -le 1500 ] || fail "first picture after $first ms"
  awk -v m="$median" 'BEGIN {exit !(m <= 20)}' || fail "redraw median $median ms"
fi

menu 2 8; key f                  # View/Aspect off and "f": the whole picture fills the area
picture_area
as_rendered grey "$pic" --channel 1
menu 5 3                         # Channel/Ch2
as_rendered ch2 "$pic" --channel 2
menu 5 1                         # Channel/False clr
as_rendered false "$pic" --false-colour

shot before.png
menu 2 17                        # View/Channel_map...
mw=$(wait_window "Map channels") || fail "no Map channels window"
focus "$mw"
xdotool key Tab ctrl+a           # the focus is on Ch1 first: -> r1
xdotool type 2
xdotool key Tab
sleep 0.2
aside "$mw"
sleep 0.5; expect_shot after ! before "the red weight of channel 1 changed nothing"
# More red, the same green: it was the red weight.
mean() { convert "$1" -crop 600x300+20+80 -channel "$2" -separate -format '%[fx:mean]' info:; }
awk -v a="$(mean after.png R)" -v b="$(mean before.png R)" 'BEGIN {exit !(a > b + 0.05)}' ||
  fail "red did not grow"
awk -v a="$(mean after.png G)" -v b="$(mean before.png G)" 'BEGIN {exit !(a - b < 0.01 && b - a < 0.01)}' ||
  fail "green changed"

menu 5 2                         # Channel/Ch1
sleep 0.4; shot grey.png
menu 2 16                        # View/Lum...
lw=$(wait_window "Lum thr.") || fail "no Lum thr. window"
sleep 0.3
import -window "$lw" lum.png
has_colour lum.png '#CCCCCC' || fail "no histogram drawn"  # light bars on black
focus "$lw"
xdotool key Tab Tab space        # Min -> Max -> Auto
sleep 0.2
aside "$lw"
sleep 0.5; expect_shot auto ! grey "Auto changed nothing"

menu 1 1                         # Edit/File header...
wait_window "File header" >/dev/null || fail "no File header window"
menu 1 2                         # Edit/Kepler...
wait_window "Kepler" >/dev/null || fail "no Kepler window"
menu 1 3                         # Edit/Preferences...
wait_window "Preferences" >/dev/null || fail "no Preferences window"
menu 0 4                         # File/File info...
wait_window "File info" >/dev/null || fail "no File info window"
menu 2 18                        # View/Film...
fw=$(wait_window "Film") || fail "no Film window"
focus "$fw"
xdotool key Tab space            # ">>": the folder's only file again
sleep 0.5
xdotool search --onlyvisible --name '^Pava .*noaa18' >/dev/null || fail "film lost the picture"
EOS
)
# Every GDK window a native X window: the area has a window id of its own.
export GDK_NATIVE_WINDOWS=1
gui_session -log -i "$pic"
