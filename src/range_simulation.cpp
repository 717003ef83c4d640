#include "korrin/range_simulation.hpp"

#include <cmath>
#include <cstddef>

#include "core/image_ptr.hpp"
#include "korrin/core/log.hpp"
#include "korrin/occupancy_mapper.hpp"
#include "src/beam.hpp"
#include "src/cell_line.hpp"

namespace Brin {
namespace {

constexpr const char* kFile = "src/range_simulation";

// The cells of a map as a beam sees them.
class BeamCells {
 public:
  BeamCells(const OccupancyMap& map, const ScanModel& model, float threshold, const char* function)
      : cells_(map.image),
        second_(map.secondImage),
        threshold_(threshold),
        lowThreshold_(model.lowThreshold) {
    requireKind(cells_, IPL_DEPTH_32F, 1, function);
    if (second_ == nullptr) return;
    requireKind(second_, IPL_DEPTH_32F, 1, function);
    if (second_->width != cells_->width || second_->height != cells_->height) {
      cvError(CV_StsUnmatchedSizes, function, "the map's images differ in size", __FILE__,
              __LINE__);
    }
  }

  CellRect rect() const { return {cells_->width, cells_->height}; }

  // Whether a beam ends at the cell (x, y) of the map.
  bool stopAt(int x, int y) const {
    if (!(threshold_ > imageRow<float>(*cells_, y)[x])) return false;
    return second_ == nullptr || !(imageRow<float>(*second_, y)[x] < lowThreshold_);
  }

 private:
  const IplImage* cells_;
  const IplImage* second_;
  float threshold_;
  float lowThreshold_;
};

// Metres between two cells, however far apart; computeNorm(dx, dy) where that can be called.
float cellDistance(const Point2Di& from, std::int32_t x, std::int32_t y, float resolution) {
  const double dx = static_cast<double>(from.x) - x;
  const double dy = static_cast<double>(from.y) - y;
  return static_cast<float>(std::sqrt(dx * dx + dy * dy)) * resolution;
}

RangeReading beamReading(float range, bool isHit) {
  RangeReading reading(range, 0.0f);
  reading.status = isHit ? 0 : 1;
  return reading;
}

// Unlike a ray of OccupancyMapper, a beam is tested at its end cell as well, by intention.
RangeReading castBeam(const BeamCells& cells, const Point2Di& from, const Point2Di& to,
                      float resolution) {
  const CellRect rect = cells.rect();
  if (!rect.contains(from.x, from.y))
    return beamReading(cellDistance(from, from.x, from.y, resolution), false);
  CellLine line(from.x, from.y, to.x, to.y, rect);
  while (!line.done() && !cells.stopAt(line.x(), line.y())) line.next();
  // Here the walk stands on the cell that stops the beam, on its end cell or outside the map.
  const bool isHit = rect.contains(line.x(), line.y()) && cells.stopAt(line.x(), line.y());
  return beamReading(cellDistance(from, line.x(), line.y(), resolution), isHit);
}

}  // namespace

ScanModel::ScanModel(int count_, float maxRange_, float fieldOfView_)
    : maxRange(maxRange_),
      fieldOfView(fieldOfView_),
      startAngle(-0.5f * fieldOfView_),
      count(count_) {}

float ScanModel::scanLikelihood(const std::vector<RangeReading>& scanA,
                                const std::vector<RangeReading>& scanB, int step) const {
  if (step < 1) {
    completeLog(NavLogLevel::Warning, "step is below 1.", kFile, "scanLikelihood", __LINE__);
    return 0.0f;
  }
  if (scanB.size() < scanA.size()) {
    completeLog(NavLogLevel::Warning, "scanB has fewer readings than scanA.", kFile,
                "scanLikelihood", __LINE__);
    return 0.0f;
  }
  constexpr float kFloor = 0.01f;
  const float norm = gaussianValueAt(rangeSigma, 0.0f) + kFloor;
  const auto stride = static_cast<std::size_t>(step);
  float sum = 0.0f;
  for (std::size_t i = 0; i < scanA.size(); i += stride) {
    sum += (gaussianValueAt(rangeSigma, scanA[i].range - scanB[i].range) + kFloor) / norm;
  }
  // Not the number of terms, which is n / step rounded up; this is intended.
  const float mean = sum / static_cast<float>(scanA.size() / stride);
  constexpr float kThird = 0.333333343f;  // the float nearest to one third
  return static_cast<float>(std::pow(static_cast<double>(mean), static_cast<double>(kThird)));
}

RangeReading occMapGetRange(const OccupancyMap& map, const ScanModel& model, const Point2Di& from,
                            const Point2Di& to, float threshold) {
  return castBeam(BeamCells(map, model, threshold, "occMapGetRange"), from, to,
                  map.params.resolution);
}

void occMapSimulateScan(const OccupancyMap& map, const ScanModel& model, const Pose2D& pose,
                        std::vector<RangeReading>& out, float threshold) {
  out.clear();
  out.reserve(static_cast<std::size_t>(model.count));
  const BeamCells cells(map, model, threshold, "occMapSimulateScan");
  const float resolution = map.params.resolution;
  const float step = model.fieldOfView / static_cast<float>(model.count - 1);
  const float nearest = limitedRange(model.minRange, resolution);
  const float farthest = limitedRange(model.maxRange, resolution);
  for (int i = 0; i < model.count; ++i) {
    const float angle = static_cast<float>(i) * step + model.startAngle + pose.theta;
    const Direction direction = directionOf(angle);
    const Pose2Di from = map.getPixelFromPose(beamPoint(pose, direction, nearest));
    const Pose2Di to = map.getPixelFromPose(beamPoint(pose, direction, farthest));
    RangeReading reading = castBeam(cells, {from.x, from.y}, {to.x, to.y}, resolution);
    reading.range += model.minRange;
    reading.angle = angle - pose.theta;
    out.push_back(reading);
  }
}

void fillOccMapFromScan(const Scan& scan, const Pose2D& pose, OccupancyMap& map, int subdivisions) {
  OccupancyMapper mapper(&map);
  map.reset(0.5f);
  const float step = scan.getResolution() / static_cast<float>(subdivisions);
  for (int k = 0; k < subdivisions; ++k) {
    const Pose2D turned(pose.x, pose.y, pose.theta + static_cast<float>(k) * step);
    mapper.updateMap(scan.readings, turned, 1.0f, 0.1f);
  }
  map.clip();
}

}  // namespace Brin
