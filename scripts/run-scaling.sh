#!/usr/bin/env bash
# Times `quorvex slice` on bumpy spheres of 1k to 1M triangles (sizes growing by 10) with 1
# and 2 threads, and measures the peak memory of the largest against the mesh plus the
# print model it builds. Prints a Markdown table.
# usage: run-scaling.sh BUILD_DIR OUT_DIR     (BUILD_DIR holds tools/quorvex/quorvex)
set -euo pipefail
build=$1
out=$2
exe="$build/tools/quorvex/quorvex"
mkdir -p "$out"
here=$(cd "$(dirname "$0")" && pwd)

echo "| triangles | layers | 1 thread (s) | 2 threads (s) | speed-up | peak RSS, 2 threads (MB) |"
echo "|---|---|---|---|---|---|"
for n in 1000 10000 100000 1000000; do
  model="$out/sphere_$n.stl"
  [ -f "$model" ] || python3 "$here/gen_bench_model.py" "$n" "$model" >/dev/null
  tris=$(( ($(stat -c %s "$model") - 84) / 50 ))
  declare -A wall rss
  for t in 1 2; do
    /usr/bin/time -f "%e %M" -o "$out/time_${n}_$t.txt" \
      "$exe" slice "$model" -o "$out/sphere_${n}_$t.gcode" --threads "$t" --quiet >/dev/null
    read -r wall[$t] rss[$t] < "$out/time_${n}_$t.txt"
  done
  layers=$(grep -c "^(<layer>" "$out/sphere_${n}_2.gcode" || true)
  speedup=$(python3 -c "print('%.2f' % (${wall[1]} / max(${wall[2]}, 1e-3)))")
  echo "| $tris | $layers | ${wall[1]} | ${wall[2]} | ${speedup}x | $(( ${rss[2]} / 1024 )) |"
done

# Peak memory of the largest model against what it must hold: the mesh (vertices, faces and
# face normals, 12 bytes each) and the print model, measured by its archive's size (points
# are stored there as they are in memory, 8 bytes each).
model="$out/sphere_1000000.stl"
info=$("$exe" info "$model")
vertices=$(echo "$info" | awk '$1 == "vertices" {print $2}')
faces=$(( ($(stat -c %s "$model") - 84) / 50 ))
archive=$(stat -c %s "$out/sphere_1000000_2.qxm")
rss_kb=$(cut -d' ' -f2 "$out/time_1000000_2.txt")
python3 - "$vertices" "$faces" "$archive" "$rss_kb" <<'PY'
import sys
v, f, archive, rss_kb = (int(x) for x in sys.argv[1:])
mesh = 12 * v + 24 * f
base = mesh + archive
rss = rss_kb * 1024
print()
print("peak memory of slice, %d triangles: %.1f MB; mesh %.1f MB + print model %.1f MB = %.1f MB;"
      " ratio %.2f (goal <= 3)" % (f, rss / 1e6, mesh / 1e6, archive / 1e6, base / 1e6, rss / base))
PY
