#!/usr/bin/env bash
# Grid and coast over a synthetic NOAA 19 pass over western Europe (orbit from
# the shipped elements, found with the coastlines beside the program): the
# drawing area after View/Grid and View/Coast equals
# pava-cli render --grid --coast of the same size pixel for pixel, and differs
# from the picture without them.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
gui_require
command -v xwininfo >/dev/null || exit 77
GUI_WORK=$(mktemp -d)
trap 'rm -rf "$GUI_WORK"' EXIT
data=$(cd "$(dirname "$0")/../../data" && pwd)
"$BIN/pava-cli" synth --sat "NOAA 19" --tle "$data/weather.txt" --start 2020-10-26T07:27:30Z \
  --seconds 120 --format hrpt --seed 7 -o "$GUI_WORK/pass.hrpt" >/dev/null || exit 1

BODY=$(cat <<'EOS'
xdotool mousemove 1270 1010   # the pointer off the picture
menu 2 8                      # View/Aspect off and "f": the whole picture fills the area
xdotool windowfocus --sync "$win" 2>/dev/null; xdotool key f
sleep 0.5
size=$(sed -n 's/.*Picture drawn (\([0-9]*x[0-9]*\)).*/\1/p' pava.log | tail -n 1)
[ -n "$size" ] || fail "no drawing logged: $(cat pava.log)"
W=${size%x*} H=${size#*x}
area=$(xwininfo -tree -id "$win" | awk -v g="${W}x${H}+" '$0 ~ g {print $1; exit}')
[ -n "$area" ] || fail "no ${W}x${H} window under the main window"
render() {  # render OUT options...
  local out=$1; shift
  "$bin/pava-cli" render pass.hrpt -o "$out" --width "$W" --height "$H" --lum 0:1023 \
    --linearize --channel 1 "$@" >/dev/null || fail "pava-cli render $*"
}
import -window "$area" plain.png
render ref_plain.png
n0=$(grep -c 'Picture drawn' pava.log)
menu 2 2                      # View/Grid
menu 2 3                      # View/Coast
# Drawn: a new drawing logged and none for 3 s since (60 s at most; a
# sanitizer build draws the coast for seconds).
n=$n0 quiet=0
for i in $(seq 120); do
  sleep 0.5
  m=$(grep -c 'Picture drawn' pava.log)
  if [ "$m" != "$n" ]; then n=$m quiet=0; else quiet=$((quiet + 1)); fi
  [ "$n" -gt "$n0" ] && [ $quiet -ge 6 ] && break
done
import -window "$area" overlay.png
render ref_overlay.png --grid --coast
d=$(compare -metric AE overlay.png ref_overlay.png null: 2>&1)
[ "$d" = 0 ] || fail "grid+coast: $d pixels differ from pava-cli render (${W}x${H})"
same plain.png ref_plain.png || fail "plain picture differs from pava-cli render"
same overlay.png plain.png && fail "grid and coast drew nothing"
echo "grid+coast: equal (${W}x${H})"
EOS
)
export GDK_NATIVE_WINDOWS=1
gui_session -log -i "$GUI_WORK/pass.hrpt"
