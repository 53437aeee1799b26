#!/usr/bin/env bash
# Builds the libraries the Windows program needs and Debian ships no mingw build of, from
# Debian's own source packages: pugixml, and minizip from zlib's sources. Header-only libraries
# (Boost, CLI11, nlohmann-json) are linked in from the system's include folder as they are.
#   scripts/build-windows-deps.sh TRIPLET PREFIX      (TRIPLET: x86_64-w64-mingw32 | i686-w64-mingw32)
# Idempotent: a PREFIX that holds both libraries is left alone.
set -euo pipefail

triplet=${1:?triplet}
prefix=$(realpath -m "${2:?prefix}")
cc="$triplet-gcc-posix"
cxx="$triplet-g++-posix"
ar="$triplet-ar"
[ -f "$prefix/lib/libpugixml.a" ] && [ -f "$prefix/lib/libminizip.a" ] && exit 0

sources="$prefix/../deps-src"
mkdir -p "$prefix/include/minizip" "$prefix/lib" "$sources"

# `apt-get source` needs a deb-src line beside the system's deb lines.
if ! grep -rqs '^Types:.*deb-src\|^deb-src' /etc/apt/sources.list /etc/apt/sources.list.d/; then
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  sed -n '1,/^$/p' /etc/apt/sources.list.d/debian.sources | sed 's/^Types: deb$/Types: deb-src/' |
    $sudo tee /etc/apt/sources.list.d/pixtrail-deb-src.sources >/dev/null
  $sudo apt-get update -qq
fi

cd "$sources"
for package in pugixml zlib; do
  ls -d "$package"-*/ >/dev/null 2>&1 || apt-get source -qq "$package" 2>/dev/null
done
pugixml=$(ls -d pugixml-*/ | head -1)
zlib=$(ls -d zlib-*/ | head -1)

build=$(mktemp -d)
trap 'rm -rf "$build"' EXIT
"$cxx" -std=c++17 -O2 -c "$pugixml/src/pugixml.cpp" -o "$build/pugixml.o"
"$ar" rcs "$prefix/lib/libpugixml.a" "$build/pugixml.o"
cp "$pugixml/src/pugixml.hpp" "$pugixml/src/pugiconfig.hpp" "$prefix/include/"

for f in ioapi unzip zip; do
  "$cc" -O2 -I"$zlib/contrib/minizip" -c "$zlib/contrib/minizip/$f.c" -o "$build/$f.o"
done
"$ar" rcs "$prefix/lib/libminizip.a" "$build"/ioapi.o "$build"/unzip.o "$build"/zip.o
cp "$zlib/contrib/minizip/"{ioapi,unzip,zip}.h "$prefix/include/minizip/"

for dir in boost CLI nlohmann; do
  ln -sfn "/usr/include/$dir" "$prefix/include/$dir"
done
echo "Windows libraries for $triplet in $prefix"
