#!/usr/bin/env bash
# A few well-known places (datum origins and landmarks, as published in their local datum),
# shifted to WGS 84 with the shipped table.
set -euo pipefail
build=${1:-build}
pixtrail="$build/pixtrail"
config=$(mktemp -d)
trap 'rm -rf "$config"' EXIT

# place | datum | lat | lon
samples=(
  "Airy transit circle, Greenwich|Ord Srvy Grt Britn|51.477806|0.000000"
  "Puerta del Sol, Madrid (approx.)|European 1950|40.417900|-3.702300"
  "Japan datum origin, Tokyo|Tokyo|35.654865|139.744584"
  "Johnston origin, Australia|Australian Geod 1966|-25.948487|133.208355"
  "Meades Ranch, Kansas|NAD27 CONUS|39.224079|-98.541807"
  "Old observatory, Bern|CH-1903|46.952406|7.439583"
)
printf '%-32s %-22s %14s %14s   %14s %14s %8s\n' place datum lat lon "WGS 84 lat" "WGS 84 lon" "moved m"
for row in "${samples[@]}"; do
  IFS='|' read -r place datum lat lon <<<"$row"
  read -r wlat wlon < <("$pixtrail" --config "$config/gps.ini" coord shift --from "$datum" --to "WGS 84" "$lat" "$lon")
  moved=$(awk -v a="$lat" -v b="$lon" -v c="$wlat" -v d="$wlon" 'BEGIN {
    r = 6371000; p = 3.141592653589793 / 180
    dy = (c - a) * p * r; dx = (d - b) * p * r * cos(a * p); printf "%.1f", sqrt(dx * dx + dy * dy) }')
  printf '%-32s %-22s %14.6f %14.6f   %14.9f %14.9f %8s\n' "$place" "$datum" "$lat" "$lon" "$wlat" "$wlon" "$moved"
done
