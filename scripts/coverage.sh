#!/usr/bin/env bash
# Line coverage of the two libraries by the test suite, or by the tests of one folder of
# tests/ (their ctest label), to see what one group of tests reaches on its own.
#   scripts/coverage.sh BUILD_DIR [LABEL_REGEX] [GCOVR_ARGS...]
# Configures BUILD_DIR as an unoptimised gcc build with --coverage, builds it, clears the
# counters, runs the tests and prints one row per library source file.
set -euo pipefail

build_dir=${1:?usage: scripts/coverage.sh BUILD_DIR [LABEL_REGEX] [GCOVR_ARGS...]}
# Without a label every test runs, the unlabelled ones of the command line included.
labels=()
if [ -n "${2:-}" ]; then labels=(-L "$2"); fi
shift $(($# < 2 ? $# : 2))
root=$(cd "$(dirname "$0")/.." && pwd)

cmake -S "$root" -B "$build_dir" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS="--coverage -O0" \
  -DCMAKE_EXE_LINKER_FLAGS=--coverage -DCMAKE_SHARED_LINKER_FLAGS=--coverage >/dev/null
cmake --build "$build_dir" -j "${JOBS:-2}"
find "$build_dir" -name '*.gcda' -delete
(cd "$build_dir" && ctest -j "${JOBS:-2}" "${labels[@]}" -E '^package_consumer$' --output-on-failure)
# Threads of the concurrency tests update the counters without locks, so a count may be
# torn; the lines reached are still right.
gcovr -r "$root" "$build_dir" --gcov-ignore-parse-errors --filter "$root/src/" \
  --filter "$root/base/src/" --filter "$root/include/" --filter "$root/base/include/" "$@"
