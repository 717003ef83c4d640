#include "tools/serve/robot.hpp"

#include <cmath>

#include "tools/json_numbers.hpp"
#include "tools/serve/plan_json.hpp"
#include "tools/serve/scan_json.hpp"

namespace korrin_tool::serve {

Robot::Robot(const SessionRequest& request) : pose_(request.start) {
  scan_.sensor = request.sensor;
  scan_.noise = request.noise;
  scan_.seed = 0;
}

void Robot::follow(std::vector<Brin::Pose2D> way) {
  way_ = std::move(way);
  next_ = 0;
}

void Robot::lookAt(const Brin::Point2D& place) {
  const double dx = double{place.x} - pose_.x;
  const double dy = double{place.y} - pose_.y;
  if (dx != 0.0 || dy != 0.0) pose_.theta = static_cast<float>(std::atan2(dy, dx));
}

void Robot::move(double distance) {
  for (; next_ < way_.size(); ++next_) {
    const Brin::Pose2D& to = way_[next_];
    const double dx = double{to.x} - pose_.x;
    const double dy = double{to.y} - pose_.y;
    const double left = std::hypot(dx, dy);
    lookAt(to);
    if (left > distance) {
      pose_.x = static_cast<float>(pose_.x + dx / left * distance);
      pose_.y = static_cast<float>(pose_.y + dy / left * distance);
      driven_ += distance;
      return;
    }
    pose_.x = to.x;
    pose_.y = to.y;
    driven_ += left;
    distance -= left;
  }
}

std::vector<Brin::RangeReading> Robot::scan(const Brin::OccupancyMap& map, float threshold) {
  ++steps_;
  ++scan_.seed;
  scan_.pose = pose_;
  return takeScan(map, scan_, threshold);
}

Json Robot::stepJson(const std::vector<Brin::RangeReading>& readings) const {
  Json json = {{"step", steps_}, {"pose", poseJson(pose_)}};
  addBeams(readings, json);
  json["waypoint"] = next_;
  json["driven"] = driven_;
  return json;
}

Event Robot::ended(const std::string& reason, const std::string& sentence) const {
  return {"end",
          {{"reason", reason}, {"sentence", sentence}, {"driven", driven_}, {"steps", steps_}}};
}

Event planEvent(const Brin::Plan& plan, const Brin::Pose2D& goal, const std::string& reason) {
  return {"plan",
          {{"outcome", nameOf(plan.outcome)},
           {"waypoints", pointsJson(plan.waypoints)},
           {"path", pointsJson(plan.path)},
           {"goal", pointJson(goal)},
           {"length", numberJson(plan.length)},
           {"reason", reason},
           {"blocked", blockedJson(plan)}}};
}

}  // namespace korrin_tool::serve
