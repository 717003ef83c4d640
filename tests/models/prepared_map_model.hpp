// The literal model of PreparedMap: the literal walks, on the map itself.
#pragma once

#include <vector>

#include "models/occupancy_mapper_model.hpp"
#include "models/range_simulation_model.hpp"

namespace korrin_model {

struct PreparedMap {
  const Brin::OccupancyMap& map;
  float threshold;

  Brin::RangeReading throwRay(const Brin::Point2D& from, const Brin::Point2D& to) const {
    return korrin_model::throwRay(map, from, to, threshold);
  }
  Brin::RangeReading xThrowRay(int x0, int y0, int x1, int y1) const {
    return korrin_model::xThrowRay(map, x0, y0, x1, y1, threshold);
  }
  void simulateScan(const Brin::Pose2D& pose, float startAngle, float endAngle, float minRange,
                    float maxRange, int count, std::vector<Brin::RangeReading>& out) const {
    korrin_model::simulateScan(map, pose, startAngle, endAngle, minRange, maxRange, count, out,
                               threshold);
  }
  Brin::RangeReading occMapGetRange(const Brin::ScanModel& model, const Brin::Point2Di& from,
                                    const Brin::Point2Di& to) const {
    return korrin_model::occMapGetRange(map, model, from, to, threshold);
  }
  void occMapSimulateScan(const Brin::ScanModel& model, const Brin::Pose2D& pose,
                          std::vector<Brin::RangeReading>& out) const {
    korrin_model::occMapSimulateScan(map, model, pose, out, threshold);
  }
};

}  // namespace korrin_model
