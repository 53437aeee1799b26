#!/usr/bin/env bash
# Times geotagging the benchmark corpus (bench/make_geotag_corpus.sh) with pixtrail, exiftool and
# gpscorrelate against a plain copy of the folder, in interleaved rounds, and prints medians and
# ratios. `cp+fsync` also flushes every copied file to disk, as pixtrail does for each photo it
# writes (cp, exiftool and gpscorrelate leave theirs in the page cache). Then times reading the capture times of the folder: pixtrail exif against exiftool.
#   bench/geotag_peers_bench.sh [BUILD] [ROUNDS]
# Every tool writes new files except gpscorrelate, which only rewrites in place: it gets a fresh
# copy before each of its rounds, outside its timing. The page cache is warm for everyone.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$here/build}
rounds=${2:-5}
corpus=$build/geotag-corpus
[ -f "$corpus/track.gpx" ] || "$here/bench/make_geotag_corpus.sh" "$corpus"
work=$build/geotag-bench
export TZ=UTC  # photo times and the track are both UTC
times=$work/times.txt
mkdir -p "$work"
: > "$times"

now() { date +%s.%N; }
run_tool() {
  local tool=$1 start end
  rm -rf "$work/out"
  [ "$tool" = gpscorrelate ] && cp -r "$corpus/photos" "$work/out"
  sync
  start=$(now)
  case $tool in
    cp)           cp -r "$corpus/photos" "$work/out" ;;
    cp+fsync)     cp -r "$corpus/photos" "$work/out" && sync "$work/out"/*.jpg ;;
    pixtrail)     "$build/pixtrail" geotag --track "$corpus/track.gpx" --out "$work/out" "$corpus/photos" > /dev/null ;;
    exiftool)     exiftool -q -geotag "$corpus/track.gpx" -o "$work/out/" "$corpus/photos" > /dev/null ;;
    gpscorrelate) gpscorrelate -g "$corpus/track.gpx" "$work/out"/*.jpg > /dev/null ;;
    load-pixtrail) "$build/pixtrail" exif "$corpus"/photos/*.jpg > /dev/null ;;
    load-exiftool) exiftool -q -DateTimeOriginal "$corpus/photos" > /dev/null ;;
  esac
  end=$(now)
  echo "$tool $(echo "$end - $start" | bc)" >> "$times"
}

tools=(cp cp+fsync pixtrail exiftool gpscorrelate load-pixtrail load-exiftool)
for round in $(seq 1 "$rounds"); do
  # Rotate the order every round so that no tool always follows the same neighbour.
  for k in "${!tools[@]}"; do
    run_tool "${tools[$(( (k + round) % ${#tools[@]} ))]}"
  done
  echo "round $round done" >&2
done

# Every tool tagged every photo: check the last outputs of each once.
rm -rf "$work/check" && mkdir -p "$work/check"
"$build/pixtrail" geotag --track "$corpus/track.gpx" --out "$work/check/pixtrail" "$corpus/photos" > /dev/null
exiftool -q -geotag "$corpus/track.gpx" -o "$work/check/exiftool/" "$corpus/photos" > /dev/null
cp -r "$corpus/photos" "$work/check/gpscorrelate" && gpscorrelate -g "$corpus/track.gpx" "$work/check/gpscorrelate"/*.jpg > /dev/null
for tool in pixtrail exiftool gpscorrelate; do
  echo "$tool: $(exiftool -q -q -if '$GPSLatitude' -p '$FileName' "$work/check/$tool" | wc -l) photos with a GPS position"
done

python3 - "$times" "$(ls "$corpus"/photos/*.jpg | wc -l)" <<'PY'
import statistics, sys
rows = {}
for line in open(sys.argv[1]):
    tool, t = line.split()
    rows.setdefault(tool, []).append(float(t))
n = int(sys.argv[2])
med = {k: statistics.median(v) for k, v in rows.items()}
print("\nmedians over %d interleaved rounds, %d photos" % (len(rows["cp"]), n))
print("%-14s %9s %11s %9s" % ("tool", "median s", "photos/s", "x cp"))
for tool in ["cp", "cp+fsync", "pixtrail", "exiftool", "gpscorrelate"]:
    print("%-14s %9.2f %11.1f %9.2f" % (tool, med[tool], n / med[tool], med[tool] / med["cp"]))
print("pixtrail is %.2fx the time of cp+fsync" % (med["pixtrail"] / med["cp+fsync"]))
print("pixtrail is %.1fx exiftool's and %.1fx gpscorrelate's photos per second"
      % (med["exiftool"] / med["pixtrail"], med["gpscorrelate"] / med["pixtrail"]))
print("\nreading the capture times of the folder:")
print("%-14s %9.3f" % ("pixtrail exif", med["load-pixtrail"]))
print("%-14s %9.3f" % ("exiftool", med["load-exiftool"]))
print("pixtrail is %.1fx faster" % (med["load-exiftool"] / med["load-pixtrail"]))
PY
