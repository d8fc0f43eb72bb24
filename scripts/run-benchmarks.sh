#!/usr/bin/env bash
# Runs every benchmark executable of a Release build and gathers the JSON results.
# usage: run-benchmarks.sh BENCH_BUILD_DIR OUT_DIR
set -euo pipefail
build=$1
out=$2
mkdir -p "$out"
reps=${BENCH_REPETITIONS:-5}
files=()
for exe in "$build"/bench/*_bench; do
  [ -x "$exe" ] || continue
  name=$(basename "$exe")
  echo "== $name"
  "$exe" --benchmark_repetitions="$reps" --benchmark_report_aggregates_only=true \
    --benchmark_out="$out/$name.json" --benchmark_out_format=json
  files+=("$out/$name.json")
done
python3 scripts/bench_report.py "$out" "${files[@]}"
