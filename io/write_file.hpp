// Writing a whole file, or saying which one could not be written.
#pragma once

#include <cerrno>
#include <fstream>
#include <string>

#include "korrin/io/file_error.hpp"

namespace Brin::io {

// A failure is a FileError that names the file.
template <typename Bytes>
void writeFile(const std::string& path, const Bytes& content) {
  errno = 0;
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(content.data()),
             static_cast<std::streamsize>(content.size()));
  if (!file.flush()) throw FileError(path, "", "cannot be written", errno != 0 ? errno : EIO);
}

}  // namespace Brin::io
