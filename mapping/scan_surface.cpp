#include "mapping/scan_surface.hpp"

#include <algorithm>
#include <cmath>

namespace Brin::mapping {
namespace {

constexpr double kHalfTurn = 3.14159265358979323846;
constexpr double kNearest = 0.05;          // metres; nearer hits are the robot's own parts
constexpr std::size_t kMostPoints = 2000;  // finer scans tell nothing more

// How a line is laid through a point and its neighbours.
constexpr double kLineReach = 0.2;     // metres to either side,
constexpr int kLeastNeighbours = 2;    // but at least so many points, if the surface goes on,
constexpr int kMostNeighbours = 32;    // and at most so many
constexpr double kRoughness = 0.03;    // metres that points may stray from a line, on average
constexpr double kElongation = 2.0;    // and how much longer than wide they must lie
constexpr double kSteepness = 5.0;     // a gap of so many beam widths may be a surface seen aslant
constexpr double kGap = 0.1;           // metres more, for noise,
constexpr double kWidestGap = 0.8;     // but no more than that in all
constexpr double kMissingBeams = 5.5;  // a gap of so many beams ends a surface

constexpr double kBesideEachOther = 0.03;  // radians between two beams that look through a point

// The spread of points around their mean.
class Spread {
 public:
  void add(double x, double y) {
    ++count_;
    x_ += x;
    y_ += y;
    xx_ += x * x;
    xy_ += x * y;
    yy_ += y * y;
  }

  // The direction across the line that the points form, from 0 to a whole turn; whether they do.
  bool across(double& direction) const {
    const double n = count_;
    const double xx = xx_ / n - x_ / n * (x_ / n);
    const double xy = xy_ / n - x_ / n * (y_ / n);
    const double yy = yy_ / n - y_ / n * (y_ / n);
    const double root = std::sqrt((xx - yy) * (xx - yy) + 4.0 * xy * xy);
    const double longest = 0.5 * (xx + yy + root);
    const double shortest = 0.5 * (xx + yy - root);
    if (shortest > kRoughness * kRoughness) return false;
    if (longest < kElongation * kElongation * shortest) return false;
    direction = 0.5 * std::atan2(2.0 * xy, xx - yy) + 0.5 * kHalfTurn;
    return true;
  }

 private:
  int count_ = 0;
  double x_ = 0.0, y_ = 0.0, xx_ = 0.0, xy_ = 0.0, yy_ = 0.0;
};

double distance(const SurfacePoint& a, const SurfacePoint& b) {
  return std::hypot(a.x - b.x, a.y - b.y);
}

bool isOnOneSurface(const SurfacePoint& a, const SurfacePoint& b, double step) {
  if (std::fabs(a.bearing - b.bearing) > kMissingBeams * step) return false;
  const double aslant = kGap + kSteepness * std::min(a.range, b.range) * step;
  return distance(a, b) <= std::min(kWidestGap, aslant);
}

// Adds the neighbours to one side; how many there were.
int addNeighbours(const std::vector<SurfacePoint>& points, std::size_t index, int direction,
                  double step, Spread& spread) {
  const SurfacePoint& centre = points[index];
  int count = 0;
  // Below 0 the index wraps around to beyond the end.
  for (std::size_t next = index + static_cast<std::size_t>(direction);
       next < points.size() && count < kMostNeighbours;
       next += static_cast<std::size_t>(direction)) {
    const SurfacePoint& before = points[next - static_cast<std::size_t>(direction)];
    if (!isOnOneSurface(before, points[next], step)) break;
    if (count >= kLeastNeighbours && distance(points[next], centre) > kLineReach) break;
    spread.add(points[next].x - centre.x, points[next].y - centre.y);
    ++count;
  }
  return count;
}

bool isUsable(const RangeReading& reading, double maxRange) {
  return reading.status == 0 && reading.weight > 0.0f && reading.range > kNearest &&
         reading.range < maxRange && std::isfinite(reading.angle);
}

bool liesBefore(const SurfacePoint& point, double bearing) { return point.bearing < bearing; }

// The nearest of the points looked at so far.
class NearestSoFar {
 public:
  NearestSoFar(double x, double y, double within) : x_(x), y_(y), squared_(within * within) {}

  void look(const SurfacePoint& point) {
    const double dx = point.x - x_;
    const double dy = point.y - y_;
    const double squared = dx * dx + dy * dy;
    if (squared >= squared_) return;
    squared_ = squared;
    nearest_ = &point;
  }

  // At all points of a sector, both ends included.
  void lookAlong(const std::vector<SurfacePoint>& points, double from, double to) {
    for (auto point = std::lower_bound(points.begin(), points.end(), from, liesBefore);
         point != points.end() && point->bearing <= to; ++point) {
      look(*point);
    }
  }

  const SurfacePoint* point() const { return nearest_; }

 private:
  const double x_;
  const double y_;
  double squared_;
  const SurfacePoint* nearest_ = nullptr;
};

}  // namespace

ScanSurface::ScanSurface(const Scan& scan, double maxRange) {
  const std::size_t stride = scan.readings.size() / kMostPoints + 1;
  for (std::size_t i = 0; i < scan.readings.size(); i += stride) {
    const RangeReading& reading = scan.readings[i];
    if (!isUsable(reading, maxRange)) continue;
    SurfacePoint point;
    point.range = double{reading.range};
    point.x = point.range * std::cos(double{reading.angle});
    point.y = point.range * std::sin(double{reading.angle});
    point.bearing = std::atan2(point.y, point.x);
    points_.push_back(point);
  }
  std::stable_sort(points_.begin(), points_.end(),
                   [](const auto& a, const auto& b) { return a.bearing < b.bearing; });
  if (points_.size() >= 3) findNormals();
}

double ScanSurface::typicalStep() const {
  std::vector<double> steps;
  for (std::size_t i = 1; i < points_.size(); ++i) {
    steps.push_back(points_[i].bearing - points_[i - 1].bearing);
  }
  const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
  std::nth_element(steps.begin(), middle, steps.end());
  return *middle;
}

void ScanSurface::findNormals() {
  const double step = typicalStep();
  for (std::size_t i = 0; i < points_.size(); ++i) {
    Spread spread;
    spread.add(0.0, 0.0);
    const int right = addNeighbours(points_, i, -1, step, spread);
    const int left = addNeighbours(points_, i, 1, step, spread);
    double direction = 0.0;
    if (std::min(right, left) < 1 || !spread.across(direction)) continue;
    SurfacePoint& point = points_[i];
    point.normalX = std::cos(direction);
    point.normalY = std::sin(direction);
    if (point.normalX * point.x + point.normalY * point.y <= 0.0) continue;
    point.normalX = -point.normalX;
    point.normalY = -point.normalY;
  }
}

const SurfacePoint* ScanSurface::nearest(double x, double y, double within) const {
  NearestSoFar nearest(x, y, within);
  const double range = std::hypot(x, y);
  if (!(range > within)) {
    for (const SurfacePoint& point : points_) nearest.look(point);
    return nearest.point();
  }
  const double bearing = std::atan2(y, x);
  const double aside = std::asin(within / range);
  nearest.lookAlong(points_, bearing - aside, bearing + aside);
  if (bearing - aside < -kHalfTurn) {
    nearest.lookAlong(points_, bearing - aside + 2.0 * kHalfTurn, kHalfTurn);
  }
  if (bearing + aside > kHalfTurn) {
    nearest.lookAlong(points_, -kHalfTurn, bearing + aside - 2.0 * kHalfTurn);
  }
  return nearest.point();
}

bool ScanSurface::looksThrough(double x, double y, double margin) const {
  const auto left = std::lower_bound(points_.begin(), points_.end(), std::atan2(y, x), liesBefore);
  if (left == points_.begin() || left == points_.end()) return false;
  const auto right = left - 1;
  if (left->bearing - right->bearing > kBesideEachOther) return false;
  return std::min(left->range, right->range) > std::hypot(x, y) + margin;
}

}  // namespace Brin::mapping
