#!/usr/bin/env bash
# Runs the command line over the bundled samples and the test data with two builds and compares
# everything they print and write, byte for byte. A refactoring must leave this silent.
#
#   scripts/compare-cli-outputs.sh REV [BUILD]     build REV in a scratch worktree and compare it
#                                                  with BUILD/pixtrail (default build/)
#   scripts/compare-cli-outputs.sh --record BINARY DIR   only record BINARY's outputs into DIR
#
# Each command's stdout, stderr and exit status land in one file; every file a command writes is
# recorded as its bytes' hash. Paths in the outputs are relative, so two runs compare directly.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)

record() {
  local bin=$1 out=$2
  bin=$(cd "$(dirname "$bin")" && pwd)/$(basename "$bin")
  rm -rf "$out"
  mkdir -p "$out/run"
  out=$(cd "$out" && pwd)
  local work="$out/run"
  ln -s "$here" "$work/in"
  mkdir -p "$work/home" "$work/w"
  local n=0
  cd "$work"
  # One command: its outputs into NNN.txt, then the files it wrote under w/ as hashes.
  run() {
    n=$((n + 1))
    local file
    file=$(printf '%s/%04d.txt' "$out" "$n")
    {
      printf '$ pixtrail'; printf ' %q' "$@"; printf '\n'
      local status=0
      (cd "$work" && HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config" TZ=UTC LC_ALL=C \
        timeout 60 "$bin" --config home/gps.ini "$@" 2>&1) || status=$?
      printf '[exit %d]\n' "$status"
      (cd "$work" && find w -type f -print0 | sort -z | xargs -0 -r sha256sum)
    } >"$file" 2>&1 || true
    rm -rf "$work/w" && mkdir -p "$work/w"
  }

  run --version
  run datums
  run datums --json

  local tracks=(in/samples/*.trk in/tests/data/formats/* in/tests/data/tracks/* in/tests/data/nmea/*.nmea
                in/tests/data/magellan/*)
  for f in "${tracks[@]}"; do
    [ -f "$f" ] || continue
    run info "$f"
    run info --json "$f"
    for ext in trk gpx plt log fpt igc kml wpt upt rte txt csv; do
      run convert "$f" "w/out.$ext"
    done
    run kml "$f" w/out.kml
    # Any file as waypoint pins: GPX by its waypoints, any other name read as a waypoint file.
    run kml --waypoints "$f" -o w/pins.kml
  done
  run position --track in/samples/retiro-walk.trk 2024-05-18T09:30:00 2024-05-18T10:00:00 2030-01-01T00:00:00
  run position --json --track in/samples/retiro-walk.trk 2024-05-18T09:45:10.5

  for f in in/samples/*.jpg in/tests/data/photos/*.jpg; do
    run exif "$f"
    run exif --json "$f"
  done
  run geotag --track in/samples/retiro-walk.trk --offset -01:00:00 --dry-run in/samples
  run geotag --track in/samples/retiro-walk.trk --offset -01:00:00 --json --out w/tagged in/samples
  run geotag --track in/samples/retiro-walk.trk --offset -01:00:00 --exact-quirks --out w/tagged in/samples
  run geotag --track in/samples/retiro-walk.trk --offset -01:00:00 --write-error --out w/tagged \
    --mark-track w/marked.trk in/samples
  run geotag --track in/samples/retiro-walk.trk --force --json --out w/tagged in/tests/data/photos
  run offset --track in/samples/retiro-walk.trk in/samples
  run offset --json --track in/samples/retiro-walk.trk in/samples

  for f in in/tests/data/nmea/*.nmea; do
    run nmea "$f"
    run nmea --json "$f"
  done
  # Every unknown mark and malformed field the sentence decoders meet, through the live fix and the
  # log reader.
  for f in in/tests/data/nmea_edge/*.nmea; do
    run nmea "$f"
    run nmea --json "$f"
    run info "$f"
    run convert "$f" w/out.gpx
  done

  run coord shift --from "European 1950" --to "WGS 84" 40.4168 -3.7038 650
  run coord shift --from "WGS 84" --to "Tokyo" 35.68 139.76
  for proj in UTM "Swiss Grid" "Lambert 2SP" Mercator Polyconic Albers ECEF "BGN (British National Grid)" \
              "Irish Grid"; do
    run coord project --proj "$proj" 40.4168 -3.7038
    run coord project --proj "$proj" 52.5 -1.5
    run coord project --proj "$proj" 46.95 7.44
  done
  run coord project --proj UTM --param zone=31 --param band=U 51.0 -1.0
  run coord unproject --proj UTM 440298.0 4474258.0 30 T
  run coord unproject --proj UTM 500000 0 31 M
  run coord unproject --proj "Swiss Grid" 600000 200000
  for fmt in 0 1 2 3 4; do run coord format --format "$fmt" -33.8568 151.2153; done
  run coord parse "40 25 1.2 N" "3°42'13.7\"W" "N40.4168" "-3.7038" "400" "nonsense"
  run coord grid --proj "BGN (British National Grid)" 52.5 -1.5
  run coord grid --proj "Irish Grid" 53.35 -6.26
  run coord project --batch --proj UTM <<<$'40.4168 -3.7038\n91 0\nabc\n52.5 -1.5'
  run coord parse --batch <<<$'40 25 1.2 N\nW 3 42 13\n'

  cd "$here"
  rm -f "$work/in"
  rm -rf "$work"
}

if [ "${1:-}" = "--record" ]; then
  record "$2" "$3"
  exit 0
fi

rev=${1:?usage: compare-cli-outputs.sh REV [BUILD] | --record BINARY DIR}
build=${2:-build}
[ -x "$here/$build/pixtrail" ] || { echo "no $build/pixtrail: build it first" >&2; exit 2; }
# Inside the tree, so a compiler cache keyed on relative paths serves both builds.
scratch="$here/build-compare"
rm -rf "$scratch" && mkdir -p "$scratch"
trap 'git -C "$here" worktree remove --force "$scratch/src" >/dev/null 2>&1 || true; rm -rf "$scratch"' EXIT
git -C "$here" worktree add --detach "$scratch/src" "$rev" >/dev/null
cmake -S "$scratch/src" -B "$scratch/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPIXTRAIL_TESTS=OFF \
  -DPIXTRAIL_BENCH=OFF -DPIXTRAIL_GUI=OFF >/dev/null
cmake --build "$scratch/build" -j "$(nproc)" --target pixtrail >/dev/null
record "$scratch/build/pixtrail" "$scratch/old"
record "$here/$build/pixtrail" "$scratch/new"
if diff -r "$scratch/old" "$scratch/new" >"$scratch/diff.txt"; then
  echo "same outputs: $(ls "$scratch/new" | wc -l) commands, $rev against $build/pixtrail"
else
  cat "$scratch/diff.txt"
  echo "outputs differ between $rev and $build/pixtrail" >&2
  exit 1
fi
