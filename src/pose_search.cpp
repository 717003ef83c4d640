#include "korrin/pose_search.hpp"

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "core/image_ptr.hpp"
#include "korrin/core/log.hpp"
#include "src/block_search.hpp"
#include "src/distance_square.hpp"
#include "src/distance_transform.hpp"
#include "src/score_pyramid.hpp"

namespace Brin {
namespace {

constexpr const char* kComponent = "src/pose_search";
constexpr std::int32_t kTooManySteps = 1 << 30;

std::int32_t stepsWithin(float reach, float step) {
  const float steps = std::floor(reach / step + 0.001f);
  if (!(steps > 0.0f)) return 0;
  return steps < static_cast<float>(kTooManySteps) ? static_cast<std::int32_t>(steps)
                                                   : kTooManySteps;
}

bool isStep(float step) { return step > 0.0f && std::isfinite(step); }

// So far that no place up to `extent` is more than half a step from a whole number of steps.
float reachOver(float extent, float step) { return std::ceil(extent / step - 0.5f) * step; }

// The part of a map's picture that may be within the cut-off of a hit, with the picture's place in
// it. Distances in it are those in the whole picture: the shortest way from a pixel to a hit stays
// in the rectangle of the two.
struct PicturePart {
  std::int64_t left;  // columns and rows from the centre pixel, which is the map's first cell
  std::int64_t top;
  std::int64_t right;  // not included
  std::int64_t bottom;
};

// The cells of a map that are hits.
class HitCells {
 public:
  HitCells(const IplImage& cells, float threshold) : cells_(cells), threshold_(threshold) {}

  // The smallest part that holds all of them; an empty one if there are none.
  PicturePart bounds() const {
    PicturePart part{cells_.width, cells_.height, 0, 0};
    for (std::int32_t row = 0; row < cells_.height; ++row) {
      const float* begin = imageRow<float>(cells_, row);
      for (std::int32_t col = 0; col < cells_.width; ++col) {
        if (!(begin[col] < threshold_)) continue;
        part.left = std::min<std::int64_t>(part.left, col);
        part.right = std::max<std::int64_t>(part.right, col + 1);
        part.top = std::min<std::int64_t>(part.top, row);
        part.bottom = row + 1;
      }
    }
    return part;
  }

  // Whether a pixel of the picture is one.
  bool has(std::int64_t col, std::int64_t row) const {
    return col >= 0 && row >= 0 && col < cells_.width && row < cells_.height &&
           imageRow<float>(cells_, static_cast<std::int32_t>(row))[col] < threshold_;
  }

 private:
  const IplImage& cells_;
  float threshold_;
};

// All that may be nearer than the cut-off (pixels) to a hit.
PicturePart partWithin(const IplImage& cells, PicturePart hits, float cutOff) {
  constexpr float kFarthest = 8192.0f;  // no distance is above, and it is that of pixels far off
  const std::int64_t half = std::max(cells.width, cells.height);
  if (cutOff >= kFarthest) return {-half, -half, half, half};
  if (!(cutOff >= 0.0f) || hits.right == 0) return {0, 0, 0, 0};
  // A step along an axis counts 0.955 pixels.
  const auto margin = static_cast<std::int64_t>(cutOff / 0.95f) + 2;
  return {std::max(hits.left - margin, -half), std::max(hits.top - margin, -half),
          std::min(hits.right + margin, half), std::min(hits.bottom + margin, half)};
}

ScorePyramid pyramidOf(const IplImage& cells, float threshold, float cutOff) {
  const HitCells hits(cells, threshold);
  const PicturePart part = partWithin(cells, hits.bounds(), cutOff);
  const CvSize size =
      cvSize(static_cast<int>(part.right - part.left), static_cast<int>(part.bottom - part.top));
  const ImagePtr picture = makeImage(size, IPL_DEPTH_8U, 1);
  const ImagePtr distances = makeImage(size, IPL_DEPTH_32F, 1);
  for (int row = 0; row < size.height; ++row) {
    auto* out = imageRow<std::uint8_t>(*picture, row);
    for (int col = 0; col < size.width; ++col) {
      out[col] = hits.has(part.left + col, part.top + row) ? 0 : 255;
    }
  }
  chamferDistances(*picture, *distances);
  return ScorePyramid(
      {imageRow<float>(*distances, 0),
       distances->widthStep / static_cast<std::ptrdiff_t>(sizeof(float)), size.width, size.height,
       static_cast<std::int32_t>(part.left), static_cast<std::int32_t>(part.top)},
      cutOff);
}

ScorePyramid pyramidOf(const DistanceSquare& square, float cutOff) {
  return ScorePyramid(
      {square.pixels, square.side, square.side, square.side, -square.half, -square.half}, cutOff);
}

bool refuse(const char* message) {
  completeLog(NavLogLevel::Warning, message, kComponent, "PoseSearch::best", __LINE__);
  return false;
}

// Whether a search makes sense; if not, says what does not.
bool isSearch(const PoseGrid& grid, int count, const Separation& separation) {
  if (!isStep(grid.step)) return refuse("the grid's step must be a positive number.");
  if (!isStep(grid.turnStep)) return refuse("the grid's turnStep must be a positive number.");
  if (grid.poses() == 0) return refuse("the grid has too many poses to be counted.");
  if (count < 1) return refuse("count must be at least 1.");
  if (!(separation.metres >= 0.0f)) return refuse("apart must not be negative.");
  if (!(separation.radians >= 0.0f)) return refuse("turned must not be negative.");
  return true;
}

std::vector<Point2D> everyStep(const std::vector<Point2D>& points, int step) {
  std::vector<Point2D> visited;
  const std::size_t count = visitedOf(points.size(), step);
  visited.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    visited.push_back(points[i * static_cast<std::size_t>(step)]);
  }
  return visited;
}

}  // namespace

PoseGrid PoseGrid::around(const OccupancyMapParams& map, float step, float turnStep) {
  PoseGrid grid;
  grid.step = step;
  grid.turnStep = turnStep;
  const std::int32_t column = map.width / 2;
  const std::int32_t row = map.height / 2;
  grid.centre = map.getPoseFromPixel({column, row, 0.0f});
  grid.centre.theta = 0.0f;
  // From the centre cell's centre to the map's farther side, a half cell included.
  const float alongX = (static_cast<float>(column) + 0.5f) * map.resolution;
  const float alongY = (static_cast<float>(row) + 0.5f) * map.resolution;
  const float cosine = std::fabs(std::cos(map.origin.theta));
  const float sine = std::fabs(std::sin(map.origin.theta));
  grid.reachX = reachOver(cosine * alongX + sine * alongY, step);
  grid.reachY = reachOver(sine * alongX + cosine * alongY, step);
  grid.turn = reachOver(kPi, turnStep);
  return grid;
}

std::int32_t PoseGrid::shiftsX() const { return stepsWithin(reachX, step); }

std::int32_t PoseGrid::shiftsY() const { return stepsWithin(reachY, step); }

std::int32_t PoseGrid::turns() const { return stepsWithin(turn, turnStep); }

std::int64_t PoseGrid::poses() const {
  if (!isStep(step) || !isStep(turnStep)) return 0;
  const std::int32_t sides[] = {shiftsX(), shiftsY(), turns()};
  std::int64_t poses = 1;
  for (const std::int32_t steps : sides) {
    const std::int64_t along = 2 * std::int64_t{steps} + 1;
    if (steps >= kTooManySteps || poses > std::numeric_limits<std::int64_t>::max() / along) {
      return 0;
    }
    poses *= along;
  }
  return poses;
}

Pose2D PoseGrid::pose(std::int32_t i, std::int32_t j, std::int32_t k) const {
  return {centre.x + static_cast<float>(i) * step, centre.y + static_cast<float>(j) * step,
          centre.theta + static_cast<float>(k) * turnStep};
}

PoseSearch::PoseSearch(const OccupancyMap& map, float threshold, float maxDist) {
  requireKind(map.image, IPL_DEPTH_32F, 1, "PoseSearch");
  const float inv = 1.0f / map.params.resolution;
  const float cutOff = maxDist * inv;
  tables_ = std::make_shared<const SearchTables>(SearchTables{
      inv, cutOff, 1, PictureFrame(map.params.origin), pyramidOf(*map.image, threshold, cutOff)});
}

PoseSearch::PoseSearch(const ScanDistMap& reference, float maxDist) {
  const DistanceSquare square = squareOf(reference.distanceMap, "PoseSearch");
  const float inv = 1.0f / reference.resolution;
  const float cutOff = maxDist * inv;
  tables_ = std::make_shared<const SearchTables>(
      SearchTables{inv, cutOff, reference.step, PictureFrame(), pyramidOf(square, cutOff)});
}

PoseSearch::PoseSearch(const PoseSearch&) = default;
PoseSearch& PoseSearch::operator=(const PoseSearch&) = default;
PoseSearch::~PoseSearch() = default;

std::vector<ScoredPose> PoseSearch::best(const std::vector<Point2D>& points, const PoseGrid& grid,
                                         int count, float apart, float turned) const {
  const Separation separation{apart, turned};
  if (!isStride(tables_->step, kComponent, "PoseSearch::best")) return {};
  if (!isSearch(grid, count, separation)) return {};
  const std::vector<Point2D> visited = everyStep(points, tables_->step);
  BlockSearch search(*tables_, visited, grid, separation);
  std::vector<ScoredPose> found;
  while (count-- > 0 && search.findNext()) found.push_back(search.found());
  return found;
}

float PoseSearch::score(const std::vector<Point2D>& points, const Pose2D& pose) const {
  if (!isStride(tables_->step, kComponent, "PoseSearch::score")) return 0.0f;
  return tables_->score(everyStep(points, tables_->step), pose);
}

}  // namespace Brin
