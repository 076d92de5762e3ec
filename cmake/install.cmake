# What `cmake --install` puts in place: the shared library, its header, the
# tool, a CMake package (pixmisc::pixmisc) and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS pixmisc EXPORT pixmiscTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)
install(FILES include/pixmisc.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development)
install(TARGETS pixmisc_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

set(PIXMISC_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/pixmisc)
install(EXPORT pixmiscTargets NAMESPACE pixmisc:: DESTINATION ${PIXMISC_CMAKE_DIR} COMPONENT Development)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/pixmiscConfig.cmake
  "include(\"\${CMAKE_CURRENT_LIST_DIR}/pixmiscTargets.cmake\")\n")
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/pixmiscConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/pixmiscConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/pixmiscConfigVersion.cmake
  DESTINATION ${PIXMISC_CMAKE_DIR} COMPONENT Development)

# pixmisc.pc finds the prefix from its own place, so any --prefix given at
# install time holds.
set(PIXMISC_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH PIXMISC_PC_TO_PREFIX /${PIXMISC_PC_DIR} /)
string(REGEX REPLACE "/$" "" PIXMISC_PC_TO_PREFIX "${PIXMISC_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/pixmisc.pc.in ${CMAKE_CURRENT_BINARY_DIR}/pixmisc.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/pixmisc.pc DESTINATION ${PIXMISC_PC_DIR} COMPONENT Development)
