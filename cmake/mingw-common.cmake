# Shared part of the mingw-w64 toolchains (cmake/mingw-i686.cmake,
# cmake/mingw-x86_64.cmake): Debian's posix-thread compilers, libraries from
# the mingw sysroot and from the dependency prefix that scripts/windows builds
# (PIXMISC_WIN_DEPS), everything linked statically so the DLL needs nothing
# but Windows' own DLLs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${PIXMISC_MINGW}-gcc-posix)
set(CMAKE_CXX_COMPILER ${PIXMISC_MINGW}-g++-posix)
set(CMAKE_RC_COMPILER ${PIXMISC_MINGW}-windres)
set(CMAKE_AR ${PIXMISC_MINGW}-gcc-ar-posix CACHE FILEPATH "")
set(CMAKE_RANLIB ${PIXMISC_MINGW}-gcc-ranlib-posix CACHE FILEPATH "")

if(NOT PIXMISC_WIN_DEPS AND DEFINED ENV{PIXMISC_WIN_DEPS})
  set(PIXMISC_WIN_DEPS $ENV{PIXMISC_WIN_DEPS})
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PIXMISC_WIN_DEPS)

set(CMAKE_FIND_ROOT_PATH /usr/${PIXMISC_MINGW})
if(PIXMISC_WIN_DEPS)
  list(PREPEND CMAKE_FIND_ROOT_PATH ${PIXMISC_WIN_DEPS})
  # pkg-config sees the dependency prefix only, with the static libraries' own
  # dependencies
  set(ENV{PKG_CONFIG_LIBDIR} ${PIXMISC_WIN_DEPS}/lib/pkgconfig)
  set(ENV{PKG_CONFIG_PATH} "")
  set(PKG_CONFIG_ARGN --static)
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_FIND_LIBRARY_SUFFIXES .a)
set(ZLIB_USE_STATIC_LIBS ON)  # libz.a, not the import library libz.dll.a

# libgcc, libstdc++ and winpthread linked in
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
