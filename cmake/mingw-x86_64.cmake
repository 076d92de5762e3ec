# Cross-compiling for 64-bit Windows with Debian's mingw-w64 (see scripts/windows).
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(PIXMISC_MINGW x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
