// A map's cells for loops: what OccupancyMap::getCell gives, with one look at the kind of the image
// beforehand instead of one at every cell.
//
//   const MapCells cells(map, "computePathCostStat");
//   float value = cells(x, y);   // -1 outside the map
#pragma once

#include "core/image_ptr.hpp"
#include "korrin/core/occupancy_map.hpp"

namespace Brin {

// The value of cell (x, y) of an image of floats; -1 outside.
inline float cellOrOutside(const IplImage& image, int x, int y) {
  const bool isInside = x >= 0 && y >= 0 && x < image.width && y < image.height;
  return isInside ? imageRow<float>(image, y)[x] : -1.0f;
}

class MapCells {
 public:
  // Borrows the map's image. Raises OpenCV's error for one of another kind or without pixels;
  // without an image all is outside.
  MapCells(const OccupancyMap& map, const char* function) : image_(map.image) {
    if (image_ != nullptr) requireKind(image_, IPL_DEPTH_32F, 1, function);
  }

  float operator()(int x, int y) const {
    return image_ != nullptr ? cellOrOutside(*image_, x, y) : -1.0f;
  }

 private:
  const IplImage* image_;
};

}  // namespace Brin
