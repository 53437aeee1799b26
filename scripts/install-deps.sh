#!/usr/bin/env bash
# Installs the build dependencies and the independent test oracles through apt.
# Idempotent: when every package is already there it does nothing and asks no network.
set -euo pipefail

packages=(
  # build
  cmake g++ ninja-build pkg-config make
  zlib1g-dev libminizip-dev libpugixml-dev libcli11-dev libboost-dev nlohmann-json3-dev
  libusb-1.0-0-dev
  # camera time zones: the date/tz library and the system's time-zone database it reads
  libhowardhinnant-date-dev tzdata
  libgtest-dev libgmock-dev libbenchmark-dev
  # fuzzing (libFuzzer ships with clang's runtime)
  clang libclang-rt-14-dev
  # test oracles: tools nobody on this project wrote
  libimage-exiftool-perl exiv2 gpsbabel proj-bin geographiclib-tools gpsd-clients socat imagemagick
  # benchmarks (PROJ's C API is the peer of the datum shift benchmark)
  hyperfine time libproj-dev
  # GeographicLib is the other peer of the projection benchmark
  libgeographiclib-dev
  # geotagging peer of the photo benchmark
  gpscorrelate
  # the desktop program (Qt 6 Widgets, Network, Test); fonts so that offscreen screenshots show text
  qt6-base-dev fonts-dejavu-core
  # the Windows build: mingw-w64 (POSIX threads), zlib for it, wine to run its tests, and
  # dpkg-dev for `apt-get source` of the libraries built for it (scripts/build-windows-deps.sh)
  g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix libz-mingw-w64-dev wine64 dpkg-dev
  # CLDR's map of Windows zone names to IANA ones, shipped with the Windows build's tzdata/
  unicode-cldr-core
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
