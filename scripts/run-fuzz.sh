#!/usr/bin/env bash
# Runs every fuzz target for a bounded time, starting from its seed corpus, JOBS targets at
# a time.
# usage: run-fuzz.sh FUZZ_BUILD_DIR SECONDS [JOBS]
# A target that finds a problem fails the run; libFuzzer keeps the input as
# fuzz/findings/<target>-crash-* (or leak-, timeout-, oom-), and the end of its log is printed.
set -euo pipefail
bin=$1
seconds=$2
jobs=${3:-1}
root=$(cd "$(dirname "$0")/.." && pwd)
findings="$root/fuzz/findings"
mkdir -p "$findings"
logs=$(mktemp -d)
trap 'rm -rf "$logs"' EXIT

run_one() {
  local exe=$1 name work seeds
  name=$(basename "$exe")
  work="$logs/$name.corpus"
  mkdir -p "$work"
  seeds="$root/fuzz/corpus/${name%_fuzz}"
  if [ -d "$seeds" ]; then cp -r "$seeds"/. "$work"/; fi
  # lib3mf's libzip keeps a little memory on every read; that leak alone is suppressed.
  if LSAN_OPTIONS="suppressions=$root/scripts/lsan.supp:print_suppressions=0" \
      "$exe" "$work" -max_total_time="$seconds" -rss_limit_mb=2048 -malloc_limit_mb=1024 \
      -timeout=10 -print_final_stats=1 -artifact_prefix="$findings/${name}-" \
      >"$logs/$name.log" 2>&1; then
    echo ok >"$logs/$name.status"
  else
    echo failed >"$logs/$name.status"
  fi
  rm -rf "$work"
}
export -f run_one
export root findings logs seconds

targets=()
for exe in "$bin"/*_fuzz; do
  [ -x "$exe" ] && targets+=("$exe")
done
if [ ${#targets[@]} -eq 0 ]; then
  echo "run-fuzz: no fuzz targets in $bin" >&2
  exit 1
fi
echo "fuzzing ${#targets[@]} targets for ${seconds}s each, $jobs at a time"
printf '%s\n' "${targets[@]}" | xargs -P "$jobs" -I{} bash -c 'run_one "$1"' _ {}

status=0
for exe in "${targets[@]}"; do
  name=$(basename "$exe")
  runs=$(grep -E '^stat::number_of_executed_units' "$logs/$name.log" | awk '{print $2}' || true)
  if [ "$(cat "$logs/$name.status" 2>/dev/null)" = ok ]; then
    echo "== $name: ${runs:-?} inputs, no finding"
  else
    tail -n 60 "$logs/$name.log"
    echo "!! $name found a problem; input kept in $findings" >&2
    status=1
  fi
done
exit $status
