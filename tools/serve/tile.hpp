// Pictures of layers, 256 x 256 bytes at a time.
#pragma once

#include <cstdint>
#include <string>

#include "korrin/core/occupancy_map.hpp"

namespace korrin_tool::serve {

constexpr int kTileSide = 256;  // pixels

// What a byte stands for; up to kFullValue it is a value, from 0 to the scale of the layer.
enum TileByte : std::uint8_t {
  kFullValue = 250,
  kTooNear = 251,      // to an obstacle
  kUnknownByte = 252,  // unknown, and blocked
  kNotANumber = 253,
  kNoValue = 254,  // not searched, no way
  kOffTheMap = 255
};

// How the cells of a layer become pixels.
enum class TileRule {
  Probability,  // values from 0 to 1; of several the lowest if an obstacle is among them, or else
                // their mean
  Grown,        // the same with a planner's codes, of which the lowest byte wins over free cells
  Lowest        // values from 0 on, of several the lowest; below 0 and infinity are no values
};

struct TileStyle {
  TileRule rule = TileRule::Probability;
  float scale = 1.0f;          // the value that kFullValue stands for; above 0
  float obstacleBelow = 0.4f;  // what an obstacle is, for the first two rules
};

// How many levels there are: 2^level cells share a pixel along each side, and on the last level one
// tile holds all.
int tileLevels(const Brin::OccupancyMapParams& grid);

// The byte of one cell of that value.
std::uint8_t tileByte(float value, const TileStyle& style);

// Tile (x, y) of a level, from its lowest row on. Empty where there is no such tile. Linear in the
// cells that it shows.
std::string tileOf(const Brin::OccupancyMap& map, const TileStyle& style, int level, int x, int y);

}  // namespace korrin_tool::serve
