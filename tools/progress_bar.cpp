#include "tools/progress_bar.hpp"

#include <unistd.h>

#include <algorithm>
#include <iostream>

namespace korrin_tool {
namespace {

constexpr int kWidth = 40;

int percentOf(double share) { return static_cast<int>(100.0 * std::clamp(share, 0.0, 1.0)); }

}  // namespace

ProgressBar::ProgressBar(const std::string& what)
    : what_(what), isTerminal_(isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar() {
  if (shownPercent_ >= 0) std::cerr << '\r' << std::string(line(what_, 1.0).size(), ' ') << '\r';
}

Brin::mapping::Progress ProgressBar::progress() {
  if (!isTerminal_) return {};
  return [this](double share) { show(share); };
}

std::string ProgressBar::line(const std::string& what, double share) {
  const int percent = percentOf(share);
  const int filled = percent * kWidth / 100;
  const std::string number = std::to_string(percent);
  return what + " [" + std::string(static_cast<std::size_t>(filled), '#') +
         std::string(static_cast<std::size_t>(kWidth - filled), '.') + "] " +
         std::string(3 - number.size(), ' ') + number + " %";
}

void ProgressBar::show(double share) {
  const int percent = percentOf(share);
  if (percent == shownPercent_) return;
  shownPercent_ = percent;
  std::cerr << '\r' << line(what_, share) << std::flush;
}

}  // namespace korrin_tool
