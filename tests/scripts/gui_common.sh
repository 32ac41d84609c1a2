# Shared by the GUI tests (sourced): pava under Xvfb, driven by xdotool. A
# test sets BODY to its session's steps and calls gui_session with pava's
# arguments; the session runs in $GUI_WORK (also its home; a second session
# reuses it). Status 77 without xvfb-run/xdotool/import, 1 on failure or when
# GTK or GLib printed on standard error. The steps see $win (main window), $pid
# and these helpers:
#   menu M N: item N (1 up) of menu M (File 0 .. Help 6); key K: key to $win;
#   focus W; aside W: move W off the main window; wait_window T / gone_window T
#   (5 s, visible window titled T); close_box T: Return on box T; wait_log RE
#   (10 s, pava.log); shot FILE: main window; same A B: equal pixels;
#   expect_shot NAME =|! REF MSG: shot NAME.png equal (=) or not (!) to REF.png;
#   has_colour FILE '#RRGGBB'; fail MSG;
#   picture_area: W, H, area of the drawing area (last "Picture drawn" of -log);
#   as_rendered NAME FILE OPTION...: the area equals pava-cli render FILE at
#   its size with the default --lum 0:1023 --linearize and the OPTIONs.

gui_require() {
  command -v xvfb-run >/dev/null && command -v xdotool >/dev/null && command -v import >/dev/null ||
    exit 77
}

gui_work() {
  GUI_WORK=$(mktemp -d)
  trap 'rm -rf "$GUI_WORK"' EXIT
}

# Exports pic, the real NOAA 18 recording of the shared test data; a skip (77)
# when it is missing or pava can't open it.
gui_sample_recording() {
  local shared=${PAVA_SHARED_DIR:-$(dirname "${BASH_SOURCE[0]}")/../../../shared}
  shared=$(cd "$shared" 2>/dev/null && pwd) || exit 77
  export pic=$shared/testdata/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be
  [ -f "$pic" ] || { echo "no sample recording"; exit 77; }
  if DISPLAY= "$BIN/pava" -i "$pic" 2>&1 | grep -q '^ERROR:'; then
    echo "pava can't open the sample recording yet"; exit 77
  fi
}

gui_session() {
  gui_require
  [ -n "${GUI_WORK:-}" ] || gui_work
  mkdir -p "$GUI_WORK/.local/share"  # a home as GTK expects it (recent files)
  printf '%s\n' "$BODY" >"$GUI_WORK/body.sh"
  {
    echo '#!/usr/bin/env bash'
    printf 'cd %q\n' "$GUI_WORK"
    printf 'bin=%q\n' "$BIN"
    cat <<'EOS'
fail() { echo "FAIL: $*"; kill $pid 2>/dev/null; sed "s/^/  pava: /" stderr; exit 1; }
wait_window() {
  local w
  w=$(timeout 5 xdotool search --sync --onlyvisible --name "^$1\$" 2>/dev/null | head -n 1)
  [ -n "$w" ] || return 1
  echo "$w"
}
gone_window() {
  for i in $(seq 50); do
    xdotool search --onlyvisible --name "^$1\$" >/dev/null 2>&1 || return 0
    sleep 0.1
  done
  return 1
}
menu() {
  focus "$win"
  xdotool key F10
  sleep 0.2
  for i in $(seq "$1"); do xdotool key Right; done
  sleep 0.2
  for i in $(seq "$2"); do xdotool key Down; done
  xdotool key Return
  sleep 0.3
}
focus() { xdotool windowfocus --sync "$1" 2>/dev/null; }
key() { focus "$win"; xdotool key "$1"; sleep 0.4; }
close_box() {
  local box
  box=$(wait_window "$1") || fail "no $1 box"
  focus "$box"
  xdotool key Return
  gone_window "$1" || fail "$1 box did not close"
}
wait_log() { for i in $(seq 100); do grep -qs "$1" pava.log && return; sleep 0.1; done; }
aside() { xdotool windowmove "$1" 1300 1100; }
shot() { import -window "$win" "$1"; }
same() { [ "$(compare -metric AE "$1" "$2" null: 2>&1)" = 0 ]; }
expect_shot() {
  shot "$1.png"
  if same "$1.png" "$3.png"; then [ "$2" = = ] || fail "$4"; else [ "$2" = ! ] || fail "$4"; fi
}
has_colour() {
  local n
  n=$(convert "$1" -fill black +opaque "$2" -fill white -opaque "$2" -format '%[fx:mean>0]' info:)
  [ "$n" = 1 ]
}
picture_area() {
  local size
  size=$(sed -n 's/.*Picture drawn (\([0-9]*x[0-9]*\)).*/\1/p' pava.log | tail -n 1)
  [ -n "$size" ] || fail "no drawing logged: $(cat pava.log)"
  W=${size%x*} H=${size#*x}
  area=$(xwininfo -tree -id "$win" | awk -v g="${W}x${H}+" '$0 ~ g {print $1; exit}')
  [ -n "$area" ] || fail "no ${W}x${H} window under the main window: $(xwininfo -tree -id "$win")"
}
as_rendered() {
  local name=$1 file=$2 d
  shift 2
  sleep 0.4
  import -window "$area" "$name.png"
  "$bin/pava-cli" render "$file" -o "ref_$name.png" --width "$W" --height "$H" --lum 0:1023 \
    --linearize "$@" >/dev/null || fail "pava-cli render $name"
  d=$(compare -metric AE "$name.png" "ref_$name.png" null: 2>&1)
  [ "$d" = 0 ] || fail "$name: $d pixels differ from pava-cli render (${W}x${H})"
  echo "$name: equal (${W}x${H})"
}
EOS
    echo '"$bin/pava" "$@" 2>stderr &'
    cat <<'EOS'
pid=$!
win=$(timeout 20 xdotool search --sync --onlyvisible --name '^Pava' | head -n 1)
[ -n "$win" ] || fail "no main window"
focus "$win"
sleep 0.3
. ./body.sh
focus "$win"
xdotool key ctrl+q
for i in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
if kill -0 $pid 2>/dev/null; then echo "pava did not end"; kill $pid; exit 1; fi
wait $pid
EOS
  } >"$GUI_WORK/session.sh"
  chmod +x "$GUI_WORK/session.sh"
  # GTK and its libraries keep caches to the end of the process: not our leaks.
  export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0}
  HOME=$GUI_WORK xvfb-run -a -s "-screen 0 1280x1024x24" "$GUI_WORK/session.sh" "$@"
  local rc=$?
  if grep -E 'Gtk-|GLib-' "$GUI_WORK/stderr"; then
    echo "GTK complained"
    return 1
  fi
  return $rc
}
