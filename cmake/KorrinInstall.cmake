# Installs headers, library, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

set(KORRIN_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/korrin")

install(TARGETS korrin EXPORT korrin-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/korrin DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT korrin-targets NAMESPACE korrin:: DESTINATION ${KORRIN_CMAKE_DIR})

configure_package_config_file(cmake/korrin-config.cmake.in
  "${PROJECT_BINARY_DIR}/korrin-config.cmake" INSTALL_DESTINATION ${KORRIN_CMAKE_DIR})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/korrin-config-version.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/korrin-config.cmake"
  "${PROJECT_BINARY_DIR}/korrin-config-version.cmake"
  cmake/FindOpenCVParts.cmake
  DESTINATION ${KORRIN_CMAKE_DIR})

configure_file(cmake/korrin.pc.in "${PROJECT_BINARY_DIR}/korrin.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/korrin.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
