#include "tools/json_numbers.hpp"

#include <charconv>
#include <cmath>

namespace korrin_tool {

nlohmann::ordered_json numberJson(float value) {
  if (!std::isfinite(value)) return nullptr;
  char text[32];
  const auto written = std::to_chars(text, text + sizeof text, value);
  double number = 0.0;
  std::from_chars(text, written.ptr, number);
  return number;
}

nlohmann::ordered_json pointJson(const Brin::Point2D& point) {
  return {numberJson(point.x), numberJson(point.y)};
}

nlohmann::ordered_json poseJson(const Brin::Pose2D& pose) {
  return {numberJson(pose.x), numberJson(pose.y), numberJson(pose.theta)};
}

}  // namespace korrin_tool
