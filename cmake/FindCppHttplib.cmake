# Finds cpp-httplib, a library that speaks HTTP, and defines the target CppHttplib::httplib.
#
# Its pkg-config file tells the flags that its compiled part was built with, and the header must be
# read with the same ones: without that file it is not found.
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(CppHttplib QUIET IMPORTED_TARGET cpp-httplib)
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(CppHttplib
  REASON_FAILURE_MESSAGE "pkg-config does not know cpp-httplib"
  REQUIRED_VARS CppHttplib_LINK_LIBRARIES VERSION_VAR CppHttplib_VERSION)

if(CppHttplib_FOUND AND NOT TARGET CppHttplib::httplib)
  add_library(CppHttplib::httplib ALIAS PkgConfig::CppHttplib)
endif()
