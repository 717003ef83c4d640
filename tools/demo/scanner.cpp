#include "tools/demo/scanner.hpp"

#include "korrin/occupancy_mapper.hpp"

namespace korrin_tool {
namespace {

constexpr float kFieldOfView = 4.71238898f;
constexpr float kMinRange = 0.05f;
constexpr float kMaxRange = 12.0f;
constexpr float kWallThreshold = 0.4f;  // the unknown outside of a building is no wall

}  // namespace

std::vector<Brin::RangeReading> readScanner(const Brin::OccupancyMap& building,
                                            const Brin::Pose2D& pose) {
  // The mapper only reads; it takes its map for writing because it can do both.
  const Brin::OccupancyMapper mapper(const_cast<Brin::OccupancyMap*>(&building));
  std::vector<Brin::RangeReading> readings;
  mapper.simulateScan(pose, kFieldOfView, kMinRange, kMaxRange, kScannerBeams, readings,
                      kWallThreshold);
  return readings;
}

std::vector<Brin::Point2D> hitPoints(const std::vector<Brin::RangeReading>& readings) {
  std::vector<Brin::Point2D> points;
  for (const Brin::RangeReading& reading : readings) {
    if (reading.status == 0) points.push_back(reading.toPoint2D());
  }
  return points;
}

}  // namespace korrin_tool
