# The libraries of the Windows build, under the same target names the Linux build finds.
set(PIXTRAIL_WINDOWS_DEPS "${CMAKE_BINARY_DIR}/deps" CACHE PATH
    "Prefix where scripts/build-windows-deps.sh put pugixml, minizip and the header-only libraries")
if(NOT EXISTS "${PIXTRAIL_WINDOWS_DEPS}/lib/libpugixml.a" OR NOT EXISTS "${PIXTRAIL_WINDOWS_DEPS}/lib/libdate-tz.a")
  message(FATAL_ERROR "Run scripts/build-windows-deps.sh ${PIXTRAIL_MINGW_TRIPLET} ${PIXTRAIL_WINDOWS_DEPS} first")
endif()
set(deps "${PIXTRAIL_WINDOWS_DEPS}")

# Static zlib, so the program needs no DLL beside it.
find_library(PIXTRAIL_ZLIB_STATIC NAMES libz.a REQUIRED)
find_path(PIXTRAIL_ZLIB_INCLUDE zlib.h REQUIRED)
add_library(ZLIB::ZLIB STATIC IMPORTED)
set_target_properties(ZLIB::ZLIB PROPERTIES IMPORTED_LOCATION "${PIXTRAIL_ZLIB_STATIC}"
                      INTERFACE_INCLUDE_DIRECTORIES "${PIXTRAIL_ZLIB_INCLUDE}")

add_library(pugixml::pugixml STATIC IMPORTED)
set_target_properties(pugixml::pugixml PROPERTIES IMPORTED_LOCATION "${deps}/lib/libpugixml.a"
                      INTERFACE_INCLUDE_DIRECTORIES "${deps}/include")
add_library(PkgConfig::MINIZIP STATIC IMPORTED)
set_target_properties(PkgConfig::MINIZIP PROPERTIES IMPORTED_LOCATION "${deps}/lib/libminizip.a"
                      INTERFACE_INCLUDE_DIRECTORIES "${deps}/include/minizip"
                      INTERFACE_LINK_LIBRARIES ZLIB::ZLIB)

# Header-only: one include folder holds boost/, CLI/ and nlohmann/, seen as system headers.
foreach(target CLI11::CLI11 nlohmann_json::nlohmann_json Boost::headers)
  add_library(${target} INTERFACE IMPORTED)
  set_target_properties(${target} PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${deps}/include"
                        INTERFACE_INCLUDE_DIRECTORIES "${deps}/include")
endforeach()

# Time zones: the date library over the IANA text database, which Windows lacks, so a copy of it
# goes into the data folder (tzdata/, with CLDR's map of Windows zone names for "local").
# The definitions are the ones its tz.cpp was built with. Its default folder is found through the
# shell (SHGetKnownFolderPath), hence shell32 and ole32.
add_library(date::date-tz STATIC IMPORTED)
set_target_properties(date::date-tz PROPERTIES IMPORTED_LOCATION "${deps}/lib/libdate-tz.a"
                      INTERFACE_COMPILE_DEFINITIONS "USE_OS_TZDB=0;HAS_REMOTE_API=0;ONLY_C_LOCALE=1;HAS_STRING_VIEW=1"
                      INTERFACE_INCLUDE_DIRECTORIES "${deps}/include"
                      INTERFACE_LINK_LIBRARIES "shell32;ole32")
file(COPY "${deps}/share/tzdata" DESTINATION "${CMAKE_BINARY_DIR}/data")

# Garmin USB goes through the Garmin driver's own interface on Windows: no libusb.
add_library(PkgConfig::LIBUSB INTERFACE IMPORTED)

set(PIXTRAIL_MINGW_BINMODE /usr/${PIXTRAIL_MINGW_TRIPLET}/lib/binmode.o)
if(NOT EXISTS ${PIXTRAIL_MINGW_BINMODE})
  message(FATAL_ERROR "${PIXTRAIL_MINGW_BINMODE} missing: install the mingw-w64 toolchain (scripts/install-deps.sh)")
endif()

# POSIX headers the Windows runtime lacks (sys/file.h, sys/random.h), over core/posix_compat.hpp.
include_directories(BEFORE "${CMAKE_SOURCE_DIR}/core/posix_compat")
