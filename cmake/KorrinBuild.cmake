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
