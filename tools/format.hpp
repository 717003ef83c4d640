// Numbers and tables for people.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "korrin/core/geometry.hpp"

namespace korrin_tool {

std::string formatCount(std::int64_t count);  // 12,345
std::string formatMetres(double metres);      // 12.3 m
std::string formatDegrees(double radians);    // 57.3 deg
std::string formatSeconds(double seconds);    // 850 us, 12.3 ms, 1.24 s
std::string formatNumber(double value, int decimals);
std::string formatShort(double value);  // up to six digits, no more than it needs: 0.05

// (1.25, -0.50): metres.
std::string formatPoint(const Brin::Point2D& point);

// Rows of cells, printed as aligned columns: the first to the left, the others to the right.
struct Table {
  std::vector<std::string> header;  // may be empty
  std::vector<std::vector<std::string>> rows;

  void print(std::ostream& out) const;
};

}  // namespace korrin_tool
