#include "src/cost_field.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "core/image_ptr.hpp"
#include "core/lanes.hpp"
#include "core/norm.hpp"
#include "src/step_table.hpp"
#include "src/zeroed_array.hpp"

namespace Brin {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

// The queue: cells by what they cost, the cheapest bucket first.
class CostBuckets {
 public:
  struct Entry {
    float cost;
    std::int32_t cell;
  };

  explicit CostBuckets(float width) : perCost_(1.0 / static_cast<double>(width)) {}

  void add(float cost, std::int32_t cell) {
    buckets_[static_cast<std::size_t>(placeOf(cost) % kCount)].push_back({cost, cell});
    ++size_;
  }

  // Calls use(entry) for all entries, also for those that it adds.
  template <typename Use>
  void drain(Use use) {
    for (std::int64_t place = 0; size_ > 0; ++place) {
      std::vector<Entry>& bucket = buckets_[static_cast<std::size_t>(place % kCount)];
      for (std::size_t i = 0; i < bucket.size(); ++i) use(Entry(bucket[i]));
      size_ -= bucket.size();
      bucket.clear();
    }
  }

 private:
  // The dearest step is sqrt 10 cells long and costs less than three times its length.
  static constexpr std::int64_t kCount = 16;

  std::int64_t placeOf(float cost) const {
    return static_cast<std::int64_t>(static_cast<double>(cost) * perCost_);
  }

  std::array<std::vector<Entry>, kCount> buckets_;
  std::size_t size_ = 0;
  double perCost_;
};

template <typename Table>
class CostField {
 public:
  CostField(const CostGrid& grid, float resolution)
      : grid_(grid), costs_(makeZeroedArray<float>(grid.size())), buckets_(resolution) {
    // Nothing is below what blocked cells and the border have.
    std::transform(grid.costs(), grid.costs() + grid.size(), costs_.get(),
                   [](float step) { return step < kInfinity ? kInfinity : -kInfinity; });
    for (std::size_t i = 0; i < kGroups; ++i) {
      const StepGroup& group = Table::kGroups[i];
      offsets_[i] = grid.offsetOf(group.first.dx, group.first.dy);
      lengths_[i] = Floats{} + kInfinity;
      for (int lane = 0; lane < kLanes; ++lane) {
        if ((group.columns >> lane & 1) == 0) continue;
        lengths_[i][lane] = normOf(group.first.dx + lane, group.first.dy) * resolution;
      }
    }
  }

  void run(Point2Di goal) {
    if (!isFree(goal)) return;
    begin(goal);
    if (Table::kReach == 2) {  // the goal is reached from beside it
      for (const StepOffset& beside : {StepOffset{-1, 0}, {1, 0}, {0, -1}, {0, 1}}) {
        begin({goal.x + beside.dx, goal.y + beside.dy});
      }
    }
    buckets_.drain([this](const CostBuckets::Entry& entry) { spread(entry); });
  }

  void writeTo(IplImage& image) const {
    for (std::int32_t y = 0; y < image.height; ++y) {
      const float* const row = costs_.get() + grid_.cellAt(0, y);
      std::transform(row, row + image.width, imageRow<float>(image, y),
                     [](float cost) { return cost < 0.0f ? kInfinity : cost; });
    }
  }

 private:
  static constexpr std::size_t kGroups = Table::kGroups.size();

  bool isFree(Point2Di cell) const {
    return grid_.contains(cell.x, cell.y) &&
           grid_.costs()[grid_.cellAt(cell.x, cell.y)] < kInfinity;
  }

  void begin(Point2Di cell) {
    if (!isFree(cell)) return;
    const std::int32_t at = grid_.cellAt(cell.x, cell.y);
    costs_.get()[at] = 0.0f;
    buckets_.add(0.0f, at);
  }

  // To the cells from which a step leads here. The steps of each table also lead back.
  void spread(const CostBuckets::Entry& entry) {
    float* const known = costs_.get();
    if (known[entry.cell] < entry.cost) return;
    const float step = grid_.costs()[entry.cell];
    for (std::size_t i = 0; i < kGroups; ++i) {
      const std::int32_t first = entry.cell + offsets_[i];
      const Floats costs = entry.cost + lengths_[i] * step;
      for (unsigned lower = laneBits(costs < load<Floats>(known + first)); lower != 0;
           lower &= lower - 1) {
        const int lane = __builtin_ctz(lower);
        known[first + lane] = costs[lane];
        buckets_.add(costs[lane], first + lane);
      }
    }
  }

  const CostGrid& grid_;
  ZeroedArray<float> costs_;  // from each cell of the grid to the goal
  CostBuckets buckets_;
  std::array<std::int32_t, kGroups> offsets_;
  std::array<Floats, kGroups> lengths_;  // infinity where there is no step
};

}  // namespace

void writeCostField(const CostGrid& grid, float resolution, OccMapPathFinder::NeighborhoodType type,
                    Point2Di goal, IplImage& image) {
  withSteps(type, [&](auto steps) {
    CostField<decltype(steps)> field(grid, resolution);
    field.run(goal);
    field.writeTo(image);
  });
}

}  // namespace Brin
