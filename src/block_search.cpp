#include "src/block_search.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <tuple>

#include "src/distance_square.hpp"

namespace Brin {
namespace {

constexpr std::int32_t kWidestLevel = 31;  // a block of it holds any grid
constexpr std::int64_t kFewRoots = 16;
constexpr std::int64_t kMostRoots = 1 << 22;  // at once
constexpr int kTellingTable = 4;              // wider windows tell little
constexpr std::size_t kMostTurned = 1 << 21;  // points at once
constexpr std::size_t kSpread = 32;           // points that are looked at together

std::int32_t sizeAlong(std::int32_t steps) { return 2 * steps + 1; }

std::int64_t blocksAlong(std::int32_t size, std::int32_t level) {
  return ((std::int64_t{size} - 1) >> level) + 1;
}

}  // namespace

float SearchTables::score(const std::vector<Point2D>& points, const Pose2D& pose) const {
  const float heading = frame.headingOf(pose.theta);
  const Turn turn{std::sin(heading), std::cos(heading)};
  const float sum = pyramid.sumAt(points, turn, frame.placeOf(pose.x, pose.y), inv);
  return scoreOf(sum, 0, points.size(), cutOff, nullptr, 1);
}

BlockSearch::BlockSearch(const SearchTables& tables, const std::vector<Point2D>& points,
                         const PoseGrid& grid, const Separation& separation)
    : tables_(tables),
      points_(points),
      grid_(grid),
      separation_(separation),
      size_{sizeAlong(grid.shiftsX()), sizeAlong(grid.shiftsY()), sizeAlong(grid.turns())},
      steps_(grid, tables.frame, tables.inv, tables.pyramid.area()) {
  chooseBounds();
  chooseLevels();
  chooseHeadings();
}

void BlockSearch::chooseBounds() {
  const float most = tables_.pyramid.most();
  const float whole = static_cast<float>(points_.size()) * tables_.cutOff;
  // No pose is better than another: their scores are 0, or -0.
  const bool isFlat = !(most > 0.0f) || !std::isfinite(whole) || points_.empty() ||
                      !tables_.frame.isFinite() || !std::isfinite(grid_.centre.x) ||
                      !std::isfinite(grid_.centre.y);
  // Matches make the score worse, where distances are negative and the cut-off, too.
  const bool isReversed = std::signbit(tables_.cutOff);
  isBlind_ = isFlat || isReversed;
  float sum = 0.0f;
  for (std::size_t i = 0; i < points_.size(); ++i) sum += most;
  highest_ = isFlat || isReversed ? 0.0f : scoreOfSum(sum);
  if (!isBlind_) {
    mostLevels_ = ScoreLevels::kHighest * static_cast<std::int64_t>(points_.size());
  }
}

void BlockSearch::chooseLevels() {
  const float pixels = grid_.step * std::fabs(tables_.inv) * tables_.frame.spread();
  for (std::int32_t level = 0; level <= kWidestLevel; ++level) {
    // How many pixels a block's poses move a point over, apart from rounding.
    const float span = (std::ldexp(1.0f, level) - 1.0f) * pixels + 0.999f;
    int table = 0;
    while (table < ScorePyramid::kTop && std::ldexp(1.0f, table) < span) ++table;
    tableLevels_.push_back(table);
  }
  const int top = tables_.pyramid.tables() - 1 - steps_.shift();
  boundsTogether_ = !isBlind_ && steps_.areWhole() && top >= 0;
  levelsDown_ = boundsTogether_ ? 2 : 1;
  const std::int32_t widest = boundsTogether_ ? top : kWidestLevel;
  // Coarse enough for few roots, fine enough for their bounds to tell something.
  const auto isFine = [&](std::int32_t level) {
    return rootsAt(level) <= kFewRoots ||
           (rootsAt(level) <= kMostRoots &&
            tableLevels_[static_cast<std::size_t>(level)] >= kTellingTable);
  };
  while (rootLevel_ + levelsDown_ <= widest && !isFine(rootLevel_)) rootLevel_ += levelsDown_;
  rootsAlong_ = {blocksAlong(size_.i, rootLevel_), blocksAlong(size_.j, rootLevel_)};
}

std::int64_t BlockSearch::rootsAt(std::int32_t level) const {
  // Below 2^63, as the grid's poses are.
  return blocksAlong(size_.i, level) * blocksAlong(size_.j, level) * size_.k;
}

void BlockSearch::chooseHeadings() {
  const std::int64_t byRoots = kMostRoots / (rootsAt(rootLevel_) / size_.k);
  const auto byPoints = static_cast<std::int64_t>(kMostTurned / (points_.size() + 1));
  headingsAtOnce_ =
      static_cast<std::int32_t>(std::clamp<std::int64_t>(std::min(byRoots, byPoints), 1, size_.k));
  rootUnit_ = 1 + mostLevels_ / std::numeric_limits<std::int32_t>::max();
}

float BlockSearch::scoreOfSum(float sum) const {
  return scoreOf(sum, 0, points_.size(), tables_.cutOff, nullptr, 1);
}

float BlockSearch::scoreUpTo(std::int64_t levels) const {
  if (isBlind_) return highest_;
  return std::min(highest_, scoreOfSum(tables_.pyramid.levels().sumUpTo(levels, points_.size())));
}

// The fewest levels whose bound is above `score`, or equal to it.
std::int64_t BlockSearch::leastAbove(float score, bool orEqual) const {
  std::int64_t low = 0;
  std::int64_t high = mostLevels_ + 1;
  while (low < high) {
    const std::int64_t middle = low + (high - low) / 2;
    const float bound = scoreUpTo(middle);
    if (bound > score || (orEqual && bound == score)) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return low;
}

bool BlockSearch::findNext() {
  hasBest_ = false;
  neededEarlier_ = neededLater_ = 0;
  for (std::int64_t k = 0; k < size_.k; k += headingsAtOnce_) {
    enterHeadings(static_cast<std::int32_t>(k));
    for (const Block& root : promisingRoots()) searchBelow(root);
    for (std::size_t i = 0; i < roots_.size(); ++i) {
      const Block root = rootAt(i);
      if (root.bound >= neededFrom(root.first)) searchBelow(root);
    }
  }
  if (hasBest_) answers_.push_back(best_);
  return hasBest_;
}

// Turns the points by some headings and makes the roots, unless they are at hand.
void BlockSearch::enterHeadings(std::int32_t first) {
  if (first == firstHeading_) return;
  firstHeading_ = first;
  headings_.clear();
  roots_.clear();
  const std::int32_t count = std::min(headingsAtOnce_, size_.k - first);
  for (std::int32_t k = first; k < first + count; ++k) headings_.push_back(headingOf(k));
  roots_.assign(static_cast<std::size_t>(rootsAlong_.i * rootsAlong_.j * count), 0);
  for (std::int32_t k = first; k < first + count; ++k) boundRoots(k);
}

BlockSearch::Heading BlockSearch::headingOf(std::int32_t k) const {
  Heading heading;
  if (isBlind_) return heading;
  const float theta = tables_.frame.headingOf(poseOf({0, 0, k}).theta);
  const Turn turn{std::sin(theta), std::cos(theta)};
  // Neighbours in a scan tell the same, so those looked at together are from all around.
  const std::size_t apart = (points_.size() + kSpread - 1) / kSpread;
  for (std::size_t begin = 0; begin < apart; ++begin) {
    for (std::size_t i = begin; i < points_.size(); i += apart) {
      const float x = turn.x(points_[i]);
      const float y = turn.y(points_[i]);
      if (!std::isfinite(x) || !std::isfinite(y)) continue;
      heading.x.push_back(x);
      heading.y.push_back(y);
      if (boundsTogether_ && !steps_.add(x, y, heading.pixels)) ++heading.unplaced;
    }
  }
  return heading;
}

void BlockSearch::boundRoots(std::int32_t k) {
  std::vector<Block> tile;
  const std::int32_t level = rootLevel_ + (boundsTogether_ ? levelsDown_ : 0);
  const std::int64_t side = std::int64_t{1} << level;
  for (std::int64_t j = 0; j < size_.j; j += side) {
    for (std::int64_t i = 0; i < size_.i; i += side) {
      const Cell first{static_cast<std::int32_t>(i), static_cast<std::int32_t>(j), k};
      tile.clear();
      if (boundsTogether_) {
        addParts({mostLevels_, first, level}, tile);
      } else {
        tile.push_back({boundOf(first, level), first, level});
      }
      for (const Block& root : tile) setRoot(root);
    }
  }
}

void BlockSearch::setRoot(const Block& root) {
  const std::int64_t row =
      std::int64_t{root.first.k - firstHeading_} * rootsAlong_.j + (root.first.j >> rootLevel_);
  roots_[static_cast<std::size_t>(row * rootsAlong_.i + (root.first.i >> rootLevel_))] =
      static_cast<std::int32_t>((root.bound + rootUnit_ - 1) / rootUnit_);
}

BlockSearch::Block BlockSearch::rootAt(std::size_t index) const {
  const auto at = static_cast<std::int64_t>(index);
  const std::int64_t row = at / rootsAlong_.i;
  return {roots_[index] * rootUnit_,
          {static_cast<std::int32_t>((at % rootsAlong_.i) << rootLevel_),
           static_cast<std::int32_t>((row % rootsAlong_.j) << rootLevel_),
           firstHeading_ + static_cast<std::int32_t>(row / rootsAlong_.j)},
          rootLevel_};
}

// Some of the roots of the highest bounds, from the highest down.
std::vector<BlockSearch::Block> BlockSearch::promisingRoots() const {
  constexpr std::size_t kSome = 1000;
  constexpr std::size_t kClasses = 1024;
  std::vector<std::size_t> members(kClasses);
  const float scale = static_cast<float>(kClasses - 1) /
                      static_cast<float>(std::max<std::int64_t>(mostLevels_ / rootUnit_, 1));
  const auto classOf = [&](std::int32_t bound) {
    return std::min(static_cast<std::size_t>(static_cast<float>(bound) * scale), kClasses - 1);
  };
  for (const std::int32_t bound : roots_) ++members[classOf(bound)];
  std::size_t lowest = kClasses - 1;
  for (std::size_t sum = members[lowest]; lowest > 0 && sum < kSome; sum += members[lowest]) {
    --lowest;
  }
  std::vector<Block> promising;
  for (std::size_t i = 0; i < roots_.size() && promising.size() < 2 * kSome; ++i) {
    if (classOf(roots_[i]) >= lowest) promising.push_back(rootAt(i));
  }
  std::sort(promising.begin(), promising.end(),
            [](const Block& a, const Block& b) { return isLater(b, a); });
  return promising;
}

// Depth first, the part of the highest bound first.
void BlockSearch::searchBelow(const Block& block) {
  stack_.assign(1, block);
  while (!stack_.empty()) {
    const Block top = stack_.back();
    stack_.pop_back();
    const auto bottom = static_cast<std::ptrdiff_t>(stack_.size());
    visit(top, stack_);
    std::sort(stack_.begin() + bottom, stack_.end(), isLater);
  }
}

// Tries the pose of a block that has only one; of others, appends the parts that may hold a better
// pose than the best so far.
void BlockSearch::visit(const Block& block, std::vector<Block>& parts) {
  if (block.bound < neededFrom(block.first)) return;
  if (block.level == 0) {
    tryPose(block.first);
  } else if (answers_.empty() || !isWhollyTaken(block.first, block.level)) {
    addParts(block, parts);
  }
}

// The order of the search, backwards: the highest bound comes first, and then the grid's order.
bool BlockSearch::isLater(const Block& a, const Block& b) {
  return a.bound != b.bound ? a.bound < b.bound : isEarlier(b.first, a.first);
}

// Appends the parts of a block that may hold a better pose.
void BlockSearch::addParts(const Block& block, std::vector<Block>& parts) const {
  const std::int32_t level = std::max(block.level - levelsDown_, 0);
  const std::int64_t side = std::int64_t{1} << level;
  const int count = 1 << (block.level - level);
  std::int64_t bounds[16] = {};
  const bool areBounded = boundsTogether_ && (level > 0 || steps_.shift() == 0);
  if (areBounded && !boundTogether(block, bounds)) return;
  for (int part = 0; part < count * count; ++part) {
    const std::int64_t i = block.first.i + side * (part % count);
    const std::int64_t j = block.first.j + side * (part / count);
    if (i >= size_.i || j >= size_.j) continue;
    const Cell first{static_cast<std::int32_t>(i), static_cast<std::int32_t>(j), block.first.k};
    const std::int64_t bound = areBounded ? bounds[part] : boundOf(first, level);
    if (bound >= neededFrom(first)) parts.push_back({bound, first, level});
  }
}

// The bounds of a block's sixteen parts; false where all of them are sure to be too low.
bool BlockSearch::boundTogether(const Block& block, std::int64_t bounds[16]) const {
  const int shift = steps_.shift();
  const SixteenBlocks blocks{block.level - levelsDown_ + shift, block.first.i * (1 << shift),
                             block.first.j * (1 << shift)};
  const Heading& heading = at(block.first.k);
  std::fill_n(bounds, 16, heading.unplaced * ScoreLevels::kHighest);
  return tables_.pyramid.addBounds(blocks, heading.pixels, neededFrom(block.first), bounds);
}

std::int64_t BlockSearch::boundOf(const Cell& first, std::int32_t level) const {
  if (isBlind_) return 0;
  PlaceBox box = tables_.frame.placesOf(poseOf(first), poseOf(lastOf(first, level)));
  if (tables_.inv < 0.0f) {
    std::swap(box.lowX, box.highX);
    std::swap(box.lowY, box.highY);
  }
  const Heading& heading = at(first.k);
  return tables_.pyramid.boundOver(tableLevels_[static_cast<std::size_t>(level)],
                                   {heading.x.data(), heading.y.data(), heading.x.size()}, box,
                                   tables_.inv, neededFrom(first));
}

void BlockSearch::tryPose(const Cell& cell) {
  if (isTaken(cell)) return;
  const float score = tables_.score(points_, poseOf(cell));
  if (hasBest_ && (score < bestScore_ || (score == bestScore_ && !isEarlier(cell, best_)))) return;
  hasBest_ = true;
  best_ = cell;
  bestScore_ = score;
  neededEarlier_ = leastAbove(score, true);
  neededLater_ = leastAbove(score, false);
}

std::int64_t BlockSearch::neededFrom(const Cell& first) const {
  return hasBest_ && isEarlier(first, best_) ? neededEarlier_ : neededLater_;
}

Pose2D BlockSearch::poseOf(const Cell& cell) const {
  return grid_.pose(cell.i - size_.i / 2, cell.j - size_.j / 2, cell.k - size_.k / 2);
}

BlockSearch::Cell BlockSearch::lastOf(const Cell& first, std::int32_t level) const {
  const std::int64_t side = std::int64_t{1} << level;
  return {static_cast<std::int32_t>(std::min<std::int64_t>(first.i + side, size_.i) - 1),
          static_cast<std::int32_t>(std::min<std::int64_t>(first.j + side, size_.j) - 1), first.k};
}

bool BlockSearch::isEarlier(const Cell& a, const Cell& b) {
  return std::tie(a.k, a.j, a.i) < std::tie(b.k, b.j, b.i);
}

bool BlockSearch::isTaken(const Cell& cell) const {
  const Pose2D q = poseOf(cell);
  return std::any_of(answers_.begin(), answers_.end(), [&](const Cell& answer) {
    if (std::tie(cell.i, cell.j, cell.k) == std::tie(answer.i, answer.j, answer.k)) return true;
    const Pose2D p = poseOf(answer);
    return !(computeNorm({q.x - p.x, q.y - p.y}) >= separation_.metres) &&
           !(std::fabs(canonicalAngle(q.theta - p.theta)) >= separation_.radians);
  });
}

// Whether every pose of a block is too near to one answer. Differences to it are monotone in the
// pose, and computeNorm is in their sizes, so the corners tell.
bool BlockSearch::isWhollyTaken(const Cell& first, std::int32_t level) const {
  const Pose2D low = poseOf(first);
  const Pose2D high = poseOf(lastOf(first, level));
  return std::any_of(answers_.begin(), answers_.end(), [&](const Cell& answer) {
    const Pose2D p = poseOf(answer);
    const Point2D farthest(std::max(std::fabs(low.x - p.x), std::fabs(high.x - p.x)),
                           std::max(std::fabs(low.y - p.y), std::fabs(high.y - p.y)));
    return computeNorm(farthest) < separation_.metres &&
           !(std::fabs(canonicalAngle(low.theta - p.theta)) >= separation_.radians);
  });
}

}  // namespace Brin
