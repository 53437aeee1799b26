#!/usr/bin/env bash
# Builds the geotagging benchmark corpus in DIR (default build/geotag-corpus), reproducibly:
#   photos/   300 JPEGs of 12 megapixels (~3 MB), camera EXIF copied from two real cameras' tags
#             (every third photo in Motorola byte order), a JPEG thumbnail, capture times every
#             72 s across the track. PHOTOS sets the count, SIZE the pixels (SIZE=560x420 gives
#             photos of about 95 KB).
#   track.gpx a one-second GPX track of six hours (21600 points)
# Needs python3, ImageMagick and exiftool. Times are UTC throughout.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
dir=${1:-$here/build/geotag-corpus}
count=${PHOTOS:-300}
size=${SIZE:-4000x3000}
mkdir -p "$dir/base" "$dir/photos"
rm -f "$dir"/photos/*.jpg

for seed in 1 2 3 4; do
  base="$dir/base/base$seed.jpg"
  [ -f "$base" ] || convert -size "$size" -seed "$seed" xc:gray +noise Random -blur 0x1 -quality 88 "$base"
done
[ -f "$dir/base/thumb.jpg" ] || convert "$dir/base/base1.jpg" -resize 160x120 -quality 80 "$dir/base/thumb.jpg"

python3 - "$dir" "$count" <<'PY'
import math, sys
dir, count = sys.argv[1], int(sys.argv[2])
with open(dir + "/track.gpx", "w") as f:
    f.write('<?xml version="1.0" encoding="UTF-8"?>\n<gpx version="1.1" creator="bench" '
            'xmlns="http://www.topografix.com/GPX/1/1">\n<trk><name>six hours</name><trkseg>\n')
    for s in range(6 * 3600):
        a = s / (6 * 3600) * 2 * math.pi
        lat, lon = 42.5 + 0.05 * math.sin(a), 1.5 + 0.08 * math.cos(a)
        f.write('<trkpt lat="%.7f" lon="%.7f"><ele>%.1f</ele><time>2024-05-14T%02d:%02d:%02dZ</time></trkpt>\n'
                % (lat, lon, 900 + 100 * math.sin(3 * a), 8 + s // 3600, (s // 60) % 60, s % 60))
    f.write('</trkseg></trk>\n</gpx>\n')
# One exiftool run for all photos: an argument file with one -execute block per photo.
with open(dir + "/exif.args", "w") as f:
    for i in range(count):
        s = 30 + i * 72
        camera = "NikonD70.jpg" if i % 3 == 2 else "Canon.jpg"
        order = "MM" if i % 3 == 2 else "II"
        for arg in ["-q", "-overwrite_original", "-ExifByteOrder=" + order,
                    "-tagsFromFile", "@CAMERAS@/" + camera, "-EXIF:all", "-MakerNotes",
                    "-DateTimeOriginal=2024:05:14 %02d:%02d:%02d" % (8 + s // 3600, (s // 60) % 60, s % 60),
                    "-ThumbnailImage<=" + dir + "/base/thumb.jpg",
                    dir + "/photos/IMG_%04d.jpg" % i, "-execute"]:
            f.write(arg + "\n")
PY
sed -i "s|@CAMERAS@|$here/tests/data/photos|" "$dir/exif.args"
for i in $(seq 0 $((count - 1))); do
  cp "$dir/base/base$((i % 4 + 1)).jpg" "$dir/photos/$(printf 'IMG_%04d.jpg' "$i")"
done
exiftool -@ "$dir/exif.args" > /dev/null
du -sh "$dir/photos"
