#include "peers/mrpt_inputs.hpp"

#include <cstddef>
#include <stdexcept>

namespace korrin_peers {

mrpt::maps::COccupancyGridMap2D mrptGrid(const Brin::OccupancyMap& map) {
  const int width = map.params.width;
  const int height = map.params.height;
  const float resolution = map.params.resolution;
  const float left = map.params.origin.x - resolution / 2.0f;
  const float low = map.params.origin.y - resolution / 2.0f;
  mrpt::maps::COccupancyGridMap2D grid;
  grid.setSize(left, left + static_cast<float>(width) * resolution, low,
               low + static_cast<float>(height) * resolution, resolution);
  if (static_cast<int>(grid.getSizeX()) != width || static_cast<int>(grid.getSizeY()) != height) {
    throw std::runtime_error("mrptGrid: the grid has another size than the map");
  }
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) grid.setCell(x, y, map.getCell(x, y));
  }
  return grid;
}

mrpt::poses::CPose2D mrptPose(const Brin::Pose2D& pose) {
  return {static_cast<double>(pose.x), static_cast<double>(pose.y),
          static_cast<double>(pose.theta)};
}

mrpt::obs::CObservation2DRangeScan mrptScanner(float fieldOfView, float maxRange) {
  mrpt::obs::CObservation2DRangeScan scanner;
  scanner.aperture = fieldOfView;
  scanner.maxRange = maxRange;
  scanner.rightToLeft = true;
  return scanner;
}

mrpt::obs::CObservation2DRangeScan mrptScan(const std::vector<Brin::RangeReading>& readings,
                                            float fieldOfView, float maxRange) {
  mrpt::obs::CObservation2DRangeScan scan = mrptScanner(fieldOfView, maxRange);
  scan.resizeScan(readings.size());
  for (std::size_t i = 0; i < readings.size(); ++i) {
    scan.setScanRange(i, readings[i].range);
    scan.setScanRangeValidity(i, readings[i].status == 0);
  }
  return scan;
}

}  // namespace korrin_peers
