// Grows the obstacles of a map, by each method.
#include "fuzz/fuzz_target.hpp"
#include "korrin/obstacle_dilater.hpp"
#include "models/obstacle_dilater_model.hpp"

namespace {

using Brin::ObstacleDilater;
using Brin::OccupancyMap;
using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using korrin_test::sameImage;
using korrin_test::sameMap;

const Mark kLinear("distances, linear, change cells");
const Mark kInverse("distances, inverse, change cells");
const Mark kEroded("erosion changes cells");
const Mark kWildCells("cells that are not numbers");
const Mark kNoCells("a map of no cells");

// How often the library erodes: as often as asked, but no more than cells can be reached.
int erosions(const OccupancyMap& map, float cells) {
  const int most = std::max(map.params.width, map.params.height);
  if (!(cells >= 1.0f)) return 0;
  return cells > static_cast<float>(most) ? most : static_cast<int>(cells);
}

bool hasNotANumber(const OccupancyMap& map) {
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      if (std::isnan(map.getCell(x, y))) return true;
    }
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  const int type = in.pick({0, 1, 2, 0, 1, 2, 3, -1});
  const float radius = in.pickOrAny({0.2f, 0.0f, 1.0f, 0.5f, 2.0f, 9.0f});
  const float fade = in.pickOrAny({0.4f, 1.0f, 0.0f, 2.0f, 0.001f, 3.5f, 0.2f});
  float threshold = in.pickOrAny({0.1f, 0.0f, 0.5f, 0.99609375f, 1.0f, -0.01f, 7.0f});
  // Beyond, OpenCV's own comparison of the bytes with it overflows, and the library's does not.
  if (!(std::abs(threshold) < 8388608.0f)) threshold = 0.2f;
  const OccupancyMap map = in.map(48);

  ObstacleDilater dilater(map.params.width, map.params.height);
  dilater.setObstProbThreshold(threshold);
  dilater.setParams(radius, fade);
  OccupancyMap actual(map);
  dilater.dilate(actual, static_cast<ObstacleDilater::DilateType>(type));

  OccupancyMap expected(map);
  kNoCells.count(map.params.width == 0 || map.params.height == 0);
  if (map.params.width > 0 && map.params.height > 0) {
    const float inv = 1.0f / map.params.resolution;
    const int count = erosions(map, radius * inv);
    const bool wild = hasNotANumber(map);
    kWildCells.count(wild);
    if (type == 2) {
      // How a cell that is not a number spreads depends on the window's reach beyond the map.
      if (wild && radius * inv >= static_cast<float>(count + 1)) return 0;
      korrin_model::dilateByErosion(expected, static_cast<float>(count), inv * fade);
    } else {
      korrin_model::DilateImages images(cvGetSize(map.image));
      korrin_model::dilate(expected, images, {threshold, radius, fade}, type);
      require(sameImage(dilater.distImage, images.distImage), "distances");
      require(sameImage(dilater.charImage, images.charImage), "bytes");
    }
  }
  require(sameMap(actual, expected), "map");
  const bool changed = !sameMap(actual, map);
  kLinear.count(changed && type == 0);
  kInverse.count(changed && type == 1);
  kEroded.count(changed && type == 2);
  return 0;
}
