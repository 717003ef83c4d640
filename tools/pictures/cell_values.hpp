// What the cells of a map give the pixels of a picture: their values, reduced where a pixel shows
// several cells, and colours for them.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "korrin/core/occupancy_map.hpp"
#include "tools/pictures/colour.hpp"

namespace korrin_tool {

// One value for each block of `side` x `side` cells, the first block at cell (0, 0), those at the
// far ends perhaps smaller; row 0 is the map's. A block shows the lowest of its values when that is
// an obstacle's (below 0.5), so that the thinnest wall stays; else their mean, so that free and
// unknown cells mix. A side of 1 gives the cells themselves, without a copy. Linear in the cells.
cv::Mat_<float> blockValues(const Brin::OccupancyMap& map, int side);

// Colours for pairs of numbers. To look one up is faster than to mix it, and maps hold few
// different values.
class ColourCache {
 public:
  // What `mixed()` gives for (a, b), from the last time where it is at hand.
  template <typename Mixed>
  Colour find(float a, float b, Mixed mixed) {
    Entry& entry = entries_[place(a, b)];
    if (!(entry.a == a && entry.b == b)) entry = {a, b, mixed()};
    return entry.colour;
  }

 private:
  struct Entry {
    float a;
    float b;
    Colour colour;
  };
  static constexpr unsigned kPlaceBits = 12;
  static std::size_t place(float a, float b);

  std::vector<Entry> entries_ = makeEntries();
  static std::vector<Entry> makeEntries();
};

}  // namespace korrin_tool
