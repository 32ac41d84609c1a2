# Shared by the GUI tests (sourced): runs pava under Xvfb and drives it with
# synthetic keys. A test sets BODY to the steps of its session and calls
# gui_session with pava's arguments; the steps see these helpers:
#   $win           the main window        $pid   pava's process
#   menu M N       opens menu number M (File 0, Edit 1, View 2, Zoom 3,
#                  Record 4, Channel 5, Help 6) and activates its item N (1 up)
#   wait_window T  waits (5 s) for a visible window titled T; prints its id
#   gone_window T  waits (5 s) until no visible window is titled T
#   shot FILE      screenshot of the main window
#   has_colour FILE '#RRGGBB'   true when FILE holds pixels of that colour
#   same A B       true when screenshots A and B are equal pixel for pixel
#   fail MSG       prints MSG, ends the session with status 1
# The session runs in $GUI_WORK, which is also its home directory; a second
# gui_session of the same test reuses it.
# Exit status: 77 without xvfb-run/xdotool/import, 1 on failure or when GTK
# printed a warning or critical on standard error.

gui_require() {
  command -v xvfb-run >/dev/null && command -v xdotool >/dev/null && command -v import >/dev/null ||
    exit 77
}

# Sets pic to the real NOAA 18 recording of the shared test data; a skip (77)
# when it is missing or pava can't open it.
gui_sample_recording() {
  local shared=${PAVA_SHARED_DIR:-$(dirname "${BASH_SOURCE[0]}")/../../../shared}
  shared=$(cd "$shared" 2>/dev/null && pwd) || exit 77
  pic=$shared/testdata/hrpt/noaa18_hrpt_2012-01-30_30frames.raw16be
  [ -f "$pic" ] || { echo "no sample recording"; exit 77; }
  if DISPLAY= "$BIN/pava" -i "$pic" 2>&1 | grep -q '^ERROR:'; then
    echo "pava can't open the sample recording yet"; exit 77
  fi
}

gui_session() {
  gui_require
  # A second session of one test runs in the same home and directory.
  if [ -z "${GUI_WORK:-}" ]; then
    GUI_WORK=$(mktemp -d)
    trap 'rm -rf "$GUI_WORK"' EXIT
  fi
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
  xdotool windowfocus --sync "$win" 2>/dev/null
  xdotool key F10
  sleep 0.2
  for i in $(seq "$1"); do xdotool key Right; done
  sleep 0.2
  for i in $(seq "$2"); do xdotool key Down; done
  xdotool key Return
  sleep 0.3
}
shot() { import -window "$win" "$1"; }
same() { [ "$(compare -metric AE "$1" "$2" null: 2>&1)" = 0 ]; }
has_colour() {
  local n
  n=$(convert "$1" -fill black +opaque "$2" -fill white -opaque "$2" -format '%[fx:mean>0]' info:)
  [ "$n" = 1 ]
}
EOS
    echo '"$bin/pava" "$@" 2>stderr &'
    cat <<'EOS'
pid=$!
win=$(timeout 20 xdotool search --sync --onlyvisible --name '^Pava' | head -n 1)
[ -n "$win" ] || fail "no main window"
xdotool windowfocus --sync "$win" 2>/dev/null
sleep 0.3
. ./body.sh
xdotool windowfocus --sync "$win" 2>/dev/null
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
  if grep -E 'Gtk-(WARNING|CRITICAL)|GLib-(WARNING|CRITICAL)|GLib-GObject-(WARNING|CRITICAL)' \
    "$GUI_WORK/stderr"; then
    echo "GTK complained"
    return 1
  fi
  return $rc
}
