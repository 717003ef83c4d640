// A bar on standard error that shows how far a long command has come, when that is a terminal.
//
//   ProgressBar bar("match");
//   alignLog(scans, resolution, bar.progress());
#pragma once

#include <string>

#include "korrin/mapping/progress.hpp"

namespace korrin_tool {

class ProgressBar {
 public:
  explicit ProgressBar(const std::string& what);
  ~ProgressBar();  // wipes the bar off
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  // To be called while the bar lives; nothing where there is no terminal.
  Brin::mapping::Progress progress();

  // The line as it is drawn at a share from 0 to 1, without the return to its beginning.
  static std::string line(const std::string& what, double share);

 private:
  void show(double share);

  const std::string what_;
  const bool isTerminal_;
  int shownPercent_ = -1;
};

}  // namespace korrin_tool
