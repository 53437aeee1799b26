#!/usr/bin/env bash
# Reading a GPX of a million points (about 100 MB): pixtrail's reader against gpsbabel's GPX parse
# (`-x nuketypes,tracks` drops the points after reading, so nothing is written), with `cat` and
# `grep -c '<trkpt'` as floors, all in the same run. Each command runs RUNS times, interleaved;
# medians of wall time, of CPU time (user + system, which a busy machine disturbs less) and of
# peak memory (maximum resident set size) are shown, with points per second.
# Usage: bench/gpx_bench.sh [BUILD_DIR] [RUNS] [POINTS]
set -euo pipefail
build=${1:-build}
runs=${2:-5}
points=${3:-1000000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
gpx="$work/big.gpx"
"$build/bench/gpx_read_bench" --write-gpx "$points" "$gpx"
echo "file: $points points, $(du -m "$gpx" | cut -f1) MB"

declare -A commands=(
  [cat]="cat $gpx"
  [grep]="grep -c <trkpt $gpx"
  [gpsbabel]="gpsbabel -i gpx -f $gpx -x nuketypes,tracks -o gpx -F /dev/null"
  [pixtrail]="$build/bench/gpx_read_bench --read-once $gpx"
)
order=(cat grep gpsbabel pixtrail)
for name in "${order[@]}"; do : > "$work/$name.times"; done
# Interleaved rounds, so that load on the machine falls on every command alike.
for ((r = 0; r < runs; r++)); do
  for name in "${order[@]}"; do
    # Output to a file: GNU grep stops at the first match when it writes to /dev/null.
    /usr/bin/time -f "%e %U %S %M" -o "$work/one" ${commands[$name]} > "$work/out"
    cat "$work/one" >> "$work/$name.times"
  done
done
median() { sort -n | awk '{v[NR] = $1} END {print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2}'; }
printf "%-9s %9s %12s %9s %12s %9s\n" command "wall s" "points/s" "CPU s" "points/CPU s" "peak MB"
for name in "${order[@]}"; do
  s=$(cut -d' ' -f1 "$work/$name.times" | median)
  cpu=$(awk '{print $2 + $3}' "$work/$name.times" | median)
  kb=$(cut -d' ' -f4 "$work/$name.times" | median)
  echo "$name $s $cpu $kb" >> "$work/medians"
  awk -v n="$name" -v s="$s" -v c="$cpu" -v kb="$kb" -v p="$points" 'BEGIN {
    printf "%-9s %9.3f %12.0f %9.3f %12.0f %9.1f\n", n, s, (s > 0 ? p / s : 0), c, (c > 0 ? p / c : 0), kb / 1024 }'
done
awk '{ s[$1] = $2; c[$1] = $3; m[$1] = $4 } END {
  printf "pixtrail vs gpsbabel: %.1fx the points per wall second, %.1fx per CPU second, %.2f of the peak memory\n",
         s["gpsbabel"] / s["pixtrail"], c["gpsbabel"] / c["pixtrail"], m["pixtrail"] / m["gpsbabel"] }' "$work/medians"
