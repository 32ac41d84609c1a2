#!/usr/bin/env bash
# Installs the Debian packages of packages.txt that are missing (as root, with
# apt-get); does nothing when all are present.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t wanted < <(sed -e 's/#.*//' -e 's/[[:space:]]//g' packages.txt | grep -v '^$')
missing=()
for p in "${wanted[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi
echo "setup: installing ${missing[*]}" >&2
if [ "$(id -u)" -ne 0 ]; then
  SUDO=sudo
else
  SUDO=
fi
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
