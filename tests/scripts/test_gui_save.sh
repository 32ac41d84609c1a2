#!/usr/bin/env bash
# The Save window ("File/Save as...") driven by keys: the shown picture saved
# as PNG, PPM and JPEG decodes (netpbm) to what pava-cli render draws for the
# saved size; a save cancelled at once keeps a valid, shorter PPM and reports
# "Cancelled; N of H lines saved in ..." in an "Info" box.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
gui_require
command -v pngtopnm >/dev/null && command -v jpegtopnm >/dev/null || exit 77
GUI_WORK=$(mktemp -d)
trap 'rm -rf "$GUI_WORK"' EXIT
# A synthetic pass (720 lines), long enough that a save can be cancelled.
data=$(cd "$(dirname "$0")/../../data" && pwd)
"$BIN/pava-cli" synth --sat "NOAA 19" --tle "$data/weather.txt" --start 2020-10-26T07:28:30Z \
  --seconds 120 --format hrpt --seed 20201026 -o "$GUI_WORK/pass.hrpt" >/dev/null || exit 1

BODY=$(cat <<'EOS'
xdotool mousemove 1270 1010   # the pointer off the picture
# save_as TYPE-INDEX [KEYS-AFTER-SAVE]: File/Save as..., "File type" (focused)
# set by its place in the list, Ctrl+S.
save_as() {
  menu 0 3
  dlg=$(wait_window Save) || fail "no Save window"
  xdotool windowfocus --sync "$dlg" 2>/dev/null
  xdotool key Home
  for i in $(seq "$1"); do xdotool key Down; done
  xdotool key --delay 0 ctrl+s ${2:-}
}
# A saved file gets its name when it is complete (20 s at most).
wait_file() { for i in $(seq 100); do [ -s "$1" ] && return 0; sleep 0.2; done; return 1; }
decoded_equal() {  # decoded_equal FILE DECODER
  $2 "$1" >dec.pnm 2>/dev/null || fail "$2 can't read $1"
  local W H
  read -r W H < <(identify -format '%w %h\n' dec.pnm)
  "$bin/pava-cli" render pass.hrpt -o ref.png --width "$W" --height "$H" --lum 0:1023 \
    --linearize --channel 1 >/dev/null || fail "pava-cli render"
  echo "$1: ${W}x${H}"
  [ "$(compare -metric AE dec.pnm ref.png null: 2>&1)" = 0 ]
}
save_as 7                                       # PNG
wait_file pass_c1.png || fail "no pass_c1.png: $(ls)"
decoded_equal pass_c1.png pngtopnm || fail "PNG differs from pava-cli render"
save_as 5                                       # PPM
wait_file pass_c1.ppm || fail "no pass_c1.ppm: $(ls)"
decoded_equal pass_c1.ppm cat || fail "PPM differs from pava-cli render"
save_as 6                                       # Jpeg: decodes, same size
wait_file pass_c1.jpg || fail "no pass_c1.jpg: $(ls)"
jpegtopnm pass_c1.jpg >jpg.pnm 2>/dev/null || fail "jpegtopnm can't read pass_c1.jpg"
[ "$(identify -format '%wx%h' jpg.pnm)" = "$(identify -format '%wx%h' pass_c1.ppm)" ] ||
  fail "JPEG size differs"
save_as 5 Escape                                # PPM, cancelled at once
box=$(wait_window Info) || fail "no Info box after cancelling: $(tail -n 3 pava.log)"
grep -q "Cancelled; [0-9]* of 720 lines saved in .*pass_c1_01.ppm\." pava.log ||
  fail "no cancel message: $(tail -n 3 pava.log)"
h=$(identify -format '%h' pass_c1_01.ppm) || fail "cancelled PPM unreadable"
[ "$h" -lt 720 ] && [ "$h" -gt 0 ] || fail "cancelled PPM has $h lines"
echo "cancelled: $h of 720 lines"
xdotool windowfocus --sync "$box" 2>/dev/null; xdotool key Return
EOS
)
gui_session -log -i "$GUI_WORK/pass.hrpt"
