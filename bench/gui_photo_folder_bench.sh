#!/usr/bin/env bash
# A folder of N photos (default 2000 of 1600x1200, camera-like; 20000 of 320x240 for the small
# case) opened in the desktop program, five runs; exiftool and exiv2 reading the same folder's
# capture times are the peers.
# Usage: bench/gui_photo_folder_bench.sh BUILD [N] [WIDTHxHEIGHT] [RUNS]
set -euo pipefail
build=${1:-build}
count=${2:-2000}
size=${3:-1600x1200}
runs=${4:-5}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/photos"
# One picture with detail (so its JPEG is camera-like in size), stamped with a time, then copied.
convert -size "$size" plasma:fractal -quality 90 "$work/base.jpg"
exiftool -q -overwrite_original -DateTimeOriginal="2024:05:14 10:15:05" "$work/base.jpg"
for i in $(seq -w 1 "$count"); do cp "$work/base.jpg" "$work/photos/IMG_$i.jpg"; done
echo "folder: $count photos of $(du -k "$work/base.jpg" | cut -f1) KiB, $(du -sh "$work/photos" | cut -f1) in all"
echo "== pixtrail-gui, open the folder"
"$build/bench/gui_photo_folder" "$work/photos" "$runs"
echo "== peer: exiftool -fast2 reading every capture time"
for _ in $(seq "$runs"); do
  /usr/bin/time -f "%e s" exiftool -q -fast2 -T -DateTimeOriginal "$work/photos" > /dev/null
done
echo "== peer: exiv2 -g DateTimeOriginal over the folder"
for _ in $(seq "$runs"); do
  /usr/bin/time -f "%e s" sh -c 'exiv2 -q -g Exif.Photo.DateTimeOriginal -Pv "$1"/*.jpg > /dev/null' sh "$work/photos"
done
