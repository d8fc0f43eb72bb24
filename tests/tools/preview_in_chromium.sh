#!/usr/bin/env bash
# Slices a sample, renders its preview page in headless Chromium and checks that the
# screenshot shows a picture. Exit 77 (skipped) where Chromium is absent.
set -euo pipefail
cli=$1
src=$2
work=$3
browser=$(command -v chromium || command -v chromium-browser || true)
if [ -z "$browser" ]; then
  echo "SKIPPED: chromium is not installed (apt-get install chromium)"
  exit 77
fi
rm -rf "$work" && mkdir -p "$work"
"$cli" slice "$src/examples/calibration-cube.stl" -o "$work/cube.gcode" \
  --preview "$work/cube.html" --quiet
grep -q '<input id="slider" type="range"' "$work/cube.html"
if grep -Eq '(src|href)="https?:' "$work/cube.html"; then
  echo "the preview page loads something from the network" >&2
  exit 1
fi
timeout 120 "$browser" --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
  --disable-background-networking --disable-component-update --disable-sync \
  --user-data-dir="$work/profile" --window-size=1000,900 \
  --screenshot="$work/shot.png" "file://$work/cube.html" >/dev/null 2>&1
test -s "$work/shot.png"
python3 "$src/tests/tools/png_nonblank.py" "$work/shot.png"
