// Files and directories of a test's own.
//
//   TemporaryDirectory directory;
//   writeFile(directory / "map.yaml", "image: map.pgm\n");
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

namespace korrin_test {

// A new empty directory that goes with the object.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "korrin-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
    path_ = name;
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

// Makes a directory the current one for as long as it lives.
class WorkIn {
 public:
  explicit WorkIn(const std::filesystem::path& directory)
      : previous_(std::filesystem::current_path()) {
    std::filesystem::current_path(directory);
  }
  ~WorkIn() { std::filesystem::current_path(previous_); }
  WorkIn(const WorkIn&) = delete;
  WorkIn& operator=(const WorkIn&) = delete;

 private:
  std::filesystem::path previous_;
};

inline std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path + " cannot be read");
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const std::string& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary);
  if (!(file << content)) throw std::runtime_error(path + " cannot be written");
}

}  // namespace korrin_test
