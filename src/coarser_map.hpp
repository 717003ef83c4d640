// What computeCoarserMap makes, for those who hold a map of that size already: filling it saves two
// new images, which for a short plan on a large map is most of the time.
#pragma once

#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include "core/image_ptr.hpp"
#include "korrin/core/occupancy_map.hpp"

namespace Brin {

// The geometry of `fine` reduced `factor` times. `fine` must have an image, and `factor` be above
// 0.
inline OccupancyMapParams coarserParams(const OccupancyMap& fine, int factor) {
  OccupancyMapParams params(fine.image->width / factor, fine.image->height / factor,
                            static_cast<float>(factor) * fine.params.resolution,
                            OccupancyMapParams::Corner);
  params.origin = fine.params.origin;
  return params;
}

// Fills the probability image of `coarse` from that of `fine`.
inline void fillCoarserImage(const OccupancyMap& fine, OccupancyMap& coarse) {
  // OpenCV refuses to resize to nothing.
  if (coarse.image->width > 0 && coarse.image->height > 0) {
    cvResize(fine.image, coarse.image, CV_INTER_LINEAR);
  }
}

// Whether an image is as the library makes it for that geometry.
inline bool isLayerOf(const IplImage* image, const OccupancyMapParams& params) {
  return image != nullptr && image->imageData != nullptr && hasKind(*image, IPL_DEPTH_32F, 1) &&
         image->width == params.width && image->height == params.height && image->roi == nullptr;
}

}  // namespace Brin
