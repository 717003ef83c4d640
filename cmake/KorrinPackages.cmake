# Debian packages by CPack, one of each component that is installed:
#
#   libkorrin0       the library                            runtime
#   libkorrin-dev    headers, CMake package, pkg-config     development
#   libkorrin-io0    the readers and writers of files       io-runtime
#   libkorrin-io-dev the same for them as libkorrin-dev     io-development
#   libkorrin-mapping0     maps from raw logs            mapping-runtime
#   libkorrin-mapping-dev  the same for them             mapping-development
#   korrin-tools     the program korrin                     tools
#   python3-korrin   the Python module                      python
#
# scripts/make-packages configures for them and calls cpack.
set(KORRIN_PACKAGES runtime development)
if(KORRIN_BUILD_IO)
  list(APPEND KORRIN_PACKAGES io-runtime io-development)
endif()
if(KORRIN_BUILD_MAPPING)
  list(APPEND KORRIN_PACKAGES mapping-runtime mapping-development)
endif()
if(KORRIN_BUILD_TOOLS)
  list(APPEND KORRIN_PACKAGES tools)
endif()
if(KORRIN_BUILD_PYTHON)
  list(APPEND KORRIN_PACKAGES python)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME korrin)
set(CPACK_PACKAGE_CONTACT "The korrin developers <developers@korrin.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL ${KORRIN_PACKAGES})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# What the programs need of the system is read from the programs.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_IO-RUNTIME_DEPENDS runtime)
set(CPACK_COMPONENT_IO-DEVELOPMENT_DEPENDS io-runtime development)
set(CPACK_COMPONENT_MAPPING-RUNTIME_DEPENDS runtime io-runtime)
set(CPACK_COMPONENT_MAPPING-DEVELOPMENT_DEPENDS mapping-runtime io-development)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime io-runtime mapping-runtime)
set(CPACK_COMPONENT_PYTHON_DEPENDS runtime io-runtime mapping-runtime)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

function(korrin_package component name section content)
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_COMPONENT_${key}_DESCRIPTION "${about}${content}" PARENT_SCOPE)
  foreach(file copyright changelog.Debian.gz)
    install(FILES "${PROJECT_BINARY_DIR}/packaging/${file}"
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${name} COMPONENT ${component}
      EXCLUDE_FROM_ALL)
  endforeach()
endfunction()

set(about "korrin plans paths, grows obstacles, updates grids from laser
scans, simulates and compares scans, finds openings and simplifies
paths, on occupancy grids.\n.\n")
korrin_package(runtime libkorrin${KORRIN_SOVERSION} libs "This is the library.")
korrin_package(development libkorrin-dev libdevel
  "These are the headers and what CMake and pkg-config need.")
if(KORRIN_BUILD_IO)
  korrin_package(io-runtime libkorrin-io${KORRIN_SOVERSION} libs
    "This is the library that reads and writes map files, laser logs and\npaths.")
  korrin_package(io-development libkorrin-io-dev libdevel
    "These are the headers for map files, laser logs and paths, and what\nCMake and pkg-config need.")
endif()
if(KORRIN_BUILD_MAPPING)
  korrin_package(mapping-runtime libkorrin-mapping${KORRIN_SOVERSION} libs
    "This is the library that makes maps from raw laser logs.")
  korrin_package(mapping-development libkorrin-mapping-dev libdevel
    "These are the headers for maps from raw laser logs, and what CMake and\npkg-config need.")
endif()
if(KORRIN_BUILD_TOOLS)
  korrin_package(tools korrin-tools science
    "This is the program, for maps and laser logs in files.")
endif()
if(KORRIN_BUILD_PYTHON)
  korrin_package(python python3-korrin python "This is the module for Python.")
endif()
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/triggers")
set(CPACK_DEBIAN_IO-RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/triggers")
set(CPACK_DEBIAN_MAPPING-RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/triggers")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libopencv-core-dev, libopencv-imgproc-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_IO-DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_MAPPING-DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
if(KORRIN_BUILD_PYTHON)
  # The module is made for one Python; the next minor version needs another build.
  find_package(Python REQUIRED COMPONENTS Interpreter)
  math(EXPR next_minor "${Python_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "python3 (>= 3.${Python_VERSION_MINOR}), python3 (<< 3.${next_minor}), python3-numpy")
endif()
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "python3-matplotlib")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-distributed, python3-rosbag")

file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/packaging")
configure_file(packaging/copyright "${PROJECT_BINARY_DIR}/packaging/copyright" COPYONLY)
configure_file(packaging/changelog.in "${PROJECT_BINARY_DIR}/packaging/changelog.Debian" @ONLY)
execute_process(COMMAND gzip -9nkf "${PROJECT_BINARY_DIR}/packaging/changelog.Debian"
  COMMAND_ERROR_IS_FATAL ANY)

if(KORRIN_BUILD_TOOLS)
  add_custom_command(OUTPUT "${PROJECT_BINARY_DIR}/packaging/korrin.1.gz"
    COMMAND help2man --no-info --name "metric navigation on occupancy grids"
      --output "${PROJECT_BINARY_DIR}/packaging/korrin.1" $<TARGET_FILE:korrin_tool>
    COMMAND gzip -9nf "${PROJECT_BINARY_DIR}/packaging/korrin.1"
    DEPENDS korrin_tool VERBATIM)
  add_custom_target(korrin_manual ALL DEPENDS "${PROJECT_BINARY_DIR}/packaging/korrin.1.gz")
  install(FILES "${PROJECT_BINARY_DIR}/packaging/korrin.1.gz"
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endif()
include(CPack)
