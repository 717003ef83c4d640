#include "tools/serve/plan_json.hpp"

#include "tools/json_numbers.hpp"

namespace korrin_tool::serve {
namespace {

const char* nameOf(Brin::BlockedReason reason) {
  switch (reason) {
    case Brin::BlockedReason::OffTheMap:
      return "offTheMap";
    case Brin::BlockedReason::NotANumber:
      return "notANumber";
    case Brin::BlockedReason::Obstacle:
      return "obstacle";
    case Brin::BlockedReason::TooNear:
      return "tooNear";
    case Brin::BlockedReason::Unknown:
      return "unknown";
    case Brin::BlockedReason::None:
      break;
  }
  return "none";
}

}  // namespace

const char* nameOf(Brin::PlanOutcome outcome) {
  switch (outcome) {
    case Brin::PlanOutcome::Found:
      return "found";
    case Brin::PlanOutcome::StartBlocked:
      return "startBlocked";
    case Brin::PlanOutcome::GoalBlocked:
      return "goalBlocked";
    case Brin::PlanOutcome::NoPath:
      break;
  }
  return "noPath";
}

Json pointsJson(const std::vector<Brin::Pose2D>& poses) {
  Json json = Json::array();
  for (const Brin::Pose2D& pose : poses) json.push_back(pointJson(pose));
  return json;
}

Json blockedJson(const Brin::Plan& plan) {
  if (plan.blocked.reason == Brin::BlockedReason::None) return nullptr;
  const Brin::BlockedEnd& blocked = plan.blocked;
  const bool isStart = plan.outcome == Brin::PlanOutcome::StartBlocked;
  return {{"end", isStart ? "start" : "goal"},
          {"reason", nameOf(blocked.reason)},
          {"sentence", Brin::describe(blocked)},
          {"cell", {blocked.cell.x, blocked.cell.y}},
          {"value", numberJson(blocked.value)},
          {"threshold", numberJson(blocked.threshold)},
          {"nearestFree", blocked.hasNearestFree ? pointJson(blocked.nearestFree) : Json(nullptr)}};
}

}  // namespace korrin_tool::serve
