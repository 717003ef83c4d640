// Numbers, points and poses as JSON.
#pragma once

#include <nlohmann/json.hpp>

#include "korrin/core/geometry.hpp"

namespace korrin_tool {

// A number that JSON shows as shortly as the float needs; null when it is not finite.
nlohmann::ordered_json numberJson(float value);
// [x, y] and [x, y, theta].
nlohmann::ordered_json pointJson(const Brin::Point2D& point);
nlohmann::ordered_json poseJson(const Brin::Pose2D& pose);

}  // namespace korrin_tool
