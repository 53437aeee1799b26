#!/usr/bin/env bash
# Serial Magellan transfers against gpsbabel on the same simulated unit in the same run: a track
# log of 2,000 points and 500 waypoints downloaded, and the same waypoints uploaded, each timed
# five times (median, wall clock). The line is a pseudo-terminal, so the figures are the two
# programs' own work per sentence, not the time a real line at 9600 baud would add (about
# 15 track sentences a second there, whatever the host).
# Usage: bench/magellan_transfer_bench.sh [BUILD_DIR]
set -euo pipefail
build=${1:-build}
work=$(mktemp -d)
sim_pid=
cleanup() {
  exec 3>&- 2>/dev/null || true
  [ -n "$sim_pid" ] && kill "$sim_pid" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

python3 - "$work/unit.txt" <<'PY'
import sys
from functools import reduce
def frame(body): return "$%s*%02X\n" % (body, reduce(lambda a, c: a ^ ord(c), body, 0))
out = open(sys.argv[1], "w")
for i in range(500):
    lat, lon = 40 + i * 0.001, -3.5 - i * 0.0013
    out.write(frame("PMGNWPL,%02d%06.3f,N,%03d%06.3f,W,%07d,M,WPT%03d,Waypoint %d,a"
                    % (int(lat), (lat % 1) * 60, int(-lon), (-lon % 1) * 60, 600 + i, i, i)))
for i in range(2000):
    lat, lon, s = 40 + i * 0.0001, -3.5 + i * 0.0001, 36000 + i * 5
    out.write(frame("PMGNTRK,%02d%06.3f,N,%03d%06.3f,W,%05d,M,%02d%02d%02d.00,A,,010524"
                    % (int(lat), (lat % 1) * 60, int(-lon), (-lon % 1) * 60, 600 + i % 50,
                       s // 3600, s // 60 % 60, s % 60)))
PY

mkfifo "$work/ctl"
"$build/tests/sim/magellan/pixtrail-magellan-sim" --version 'PMGNVER,37,1.04,BENCH UNIT' --data "$work/unit.txt" \
  <"$work/ctl" >"$work/sim.out" 2>/dev/null &
sim_pid=$!
exec 3>"$work/ctl"
for _ in $(seq 50); do [ -s "$work/sim.out" ] && break; sleep 0.1; done
pty=$(head -1 "$work/sim.out")

time_ms() {
  local runs=() i start end
  for i in 1 2 3 4 5; do
    rm -f "$work"/out.*
    start=$(date +%s%N); eval "$1" >/dev/null 2>&1; end=$(date +%s%N)
    runs+=($(( (end - start) / 1000000 )))
  done
  printf '%s\n' "${runs[@]}" | sort -n | sed -n 3p
}
px="$build/pixtrail --config $work/gps.ini"
ours_trk=$(time_ms "$px magellan download tracks --port $pty -o $work/out.log")
ours_trk_noack=$(time_ms "$px magellan download tracks --no-handshake --port $pty -o $work/out.log")
babel_trk=$(time_ms "gpsbabel -t -i magellan -f $pty -o magellan -F $work/out.log")
ours_wpt=$(time_ms "$px magellan download waypoints --port $pty -o $work/out.upt")
babel_wpt=$(time_ms "gpsbabel -w -i magellan -f $pty -o magellan -F $work/out.upt")
$px magellan download waypoints --port "$pty" -o "$work/up.upt" >/dev/null
gpsbabel -w -i magellan -f "$pty" -o gpx -F "$work/up.gpx"
ours_up=$(time_ms "$px magellan upload waypoints $work/up.upt --port $pty")
babel_up=$(time_ms "gpsbabel -w -i gpx -f $work/up.gpx -o magellan -F $pty")

ratio() { python3 -c "print('%.2f' % ($1 / $2))"; }
echo "Magellan serial transfers on a pseudo-terminal, median of 5 runs (ms), ours / gpsbabel:"
echo "  download 2000 track points, handshaking on:   ours $ours_trk   gpsbabel (no handshaking) $babel_trk   ratio $(ratio "$ours_trk" "$babel_trk")"
echo "  download 2000 track points, handshaking off:  ours $ours_trk_noack   gpsbabel $babel_trk   ratio $(ratio "$ours_trk_noack" "$babel_trk")"
echo "  download 500 waypoints, handshaking on:       ours $ours_wpt   gpsbabel (no handshaking) $babel_wpt   ratio $(ratio "$ours_wpt" "$babel_wpt")"
echo "  upload 500 waypoints, handshaking on (both):  ours $ours_up   gpsbabel $babel_up   ratio $(ratio "$ours_up" "$babel_up")"
