// What clients may ask for, read from JSON. Each function takes the body of a request; whatever is
// wrong with it is a Refusal of status 400 (see fields.hpp). docs/serve.md tells the fields.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/path_planner.hpp"

namespace korrin_tool::serve {

// How the server plans when a request does not say: for a robot of half a metre.
Brin::PlannerSettings defaultSettings();

struct Sensor {
  int beams = 541;
  float fieldOfView = 4.71238898f;  // radians: three quarters of a turn
  float minRange = 0.05f;           // metres
  float maxRange = 12.0f;
};

// A scan that is simulated in the map.
struct SimulatedScan {
  Brin::Pose2D pose;
  Sensor sensor;
  float noise = 0.0f;      // standard deviation of the ranges, metres
  std::uint32_t seed = 1;  // of that noise
};

struct PlanRequest {
  Brin::Pose2D start;
  Brin::Pose2D goal;
  Brin::PlannerSettings settings;
  bool searched = false;  // the cells that were searched as well
};

enum class LayerKind { Grown, Cost, Distance, Searched };

struct LayerRequest {
  LayerKind kind = LayerKind::Grown;
  Brin::Pose2D start;
  Brin::Pose2D goal;
  Brin::PlannerSettings settings;
};

struct CellRequest {
  Brin::Pose2D at;
  std::string layer = "map";
};

struct ScanRequest {
  SimulatedScan scan;
  float minWidth = 0.8f;       // of openings, metres
  float obstacleRange = 1.0f;  // how near an obstacle is, metres
};

struct LocateRequest {
  std::optional<SimulatedScan> scan;  // either this
  std::optional<std::size_t> number;  // or a scan of the log
  std::optional<Brin::Pose2D> near;   // else the whole map
  float window = 2.0f;                // around it, metres
  float turn = Brin::kPi;             // and radians
  std::optional<float> step;          // metres; else the map's resolution
  float turnStep = 0.0174532925f;     // radians
  float maxDist = 0.3f;               // metres
  float threshold = 0.45f;
  int count = 3;
  bool heat = false;  // the scores of the whole map as well
};

struct SessionRequest {
  Brin::Pose2D start;
  Brin::Pose2D goal;  // of a drive
  Brin::PlannerSettings settings;
  Sensor sensor;
  float noise = 0.0f;
  float speed = 1.0f;  // metres a second
};

struct ControlRequest {
  std::optional<float> speed;
  std::optional<bool> paused;
  std::optional<Brin::Pose2D> goal;
};

struct Stroke {
  float value = 0.0f;  // of the cells
  float width = 0.0f;  // metres
  std::vector<Brin::Point2D> points;
};

PlanRequest parsePlanRequest(const std::string& body);
LayerRequest parseLayerRequest(const std::string& body);
CellRequest parseCellRequest(const std::string& body);
ScanRequest parseScanRequest(const std::string& body);
LocateRequest parseLocateRequest(const std::string& body);
SessionRequest parseDriveRequest(const std::string& body);
SessionRequest parseExploreRequest(const std::string& body);
ControlRequest parseControlRequest(const std::string& body);
std::vector<Stroke> parseDrawRequest(const std::string& body);
void parseEmptyRequest(const std::string& body);

}  // namespace korrin_tool::serve
