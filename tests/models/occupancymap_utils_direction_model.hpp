// The main direction of obstacles, step by step, with the records that the steps leave.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "models/occupancymap_utils_model.hpp"
#include "models/range_simulation_model.hpp"

namespace korrin_model {

struct DirectionRecord {
  int level;
  std::string message;
  int line;
};

inline bool findObstaclesMainDirection(const Brin::OccupancyMap& map, const Brin::Pose2Di& start,
                                       float range, float& direction, float threshold,
                                       std::vector<DirectionRecord>& records) {
  Brin::Pose2Di cell = start;
  if (valueAt(map, start.x, start.y) < threshold) {
    records.push_back({1, "Start is inside obstacles.", 78});
    if (!korrin_model::findFirstFreeCell(map, start, cell, threshold)) {
      records.push_back({1, "Could not find free cell.", 84});
      return false;
    }
  }
  const Brin::Pose2D pose = map.getPoseFromPixel({cell.x, cell.y, 0.0f});
  Brin::ScanModel model(100, 5.0f * range, 6.2831855f);
  model.minRange = 0.001f;
  std::vector<Brin::RangeReading> readings;
  korrin_model::occMapSimulateScan(map, model, pose, readings, threshold);
  std::vector<Brin::Pose2D> list;
  for (const Brin::RangeReading& reading : readings) {
    if (reading.status == 0 && reading.range < range) list.emplace_back(0.0f, 0.0f, reading.angle);
  }
  if (list.empty()) {
    records.push_back({1, "No obstacles.", 113});
    return false;
  }
  const Brin::Pose2D average = Brin::avgPose2D(list);
  const Brin::Pose2D spread = Brin::relStdDevPose2D(list, average);
  std::ostringstream text;
  text << "stdDevObstRay " << spread.theta;
  records.push_back({0, text.str(), 120});
  if (spread.theta > 1.5707964f) records.push_back({1, "var dir too big!", 123});
  direction = average.theta;
  return true;
}

}  // namespace korrin_model
