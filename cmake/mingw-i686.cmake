# Cross-compiling for 32-bit Windows with Debian's mingw-w64 (see scripts/windows).
set(CMAKE_SYSTEM_PROCESSOR i686)
set(PIXMISC_MINGW i686-w64-mingw32)
# SSE2 arithmetic, not the x87 unit's wider registers: floating-point results
# are the same as on 64-bit systems
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
