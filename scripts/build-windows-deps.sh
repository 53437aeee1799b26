#!/usr/bin/env bash
# Builds the libraries the Windows program needs and Debian ships no mingw build of, from
# Debian's own source packages: pugixml, minizip from zlib's sources, and the date library's
# time-zone part. Windows has no IANA zone files, so the text database from Debian's tzdata sources
# and CLDR's Windows-zone map go to PREFIX/share/tzdata, for the build to copy beside the program.
# Header-only libraries (Boost, CLI11, nlohmann-json, date) are used from the system's include
# folder as they are.
#   scripts/build-windows-deps.sh TRIPLET PREFIX      (TRIPLET: x86_64-w64-mingw32 | i686-w64-mingw32)
# Idempotent: a PREFIX that holds both libraries is left alone.
set -euo pipefail

triplet=${1:?triplet}
prefix=$(realpath -m "${2:?prefix}")
cc="$triplet-gcc-posix"
cxx="$triplet-g++-posix"
ar="$triplet-ar"
# Bump when what is built here changes, so that existing build folders build it again.
stamp="$prefix/built-2"
[ -f "$stamp" ] && exit 0

sources="$prefix/../deps-src"
mkdir -p "$prefix/include/minizip" "$prefix/lib" "$prefix/share/tzdata" "$sources"

# `apt-get source` needs a deb-src line beside the system's deb lines.
if ! grep -rqs '^Types:.*deb-src\|^deb-src' /etc/apt/sources.list /etc/apt/sources.list.d/; then
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo="sudo"
  sed -n '1,/^$/p' /etc/apt/sources.list.d/debian.sources | sed 's/^Types: deb$/Types: deb-src/' |
    $sudo tee /etc/apt/sources.list.d/pixtrail-deb-src.sources >/dev/null
  $sudo apt-get update -qq
fi

cd "$sources"
for package in pugixml zlib howardhinnant-date tzdata; do
  ls -d "$package"-*/ >/dev/null 2>&1 || apt-get source -qq "$package" 2>/dev/null
done
pugixml=$(ls -d pugixml-*/ | head -1)
zlib=$(ls -d zlib-*/ | head -1)
date=$(ls -d howardhinnant-date-*/ | head -1)
tzdata=$(ls -d tzdata-*/ | head -1)

build=$(mktemp -d)
trap 'rm -rf "$build"' EXIT
"$cxx" -std=c++17 -O2 -c "$pugixml/src/pugixml.cpp" -o "$build/pugixml.o"
"$ar" rcs "$prefix/lib/libpugixml.a" "$build/pugixml.o"
cp "$pugixml/src/pugixml.hpp" "$pugixml/src/pugiconfig.hpp" "$prefix/include/"

# The program hands unzOpen64 and zipOpen64 its std::filesystem::path::c_str(), which is a wide
# (UTF-16) name on Windows: the 64-bit file functions open by that name.
cat >"$build/wide_fopen.c" <<'EOF_C'
#include <stdio.h>
#include <wchar.h>
FILE* minizip_wide_fopen(const char* name, const char* mode) {
  wchar_t wide[8] = {0};
  for (int i = 0; i < 7 && mode[i]; ++i) wide[i] = (wchar_t)mode[i];
  return _wfopen((const wchar_t*)name, wide);
}
EOF_C
"$cc" -O2 -c "$build/wide_fopen.c" -o "$build/wide_fopen.o"
for f in ioapi unzip zip; do
  "$cc" -O2 -Dfopen64=minizip_wide_fopen -I"$zlib/contrib/minizip" -c "$zlib/contrib/minizip/$f.c" -o "$build/$f.o"
done
"$ar" rcs "$prefix/lib/libminizip.a" "$build"/ioapi.o "$build"/unzip.o "$build"/zip.o "$build"/wide_fopen.o
cp "$zlib/contrib/minizip/"{ioapi,unzip,zip}.h "$prefix/include/minizip/"

# The same switches as cmake/windows-deps.cmake gives the code that includes <date/tz.h>.
"$cxx" -std=c++17 -O2 -I"$date/include" -DUSE_OS_TZDB=0 -DHAS_REMOTE_API=0 -DONLY_C_LOCALE=1 -DHAS_STRING_VIEW=1 \
  -c "$date/src/tz.cpp" -o "$build/tz.o"
"$ar" rcs "$prefix/lib/libdate-tz.a" "$build/tz.o"
for f in africa antarctica asia australasia backward etcetera europe northamerica southamerica \
         leapseconds version; do
  cp "$tzdata/$f" "$prefix/share/tzdata/"
done
cp /usr/share/unicode/cldr/common/supplemental/windowsZones.xml "$prefix/share/tzdata/"

for dir in boost CLI nlohmann date; do
  ln -sfn "/usr/include/$dir" "$prefix/include/$dir"
done
touch "$stamp"
echo "Windows libraries for $triplet in $prefix"
