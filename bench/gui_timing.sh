#!/usr/bin/env bash
# Drawing speed of the program as a user sees it: pava under Xvfb opens a
# synthesised 5400-line NOAA 19 pass (15 minutes) with -log; zoom keys and
# wheel scroll steps follow. From pava.log's timing lines it prints the time
# from start to the first drawn picture (target <= 1500 ms) and the median
# redraw (draw_pic and the expose) after a zoom or scroll step (target <= 20
# ms).
# Usage: bench/gui_timing.sh [BIN-DIR (build/bin)] [STEPS (20)]
set -euo pipefail
BIN=$(cd "${1:-$(dirname "$0")/../build/bin}" && pwd)
STEPS=${2:-20}
data=$(cd "$(dirname "$0")/../data" && pwd)
for t in xvfb-run xdotool; do command -v $t >/dev/null || { echo "needs $t" >&2; exit 1; }; done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$BIN/pava-cli" synth --sat "NOAA 19" --tle "$data/weather.txt" --start 2020-10-26T07:20:00Z \
  --seconds 900 --format hrpt --seed 5400 -o "$work/pass.hrpt" >/dev/null
mkdir -p "$work/.local/share"
cat >"$work/session.sh" <<EOS
#!/usr/bin/env bash
cd "$work"
"$BIN/pava" -log -w 1024 -h 768 pass.hrpt 2>stderr &
pid=\$!
win=\$(timeout 20 xdotool search --sync --onlyvisible --name '^Pava' | head -n 1)
for i in \$(seq 100); do grep -q 'First picture drawn' pava.log 2>/dev/null && break; sleep 0.1; done
xdotool windowfocus --sync "\$win"
sleep 0.5
eval \$(xdotool getwindowgeometry --shell "\$win")
xdotool mousemove \$((X + WIDTH / 2)) \$((Y + HEIGHT / 2))
marker=\$(wc -l <pava.log)
echo "\$marker" >marker
for i in \$(seq $STEPS); do
  case \$((i % 4)) in
    1) xdotool key i ;;
    2) xdotool click 5 ;;   # wheel: scroll down
    3) xdotool click 4 ;;   # and up
    0) xdotool key o ;;
  esac
  sleep 0.15
done
sleep 0.3
xdotool key ctrl+q
wait \$pid
EOS
chmod +x "$work/session.sh"
HOME=$work xvfb-run -a -s "-screen 0 1280x1024x24" "$work/session.sh"
log=$work/pava.log
first=$(sed -n 's/.*First picture drawn \([0-9.]*\) ms after start.*/\1/p' "$log" | head -n 1)
read -r lines read_ms < <(sed -n 's/.*Picture read (\([0-9]*\) lines) in \([0-9.]*\) ms.*/\1 \2/p' "$log" | head -n 1)
first_draw=$(sed -n 's/.*Picture drawn ([0-9x]*) in \([0-9.]*\) ms.*/\1/p' "$log" | head -n 1)
marker=$(cat "$work/marker")
tail -n +"$((marker + 1))" "$log" |
  sed -n 's/.*Picture drawn (\([0-9x]*\)) in \([0-9.]*\) ms (draw_pic \([0-9.]*\) ms).*/\1 \2 \3/p' \
    >"$work/redraws"
n=$(wc -l <"$work/redraws")
[ -n "$first" ] && [ "$n" -gt 0 ] || { echo "no timing lines in pava.log:" >&2; cat "$log" >&2; exit 1; }
median() { sort -n | awk '{v[NR]=$1} END {print (NR%2 ? v[(NR+1)/2] : (v[NR/2]+v[NR/2+1])/2)}'; }
med=$(awk '{print $2}' "$work/redraws" | median)
med_draw=$(awk '{print $3}' "$work/redraws" | median)
size=$(awk 'NR==1{print $1}' "$work/redraws")
echo "pass: ${lines:-?} lines; drawing area $size"
echo "start to first picture: $first ms (target <= 1500); of it reading ${read_ms:-?} ms, first drawing ${first_draw:-?} ms"
echo "redraw after zoom/scroll: median $med ms over $n redraws, of which draw_pic $med_draw ms (target <= 20)"
