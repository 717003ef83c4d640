#include "tools/serve/shared_fields.hpp"

#include <limits>

#include "tools/serve/refusal.hpp"

namespace korrin_tool::serve {
namespace {

constexpr float kMostLength = 1000.0f;  // metres: of radii and ranges
constexpr float kTwoPi = 6.2832f;
constexpr std::int64_t kMostBeams = 4000;

}  // namespace

Brin::PlannerSettings defaultSettings() {
  Brin::PlannerSettings settings;
  settings.robotRadius = 0.25f;
  settings.fadeDistance = 0.65f;
  return settings;
}

void readSettings(Fields& fields, Brin::PlannerSettings& settings) {
  const Json* const json = fields.object("settings", Need::May);
  if (json == nullptr) return;
  Fields own(*json, fields.nameOf("settings"));
  own.number("robotRadius", 0.0f, kMostLength, settings.robotRadius);
  own.number("fadeDistance", 0.0f, kMostLength, settings.fadeDistance);
  own.flag("unknownIsFree", settings.unknownIsFree);
  own.number("obstacleThreshold", 0.001f, 1.0f, settings.obstacleThreshold);
  own.number("weight", 0.0f, 1.0f, settings.weight);
  auto steps = static_cast<std::size_t>(settings.neighborhood);
  own.word("neighborhood", Need::May, {"simple", "double", "triple"}, steps);
  settings.neighborhood = static_cast<Brin::OccMapPathFinder::NeighborhoodType>(steps);
  std::int64_t coarse = settings.coarseFactor;
  own.integer("coarseFactor", 1, 1000, coarse);
  settings.coarseFactor = static_cast<std::int32_t>(coarse);
  own.number("angleCostFactor", 0.0f, kMostLength, settings.angleCostFactor);
  own.number("accuracy", 0.0f, kMostLength, settings.accuracy);
  own.done();
}

void readSensor(Fields& fields, Sensor& sensor) {
  const Json* const json = fields.object("sensor", Need::May);
  if (json == nullptr) return;
  Fields own(*json, fields.nameOf("sensor"));
  std::int64_t beams = sensor.beams;
  own.integer("beams", 2, kMostBeams, beams);
  sensor.beams = static_cast<int>(beams);
  own.number("fieldOfView", 0.01f, kTwoPi, sensor.fieldOfView);
  own.number("minRange", 0.0f, kMostLength, sensor.minRange);
  own.number("maxRange", 0.01f, kMostLength, sensor.maxRange);
  own.done();
  if (sensor.minRange < sensor.maxRange) return;
  throw Refusal(400, own.nameOf("minRange") + ": must be less than maxRange");
}

void readSimulatedScan(Fields& fields, SimulatedScan& scan) {
  fields.pose("pose", Need::Must, scan.pose);
  readSensor(fields, scan.sensor);
  fields.number("noise", 0.0f, kMostNoise, scan.noise);
  std::int64_t seed = scan.seed;
  fields.integer("seed", 0, std::numeric_limits<std::uint32_t>::max(), seed);
  scan.seed = static_cast<std::uint32_t>(seed);
}

}  // namespace korrin_tool::serve
