#include "tools/serve/free_ends.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

#include "tools/serve/world.hpp"

namespace korrin_tool::serve {
namespace {

constexpr int kMostSquares = 400;   // along the longer side of the map
constexpr float kClearance = 0.3f;  // metres

// The map in squares, each free when all of its cells are.
class Squares {
 public:
  explicit Squares(const Brin::OccupancyMap& map)
      : map_(map),
        side_(1 + (std::max(map.params.width, map.params.height) - 1) / kMostSquares),
        columns_(map.params.width / side_),
        rows_(map.params.height / side_),
        free_(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_), false) {
    for (int y = 0; y < rows_; ++y) {
      for (int x = 0; x < columns_; ++x) free_[numberOf(x, y)] = allFree(x, y);
    }
  }

  // Squares beside one that is not free become not free, as often as the clearance asks for;
  // nothing changes when none would be left.
  void keepClear() {
    const float steps = kClearance / (map_.params.resolution * static_cast<float>(side_));
    for (int i = 0; i < std::min(20, static_cast<int>(std::ceil(steps))); ++i) {
      std::vector<bool> left = free_;
      for (std::size_t k = 0; k < free_.size(); ++k) left[k] = free_[k] && isSurrounded(k);
      if (std::find(left.begin(), left.end(), true) == left.end()) return;
      free_ = std::move(left);
    }
  }

  // All squares of the part that `first` is in, in order of their distance from it.
  std::vector<std::size_t> partFrom(std::size_t first, std::vector<bool>& seen) const {
    std::vector<std::size_t> part = {first};
    seen[first] = true;
    for (std::size_t next = 0; next < part.size(); ++next) {
      const int x = columnOf(part[next]);
      const int y = rowOf(part[next]);
      const int besides[][2] = {{x - 1, y}, {x + 1, y}, {x, y - 1}, {x, y + 1}};
      for (const auto& beside : besides) {
        if (!isFree(beside[0], beside[1]) || seen[numberOf(beside[0], beside[1])]) continue;
        seen[numberOf(beside[0], beside[1])] = true;
        part.push_back(numberOf(beside[0], beside[1]));
      }
    }
    return part;
  }

  std::vector<std::size_t> largestPart() const {
    std::vector<bool> seen(free_.size(), false);
    std::vector<std::size_t> largest;
    for (std::size_t k = 0; k < free_.size(); ++k) {
      if (!free_[k] || seen[k]) continue;
      std::vector<std::size_t> part = partFrom(k, seen);
      if (part.size() > largest.size()) largest = std::move(part);
    }
    return largest;
  }

  std::size_t farthestFrom(std::size_t square) const {
    std::vector<bool> seen(free_.size(), false);
    return partFrom(square, seen).back();
  }

  Brin::Pose2D middleOf(std::size_t square) const {
    return map_.getPoseFromPixel(
        {columnOf(square) * side_ + side_ / 2, rowOf(square) * side_ + side_ / 2, 0.0f});
  }

 private:
  int columnOf(std::size_t k) const { return static_cast<int>(k) % columns_; }
  int rowOf(std::size_t k) const { return static_cast<int>(k) / columns_; }
  std::size_t numberOf(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(columns_) +
           static_cast<std::size_t>(x);
  }
  bool isFree(int x, int y) const {
    return x >= 0 && y >= 0 && x < columns_ && y < rows_ && free_[numberOf(x, y)];
  }
  bool isSurrounded(std::size_t k) const {
    const int x = columnOf(k);
    const int y = rowOf(k);
    return isFree(x - 1, y) && isFree(x + 1, y) && isFree(x, y - 1) && isFree(x, y + 1);
  }
  bool allFree(int x, int y) const {
    for (int row = y * side_; row < (y + 1) * side_; ++row) {
      for (int column = x * side_; column < (x + 1) * side_; ++column) {
        if (!(map_.getCell(column, row) > kSurelyFree)) return false;
      }
    }
    return true;
  }

  const Brin::OccupancyMap& map_;
  int side_;  // cells
  int columns_;
  int rows_;
  std::vector<bool> free_;
};

}  // namespace

std::pair<Brin::Pose2D, Brin::Pose2D> freeEnds(const Brin::OccupancyMap& map) {
  Squares squares(map);
  squares.keepClear();
  const std::vector<std::size_t> part = squares.largestPart();
  if (part.empty()) {
    const Brin::Pose2D middle =
        map.getPoseFromPixel({map.params.width / 2, map.params.height / 2, 0.0f});
    return {middle, middle};
  }
  const std::size_t start = squares.farthestFrom(part.front());
  return {squares.middleOf(start), squares.middleOf(squares.farthestFrom(start))};
}

}  // namespace korrin_tool::serve
