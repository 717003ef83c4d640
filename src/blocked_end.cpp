// What people are told of a blocked end.
#include <string>

#include "korrin/path_planner.hpp"
#include "src/number_text.hpp"

namespace Brin {
namespace {

std::string textOf(const Pose2D& pose) {
  return "(" + shortest(pose.x) + ", " + shortest(pose.y) + ", " + shortest(pose.theta) + ")";
}

std::string reasonText(const BlockedEnd& end) {
  const std::string cell =
      "cell (" + std::to_string(end.cell.x) + ", " + std::to_string(end.cell.y) + ")";
  switch (end.reason) {
    case BlockedReason::None:
      break;
    case BlockedReason::OffTheMap:
      return cell + " lies outside the map";
    case BlockedReason::NotANumber:
      return "the pose, or the value of its cell, is not a number";
    case BlockedReason::Obstacle:
      return "an obstacle is there: " + cell + " holds " + shortest(end.value) +
             ", and free is from " + shortest(end.threshold);
    case BlockedReason::TooNear:
      return "an obstacle is nearer to " + cell + " than the robot's radius";
    case BlockedReason::Unknown:
      return "nobody has seen " + cell + ", and unknown cells block";
  }
  return "nothing blocks it";
}

}  // namespace

std::string describe(const BlockedEnd& end) {
  const std::string reason = reasonText(end);
  if (end.reason == BlockedReason::None) return reason;
  return reason + (end.hasNearestFree ? "; the nearest free pose is " + textOf(end.nearestFree)
                                      : "; no free cell is near");
}

}  // namespace Brin
