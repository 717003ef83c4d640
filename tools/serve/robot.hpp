// A simulated robot's body: where it is, the way before it, what its sensor reads.
#pragma once

#include <cstdint>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "tools/serve/requests.hpp"
#include "tools/serve/simulation.hpp"

namespace korrin_tool::serve {

class Robot {
 public:
  explicit Robot(const SessionRequest& request);

  const Brin::Pose2D& pose() const { return pose_; }
  double driven() const { return driven_; }
  std::int64_t steps() const { return steps_; }
  const std::vector<Brin::Pose2D>& way() const { return way_; }
  std::size_t waypoint() const { return next_; }
  bool hasArrived() const { return next_ >= way_.size(); }

  // The waypoints to follow from here on.
  void follow(std::vector<Brin::Pose2D> way);

  // Goes `distance` metres along the way, or to its end, and looks where it goes.
  void move(double distance);

  void lookAt(const Brin::Point2D& place);

  // A scan from here; each has noise of its own. Cells below `threshold` stop beams.
  std::vector<Brin::RangeReading> scan(const Brin::OccupancyMap& map, float threshold);

  // What every step tells: its number, the pose and the scan.
  Json stepJson(const std::vector<Brin::RangeReading>& readings) const;

  Event ended(const std::string& reason, const std::string& sentence) const;

 private:
  Brin::Pose2D pose_;
  std::vector<Brin::Pose2D> way_;
  std::size_t next_ = 0;  // of the way
  double driven_ = 0.0;
  std::int64_t steps_ = 0;
  SimulatedScan scan_;
};

// The event that tells of a plan, and why it was made.
Event planEvent(const Brin::Plan& plan, const Brin::Pose2D& goal, const std::string& reason);

}  // namespace korrin_tool::serve
