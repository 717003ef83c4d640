# Flags that every target of this project is built with.

function(korrin_configure_target target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    # No fused multiply-add: every float operation rounds on its own, on every machine alike.
    -ffp-contract=off)
  if(KORRIN_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i[3-6]86)$" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
    # The x87 unit keeps more digits than a float holds; SSE does not.
    target_compile_options(${target} PRIVATE -msse2 -mfpmath=sse)
  endif()
  if(KORRIN_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${KORRIN_SANITIZE}
      -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${KORRIN_SANITIZE})
  endif()
endfunction()

# Two thirds of what a small source takes to compile are OpenCV's headers. Where each is compiled just
# once, for a user who waits, they are compiled once for a target; elsewhere each file's own includes
# must do, and compiler caches work.
function(korrin_precompile_headers target)
  if(KORRIN_PRECOMPILE_HEADERS)
    target_precompile_headers(${target} PRIVATE <algorithm> <cmath> <cstdint> <limits> <memory>
      <string> <vector> <opencv2/core/core_c.h> <opencv2/imgproc/imgproc_c.h>)
  endif()
endfunction()

# korrin_add_library(TARGET NAME PATTERN...): a shared library korrin::NAME of all sources that the
# patterns match, so that a new component needs no edit.
function(korrin_add_library target name)
  list(TRANSFORM ARGN PREPEND "${PROJECT_SOURCE_DIR}/" OUTPUT_VARIABLE patterns)
  file(GLOB sources CONFIGURE_DEPENDS ${patterns})
  add_library(${target} SHARED ${sources})
  add_library(korrin::${name} ALIAS ${target})
  korrin_configure_target(${target})
  korrin_precompile_headers(${target})
  # What __FILE__ says in an error does not depend on where the library was built; compiler caches
  # may name sources from the build directory.
  target_compile_options(${target} PRIVATE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
  file(RELATIVE_PATH from_build "${CMAKE_BINARY_DIR}" "${PROJECT_SOURCE_DIR}")
  string(REGEX REPLACE "/$" "" from_build "${from_build}")
  if(from_build)
    target_compile_options(${target} PRIVATE "-fmacro-prefix-map=${from_build}/=")
  endif()
  target_include_directories(${target}
    PUBLIC "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>"
           "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>"
    PRIVATE "${PROJECT_SOURCE_DIR}")
  if(KORRIN_COVERAGE)
    # Atomic: threads that count the same branch at once would otherwise leave counts below zero.
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic -O0)
    target_link_options(${target} PRIVATE --coverage)
  endif()
  set(version ${PROJECT_VERSION})
  if(SKBUILD)
    set(version ${KORRIN_SOVERSION})  # a wheel holds no links, so the file has the SONAME
  endif()
  set(exports "${PROJECT_SOURCE_DIR}/cmake/exported_symbols.map")
  target_link_options(${target} PRIVATE "LINKER:--version-script=${exports}")
  set_target_properties(${target} PROPERTIES
    EXPORT_NAME ${name}
    VERSION ${version}
    SOVERSION ${KORRIN_SOVERSION}
    # Libraries of one installation find each other, wherever it is moved to.
    INSTALL_RPATH "\$ORIGIN"
    LINK_DEPENDS "${exports}")
endfunction()
