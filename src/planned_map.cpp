#include "src/planned_map.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "core/huge_pages.hpp"
#include "core/image_ptr.hpp"
#include "src/coarser_map.hpp"
#include "src/step_table.hpp"

namespace Brin {
namespace {

// A map of that geometry whose cells are undefined.
OccupancyMap mapFor(const OccupancyMapParams& params) {
  OccupancyMap map(0, 0, params.resolution, false);
  fitImage(&map.image, cvSize(params.width, params.height), IPL_DEPTH_32F, 1, "PathPlanner");
  map.params = params;
  wishForHugePages(map.image->imageData, map.image->imageData + map.image->imageSize);
  return map;
}

OccupancyMapParams paramsOfImage(const OccupancyMap& map) {
  OccupancyMapParams params = map.params;
  params.width = map.image->width;
  params.height = map.image->height;
  return params;
}

// Columns or rows [first, end).
struct Span {
  std::int32_t first;
  std::int32_t end;
};

// Those of a map that are at most `half` away from one of [first, last].
Span spanAround(std::int64_t first, std::int64_t last, std::int64_t half, std::int32_t size) {
  return {static_cast<std::int32_t>(std::max<std::int64_t>(first - half, 0)),
          static_cast<std::int32_t>(std::min<std::int64_t>(last + half + 1, size))};
}

}  // namespace

PlannedMap::PlannedMap(const OccupancyMap& map, const PlannerSettings& settings)
    : threshold_(settings.obstacleThreshold),
      factor_(settings.coarseFactor),
      stepReach_(stepReach(settings.neighborhood)),
      growth_(settings, map.params.resolution),
      fine_(mapFor(paramsOfImage(map))),
      reduced_(factor_ == 1 && halfStep() == 0
                   ? nullptr
                   : std::make_unique<OccupancyMap>(mapFor(coarserParams(map, factor_)))),
      lowest_(reduced_ == nullptr ? 0 : static_cast<std::size_t>(map.image->width)),
      grid_(searched().image->width, searched().image->height, stepReach_) {
  refresh(map, {0, 0, map.image->width, map.image->height});
}

bool PlannedMap::fits(const OccupancyMap& map) const {
  return map.image->width == fine_.image->width && map.image->height == fine_.image->height &&
         map.params.resolution == fine_.params.resolution;
}

void PlannedMap::refresh(const OccupancyMap& map, CellArea area) {
  const CellArea grown =
      area.isEmpty() ? area : area.grownBy(growth_.reach(), map.image->width, map.image->height);
  growth_.grow(*map.image, grown, *fine_.image, [&](std::int32_t y) {
    if (reduced_ == nullptr) {
      grid_.fill(*fine_.image, threshold_, {grown.left, y, grown.right, y + 1});
    }
  });
  fine_.params.origin = map.params.origin;
  if (reduced_ != nullptr) reduced_->params.origin = map.params.origin;
  if (grown.isEmpty() || reduced_ == nullptr) return;
  const CellArea reduced = reducedArea(grown);
  reduce(reduced);
  grid_.fill(*reduced_->image, threshold_, reduced);
}

// The searched cells that stand for any of those.
CellArea PlannedMap::reducedArea(CellArea fineArea) const {
  const auto firstFrom = [this](std::int32_t cell) {
    return (std::max<std::int64_t>(cell - halfStep(), 0) + factor_ - 1) / factor_;
  };
  const auto endFrom = [this](std::int32_t end) { return (end - 1 + halfStep()) / factor_ + 1; };
  const std::int64_t left = firstFrom(fineArea.left);
  const std::int64_t top = firstFrom(fineArea.top);
  return CellArea::onMap(left, top, endFrom(fineArea.right) - left, endFrom(fineArea.bottom) - top,
                         reduced_->image->width, reduced_->image->height);
}

void PlannedMap::reduce(CellArea area) {
  if (area.isEmpty()) return;
  for (std::int32_t y = area.top; y < area.bottom; ++y) reduceRow(y, area);
}

// First over the rows, then over the columns.
void PlannedMap::reduceRow(std::int32_t y, CellArea area) {
  const IplImage& fine = *fine_.image;
  const std::int64_t factor = factor_;
  const Span rows = spanAround(y * factor, y * factor, halfStep(), fine.height);
  const Span all =
      spanAround(area.left * factor, (area.right - 1) * factor, halfStep(), fine.width);
  const auto lowest = lowest_.begin();
  std::copy_n(imageRow<float>(fine, rows.first) + all.first, all.end - all.first,
              lowest + all.first);
  for (std::int32_t v = rows.first + 1; v < rows.end; ++v) {
    const float* const row = imageRow<float>(fine, v);
    std::transform(row + all.first, row + all.end, lowest + all.first, lowest + all.first,
                   [](float a, float b) { return a < b ? a : b; });
  }
  float* const out = imageRow<float>(*reduced_->image, y);
  for (std::int32_t x = area.left; x < area.right; ++x) {
    const Span columns = spanAround(x * factor, x * factor, halfStep(), fine.width);
    out[x] = *std::min_element(lowest + columns.first, lowest + columns.end);
  }
}

}  // namespace Brin
