#include "support/map_drawing.hpp"

#include <stdexcept>

namespace korrin_test {
namespace {

float valueOf(char mark) {
  if (mark == '.') return 1.0f;
  if (mark == '?') return 0.5f;
  if (mark == '#') return 0.0f;
  if (mark >= '0' && mark <= '9') return static_cast<float>(mark - '0') / 10.0f;
  throw std::invalid_argument(std::string("no cell looks like ") + mark);
}

char markOf(float value) {
  if (value >= 1.0f) return '.';
  if (value == 0.5f) return '?';
  if (value <= 0.0f) return '#';
  return static_cast<char>('0' + static_cast<int>(value * 10.0f));
}

}  // namespace

Brin::OccupancyMap drawMap(const std::vector<std::string>& rows, float resolution,
                           bool withSecondImage) {
  const int height = static_cast<int>(rows.size());
  const int width = rows.empty() ? 0 : static_cast<int>(rows.front().size());
  Brin::OccupancyMap map(width, height, resolution, withSecondImage);
  for (int y = 0; y < height; ++y) {
    const std::string& row = rows[static_cast<std::size_t>(y)];
    if (static_cast<int>(row.size()) != width) throw std::invalid_argument("rows differ in length");
    for (int x = 0; x < width; ++x) map.setCell(x, y, valueOf(row[static_cast<std::size_t>(x)]));
  }
  return map;
}

std::vector<std::string> drawingOf(const Brin::OccupancyMap& map) {
  std::vector<std::string> rows;
  for (int y = 0; y < map.image->height; ++y) {
    std::string row;
    for (int x = 0; x < map.image->width; ++x) row += markOf(map.getCell(x, y));
    rows.push_back(row);
  }
  return rows;
}

}  // namespace korrin_test
