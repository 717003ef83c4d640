// Maps with a second image for the tests of beams: single cells of it, and whole small maps that
// RapidCheck can shrink.
//
//   const Brin::OccupancyMap map = arbitraryBeamMap();   // inside RC_GTEST_PROP
#pragma once

#include <rapidcheck.h>

#include "core/image_ptr.hpp"
#include "korrin/core/occupancy_map.hpp"

namespace korrin_test {

inline void setSecond(Brin::OccupancyMap& map, int x, int y, float value) {
  Brin::imageRow<float>(*map.secondImage, y)[x] = value;
}

// Up to 6 x 6 cells, half of them free, with or without a second image around 0.45.
inline Brin::OccupancyMap arbitraryBeamMap() {
  const int width = *rc::gen::inRange(1, 7);
  const int height = *rc::gen::inRange(1, 7);
  Brin::OccupancyMap map(width, height, 1.0f, *rc::gen::arbitrary<bool>());
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      map.setCell(x, y, *rc::gen::element(1.0f, 1.0f, 0.5f, 0.0f));
      if (map.secondImage != nullptr) setSecond(map, x, y, *rc::gen::element(0.44f, 0.45f));
    }
  }
  return map;
}

}  // namespace korrin_test
