#!/usr/bin/env bash
# Times geotagging with pixtrail, exiftool and gpscorrelate against copying the same folder, in
# interleaved rounds, and prints medians and ratios measured in this one run:
#   camera-sized photos (bench/make_geotag_corpus.sh): cp -r, cp -r + one sync, pixtrail --out
#     (one flush at the end), --out --no-sync, --in-place (its durable batch), exiftool, gpscorrelate
#   small photos (SIZE=560x420, ~95 KB): cp -r, pixtrail --out --no-sync and --out
#   reading the capture times of the small folder: pixtrail exif, exiftool, exiv2
#   scale: SCALE small photos (default 20000, hard links of the small corpus) tagged with --out,
#     time per photo and peak memory (/usr/bin/time -v)
#   bench/geotag_peers_bench.sh [BUILD] [ROUNDS]
# Tools that rewrite in place (gpscorrelate, pixtrail --in-place) get a fresh copy before each of
# their rounds, outside the timing. The page cache is warm for everyone; every round starts after
# a sync, so no tool pays for another's writes.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$here/build}
rounds=${2:-5}
scale=${SCALE:-20000}
big=$build/geotag-corpus
small=$build/geotag-corpus-small
[ -f "$big/track.gpx" ] || "$here/bench/make_geotag_corpus.sh" "$big"
[ -f "$small/track.gpx" ] || SIZE=560x420 "$here/bench/make_geotag_corpus.sh" "$small"
work=$build/geotag-bench
export TZ=UTC  # photo times and the track are both UTC
times=$work/times.txt
mkdir -p "$work"
: > "$times"

now() { date +%s.%N; }
run_tool() {
  local tool=$1 corpus=$2 label=$3 start end
  rm -rf "$work/out"
  case $tool in gpscorrelate|in-place) cp -r "$corpus/photos" "$work/out" ;; esac
  sync
  start=$(now)
  case $tool in
    cp)           cp -r "$corpus/photos" "$work/out" ;;
    cp+sync)      cp -r "$corpus/photos" "$work/out" && sync ;;
    out)          "$build/pixtrail" geotag --track "$corpus/track.gpx" --out "$work/out" "$corpus/photos" > /dev/null ;;
    out-nosync)   "$build/pixtrail" geotag --track "$corpus/track.gpx" --out "$work/out" --no-sync "$corpus/photos" > /dev/null ;;
    in-place)     "$build/pixtrail" geotag --track "$corpus/track.gpx" --in-place "$work/out" > /dev/null ;;
    exiftool)     exiftool -q -geotag "$corpus/track.gpx" -o "$work/out/" "$corpus/photos" > /dev/null ;;
    gpscorrelate) gpscorrelate -g "$corpus/track.gpx" "$work/out"/*.jpg > /dev/null ;;
    load-pixtrail) "$build/pixtrail" exif "$corpus"/photos/*.jpg > /dev/null ;;
    load-exiftool) exiftool -q -DateTimeOriginal "$corpus/photos" > /dev/null ;;
    load-exiv2)    exiv2 -g Exif.Photo.DateTimeOriginal "$corpus"/photos/*.jpg > /dev/null ;;
  esac
  end=$(now)
  echo "$label $(echo "$end - $start" | bc)" >> "$times"
}

big_tools=(cp cp+sync out out-nosync in-place exiftool gpscorrelate)
small_tools=(cp out out-nosync load-pixtrail load-exiftool load-exiv2)
for round in $(seq 1 "$rounds"); do
  # Rotate the order every round so that no tool always follows the same neighbour.
  for k in "${!big_tools[@]}"; do
    tool=${big_tools[$(( (k + round) % ${#big_tools[@]} ))]}
    run_tool "$tool" "$big" "$tool"
  done
  for k in "${!small_tools[@]}"; do
    tool=${small_tools[$(( (k + round) % ${#small_tools[@]} ))]}
    run_tool "$tool" "$small" "small-$tool"
  done
  echo "round $round done" >&2
done

# Scale: many small photos in one folder, one run each way, with the peak memory.
many=$work/many
if [ "$(ls "$many" 2>/dev/null | wc -l)" != "$scale" ]; then
  rm -rf "$many" && mkdir -p "$many"
  n=0
  while [ "$n" -lt "$scale" ]; do
    for f in "$small"/photos/*.jpg; do
      [ "$n" -lt "$scale" ] || break
      ln "$f" "$many/$(printf 'IMG_%06d.jpg' "$n")"
      n=$((n + 1))
    done
  done
fi
rm -rf "$work/out" && sync
/usr/bin/time -v "$build/pixtrail" geotag --track "$small/track.gpx" --out "$work/out" "$many" \
  > /dev/null 2> "$work/scale-time.txt"
rm -rf "$work/out" && sync

# Every tool tagged every photo: check the last outputs of each once.
rm -rf "$work/check" && mkdir -p "$work/check"
"$build/pixtrail" geotag --track "$big/track.gpx" --out "$work/check/pixtrail" "$big/photos" > /dev/null
exiftool -q -geotag "$big/track.gpx" -o "$work/check/exiftool/" "$big/photos" > /dev/null
cp -r "$big/photos" "$work/check/gpscorrelate" && gpscorrelate -g "$big/track.gpx" "$work/check/gpscorrelate"/*.jpg > /dev/null
for tool in pixtrail exiftool gpscorrelate; do
  echo "$tool: $(exiftool -q -q -if '$GPSLatitude' -p '$FileName' "$work/check/$tool" | wc -l) photos with a GPS position"
done
rm -rf "$work/check"

python3 - "$times" "$(ls "$big"/photos/*.jpg | wc -l)" "$(ls "$small"/photos/*.jpg | wc -l)" \
  "$work/scale-time.txt" "$scale" <<'PY'
import re, statistics, sys
rows = {}
for line in open(sys.argv[1]):
    tool, t = line.split()
    rows.setdefault(tool, []).append(float(t))
n, ns, scale = int(sys.argv[2]), int(sys.argv[3]), int(sys.argv[5])
med = {k: statistics.median(v) for k, v in rows.items()}
print("\nmedians over %d interleaved rounds, %d camera-sized photos" % (len(rows["cp"]), n))
print("%-22s %9s %11s %9s" % ("tool", "median s", "photos/s", "x cp -r"))
for tool in ["cp", "cp+sync", "out", "out-nosync", "in-place", "exiftool", "gpscorrelate"]:
    print("%-22s %9.2f %11.1f %9.2f" % (tool, med[tool], n / med[tool], med[tool] / med["cp"]))
print("--out --no-sync is %.2fx cp -r; --out (one flush) is %.2fx cp -r + sync"
      % (med["out-nosync"] / med["cp"], med["out"] / med["cp+sync"]))
print("--in-place is %.2fx cp -r + sync" % (med["in-place"] / med["cp+sync"]))
print("--out is %.1fx faster than exiftool and %.1fx faster than gpscorrelate"
      % (med["exiftool"] / med["out"], med["gpscorrelate"] / med["out"]))
print("\n%d small photos:" % ns)
for tool in ["cp", "out", "out-nosync"]:
    t = med["small-" + tool]
    print("%-22s %9.3f %11.0f %9.2f" % (tool, t, ns / t, t / med["small-cp"]))
print("\nreading the capture times of the small folder:")
for tool in ["pixtrail", "exiftool", "exiv2"]:
    print("%-22s %9.3f" % (tool, med["small-load-" + tool]))
print("pixtrail is %.1fx faster than exiftool, %.2fx the time of exiv2"
      % (med["small-load-exiftool"] / med["small-load-pixtrail"],
         med["small-load-pixtrail"] / med["small-load-exiv2"]))
text = open(sys.argv[4]).read()
wall = re.search(r"Elapsed \(wall clock\) time \(h:mm:ss or m:ss\): (?:(\d+):)?(\d+):([\d.]+)", text)
secs = (int(wall.group(1) or 0) * 3600 + int(wall.group(2)) * 60 + float(wall.group(3)))
rss = int(re.search(r"Maximum resident set size \(kbytes\): (\d+)", text).group(1))
per = secs / scale
print("\n%d small photos with --out: %.1f s, %.0f photos/s, peak memory %.1f MB" % (scale, secs, scale / secs, rss / 1024))
print("time per photo %.2f ms against %.2f ms for %d (%.2fx)"
      % (per * 1000, med["small-out"] / ns * 1000, ns, per / (med["small-out"] / ns)))
PY
