#include "tools/serve/frontier.hpp"

#include <cmath>
#include <vector>

#include "tools/serve/world.hpp"

namespace korrin_tool::serve {
namespace {

constexpr float kUnseen = 0.5f;
constexpr int kUnseenAround = 4;

// A cell that the search came to.
struct Visit {
  int x;
  int y;
  int goalX;  // the last cell on the way that is free to the planner
  int goalY;
  int beyond;  // steps since then
};

class FrontierSearch {
 public:
  FrontierSearch(const Brin::OccupancyMap& known, const Brin::PathPlanner& planner,
                 const CellSet& givenUp)
      : known_(known),
        free_(planner.fineMap()),
        threshold_(planner.settings().obstacleThreshold),
        mostBeyond_(2 + static_cast<int>(planner.settings().robotRadius / known.params.resolution)),
        givenUp_(givenUp),
        seen_(static_cast<std::size_t>(known.params.width) *
                  static_cast<std::size_t>(known.params.height),
              false) {}

  std::optional<Frontier> run(const Brin::Pose2Di& start) {
    if (!known_.isInside(start.x, start.y)) return std::nullopt;
    seen_[numberOf(start.x, start.y)] = true;
    std::vector<Visit> visits = {{start.x, start.y, start.x, start.y, 0}};
    for (std::size_t next = 0; next < visits.size(); ++next) {
      const Visit at = visits[next];
      for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
          if (const auto found = look(at, at.x + dx, at.y + dy, visits)) return found;
        }
      }
    }
    return std::nullopt;
  }

 private:
  std::size_t numberOf(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(known_.params.width) +
           static_cast<std::size_t>(x);
  }

  // Looks at a neighbour: it is what is searched for, or the search goes on from it, or neither.
  std::optional<Frontier> look(const Visit& from, int x, int y, std::vector<Visit>& visits) {
    if (!known_.isInside(x, y) || seen_[numberOf(x, y)]) return std::nullopt;
    const float value = known_.getCell(x, y);
    if (isUnseen(value)) {
      seen_[numberOf(x, y)] = true;
      if (givenUp_.count(static_cast<std::int64_t>(numberOf(x, y))) > 0) return std::nullopt;
      if (unseenAround(x, y) < kUnseenAround) return std::nullopt;
      return Frontier{{from.goalX, from.goalY, 0.0f}, {x, y, 0.0f}};
    }
    if (free_.getCell(x, y) >= threshold_) {
      if (from.beyond > 0) return std::nullopt;
      seen_[numberOf(x, y)] = true;
      visits.push_back({x, y, x, y, 0});
    } else if (value > kSurelyFree && from.beyond < mostBeyond_) {
      seen_[numberOf(x, y)] = true;
      visits.push_back({x, y, from.goalX, from.goalY, from.beyond + 1});
    }
    return std::nullopt;
  }

  int unseenAround(int x, int y) const {
    int count = -1;  // without the cell itself
    for (int dy = -1; dy <= 1; ++dy) {
      for (int dx = -1; dx <= 1; ++dx) count += isUnseen(known_.getCell(x + dx, y + dy)) ? 1 : 0;
    }
    return count;
  }

  const Brin::OccupancyMap& known_;
  const Brin::OccupancyMap& free_;
  const float threshold_;
  const int mostBeyond_;
  const CellSet& givenUp_;
  std::vector<bool> seen_;
};

}  // namespace

bool isUnseen(float value) { return value == kUnseen; }

std::optional<Frontier> nearestFrontier(const Brin::OccupancyMap& known,
                                        const Brin::PathPlanner& planner,
                                        const Brin::Pose2Di& start, const CellSet& givenUp) {
  return FrontierSearch(known, planner, givenUp).run(start);
}

}  // namespace korrin_tool::serve
