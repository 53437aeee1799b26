#!/usr/bin/env bash
# The Win32 port code on a serial line under wine: COM5 and COM6 of the wine prefix are linked
# to the two ends of a pseudo-terminal pair, so the same kind of line the Linux tests use.
#   serial_test.sh WINE_RUN WINEPREFIX UNIT_DEVICES.exe PIXTRAIL.exe
set -uo pipefail
wine_run=$1 prefix=$2 unit_devices=$3 pixtrail=$4
work=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null; done
  rm -f "$prefix/dosdevices/com5" "$prefix/dosdevices/com6"
  rm -rf "$work"
}
trap cleanup EXIT
"$wine_run" "$prefix" cmd /c exit >/dev/null 2>&1  # makes the prefix on a first run

socat pty,raw,echo=0,link="$work/a" pty,raw,echo=0,link="$work/b" &
pids+=($!)
for _ in $(seq 50); do [ -e "$work/a" ] && [ -e "$work/b" ] && break; sleep 0.1; done
ln -sfn "$(readlink -f "$work/a")" "$prefix/dosdevices/com5"
ln -sfn "$(readlink -f "$work/b")" "$prefix/dosdevices/com6"

failed=0
PIXTRAIL_TEST_COM_PAIR=4,5 "$wine_run" "$prefix" "$unit_devices" --gtest_filter='Win32*' || failed=1

# The program itself: a receiver on the far end that only lists satellites, then a fix.
(
  while :; do
    printf '$GPGSV,1,1,01,07,45,120,38*46\r\n$GPGGA,101530,4025.123,N,00342.567,W,1,07,1.0,650.0,M,50.0,M,,*54\r\n'
    sleep 0.1
  done >"$work/b"
) &
pids+=($!)
out=$("$wine_run" "$prefix" "$pixtrail" --config "$work/gps.ini" detect --port COM5)
if [ "$out" = "NMEA" ]; then echo "detect on COM5: $out"; else echo "detect on COM5 said: '$out'"; failed=1; fi
lines=$("$wine_run" "$prefix" "$pixtrail" --config "$work/gps.ini" nmea --json --seconds 1.5 --port COM5 | grep -c '"type":"GGA"')
if [ "$lines" -ge 5 ]; then echo "live fix on COM5: $lines GGA lines"; else echo "live fix on COM5: $lines GGA lines"; failed=1; fi
exit $failed
