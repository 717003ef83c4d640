// A robot that goes about in the map, a tenth of a second at a time.
//
//   std::unique_ptr<Simulation> robot = makeDrive(world, request);
//   while (!robot->isDone()) send(robot->step(speed));
//
// One thread at a time.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/serve/fields.hpp"
#include "tools/serve/requests.hpp"
#include "tools/serve/world.hpp"

namespace korrin_tool::serve {

constexpr double kStepSeconds = 0.1;

struct Event {
  std::string name;  // "plan", "step" or "end"
  Json data;
};

class Simulation {
 public:
  virtual ~Simulation() = default;

  // What happens in the next step, driving at `speed` (metres a second); the last event of all is
  // "end". The map is as it is now.
  virtual std::vector<Event> step(float speed) = 0;

  // The robot is to go there from the next step on; not every robot takes goals.
  virtual void setGoal(const Brin::Pose2D& goal) = 0;

  // Ends it: the event that says so.
  virtual Event ended(const std::string& reason, const std::string& sentence) const = 0;

  virtual bool isDone() const = 0;

  // The grid that it builds; null when it builds none.
  virtual std::shared_ptr<const LayerGrid> grid() const { return nullptr; }
};

// Along the waypoints of a plan, scanning; planning again when the map changes.
std::unique_ptr<Simulation> makeDrive(World& world, const SessionRequest& request);

// Through all that can be reached, knowing nothing but its scans: to the nearest unknown cell, and
// so on until none is left.
std::unique_ptr<Simulation> makeExploration(World& world, const SessionRequest& request);

}  // namespace korrin_tool::serve
