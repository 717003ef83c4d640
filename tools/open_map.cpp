#include "tools/open_map.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <iostream>
#include <vector>

#include "tools/log_collector.hpp"

namespace korrin_tool {
namespace {

// While it lives, nothing reaches standard error: the picture libraries tell there, in lines of
// their own, why they cannot decode.
class QuietErrors {
 public:
  QuietErrors() : standardError_(dup(STDERR_FILENO)), nowhere_(open("/dev/null", O_WRONLY)) {
    if (standardError_ >= 0 && nowhere_ >= 0) dup2(nowhere_, STDERR_FILENO);
  }
  ~QuietErrors() {
    if (standardError_ >= 0) dup2(standardError_, STDERR_FILENO);
    for (const int file : {standardError_, nowhere_}) {
      if (file >= 0) close(file);
    }
  }
  QuietErrors(const QuietErrors&) = delete;
  QuietErrors& operator=(const QuietErrors&) = delete;

 private:
  int standardError_;
  int nowhere_;
};

}  // namespace

Brin::OccupancyMap openMap(const std::string& path, Brin::io::MapFileFormat* format) {
  std::vector<Brin::LogRecord> warnings;
  Brin::OccupancyMap map = [&] {
    const QuietErrors quiet;
    const LogCollector log;
    Brin::OccupancyMap read = Brin::io::readMapFile(path, format);
    warnings = log.records();
    return read;
  }();
  for (const Brin::LogRecord& warning : warnings) {
    std::cerr << "korrin: warning: " << warning.message << '\n';
  }
  return map;
}

}  // namespace korrin_tool
