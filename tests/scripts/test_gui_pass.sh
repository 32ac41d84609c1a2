#!/usr/bin/env bash
# pava -log -i on a synthetic NOAA 19 pass over western Europe (720 lines), one
# session: the Save window's PNG and PPM decode (netpbm) to pava-cli render's
# picture, the JPEG to its size; a cancelled save keeps a shorter valid PPM and
# says so; the drawing area equals pava-cli render, plain and --grid --coast.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
gui_require
command -v xwininfo >/dev/null && command -v pngtopnm >/dev/null && command -v jpegtopnm >/dev/null ||
  exit 77
gui_work
"$BIN/pava-cli" synth --sat "NOAA 19" --tle "$(dirname "$0")/../../data/weather.txt" \
  --start 2020-10-26T07:28:30Z --seconds 120 --format hrpt --seed 20201026 \
  -o "$GUI_WORK/pass.hrpt" >/dev/null || exit 1
BODY=$(cat <<'EOS'
xdotool mousemove 1270 1010   # the pointer off the picture
# save_as TYPE-INDEX [KEYS-AFTER-SAVE]: File/Save as..., "File type" (focused)
# set by its place in the list, Ctrl+S.
save_as() {
  menu 0 3
  dlg=$(wait_window Save) || fail "no Save window"
  focus "$dlg"
  xdotool key Home
  for i in $(seq "$1"); do xdotool key Down; done
  xdotool key --delay 0 ctrl+s ${2:-}
}
# A saved file gets its name when it is complete (20 s at most); it decodes
# (DECODER) to what pava-cli render draws at its size.
saved_as_rendered() {  # saved_as_rendered FILE DECODER
  for i in $(seq 100); do [ -s "$1" ] && break; sleep 0.2; done
  $2 "$1" >dec.pnm 2>/dev/null || fail "$2 can't read $1: $(ls)"
  local W H
  read -r W H < <(identify -format '%w %h\n' dec.pnm)
  "$bin/pava-cli" render pass.hrpt -o ref.png --width "$W" --height "$H" --lum 0:1023 \
    --linearize --channel 1 >/dev/null || fail "pava-cli render"
  echo "$1: ${W}x${H}"
  same dec.pnm ref.png || fail "$1 differs from pava-cli render"
}
save_as 7                                       # PNG
saved_as_rendered pass_c1.png pngtopnm
save_as 5                                       # PPM
saved_as_rendered pass_c1.ppm cat
save_as 6                                       # Jpeg: decodes, same size
for i in $(seq 100); do [ -s pass_c1.jpg ] && break; sleep 0.2; done
jpegtopnm pass_c1.jpg >jpg.pnm 2>/dev/null || fail "jpegtopnm can't read pass_c1.jpg: $(ls)"
[ "$(identify -format '%wx%h' jpg.pnm)" = "$(identify -format '%wx%h' pass_c1.ppm)" ] ||
  fail "JPEG size differs"
save_as 5 Escape                                # PPM, cancelled at once
wait_window Info >/dev/null || fail "no Info box after cancelling: $(tail -n 3 pava.log)"
grep -q "Cancelled; [0-9]* of 720 lines saved in .*pass_c1_01.ppm\." pava.log ||
  fail "no cancel message: $(tail -n 3 pava.log)"
h=$(identify -format '%h' pass_c1_01.ppm) || fail "cancelled PPM unreadable"
[ "$h" -lt 720 ] && [ "$h" -gt 0 ] || fail "cancelled PPM has $h lines"
echo "cancelled: $h of 720 lines"
close_box Info
aside "$dlg"                  # the Save window stays open: off the picture

menu 2 8; key f               # View/Aspect off and "f": the whole picture fills the area
picture_area
as_rendered plain pass.hrpt --channel 1
n0=$(grep -c 'Picture drawn' pava.log)
menu 2 2                      # View/Grid
menu 2 3                      # View/Coast
# Drawn: a new drawing logged and none for 10 s since (90 s at most; a
# sanitizer build on a busy machine reads and draws the coast for seconds).
n=$n0 quiet=0
for i in $(seq 180); do
  sleep 0.5
  m=$(grep -c 'Picture drawn' pava.log)
  if [ "$m" != "$n" ]; then n=$m quiet=0; else quiet=$((quiet + 1)); fi
  [ "$n" -gt "$n0" ] && [ $quiet -ge 20 ] && break
done
as_rendered overlay pass.hrpt --channel 1 --grid --coast
same overlay.png plain.png && fail "grid and coast drew nothing"
EOS
)
# Every GDK window a native X window: the area has a window id of its own.
export GDK_NATIVE_WINDOWS=1
gui_session -log -i "$GUI_WORK/pass.hrpt"
