#!/usr/bin/env bash
# Native track file of 1,000,000 points: our reading and writing (Google Benchmark medians) against
# the floor of plain tools on the same bytes in the same run (cat > /dev/null, wc -l, cp), and the
# peak memory per point of `pixtrail info` on that file against the size of the point record.
# Usage: bench/track_file_bench.sh [BUILD_DIR]
set -euo pipefail
build=${1:-build}
here=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export PIXTRAIL_BENCH_DIR="$work"
points=1000000

json=$("$build/bench/track_file_bench" --benchmark_format=json 2>/dev/null)
file="$work/pixtrail-bench-1M.TRK"
median_ms() { echo "$json" | python3 -c "import json,sys; d=json.load(sys.stdin); print([b['$2'] for b in d['benchmarks'] if b['name'].startswith('$1/') and b['name'].endswith('_median')][0])"; }
read_ms=$(median_ms BM_ReadNativeTrack real_time)
write_ms=$(median_ms BM_WriteNativeTrack real_time)
read_cpu_ms=$(median_ms BM_ReadNativeTrack cpu_time)
write_cpu_ms=$(median_ms BM_WriteNativeTrack cpu_time)
record=$(echo "$json" | python3 -c "import json,sys; print(json.load(sys.stdin)['context']['point_record_bytes'])")

# Median of five runs of a shell command, in milliseconds.
time_ms() {
  local runs=() i start end
  for i in 1 2 3 4 5; do
    start=$(date +%s%N); eval "$1" >/dev/null; end=$(date +%s%N)
    runs+=($(( (end - start) / 1000000 )))
  done
  printf '%s\n' "${runs[@]}" | sort -n | sed -n 3p
}
# The same with CPU time (user + system), which a busy machine disturbs less than wall time.
cpu_ms() {
  local runs=() i
  for i in 1 2 3 4 5; do
    runs+=($(/usr/bin/time -f '%U %S' sh -c "$1" 2>&1 >/dev/null | tail -1 | awk '{printf "%d", ($1 + $2) * 1000}'))
  done
  printf '%s\n' "${runs[@]}" | sort -n | sed -n 3p
}
wc_cpu_ms=$(cpu_ms "wc -l '$file'")
cp_cpu_ms=$(cpu_ms "cp '$file' '$work/copy.TRK'")
cat_ms=$(time_ms "cat '$file' > /dev/null")
wc_ms=$(time_ms "wc -l '$file'")
cp_ms=$(time_ms "cp '$file' '$work/copy.TRK'")

# Peak memory: `pixtrail info` on the big file minus the same on a one-point file.
head -c 2000 "$file" | head -n 7 > "$work/small.TRK"
config="$work/gps.ini"
peak_kb() { /usr/bin/time -f %M "$build/pixtrail" --config "$config" info "$1" 2>&1 >/dev/null | tail -1; }
big=$(peak_kb "$file")
small=$(peak_kb "$work/small.TRK")
per_point=$(( (big - small) * 1024 / points ))

size=$(stat -c %s "$file")
ratio() { python3 -c "print(f'{$1/$2:.2f}')"; }
echo "file: $points points, $size bytes; point record: $record bytes"
echo "read : ${read_ms%.*} ms median ($(python3 -c "print(f'{$points/($read_ms/1000)/1e6:.2f}')") M points/s); wc -l ${wc_ms} ms, cat ${cat_ms} ms; read/wc = $(ratio "$read_ms" "$wc_ms")"
echo "write: ${write_ms%.*} ms median ($(python3 -c "print(f'{$points/($write_ms/1000)/1e6:.2f}')") M points/s); cp ${cp_ms} ms; write/cp = $(ratio "$write_ms" "$cp_ms")"
echo "cpu  : read ${read_cpu_ms%.*} ms, wc -l ${wc_cpu_ms} ms; write ${write_cpu_ms%.*} ms, cp ${cp_cpu_ms} ms; read/wc = $(ratio "$read_cpu_ms" "$(( wc_cpu_ms > 0 ? wc_cpu_ms : 1 ))"), write/cp = $(ratio "$write_cpu_ms" "$(( cp_cpu_ms > 0 ? cp_cpu_ms : 1 ))")"
echo "peak memory: ${per_point} bytes per point = $(ratio "$per_point" "$record") x the point record"
