// Maps as drawings, for the examples: '.' free, '?' unknown, '#' occupied, a digit for the tenths
// between. Row 0 comes first.
#pragma once

#include <iostream>
#include <string>
#include <vector>

#include "korrin/core/occupancy_map.hpp"

inline Brin::OccupancyMap drawMap(const std::vector<std::string>& rows, float resolution) {
  const int height = static_cast<int>(rows.size());
  const int width = static_cast<int>(rows[0].size());
  Brin::OccupancyMap map(width, height, resolution, false);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const char mark = rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
      map.setCell(x, y, mark == '.' ? 1.0f : mark == '#' ? 0.0f : 0.5f);
    }
  }
  return map;
}

inline void print(const Brin::OccupancyMap& map) {
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      const float value = map.getCell(x, y);
      const char tenths = static_cast<char>('0' + static_cast<int>(value * 10.0f + 0.01f));
      std::cout << (value > 0.99f ? '.' : value < 0.1f ? '#' : value == 0.5f ? '?' : tenths);
    }
    std::cout << '\n';
  }
}
