#include "tools/pictures/scan_picture.hpp"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "tools/pose_search.hpp"

namespace korrin_tool {
namespace {

using Brin::OccupancyMapParams;
using Brin::Point2D;
using Brin::Pose2D;

constexpr float kMostCells = 1500.0f;

}  // namespace

OccupancyMapParams frameAround(const std::vector<Point2D>& points, float resolution, float margin) {
  Point2D low = points.empty() ? Point2D() : points.front();
  Point2D high = low;
  for (const Point2D& point : points) {
    low = {std::min(low.x, point.x), std::min(low.y, point.y)};
    high = {std::max(high.x, point.x), std::max(high.y, point.y)};
  }
  const float width = high.x - low.x + 2.0f * margin;
  const float height = high.y - low.y + 2.0f * margin;
  const float cell = std::max(resolution, std::max(width, height) / kMostCells);
  OccupancyMapParams frame(static_cast<int>(width / cell) + 1, static_cast<int>(height / cell) + 1,
                           cell);
  frame.origin = {low.x - margin, low.y - margin, 0.0f};
  return frame;
}

std::vector<Point2D> nearestOf(std::vector<Point2D> points, double share) {
  const auto nearer = [](const Point2D& a, const Point2D& b) {
    return Brin::computeNorm(a) < Brin::computeNorm(b);
  };
  const auto count = static_cast<std::size_t>(share * static_cast<double>(points.size()) + 0.5);
  if (count >= points.size()) return points;
  const auto end = points.begin() + static_cast<std::ptrdiff_t>(count);
  std::nth_element(points.begin(), end, points.end(), nearer);
  points.erase(end, points.end());
  return points;
}

void tintHitsOf(Canvas& canvas, const OccupancyMapParams& frame,
                const std::vector<Brin::io::LoggedScan>& scans, const Pose2D& sensor,
                Colour colour) {
  cv::Mat hit(frame.height, frame.width, CV_8UC1, cv::Scalar(0));
  for (const Brin::io::LoggedScan& logged : scans) {
    const Pose2D other = sensor.relProject(logged.pose);
    for (const Point2D& point : hitPoints(logged.scan)) {
      const auto cell = frame.getPixelFromPose(other.absProject({point.x, point.y, 0.0f}));
      if (cell.x < 0 || cell.y < 0 || cell.x >= frame.width || cell.y >= frame.height) continue;
      unsigned char& times = hit.at<unsigned char>(cell.y, cell.x);
      if (times < 2 && ++times == 2) canvas.fillCell(cell.x, cell.y, colour);
    }
  }
}

void tintSeen(Canvas& canvas, const OccupancyMapParams& frame,
              const std::vector<Brin::RangeReading>& readings, const Pose2D& sensor, Colour colour,
              double opacity) {
  // The outline of what is seen, in cells; OpenCV fills it, each cell once.
  const auto cellOf = [&](const Pose2D& pose) {
    const Brin::Pose2Di cell = frame.getPixelFromPose(pose);
    constexpr int kFar = 1 << 14;  // beyond any picture; keeps the filling in its number range
    return cv::Point(std::clamp(cell.x, -kFar, kFar), std::clamp(cell.y, -kFar, kFar));
  };
  std::vector<cv::Point> outline = {cellOf(sensor)};
  for (const Brin::RangeReading& reading : readings) {
    const Point2D end = reading.toPoint2D();
    outline.push_back(cellOf(sensor.absProject({end.x, end.y, 0.0f})));
  }
  cv::Mat seen(frame.height, frame.width, CV_8UC1, cv::Scalar(0));
  cv::fillPoly(seen, std::vector<std::vector<cv::Point>>{outline}, cv::Scalar(1));
  CellTint tint(canvas, opacity);
  for (int y = 0; y < frame.height; ++y) {
    for (int x = 0; x < frame.width; ++x) {
      if (seen.at<unsigned char>(y, x) != 0) tint.fill(x, y, colour);
    }
  }
}

void drawPoints(Canvas& canvas, const std::vector<Point2D>& points, const Pose2D& sensor,
                double radius, Colour colour) {
  for (const Point2D& point : points) {
    canvas.circle(sensor.absProject({point.x, point.y, 0.0f}), radius, colour, -1);
  }
}

}  // namespace korrin_tool
