# Cross-compiling for 32-bit Windows with Debian's mingw-w64 (POSIX threads variant).
set(CMAKE_SYSTEM_PROCESSOR i686)
set(PIXTRAIL_MINGW_TRIPLET i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64-common.cmake)
