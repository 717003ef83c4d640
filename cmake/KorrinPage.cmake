# Puts the files of a web page into the program.
#
# korrin_embed_page(DIRECTORY VARIABLE): a source that defines korrin_tool::serve::pageFiles() with
# all files below DIRECTORY, made anew when one of them changes; VARIABLE gets its name.

set(korrin_page_script "${CMAKE_CURRENT_LIST_FILE}")

function(korrin_embed_page directory variable)
  set(source "${CMAKE_CURRENT_BINARY_DIR}/page_files_content.cpp")
  file(GLOB_RECURSE files CONFIGURE_DEPENDS "${directory}/*")
  add_custom_command(OUTPUT "${source}"
    COMMAND "${CMAKE_COMMAND}" "-Ddirectory=${directory}" "-Dsource=${source}"
      -P "${korrin_page_script}"
    DEPENDS ${files} "${korrin_page_script}" VERBATIM)
  set(${variable} "${source}" PARENT_SCOPE)
endfunction()

if(NOT CMAKE_SCRIPT_MODE_FILE OR NOT source)
  return()
endif()

# From here on it is the script that writes the source.
set(type_html "text/html; charset=utf-8")
set(type_css "text/css; charset=utf-8")
set(type_js "text/javascript; charset=utf-8")
set(type_mjs "${type_js}")
set(type_json "application/json")
set(type_svg "image/svg+xml")
set(type_png "image/png")
set(type_ico "image/x-icon")
set(type_txt "text/plain; charset=utf-8")
set(type_woff2 "font/woff2")
set(type_webmanifest "application/manifest+json")

set(arrays "")
set(entries "")
set(count 0)
file(GLOB_RECURSE files RELATIVE "${directory}" "${directory}/*")
list(SORT files)
foreach(file IN LISTS files)
  string(REGEX MATCH "[^.]+$" ending "${file}")
  if(NOT DEFINED type_${ending})
    continue()
  endif()
  file(READ "${directory}/${file}" bytes HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "\\\\x\\1" bytes "${bytes}")
  # Lines of 32 bytes: compilers do not like longer ones.
  string(REGEX REPLACE
    "((\\\\x[0-9a-f][0-9a-f])(\\\\x[0-9a-f][0-9a-f])?(\\\\x[0-9a-f][0-9a-f])?(\\\\x[0-9a-f][0-9a-f])?(\\\\x[0-9a-f][0-9a-f])?(\\\\x[0-9a-f][0-9a-f])?(\\\\x[0-9a-f][0-9a-f])?(\\\\x[0-9a-f][0-9a-f])?)"
    "    \"\\1\"\n" bytes "${bytes}")
  string(APPEND arrays "const char kFile${count}[] =\n    \"\"\n${bytes}    ;\n\n")
  string(APPEND entries
    "      {\"/${file}\", \"${type_${ending}}\", kFile${count}, sizeof kFile${count} - 1},\n")
  math(EXPR count "${count} + 1")
endforeach()
file(WRITE "${source}" "// Made by cmake/KorrinPage.cmake.
#include \"tools/serve/page_files.hpp\"

namespace korrin_tool::serve {
namespace {

${arrays}}  // namespace

const std::vector<PageFile>& pageFiles() {
  static const std::vector<PageFile> files = {
${entries}  };
  return files;
}

}  // namespace korrin_tool::serve
")
