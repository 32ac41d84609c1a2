#!/usr/bin/env bash
# The real program under Xvfb: the main window "Pava" comes up with its pages,
# closes cleanly, and GTK prints no warnings or criticals.
set -u
bin=$1
command -v xvfb-run >/dev/null && command -v xdotool >/dev/null || exit 77
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cat >"$work/session.sh" <<EOS
#!/usr/bin/env bash
cd "$work"
"$bin/pava" 2>"$work/stderr" &
pid=\$!
win=\$(timeout 20 xdotool search --sync --onlyvisible --name '^Pava\$' | head -n 1)
[ -n "\$win" ] || { echo "no main window"; kill \$pid; exit 1; }
xdotool windowfocus --sync "\$win" 2>/dev/null
xdotool key ctrl+q
for i in \$(seq 50); do kill -0 \$pid 2>/dev/null || break; sleep 0.1; done
if kill -0 \$pid 2>/dev/null; then echo "pava did not end"; kill \$pid; exit 1; fi
wait \$pid
EOS
chmod +x "$work/session.sh"
HOME=$work xvfb-run -a -s "-screen 0 1280x1024x24" "$work/session.sh"
rc=$?
if grep -E 'Gtk-(WARNING|CRITICAL)|GLib-(WARNING|CRITICAL)' "$work/stderr"; then
  echo "GTK complained"; exit 1
fi
exit $rc
