#include "korrin/pathcoststats.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "core/grid_frame.hpp"
#include "korrin/core/log.hpp"
#include "src/cell_line.hpp"
#include "src/inside_line.hpp"
#include "src/map_cells.hpp"

namespace Brin {
namespace {

constexpr float kLengthMargin = 0.000001f;
constexpr float kOutside = -1.0f;

CellRect rectOf(const OccupancyMap& map) {
  return map.image != nullptr ? CellRect{map.image->width, map.image->height} : CellRect{0, 0};
}

// How often 1 can be subtracted from `value` with every difference exact: as long as it stays in
// the floats spaced like `value` or closer. 0 when already the first difference may be rounded.
std::int64_t exactDecrements(float value) {
  constexpr float kSpacedByOne = 16777216.0f;
  if (!(std::fabs(value) < kSpacedByOne)) return 0;
  if (value >= 0.0f) return static_cast<std::int64_t>(value);
  // From -2^e down to -2^(e + 1) the spacing of floats does not change.
  int exponent = 0;
  std::frexp(value, &exponent);
  return static_cast<std::int64_t>(std::ldexp(1.0f, exponent) + value);
}

// `sum` after `count` additions of -1, each rounded to float as if made one by one. Takes as many
// steps as there are powers of two on the way, not as there are additions.
float addOutsideCells(float sum, std::int64_t count) {
  while (count > 0) {
    // Of these only the last one can be rounded, so one subtraction stands for all.
    const std::int64_t steps = std::min(count, exactDecrements(sum) + 1);
    const float next = sum - static_cast<float>(steps);
    // From -2^24 down, and far enough above 0, the sum no longer moves.
    if (next == sum || std::isnan(next)) return next;
    sum = next;
    count -= steps;
  }
  return sum;
}

// The values met on one segment.
class SegmentSum {
 public:
  void addValue(float value) {
    stats_.minCost = value < stats_.minCost ? value : stats_.minCost;
    stats_.maxCost = value > stats_.maxCost ? value : stats_.maxCost;
    sum_ += value;
    ++count_;
  }

  // The cells of a line that stays inside the map. The sums are variables of their own meanwhile:
  // what nobody else can reach stays in registers.
  void addInside(const IplImage& image, const InsideLine& line) {
    float least = stats_.minCost;
    float most = stats_.maxCost;
    float sum = sum_;
    line.walk<const float>(image, 0, [&](float value) {
      least = value < least ? value : least;
      most = value > most ? value : most;
      sum += value;
      return false;
    });
    stats_.minCost = least;
    stats_.maxCost = most;
    sum_ = sum;
    count_ += line.length();
  }

  void addOutside(std::int64_t count) {
    if (count <= 0) return;
    if (kOutside < stats_.minCost) stats_.minCost = kOutside;
    sum_ = addOutsideCells(sum_, count);
    count_ += count;
  }

  PathCostStats stats(float length) const {
    PathCostStats result = stats_;
    result.length = length;
    if (count_ > 0) result.avgCost = sum_ / static_cast<float>(count_);
    return result;
  }

 private:
  PathCostStats stats_;
  float sum_ = 0.0f;
  std::int64_t count_ = 0;
};

// The cells of one pair of consecutive poses: the line from p on, step 0 being p itself. Cells lie
// within +-2^28, so differences fit an int, and products of two of them 64 bits.
class Segment {
 public:
  Segment(const OccupancyMap& map, const MapCells& cells, Point2Di p, Point2Di q, bool isLast)
      : map_(map), cells_(cells), p_(p), q_(q), isLast_(isLast) {
    const std::int64_t dx = std::abs(q_.x - p_.x);
    const std::int64_t dy = std::abs(q_.y - p_.y);
    majorLength_ = std::max(dx, dy);
    minorLength_ = std::min(dx, dy);
  }

  // How many cells belong to the segment.
  std::int64_t cellCount() const { return majorLength_ + (isLast_ ? 1 : 0); }

  // The segment's length when the cell after `step` steps is its last one.
  float lengthAt(std::int64_t step) const {
    if (step == 0) return map_.params.resolution;
    const std::int64_t minor = (2 * step * minorLength_ + majorLength_) / (2 * majorLength_);
    const float cells = computeNorm(static_cast<int>(step), static_cast<int>(minor));
    return (cells + 1.0f) * map_.params.resolution;
  }

  // How many cells come before the first one at which the segment is longer than `limit`. Along
  // the walk the length only grows (with a negative resolution it only falls, and then the first
  // cell decides), so the place is found by halving.
  std::int64_t cellsWithin(float limit) const {
    const std::int64_t count = cellCount();
    if (count == 0 || lengthAt(0) > limit) return 0;
    if (!(lengthAt(count - 1) > limit)) return count;
    std::int64_t within = 1;
    std::int64_t beyond = count - 1;
    while (within < beyond) {
      const std::int64_t middle = within + (beyond - within) / 2;
      if (lengthAt(middle) > limit) {
        beyond = middle;
      } else {
        within = middle + 1;
      }
    }
    return within;
  }

  // The summary of the first `count` cells.
  PathCostStats summarise(std::int64_t count) const {
    if (count == 0) return {};
    SegmentSum sum;
    const std::int64_t walked = std::min(count, majorLength_);
    if (walked == 1) {  // as nearly always on a planned path, and there is no line to set up
      sum.addValue(cells_(p_.x, p_.y));
    } else if (walked == majorLength_ && staysInside()) {
      InsideLine line;
      line.aim(*map_.image, p_, q_);
      sum.addInside(*map_.image, line);
    } else {
      addLine(walked, sum);
    }
    if (count > majorLength_) sum.addValue(cells_(q_.x, q_.y));
    return sum.stats(lengthAt(count - 1));
  }

 private:
  bool staysInside() const {
    return map_.isInside(q_.x, q_.y) && InsideLine::canWalk(*map_.image, p_, q_);
  }

  // Adds the first `count` cells of the line, wherever they are.
  void addLine(std::int64_t count, SegmentSum& sum) const {
    CellLine line(p_.x, p_.y, q_.x, q_.y, rectOf(map_));
    const std::int64_t before = line.done() ? count : std::min(count, stepsTo(line));
    const std::int64_t inside =
        std::min(count - before, static_cast<std::int64_t>(line.remaining()));
    sum.addOutside(before);
    for (std::int64_t i = 0; i < inside; ++i, line.next()) {
      sum.addValue(cells_(line.x(), line.y()));
    }
    sum.addOutside(count - before - inside);
  }

  // How many steps from p the line's current cell is.
  std::int64_t stepsTo(const CellLine& line) const {
    return std::max(std::abs(line.x() - p_.x), std::abs(line.y() - p_.y));
  }

  const OccupancyMap& map_;
  MapCells cells_;
  Point2Di p_;
  Point2Di q_;
  bool isLast_;
  std::int64_t majorLength_;
  std::int64_t minorLength_;
};

PathCostStats merge(const PathCostStats& a, const PathCostStats& b) {
  PathCostStats merged;
  merged.minCost = a.minCost > b.minCost ? b.minCost : a.minCost;
  merged.maxCost = b.maxCost > a.maxCost ? b.maxCost : a.maxCost;
  merged.length = a.length + b.length;
  if (merged.length > kLengthMargin) {
    merged.avgCost = (a.avgCost * a.length + b.avgCost * b.length) / merged.length;
  }
  return merged;
}

PathCostStats statsOfOnePose(const OccupancyMap& map, const MapCells& cells, const Pose2D& pose) {
  const Pose2Di cell = map.getPixelFromPose(pose);
  PathCostStats stats;
  stats.minCost = stats.maxCost = stats.avgCost = cells(cell.x, cell.y);
  return stats;
}

void logInfo(const char* message, int line) {
  completeLog(NavLogLevel::Info, message, "src/pathcoststats", "computePathCostStat", line);
}

}  // namespace

PathCostStats mergePathCostStats(const PathCostStats& a, const PathCostStats& b) {
  return merge(a, b);
}

PathCostStats computePathCostStat(const OccupancyMap& map, const std::vector<Pose2D>& path,
                                  const float* maxLength) {
  const MapCells cells(map, "computePathCostStat");
  if (path.empty()) {
    logInfo("Empty path, no stats.", 117);
    return {};
  }
  if (path.size() == 1) {
    logInfo("Path with one cell, stats won't be reliable.", 122);
    return statsOfOnePose(map, cells, path.front());
  }
  PathCostStats total;
  float travelled = 0.0f;
  const GridFrame frame(map);
  Point2Di next = frame.cellOf(path.front());
  for (std::size_t i = 0; i + 1 < path.size(); ++i) {
    const Point2Di here = next;
    next = frame.cellOf(path[i + 1]);
    const Segment segment(map, cells, here, next, i + 2 == path.size());
    std::int64_t count = segment.cellCount();
    if (maxLength != nullptr) {
      const float remaining = *maxLength - travelled;
      count = segment.cellsWithin(remaining + kLengthMargin);
    }
    const PathCostStats stats = segment.summarise(count);
    total = merge(stats, total);
    if (count < segment.cellCount()) return total;
    travelled += stats.length;
  }
  return total;
}

}  // namespace Brin
