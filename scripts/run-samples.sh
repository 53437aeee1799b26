#!/usr/bin/env bash
# `make run`: the main job on the bundled samples. The sample camera ran on local time (UTC+1)
# while the track is in UTC, hence the offset. Copies go to a fresh folder; samples/ stays as it is.
set -euo pipefail
build=${1:-build}
here=$(cd "$(dirname "$0")/.." && pwd)
out="$here/$build/samples-geotagged"
rm -rf "$out"
echo "pixtrail geotag --track samples/retiro-walk.trk --offset -01:00:00 --out $build/samples-geotagged samples"
status=0
"$build/pixtrail" geotag --track "$here/samples/retiro-walk.trk" --offset -01:00:00 --out "$out" "$here/samples" || status=$?
# 1 only means that some photos could not be tagged; the samples include such photos on purpose.
[ "$status" -le 1 ] || exit "$status"
echo
echo "Tagged copies in $out"
