#include "korrin/io/file_error.hpp"

namespace Brin::io {

FileError::FileError(const std::string& file, const std::string& place, const std::string& fault,
                     int systemError)
    : std::runtime_error(file + ": " + (place.empty() ? "" : place + ": ") + fault),
      file_(file),
      place_(place),
      fault_(fault),
      systemError_(systemError) {}

FileError::~FileError() = default;

}  // namespace Brin::io
