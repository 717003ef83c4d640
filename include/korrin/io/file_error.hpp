// What reading and writing files throws.
//
//   try {
//     map = Brin::io::readMapFile("office.yaml");
//   } catch (const Brin::io::FileError& error) {
//     std::cerr << error.what() << '\n';  // office.yaml: resolution: must be positive, found -0.05
//   }
#pragma once

#include <stdexcept>
#include <string>

#include "korrin/core/export.hpp"

namespace Brin::io {

// A file that cannot be read or written, or whose content is at fault. what() is one line: the
// file, the place in it when there is one, and what is wrong, parted by ": ".
class KORRIN_EXPORT FileError : public std::runtime_error {
 public:
  // `systemError` is the errno with which the system refused the file, 0 when its content is at
  // fault.
  FileError(const std::string& file, const std::string& place, const std::string& fault,
            int systemError = 0);
  ~FileError() override;

  // The file, as the caller named it.
  const std::string& file() const { return file_; }

  // Where in the file: a key, "line 12", "scan 3", or empty.
  const std::string& place() const { return place_; }

  // What is wrong.
  const std::string& fault() const { return fault_; }

  // The errno with which the system refused the file; 0 when its content is at fault.
  int systemError() const { return systemError_; }

 private:
  std::string file_;
  std::string place_;
  std::string fault_;
  int systemError_;
};

}  // namespace Brin::io
