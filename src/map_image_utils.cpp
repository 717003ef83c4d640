#include "korrin/map_image_utils.hpp"

#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <utility>

#include "core/image_ptr.hpp"
#include "korrin/core/log.hpp"

namespace Brin {

void computeCoarserMap(const OccupancyMap& fine, OccupancyMap& coarse, int factor) {
  if (factor < 1) {
    completeLog(NavLogLevel::Warning, "factor is below 1, the coarse map stays as it is.",
                "src/map_image_utils", "computeCoarserMap", __LINE__);
    return;
  }
  requireKind(fine.image, IPL_DEPTH_32F, 1, "computeCoarserMap");
  OccupancyMapParams params(fine.image->width / factor, fine.image->height / factor,
                            static_cast<float>(factor) * fine.params.resolution,
                            OccupancyMapParams::Corner);
  params.origin = fine.params.origin;
  OccupancyMap reduced(params, true);
  // OpenCV refuses to resize to nothing.
  if (params.width > 0 && params.height > 0) cvResize(fine.image, reduced.image, CV_INTER_LINEAR);
  coarse = std::move(reduced);
}

}  // namespace Brin
