// Readings as drivers deliver them: a beam without an echo, not-a-number, infinity, a range beyond
// all sense. None of them does harm; what each should mean is for the caller to say.

#include <algorithm>
#include <cmath>
#include <iostream>
#include <korrin/korrin.hpp>
#include <limits>
#include <vector>

// Prints a map as a drawing: '.' free, '?' unknown, '#' occupied, a digit for the tenths between.
void print(const Brin::OccupancyMap& map) {
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      const float value = map.getCell(x, y);
      const char tenths = static_cast<char>('0' + static_cast<int>(value * 10.0f + 0.01f));
      std::cout << (value > 0.99f ? '.' : value < 0.1f ? '#' : value == 0.5f ? '?' : tenths);
    }
    std::cout << '\n';
  }
}

// What `range` means for a scanner that sees `maxRange` metres far: a hit, a beam that met nothing
// up to there, or nothing at all.
void addReading(std::vector<Brin::RangeReading>& readings, float range, float angle,
                float maxRange) {
  if (std::isnan(range) || range <= 0.0f) return;  // no measurement: say nothing about the way
  readings.emplace_back(std::min(range, maxRange), angle);
  if (range >= maxRange) readings.back().status = 1;  // no echo: the way is clear, no obstacle
}

int main() {
  const float infinity = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const std::vector<float> ranges = {1.0f, 81.91f, infinity, nan, 1.0f, 1e30f, 0.6f};

  const auto draw = [&](float maxRange) {
    Brin::OccupancyMap map(17, 9, 0.1f, false);
    Brin::OccupancyMapper mapper(&map);
    std::vector<Brin::RangeReading> readings;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
      const float angle = (static_cast<float>(i) - 3.0f) * 0.25f;
      if (maxRange > 0.0f) {
        addReading(readings, ranges[i], angle, maxRange);
      } else {
        readings.emplace_back(ranges[i], angle);
      }
    }
    mapper.updateMap(readings, Brin::Pose2D(0.1f, 0.4f, 0.0f), 0.2f, 0.7f);
    print(map);
  };
  std::cout << "as they come\n";
  draw(0.0f);
  std::cout << "cut to 1.2 m\n";
  draw(1.2f);
}
