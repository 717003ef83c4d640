#include "tools/serve/world.hpp"

#include <algorithm>
#include <random>
#include <tuple>

#include "korrin/occupancy_mapper.hpp"
#include "tools/serve/refusal.hpp"

namespace korrin_tool::serve {
namespace {

auto fieldsOf(const Brin::PlannerSettings& s) {
  return std::tie(s.robotRadius, s.fadeDistance, s.unknownIsFree, s.obstacleThreshold, s.weight,
                  s.neighborhood, s.coarseFactor, s.angleCostFactor, s.accuracy);
}

std::int64_t cellsOf(const Brin::OccupancyMap& map) {
  return std::int64_t{map.params.width} * map.params.height;
}

// What the library says of settings, as clients name them.
std::string settingsSentence(std::string message) {
  const std::string name = "PlannerSettings: ";
  const std::size_t at = message.find(name);
  if (at != std::string::npos) message.replace(at, name.size(), "settings.");
  return message;
}

}  // namespace

bool PlannerKey::operator==(const PlannerKey& other) const {
  return revision == other.revision && fieldsOf(settings) == fieldsOf(other.settings);
}

World::World(Source source)
    : name(std::move(source.name)),
      kind(std::move(source.kind)),
      rooms(std::move(source.rooms)),
      start(source.start),
      goal(source.goal),
      scans(std::move(source.scans)),
      loggedPoses(std::move(source.loggedPoses)),
      isAligned(source.isAligned),
      maps(std::move(source.map)) {}

std::unique_ptr<Brin::PathPlanner> makePlanner(const Brin::OccupancyMap& map,
                                               const Brin::PlannerSettings& settings) {
  try {
    return std::make_unique<Brin::PathPlanner>(map, settings);
  } catch (const std::invalid_argument& fault) {
    throw Refusal(400, settingsSentence(fault.what()));
  }
}

Planners::Result World::plannerOn(const MapState& state, const Brin::PlannerSettings& settings) {
  // Once made, a planner looks at its map no more, for nobody refreshes it.
  return planners_.get({state.revision, settings}, cellsOf(state.map),
                       [&]() -> Planners::Pointer { return makePlanner(state.map, settings); });
}

Searches::Result World::searchOn(const MapState& state, float threshold, float maxDist) {
  return searches_.get({state.revision, threshold, maxDist}, cellsOf(state.map), [&] {
    return std::make_shared<const Brin::PoseSearch>(state.map, threshold, maxDist);
  });
}

const Brin::io::LoggedScan& World::scan(std::size_t number) const {
  if (scans.empty()) throw Refusal(409, "there is no log: the server was started without one");
  if (number < scans.size()) return scans[number];
  throw Refusal(404, "there is no scan " + std::to_string(number) + ": the last is " +
                         std::to_string(scans.size() - 1));
}

std::vector<Brin::RangeReading> takeScan(const Brin::OccupancyMap& map, const SimulatedScan& scan,
                                         float threshold) {
  // The mapper only reads; it takes its map for writing because it can do both.
  const Brin::OccupancyMapper mapper(const_cast<Brin::OccupancyMap*>(&map));
  std::vector<Brin::RangeReading> readings;
  mapper.simulateScan(scan.pose, scan.sensor.fieldOfView, scan.sensor.minRange,
                      scan.sensor.maxRange, scan.sensor.beams, readings, threshold);
  if (!(scan.noise > 0.0f)) return readings;
  std::mt19937 random(scan.seed);
  std::normal_distribution<float> noise(0.0f, scan.noise);
  for (Brin::RangeReading& reading : readings) {
    if (reading.status == 0) reading.range = std::max(0.0f, reading.range + noise(random));
  }
  return readings;
}

}  // namespace korrin_tool::serve
