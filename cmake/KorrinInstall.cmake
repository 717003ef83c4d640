# Installs headers, libraries, the CMake package and the pkg-config files. The components are those
# that the Debian packages are made of: runtime and development, for each further library
# <name>-runtime and <name>-development, and, from tools/ and python/, tools and python.
include(CMakePackageConfigHelpers)

set(KORRIN_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/korrin")

# korrin_install_library(TARGET EXPORT [PREFIX]): the library, and what CMake must know of it.
function(korrin_install_library target export prefix)
  install(TARGETS ${target} EXPORT ${export}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
      COMPONENT ${prefix}runtime NAMELINK_COMPONENT ${prefix}development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(EXPORT ${export} NAMESPACE korrin:: DESTINATION ${KORRIN_CMAKE_DIR}
    COMPONENT ${prefix}development)
endfunction()

# The headers of each further library stand in a directory of its name.
set(KORRIN_FURTHER_LIBRARIES "")
if(KORRIN_BUILD_IO)
  list(APPEND KORRIN_FURTHER_LIBRARIES io)
endif()
if(KORRIN_BUILD_MAPPING)
  list(APPEND KORRIN_FURTHER_LIBRARIES mapping)
endif()

korrin_install_library(korrin korrin-targets "")
install(DIRECTORY include/korrin DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  PATTERN io EXCLUDE PATTERN mapping EXCLUDE)
foreach(name IN LISTS KORRIN_FURTHER_LIBRARIES)
  korrin_install_library(korrin_${name} korrin-${name}-targets ${name}-)
  install(DIRECTORY include/korrin/${name} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/korrin
    COMPONENT ${name}-development)
endforeach()

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
# korrin_install_pkg_config(NAME LIBRARY COMPONENT DESCRIPTION REQUIRED)
function(korrin_install_pkg_config name library component description required)
  set(KORRIN_PC_NAME ${name})
  set(KORRIN_PC_LIBRARY ${library})
  set(KORRIN_PC_DESCRIPTION "${description}")
  set(KORRIN_PC_REQUIRES "${required}")
  configure_file(cmake/korrin.pc.in "${PROJECT_BINARY_DIR}/${name}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${name}.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT ${component})
endfunction()

korrin_install_pkg_config(korrin korrin development "${PROJECT_DESCRIPTION}" "")
if(KORRIN_BUILD_IO)
  korrin_install_pkg_config(korrin-io korrin_io io-development
    "Map files, laser logs and paths for korrin" "korrin = ${PROJECT_VERSION}")
endif()
if(KORRIN_BUILD_MAPPING)
  korrin_install_pkg_config(korrin-mapping korrin_mapping mapping-development
    "Maps from raw laser logs for korrin" "korrin-io = ${PROJECT_VERSION}")
endif()
