#!/usr/bin/env bash
# Regenerates samples/: a one-hour walk in the native track format (UTC, a point every 10 s) and
# six small photos whose cameras ran on local time (UTC+1), so `--offset -01:00:00` matches them.
# Deterministic: the same files every run. Needs python3, ImageMagick and exiftool.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
out="$here/samples"
mkdir -p "$out"
rm -f "$out"/*.jpg "$out"/*.trk

python3 - "$out/retiro-walk.trk" <<'PY'
import math, sys
months = "JAN FEB MAR APR MAY JUN JUL AUG SEP OCT NOV DEC".split()
lines = ["G  WGS 84", "U  0"]
# A loop round a park: 360 points, 10 s apart, from 09:00:00 UTC on 14 May 2024.
lat0, lon0, r = 40.4153, -3.6845, 0.004
for i in range(361):
    a = 2 * math.pi * i / 360
    lat = lat0 + r * math.sin(a)
    lon = lon0 + 1.3 * r * math.cos(a)
    alt = 660 + 12 * math.sin(2 * a)
    s = i * 10
    hh, mm, ss = 9 + s // 3600, (s // 60) % 60, s % 60
    ns = "N" if lat >= 0 else "S"
    ew = "E" if lon >= 0 else "W"
    lines.append("T  - %.7f\xbaN %.7f\xba%s 14-%s-24 %02d:%02d:%02d N %.1f" % (abs(lat), abs(lon), ew, months[4], hh, mm, ss, alt))
with open(sys.argv[1], "wb") as f:
    f.write(("\r\n".join(lines) + "\r\n").encode("latin-1"))
PY

# name, camera time (local, UTC+1), colour; the last two fall outside the walk or have no time.
photos=(
  "fountain 2024:05:14 10:03:20 steelblue"
  "pond 2024:05:14 10:15:05 seagreen"
  "rose-garden 2024:05:14 10:31:47 indianred"
  "palace 2024:05:14 10:52:10 goldenrod"
  "after-the-walk 2024:05:14 12:10:00 slategray"
  "no-date - - plum"
)
for row in "${photos[@]}"; do
  read -r name date time colour <<<"$row"
  convert -size 160x120 "gradient:$colour-white" -strip -quality 80 "$out/$name.jpg"
  if [ "$date" = "-" ]; then
    exiftool -q -overwrite_original -Make=Pixtrail -Model=Sample "$out/$name.jpg"
  else
    exiftool -q -overwrite_original -Make=Pixtrail -Model=Sample \
      "-DateTimeOriginal=$date $time" "-ModifyDate=$date $time" "$out/$name.jpg"
  fi
done
ls -l "$out"
