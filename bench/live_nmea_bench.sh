#!/usr/bin/env bash
# CPU cost of the live fix on a 115200-baud NMEA stream: a feeder paces a receiver log into one
# end of a pty pair at 11520 bytes/s (115200 baud, 10 bits a byte); `pixtrail nmea --port` reads
# the other end through the watch thread for SECONDS. The peer in the same run is `socat` copying the
# same stream (the cost of just reading the bytes).
#   bench/live_nmea_bench.sh BUILD [SECONDS] [RUNS]
set -euo pipefail
build=${1:-build}
seconds=${2:-20}
runs=${3:-3}
pixtrail=$(realpath "$build/pixtrail")
log_maker=$(realpath "$build/bench/nmea_bench")
work=$(mktemp -d)
pids=()
trap 'for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; rm -rf "$work"' EXIT

"$log_maker" --write-log "$work/receiver.nmea" >/dev/null
socat pty,raw,echo=0,link="$work/gps" pty,raw,echo=0,link="$work/feed" &
pids+=($!)
for _ in $(seq 50); do [ -e "$work/feed" ] && break; sleep 0.1; done

python3 - "$work/receiver.nmea" "$work/feed" <<'PY' &
import sys, time
data = open(sys.argv[1], 'rb').read()
rate, slice_s = 11520, 0.05
chunk = int(rate * slice_s)
with open(sys.argv[2], 'wb', buffering=0) as out:
    start, sent = time.monotonic(), 0
    while True:
        piece = data[sent % len(data):sent % len(data) + chunk]
        out.write(piece)
        sent += len(piece)
        delay = start + sent / rate - time.monotonic()
        if delay > 0:
            time.sleep(delay)
PY
pids+=($!)
sleep 1

measure() {  # label, command...
  local label=$1
  shift
  for _ in $(seq "$runs"); do
    /usr/bin/time -f "%U %S %e" -o "$work/time" "$@" >"$work/out" 2>"$work/err" || true
    read -r user sys wall < <(tail -1 "$work/time")  # after "exited with non-zero status"
    echo "$label $(echo "$user $sys $wall" | awk '{printf "%.2f", 100 * ($1 + $2) / $3}')"
    echo "$label: $(wc -l <"$work/out") lines, $(wc -c <"$work/out") bytes out in ${wall} s" >&2
  done
}
{
  measure pixtrail "$pixtrail" --config "$work/gps.ini" nmea --json --seconds "$seconds" --port "$work/gps"
  measure socat timeout "$seconds" socat -u "FILE:$work/gps,raw,echo=0" STDOUT
} | awk '{v[$1] = v[$1] " " $2} END {for (k in v) print k ":" v[k]}' | while read -r label values; do
  median=$(echo "$values" | tr ' ' '\n' | sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}')
  echo "$label CPU % of one core, runs:$values median: $median"
done
