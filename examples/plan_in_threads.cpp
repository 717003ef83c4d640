// Four robots plan on one planner at the same time, each on a thread of its own, while another
// thread closes a door: plans share the planner, and a refresh has it alone.
#include <array>
#include <cstddef>
#include <iostream>
#include <korrin/korrin.hpp>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

// A map, its planner and the lock that a refresh needs. Plans alone would need none.
class Floor {
 public:
  Floor() : map_(60, 40, 0.1f, false) {
    map_.reset(1.0f);
    for (int y = 0; y < 20; ++y) map_.setCell(30, y, 0.0f);
    planner_.refresh();
  }

  Brin::Plan plan(const Brin::Pose2D& from, const Brin::Pose2D& to) const {
    const std::shared_lock<std::shared_mutex> lock(mutex_);
    return planner_.plan(from, to);
  }

  void closeDoor() {
    const std::unique_lock<std::shared_mutex> lock(mutex_);
    for (int y = 20; y < 40; ++y) map_.setCell(30, y, 0.0f);
    planner_.refresh(30, 20, 1, 20);  // what changed, and no more
  }

 private:
  Brin::OccupancyMap map_;
  Brin::PathPlanner planner_{map_};
  mutable std::shared_mutex mutex_;
};

int main() {
  Floor floor;
  std::array<Brin::Plan, 4> plans;
  const auto planAll = [&] {
    std::vector<std::thread> robots;
    for (std::size_t i = 0; i < plans.size(); ++i) {
      robots.emplace_back([&, i] {
        plans[i] =
            floor.plan(Brin::Pose2D(1, 0.5f * static_cast<float>(i), 0), Brin::Pose2D(5, 1, 0));
      });
    }
    for (std::thread& robot : robots) robot.join();
  };
  planAll();
  for (const Brin::Plan& plan : plans) std::cout << plan.length << " m\n";

  std::thread(&Floor::closeDoor, &floor).join();
  planAll();
  for (const Brin::Plan& plan : plans) {
    if (plan.outcome == Brin::PlanOutcome::NoPath) std::cout << "no way\n";
  }
}
