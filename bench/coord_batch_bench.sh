#!/usr/bin/env bash
# The command line's --batch rate against the in-process rate, in one run: a million LAT LON lines
# through `pixtrail coord project --proj UTM --batch`, CPU time per line (median of 3), beside
# projection_bench's OursForward CPU time per point.
# Usage: bench/coord_batch_bench.sh [BUILD_DIR]
set -euo pipefail
build=${1:-build}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
awk 'BEGIN { srand(42); for (i = 0; i < 1000000; i++) printf "%.9f %.9f\n", 0.5 + rand() * 83, 0.0001 + rand() * 5.9998 }' \
  > "$work/points.txt"
runs=()
for _ in 1 2 3; do
  /usr/bin/time -f "%U %S" -o "$work/time" "$build/pixtrail" --config "$work/gps.ini" coord project --proj UTM --batch \
    < "$work/points.txt" > "$work/out.txt"
  runs+=("$(awk '{ printf "%.1f", ($1 + $2) * 1e9 / 1000000 }' "$work/time")")
done
batch=$(printf '%s\n' "${runs[@]}" | sort -n | sed -n 2p)
inprocess=$("$build/bench/projection_bench" --benchmark_filter='^OursForward$' --benchmark_repetitions=3 \
  --benchmark_report_aggregates_only=true --benchmark_format=csv 2>/dev/null |
  awk -F, '/_median/ { printf "%.1f", $4 * 1e6 / 1000000 }')
echo "coord project --batch: ${batch} ns CPU per line (runs: ${runs[*]})"
echo "in-process OursForward: ${inprocess} ns CPU per point"
awk -v b="$batch" -v i="$inprocess" 'BEGIN { printf "ratio batch / in-process: %.1f\n", b / i }'
