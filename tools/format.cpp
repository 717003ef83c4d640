#include "tools/format.hpp"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace korrin_tool {
namespace {

void growTo(std::vector<std::size_t>& widths, const std::vector<std::string>& row) {
  if (widths.size() < row.size()) widths.resize(row.size(), 0);
  for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
}

void printRow(std::ostream& out, const std::vector<std::string>& row,
              const std::vector<std::size_t>& widths) {
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string padding(widths[i] - row[i].size(), ' ');
    if (i == 0) {
      out << row[i] << (row.size() > 1 ? padding : "");
    } else {
      out << "  " << padding << row[i];
    }
  }
  out << '\n';
}

}  // namespace

std::string formatCount(std::int64_t count) {
  std::string digits = std::to_string(count);
  const int first = count < 0 ? 1 : 0;
  for (int i = static_cast<int>(digits.size()) - 3; i > first; i -= 3) {
    digits.insert(static_cast<std::size_t>(i), ",");
  }
  return digits;
}

std::string formatNumber(double value, int decimals) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(decimals) << value;
  return text.str();
}

std::string formatShort(double value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

std::string formatPoint(const Brin::Point2D& point) {
  const auto coordinate = [](double value) {
    return std::abs(value) < 1e6 ? formatNumber(value, 2) : formatShort(value);
  };
  return "(" + coordinate(point.x) + ", " + coordinate(point.y) + ")";
}

std::string formatMetres(double metres) {
  return formatNumber(metres, std::abs(metres) < 1.0 ? 2 : 1) + " m";
}

std::string formatDegrees(double radians) {
  return formatNumber(radians * 180.0 / 3.14159265358979323846, 1) + " deg";
}

std::string formatSeconds(double seconds) {
  if (seconds < 1e-3) return formatNumber(seconds * 1e6, 0) + " us";
  if (seconds < 0.1) return formatNumber(seconds * 1e3, 1) + " ms";
  if (seconds < 1.0) return formatNumber(seconds * 1e3, 0) + " ms";
  return formatNumber(seconds, 2) + " s";
}

void Table::print(std::ostream& out) const {
  std::vector<std::size_t> widths;
  growTo(widths, header);
  for (const auto& row : rows) growTo(widths, row);
  if (!header.empty()) printRow(out, header, widths);
  for (const auto& row : rows) printRow(out, row, widths);
}

}  // namespace korrin_tool
