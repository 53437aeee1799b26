#!/usr/bin/env bash
# A folder of N camera-sized photos (default 2000, 1600x1200, each with its capture time) opened in
# the desktop program, five runs; exiftool reading the same folder's capture times is the peer.
# Usage: bench/gui_photo_folder_bench.sh BUILD [N]
set -euo pipefail
build=${1:-build}
count=${2:-2000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/photos"
# One picture with detail (so its JPEG is camera-like in size), stamped with a time, then copied.
convert -size 1600x1200 plasma:fractal -quality 90 "$work/base.jpg"
exiftool -q -overwrite_original -DateTimeOriginal="2024:05:14 10:15:05" "$work/base.jpg"
for i in $(seq -w 1 "$count"); do cp "$work/base.jpg" "$work/photos/IMG_$i.jpg"; done
echo "folder: $count photos of $(du -k "$work/base.jpg" | cut -f1) KiB, $(du -sh "$work/photos" | cut -f1) in all"
echo "== pixtrail-gui, open the folder"
"$build/bench/gui_photo_folder" "$work/photos" 5
echo "== peer: exiftool -fast2 reading every capture time"
for run in 1 2 3 4 5; do
  /usr/bin/time -f "%e s" exiftool -q -fast2 -T -DateTimeOriginal "$work/photos" > /dev/null
done
