// Writing a whole file, or saying which one could not be written.
#pragma once

#include <fstream>
#include <string>

#include "tools/usage_error.hpp"

namespace korrin_tool {

// A failure is a UsageError that names the file.
template <typename Bytes>
void writeFile(const std::string& path, const Bytes& content) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(content.data()),
             static_cast<std::streamsize>(content.size()));
  if (!file.flush()) throw UsageError(path + ": cannot be written");
}

}  // namespace korrin_tool
