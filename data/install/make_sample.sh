#!/bin/sh
# Makes the bundled sample pass: a synthetic 8-minute NOAA 19 pass over
# western Europe from the shipped elements, with a fixed seed, so that every
# run gives the same file.
# Usage: make_sample.sh OUTPUT [PAVA-CLI [ELEMENT-FILE]]
set -eu
out=${1:?usage: make_sample.sh OUTPUT [PAVA-CLI [ELEMENT-FILE]]}
cli=${2:-pava-cli}
tle=${3:-$(dirname "$0")/weather.txt}
"$cli" synth --sat "NOAA 19" --tle "$tle" \
  --start 2020-10-26T07:26:30Z --seconds 480 --format hrpt --seed 20201026 --clouds 0.3 \
  -o "$out.part"
mv "$out.part" "$out"
