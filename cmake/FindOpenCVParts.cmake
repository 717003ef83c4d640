# Finds single OpenCV modules and their headers.
#
# Debian ships OpenCV's own CMake package only with all modules; this needs no
# more than the modules that are asked for.
#
#   find_package(OpenCVParts REQUIRED COMPONENTS core imgproc)
#
# Targets: OpenCVParts::headers, and OpenCVParts::<component> for each component.

find_path(OpenCVParts_INCLUDE_DIR opencv2/core/types_c.h PATH_SUFFIXES opencv4)
mark_as_advanced(OpenCVParts_INCLUDE_DIR)
if(OpenCVParts_INCLUDE_DIR AND NOT TARGET OpenCVParts::headers)
  add_library(OpenCVParts::headers INTERFACE IMPORTED)
  set_target_properties(OpenCVParts::headers PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${OpenCVParts_INCLUDE_DIR}")
endif()

foreach(component IN LISTS OpenCVParts_FIND_COMPONENTS)
  find_library(OpenCVParts_${component}_LIBRARY opencv_${component})
  mark_as_advanced(OpenCVParts_${component}_LIBRARY)
  if(OpenCVParts_${component}_LIBRARY)
    set(OpenCVParts_${component}_FOUND TRUE)
    if(NOT TARGET OpenCVParts::${component})
      add_library(OpenCVParts::${component} UNKNOWN IMPORTED)
      set_target_properties(OpenCVParts::${component} PROPERTIES
        IMPORTED_LOCATION "${OpenCVParts_${component}_LIBRARY}"
        INTERFACE_LINK_LIBRARIES OpenCVParts::headers)
    endif()
  endif()
endforeach()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(OpenCVParts
  REQUIRED_VARS OpenCVParts_INCLUDE_DIR HANDLE_COMPONENTS)
