# Installs headers, library, the CMake package and the pkg-config file. The components are those
# that the Debian packages are made of: runtime, development and, from tools/, tools.
include(CMakePackageConfigHelpers)

set(KORRIN_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/korrin")

install(TARGETS korrin EXPORT korrin-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/korrin DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT korrin-targets NAMESPACE korrin:: DESTINATION ${KORRIN_CMAKE_DIR}
  COMPONENT development)

configure_package_config_file(cmake/korrin-config.cmake.in
  "${PROJECT_BINARY_DIR}/korrin-config.cmake" INSTALL_DESTINATION ${KORRIN_CMAKE_DIR})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/korrin-config-version.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/korrin-config.cmake"
  "${PROJECT_BINARY_DIR}/korrin-config-version.cmake"
  cmake/FindOpenCVParts.cmake
  DESTINATION ${KORRIN_CMAKE_DIR} COMPONENT development)

# korrin.pc tells its prefix from its own place, so that an installation may be moved; an absolute
# library directory has no such relation to the prefix.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(KORRIN_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH KORRIN_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  string(REGEX REPLACE "/$" "" KORRIN_PC_PREFIX "\${pcfiledir}/${KORRIN_PC_PREFIX}")
endif()
foreach(kind LIB INCLUDE)
  set(KORRIN_PC_${kind}DIR "${CMAKE_INSTALL_${kind}DIR}")
  if(NOT IS_ABSOLUTE "${KORRIN_PC_${kind}DIR}")
    string(PREPEND KORRIN_PC_${kind}DIR "\${prefix}/")
  endif()
endforeach()
configure_file(cmake/korrin.pc.in "${PROJECT_BINARY_DIR}/korrin.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/korrin.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)
