#!/usr/bin/env bash
# `cmake --install` puts programs, data, desktop entry, icon and man pages in
# place; the installed pava-cli finds elements and coastlines in its data
# directory. cpack's Debian package holds the same files and the run-time
# dependencies; its pava-cli, unpacked, renders the same.
set -u
BIN=$(cd "$1" && pwd)
build=$(dirname "$BIN")
src=$(cd "$(dirname "$0")/../.." && pwd)
[ -f "$build/cmake_install.cmake" ] && [ -x "$BIN/pava" ] || exit 77
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
fail() { echo "FAIL: $*"; exit 1; }

cmake --install "$build" --prefix "$tmp/usr" >"$tmp/install.log" || fail "cmake --install"
files="bin/pava bin/pava-cli share/pava/gshhs_i.b share/pava/weather.txt
  share/applications/pava.desktop share/icons/hicolor/scalable/apps/pava.svg
  share/man/man1/pava.1 share/man/man1/pava-cli.1"
for f in $files share/pava/make_sample.sh; do [ -s "$tmp/usr/$f" ] || fail "not installed: $f"; done
[ ! -e "$tmp/usr/share/pava/noaa19_2020-10-26_0726.hrpt" ] || fail "the generated sample got installed"
if command -v desktop-file-validate >/dev/null; then
  desktop-file-validate "$tmp/usr/share/applications/pava.desktop" || fail "desktop entry"
fi
for m in pava pava-cli; do
  command -v groff >/dev/null || break
  w=$(LC_ALL=C groff -man -ww -z "$tmp/usr/share/man/man1/$m.1" 2>&1) || fail "groff $m.1"
  [ -z "$w" ] || fail "$m.1: $w"
done

# The installed programs run from an empty folder with an empty home: the
# data can only come from the installation's data directory.
mkdir "$tmp/run" "$tmp/home"
run_cli() { (cd "$tmp/run" && HOME=$tmp/home "$@"); }
run_cli "$tmp/usr/bin/pava-cli" synth --sat "NOAA 19" --tle "$tmp/usr/share/pava/weather.txt" \
  --start 2020-10-26T07:28:00Z --seconds 60 --format hrpt --seed 3 -o "$tmp/pass.hrpt" \
  >/dev/null || fail "installed pava-cli synth"
args=(--channel 4 --width 512 --height 360)
run_cli "$tmp/usr/bin/pava-cli" render "$tmp/pass.hrpt" -o "$tmp/inst.png" "${args[@]}" --grid \
  --coast >/dev/null || fail "installed pava-cli render with grid and coast"
"$BIN/pava-cli" render "$tmp/pass.hrpt" -o "$tmp/ref.png" "${args[@]}" --grid --coast \
  --tle "$src/data/weather.txt" >/dev/null || fail "pava-cli render (build tree)"
"$BIN/pava-cli" render "$tmp/pass.hrpt" -o "$tmp/bare.png" "${args[@]}" >/dev/null || fail "render without"
same() { [ "$(compare -metric AE "$1" "$2" null: 2>&1)" = 0 ]; }
same "$tmp/inst.png" "$tmp/ref.png" || fail "installed render differs from the build tree's"
same "$tmp/inst.png" "$tmp/bare.png" && fail "installed render shows no grid or coast"
echo "installed pava-cli: data found, grid and coast drawn"

# The Debian package.
command -v dpkg-deb >/dev/null && [ -f "$build/CPackConfig.cmake" ] || exit 0
(cd "$tmp" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$tmp/pkg" >"$tmp/cpack.log" 2>&1) ||
  fail "cpack: $(tail -n 5 "$tmp/cpack.log")"
deb=$(ls "$tmp"/pkg/pava_*.deb 2>/dev/null | head -n 1)
[ -n "$deb" ] || fail "no .deb made"
dpkg-deb -c "$deb" >"$tmp/contents"
for f in $files; do grep -q " \./usr/$f\$" "$tmp/contents" || fail "not in the package: $f"; done
dep=$(dpkg-deb -f "$deb" Depends)
for lib in libgtk2.0-0 libjpeg62-turbo libpng16-16 libftdi1-2 libc6; do
  [[ "$dep" == *"$lib"* ]] || fail "Depends lacks $lib: $dep"
done
dpkg-deb -x "$deb" "$tmp/deb"
run_cli "$tmp/deb/usr/bin/pava-cli" render "$tmp/pass.hrpt" -o "$tmp/deb.png" "${args[@]}" --grid \
  --coast >/dev/null || fail "packaged pava-cli render"
same "$tmp/deb.png" "$tmp/ref.png" || fail "packaged render differs"
echo "package $(basename "$deb"): contents and dependencies fine"
