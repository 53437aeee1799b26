#!/usr/bin/env bash
# The Windows program under wine and the Linux program give the same output, byte for byte, for
# the same coordinate, track, photo and geotag runs (and write the same files).
#   same_output_test.sh LINUX_PIXTRAIL WINDOWS_PIXTRAIL.exe WINE_RUN WINEPREFIX
set -uo pipefail
linux=$1 windows=$2 wine_run=$3 prefix=$4
cd "$(dirname "$0")/../.."   # relative paths: the same text on both systems
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/linux" "$work/windows"
cp samples/*.jpg "$work/linux/"
cp samples/*.jpg "$work/windows/"

failed=0
compare() {  # name, then the command's words
  local name=$1
  shift
  "$linux" "$@" >"$work/linux.out" 2>"$work/linux.err"
  local linux_status=$?
  "$wine_run" "$prefix" "$windows" "$@" >"$work/windows.out" 2>"$work/windows.err"
  local windows_status=$?
  if [ $linux_status -ne $windows_status ] || ! cmp -s "$work/linux.out" "$work/windows.out"; then
    echo "DIFFERENT: $name (status $linux_status / $windows_status)"
    diff <(head -c 3000 "$work/linux.out") <(head -c 3000 "$work/windows.out") | head -20
    failed=1
  else
    echo "same: $name"
  fi
}
compare "coord shift" coord shift --from "WGS 84" --to Adindan 40.4168 -3.7038 650
compare "coord project north" coord project --proj UTM 40.4168 -3.7038
compare "coord project south" coord project --proj UTM -33.8688 151.2093
compare "coord unproject" coord unproject --proj UTM 440298.4 4474257.6 30 T
compare "coord format" coord format --format 2 40.4168 -3.7038
compare "coord parse" coord parse "40°25'0.5\"N" 3.7038W
compare "info" info samples/retiro-walk.trk
compare "info json" info --json samples/retiro-walk.trk
compare "exif json" exif --json samples/fountain.jpg
compare "exif no date" exif samples/no-date.jpg
compare "geotag dry run" geotag --dry-run --json --track samples/retiro-walk.trk samples
compare "datums" datums --json

# Files written: a conversion of the sample track, and photos tagged into a folder.
for ext in gpx plt trk igc; do
  "$linux" convert samples/retiro-walk.trk "$work/linux/walk.$ext" >/dev/null 2>&1
  "$wine_run" "$prefix" "$windows" convert samples/retiro-walk.trk "$work/windows/walk.$ext" >/dev/null 2>&1
  if cmp -s "$work/linux/walk.$ext" "$work/windows/walk.$ext" && [ -s "$work/linux/walk.$ext" ]; then
    echo "same: convert to .$ext"
  else
    echo "DIFFERENT: convert to .$ext"
    failed=1
  fi
done
"$linux" geotag --track samples/retiro-walk.trk --in-place "$work"/linux/*.jpg >/dev/null 2>&1
(cd "$work/windows" && "$wine_run" "$prefix" "$windows" geotag --track "$OLDPWD/samples/retiro-walk.trk" --in-place ./*.jpg >/dev/null 2>&1)
for photo in "$work"/linux/*.jpg; do
  name=$(basename "$photo")
  if cmp -s "$photo" "$work/windows/$name"; then echo "same: geotag $name"; else echo "DIFFERENT: geotag $name"; failed=1; fi
done
exit $failed
