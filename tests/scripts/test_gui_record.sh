#!/usr/bin/env bash
# The recorder panel: "pava -sim FILE -record hrpt:a" opens "Record (A)HRPT",
# replays the recording at the board's pace and draws it on the "Live" page
# while the record file grows; quitting ends the pass with a closed file whose
# header counts its lines.
set -u
BIN=$1
. "$(dirname "$0")/gui_common.sh"
gui_require
gui_sample_recording
gui_work
# The replayed file: the sample recorded through the emulated board.
"$BIN/pava-cli" record --type hrpt --channels a --once --emulate "$pic" --frames 30 \
  --start-after 1 --dir "$GUI_WORK/src" >/dev/null 2>&1 || { echo "pava-cli record failed"; exit 1; }
src=$(ls "$GUI_WORK"/src/*)
printf '%s\n' "Hrptrec_Save_rec=1" "Working_Dir=$GUI_WORK/rec" "record.do_live=1" \
  "Hrpt_File_Dir=" >"$GUI_WORK/pava.ini"
BODY=$(cat <<'EOS'
pw=$(wait_window "Record \\(A\\)HRPT") || fail "no recorder panel"
sleep 3
shot live.png
[ "$(identify -format %k live.png)" -gt 50 ] || fail "nothing drawn on the live page"
ls rec/* >/dev/null 2>&1 || fail "no record file"
EOS
)
gui_session -sim "$src" -record hrpt:a || exit 1
f=$(ls "$GUI_WORK"/rec/*)
size=$(stat -c %s "$f")
n=$(od -An -t d2 -j 24 -N 2 "$f" | tr -d ' ')
[ "$n" -gt 5 ] && [ $(( (size - 16000) % 13872 )) = 0 ] && [ $(( (size - 16000) / 13872 )) = "$n" ] ||
  { echo "FAIL record file: $n lines in header, $size bytes"; exit 1; }
