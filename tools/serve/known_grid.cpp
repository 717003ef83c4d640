#include "tools/serve/known_grid.hpp"

#include <algorithm>

#include "korrin/occupancy_mapper.hpp"
#include "tools/serve/frontier.hpp"

namespace korrin_tool::serve {
namespace {

// How much one beam changes a cell: one that crosses an unknown cell makes it free, one that ends
// there an obstacle.
constexpr float kFreeStep = 0.15f;
constexpr float kOccupiedStep = 0.6f;

CellRectangle cutTo(const Brin::OccupancyMap& map, const CellRectangle& rectangle) {
  const int left = std::clamp(rectangle.x, 0, map.params.width);
  const int low = std::clamp(rectangle.y, 0, map.params.height);
  return {left, low, std::clamp(rectangle.x + rectangle.width, left, map.params.width) - left,
          std::clamp(rectangle.y + rectangle.height, low, map.params.height) - low};
}

}  // namespace

KnownGrid::KnownGrid(const Brin::OccupancyMapParams& params) : map_(params, false) {}

void KnownGrid::read(const Reader& reader) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  reader(map_, revision_);
}

// All cells that these beams may come to.
CellRectangle KnownGrid::reachOf(const std::vector<Brin::RangeReading>& readings,
                                 const Brin::Pose2D& pose) const {
  CellRectangle reach;
  const auto include = [&](const Brin::Pose2D& place) {
    const Brin::Pose2Di cell = map_.getPixelFromPose(place);
    reach = reach.with(cutTo(map_, {cell.x - 2, cell.y - 2, 5, 5}));
  };
  include(pose);
  for (const Brin::RangeReading& reading : readings) {
    const Brin::Point2D end = reading.toPoint2D();
    include(pose.absProject({end.x, end.y, 0.0f}));
  }
  return reach;
}

CellRectangle KnownGrid::add(const std::vector<Brin::RangeReading>& readings,
                             const Brin::Pose2D& pose) {
  const CellRectangle reach = reachOf(readings, pose);
  std::vector<float> before;
  for (int y = reach.y; y < reach.y + reach.height; ++y) {
    for (int x = reach.x; x < reach.x + reach.width; ++x) before.push_back(map_.getCell(x, y));
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  // The mapper counts headings from the grid's own direction.
  Brin::OccupancyMapper(&map_).updateMap(
      readings, {pose.x, pose.y, pose.theta - map_.params.origin.theta}, kFreeStep, kOccupiedStep);
  CellRectangle changed;
  std::size_t i = 0;
  for (int y = reach.y; y < reach.y + reach.height; ++y) {
    for (int x = reach.x; x < reach.x + reach.width; ++x, ++i) {
      const float now = map_.getCell(x, y);
      if (now == before[i]) continue;
      changed = changed.with({x, y, 1, 1});
      knownCells_ += (isUnseen(before[i]) ? 1 : 0) - (isUnseen(now) ? 1 : 0);
    }
  }
  if (!changed.isEmpty()) ++revision_;
  return changed;
}

}  // namespace korrin_tool::serve
