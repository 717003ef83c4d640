// Fields that several requests have.
#pragma once

#include "tools/serve/fields.hpp"
#include "tools/serve/requests.hpp"

namespace korrin_tool::serve {

constexpr float kMostNoise = 10.0f;  // metres
constexpr float kLeastSpeed = 0.1f;  // metres a second
constexpr float kMostSpeed = 20.0f;

// "settings", over the default ones.
void readSettings(Fields& fields, Brin::PlannerSettings& settings);
// "sensor".
void readSensor(Fields& fields, Sensor& sensor);
// "pose", "sensor", "noise" and "seed".
void readSimulatedScan(Fields& fields, SimulatedScan& scan);

}  // namespace korrin_tool::serve
