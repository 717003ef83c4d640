#include "tools/serve/page_files.hpp"

namespace korrin_tool::serve {

const PageFile* findPageFile(const std::string& path) {
  for (const PageFile& file : pageFiles()) {
    if (path == file.path) return &file;
  }
  return nullptr;
}

}  // namespace korrin_tool::serve
