#!/usr/bin/env bash
# NMEA decoding speed: sentences per second through the protocol object (Google Benchmark), then
# `pixtrail nmea --json` against gpsd's `gpsdecode -j` on the same generated day-long log, timed in
# the same run by hyperfine (medians and their ratio).
# Usage: bench/nmea_bench.sh [BUILD_DIR] [RUNS]
set -euo pipefail
build=${1:-build}
runs=${2:-7}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
log="$work/day.nmea"

"$build/bench/nmea_bench" --write-log "$log"
sentences=$(wc -l < "$log")
echo "log: $sentences sentences, $(du -m "$log" | cut -f1) MB (GGA, RMC, GSA, 3 GSV, VTG at 1 Hz for 25 h)"

echo "== in-process (median of 5)"
"$build/bench/nmea_bench" --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
  --benchmark_filter='BM_ProtocolWholeLog|BM_LineParserOnly' 2>/dev/null | grep -E "_median|Benchmark"

echo "== command line vs gpsdecode ($runs runs each)"
hyperfine --style basic --warmup 1 --runs "$runs" --export-json "$work/times.json" \
  -n pixtrail "$build/pixtrail nmea --json $log > /dev/null" \
  -n gpsdecode "gpsdecode -j < $log > /dev/null"
# Medians from hyperfine's JSON: one "median" per command, in the order given.
medians=($(grep -o '"median": *[0-9.e+-]*' "$work/times.json" | awk '{print $2}'))
awk -v ours="${medians[0]}" -v peer="${medians[1]}" -v n="$sentences" 'BEGIN {
  printf "median pixtrail %.3f s (%.2f M sentences/s), gpsdecode %.3f s (%.2f M sentences/s): pixtrail %.2fx faster\n",
         ours, n / ours / 1e6, peer, n / peer / 1e6, peer / ours }'
