#!/usr/bin/env bash
# Garmin track download: a 10 000-point track from the simulated unit on a pseudo-terminal (no line
# rate), our `pixtrail garmin download tracks` against `gpsbabel -t -i garmin` in the same run,
# timed by hyperfine (medians, their ratio, and CPU time per packet from the mean user + system time).
# Usage: bench/garmin_download_bench.sh [BUILD_DIR] [RUNS] [POINTS]
set -euo pipefail
build=${1:-build}
runs=${2:-7}
points=${3:-10000}
work=$(mktemp -d)
sim_pid=
cleanup() { [ -n "$sim_pid" ] && kill "$sim_pid" 2>/dev/null; rm -rf "$work"; }
trap cleanup EXIT

"$build/tests/sim/garmin/pixtrail-garmin-sim" --profile serial --points "$points" > "$work/line" &
sim_pid=$!
for _ in $(seq 50); do [ -s "$work/line" ] && break; sleep 0.1; done
line=$(cat "$work/line")
# Records packet, one header and one point packet per track point, transfer complete; the sample's
# second track adds a header and 6 points.
packets=$((points + 10))
echo "unit: $line, serial profile (D301 points), $points + 6 track points"

hyperfine --style basic --warmup 1 --runs "$runs" --export-json "$work/times.json" \
  -n pixtrail "$build/pixtrail --config $work/gps.ini garmin download tracks --baud 115200 --port $line --overwrite -o $work/ours.gpx" \
  -n gpsbabel "gpsbabel -t -i garmin -f $line -o gpx -F $work/theirs.gpx"
grep -c '<trkpt' "$work/ours.gpx" "$work/theirs.gpx"
medians=($(grep -o '"median": *[0-9.e+-]*' "$work/times.json" | awk '{print $2}'))
users=($(grep -o '"user": *[0-9.e+-]*' "$work/times.json" | awk '{print $2}'))
systems=($(grep -o '"system": *[0-9.e+-]*' "$work/times.json" | awk '{print $2}'))
awk -v ours="${medians[0]}" -v peer="${medians[1]}" -v n="$packets" \
    -v ocpu="$(awk -v a="${users[0]}" -v b="${systems[0]}" 'BEGIN{print a+b}')" \
    -v pcpu="$(awk -v a="${users[1]}" -v b="${systems[1]}" 'BEGIN{print a+b}')" 'BEGIN {
  printf "median pixtrail %.3f s, gpsbabel %.3f s: pixtrail %.2fx as fast\n", ours, peer, peer / ours
  printf "CPU per packet: pixtrail %.1f us, gpsbabel %.1f us\n", ocpu / n * 1e6, pcpu / n * 1e6 }'
