#!/usr/bin/env bash
# The drawing area shows exactly what pava-cli render draws for the same size
# and settings (the preferences' default: the swath's edges linearized): grey
# (channel 1, channel 2) and the false colour, compared
# pixel for pixel with a screenshot of the area.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
gui_require
command -v xwininfo >/dev/null || exit 77
gui_sample_recording
BODY=$(cat <<EOS
pic=$(printf %q "$pic")
EOS
)
BODY+=$(cat <<'EOS'

xdotool mousemove 1270 1010   # the pointer off the picture
menu 2 8                      # View/Aspect off and "f": the whole picture fills the area
xdotool windowfocus --sync "$win" 2>/dev/null; xdotool key f
sleep 0.5
# The drawing area is the child window of the size the log names.
size=$(sed -n 's/.*Picture drawn (\([0-9]*x[0-9]*\)).*/\1/p' pava.log | tail -n 1)
[ -n "$size" ] || fail "no drawing logged: $(cat pava.log)"
W=${size%x*} H=${size#*x}
area=$(xwininfo -tree -id "$win" | awk -v g="${W}x${H}+" '$0 ~ g {print $1; exit}')
[ -n "$area" ] || fail "no ${W}x${H} window under the main window: $(xwininfo -tree -id "$win")"
check() {  # check NAME render-options...
  local name=$1; shift
  sleep 0.4
  import -window "$area" "$name.png"
  "$bin/pava-cli" render "$pic" -o "ref_$name.png" --width "$W" --height "$H" --lum 0:1023 --linearize "$@" ||
    fail "pava-cli render $name"
  local d
  d=$(compare -metric AE "$name.png" "ref_$name.png" null: 2>&1)
  [ "$d" = 0 ] || fail "$name: $d pixels differ from pava-cli render"
  echo "$name: equal (${W}x${H})"
}
check grey --channel 1
menu 5 3                         # Channel/Ch2
check ch2 --channel 2
menu 5 1                         # Channel/False clr
check false --false-colour
EOS
)
# Every GDK window a native X window: the area has a window id of its own.
export GDK_NATIVE_WINDOWS=1
gui_session -log -i "$pic"
