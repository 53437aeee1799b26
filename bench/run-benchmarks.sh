#!/usr/bin/env bash
# `make bench`: every Google Benchmark program of a build, five repetitions each, medians shown.
# Pass benchmark names (files without _bench) to run only those: bench/run-benchmarks.sh build datum_shift
set -euo pipefail
build=${1:-build}
shift || true
programs=()
if [ $# -gt 0 ]; then
  for name in "$@"; do programs+=("$build/bench/${name}_bench"); done
else
  for p in "$build"/bench/*_bench; do [ -x "$p" ] && programs+=("$p"); done
fi
for p in "${programs[@]}"; do
  echo "== $(basename "$p")"
  "$p" --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
       --benchmark_display_aggregates_only=true --benchmark_min_time=0.2
done
