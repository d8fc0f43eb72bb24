#!/usr/bin/env bash
# Runs every fuzz target for a bounded time, starting from its seed corpus.
# usage: run-fuzz.sh FUZZ_BUILD_DIR SECONDS
# A crash stops the run; libFuzzer writes the input as crash-* in fuzz/findings/.
set -euo pipefail
bin=$1
seconds=$2
root=$(cd "$(dirname "$0")/.." && pwd)
findings="$root/fuzz/findings"
mkdir -p "$findings"
status=0
for exe in "$bin"/*_fuzz; do
  [ -x "$exe" ] || continue
  name=$(basename "$exe")
  work=$(mktemp -d)
  seeds="$root/fuzz/corpus/${name%_fuzz}"
  [ -d "$seeds" ] && cp -r "$seeds"/. "$work"/ 2>/dev/null || true
  echo "== $name for ${seconds}s"
  # lib3mf's libzip keeps a little memory on every read; that leak alone is suppressed.
  if ! LSAN_OPTIONS="suppressions=$root/scripts/lsan.supp:print_suppressions=0" \
      "$exe" "$work" -max_total_time="$seconds" -rss_limit_mb=2048 -malloc_limit_mb=1024 \
      -timeout=10 -print_final_stats=1 -artifact_prefix="$findings/${name}-" \
      >"$work.log" 2>&1; then
    tail -n 60 "$work.log"
    echo "!! $name found a problem; input kept in $findings" >&2
    status=1
  else
    grep -E '^stat::number_of_executed_units|^Done' "$work.log" || true
  fi
  rm -rf "$work" "$work.log"
done
exit $status
