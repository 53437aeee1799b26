# What both Windows targets share; the including file sets CMAKE_SYSTEM_PROCESSOR and the triplet.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${PIXTRAIL_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${PIXTRAIL_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${PIXTRAIL_MINGW_TRIPLET}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${PIXTRAIL_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# One self-contained .exe: no libstdc++, libgcc or winpthread DLLs to ship beside it.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
# Programs of this build (the datum table compiler, the unit tests) run under wine.
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/wine-run.sh;${CMAKE_BINARY_DIR}/wineprefix")
