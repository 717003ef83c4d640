// All that answers are made of: the map, what is prepared of it, layers, and the log.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "korrin/core/scan.hpp"
#include "korrin/io/laser_log.hpp"
#include "korrin/path_planner.hpp"
#include "korrin/pose_search.hpp"
#include "tools/serve/layer_store.hpp"
#include "tools/serve/map_store.hpp"
#include "tools/serve/prepared_cache.hpp"

namespace korrin_tool::serve {

struct NamedPlace {
  Brin::Point2D at;
  std::string name;
};

// What the server was started on.
struct Source {
  std::string name;  // of the file, without its directory
  std::string kind;  // "demo", "map" or "log"
  Brin::OccupancyMap map;
  std::vector<NamedPlace> rooms;
  Brin::Pose2D start;  // two free places to begin with
  Brin::Pose2D goal;
  std::vector<Brin::io::LoggedScan> scans;  // of the log, at corrected poses
  std::vector<Brin::Pose2D> loggedPoses;    // and as they were
  bool isAligned = false;                   // whether matching found better ones
};

struct PlannerKey {
  std::int64_t revision;
  Brin::PlannerSettings settings;

  bool operator==(const PlannerKey& other) const;
};

struct SearchKey {
  std::int64_t revision;
  float threshold;
  float maxDist;

  bool operator==(const SearchKey& other) const {
    return revision == other.revision && threshold == other.threshold && maxDist == other.maxDist;
  }
};

using Planners = PreparedCache<PlannerKey, Brin::PathPlanner>;
using Searches = PreparedCache<SearchKey, Brin::PoseSearch>;

// Const functions of what stands here, and all of its stores, are safe from any threads.
class World {
 public:
  explicit World(Source source);

  const std::string name;
  const std::string kind;
  const std::vector<NamedPlace> rooms;
  const Brin::Pose2D start;
  const Brin::Pose2D goal;
  const std::vector<Brin::io::LoggedScan> scans;
  const std::vector<Brin::Pose2D> loggedPoses;
  const bool isAligned;

  MapStore maps;
  LayerStore layers;
  std::mutex finderMutex;  // for OccMapPathFinder, whose weight is the whole process's

  // The planner on that state of the map. A Refusal when the settings make no sense.
  Planners::Result plannerOn(const MapState& state, const Brin::PlannerSettings& settings);
  Searches::Result searchOn(const MapState& state, float threshold, float maxDist);

  // The log's scan of this number. A Refusal of status 404 or, without a log, 409.
  const Brin::io::LoggedScan& scan(std::size_t number) const;

 private:
  Planners planners_;
  Searches searches_;
};

// Above this a cell is surely free, as planners have it.
constexpr float kSurelyFree = 0.6f;

// A planner, or a Refusal of status 400 with what is wrong with the settings.
std::unique_ptr<Brin::PathPlanner> makePlanner(const Brin::OccupancyMap& map,
                                               const Brin::PlannerSettings& settings);

// Reads a scan in the map as the sensor would: cells below this stop a beam, so that what is
// unknown does not.
constexpr float kBeamThreshold = 0.4f;
std::vector<Brin::RangeReading> takeScan(const Brin::OccupancyMap& map, const SimulatedScan& scan,
                                         float threshold = kBeamThreshold);

}  // namespace korrin_tool::serve
