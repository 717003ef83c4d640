// The page, as it was when the program was built: the files of tools/serve/page/.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace korrin_tool::serve {

struct PageFile {
  const char* path;   // "/index.html"
  const char* type;   // of its content
  const char* bytes;  // not ended by a 0
  std::size_t size;
};

const std::vector<PageFile>& pageFiles();

// Null when there is none. A look-up by name, so no path leads anywhere else.
const PageFile* findPageFile(const std::string& path);

}  // namespace korrin_tool::serve
