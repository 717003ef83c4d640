#include "tools/pictures/scan_picture.hpp"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "tools/scan_search.hpp"

namespace korrin_tool {
namespace {

using Brin::OccupancyMapParams;
using Brin::Point2D;
using Brin::Pose2D;

constexpr float kMostCells = 1500.0f;
constexpr float kMostFilled = 1 << 14;  // cells: what is drawn has fewer pixels than 2^15 a side

// The outline of what is seen, in cells. A beam longer than OpenCV can fill is cut short, in its
// own direction.
std::vector<cv::Point> outlineOf(const OccupancyMapParams& frame,
                                 const std::vector<Brin::RangeReading>& readings,
                                 const Pose2D& sensor) {
  const auto cellOf = [&](const Pose2D& pose) {
    const Brin::Pose2Di cell = frame.getPixelFromPose(pose);
    return cv::Point(cell.x, cell.y);
  };
  const float longest = kMostFilled * frame.resolution;
  std::vector<cv::Point> outline = {cellOf(sensor)};
  for (Brin::RangeReading reading : readings) {
    if (!std::isfinite(reading.angle) || std::isnan(reading.range)) continue;
    reading.range = std::clamp(reading.range, -longest, longest);
    const Point2D end = reading.toPoint2D();
    outline.push_back(cellOf(sensor.absProject({end.x, end.y, 0.0f})));
  }
  return outline;
}

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
  const std::vector<cv::Point> outline = outlineOf(frame, readings, sensor);
  const cv::Rect seenPart = cv::boundingRect(outline) & cv::Rect(0, 0, frame.width, frame.height);
  if (seenPart.empty()) return;
  // OpenCV fills the outline, each cell once.
  cv::Mat seen(seenPart.size(), CV_8UC1, cv::Scalar(0));
  cv::fillPoly(seen, std::vector<std::vector<cv::Point>>{outline}, cv::Scalar(1), cv::LINE_8, 0,
               -seenPart.tl());
  CellTint tint(canvas, opacity);
  for (int y = 0; y < seenPart.height; ++y) {
    for (int x = 0; x < seenPart.width; ++x) {
      if (seen.at<unsigned char>(y, x) != 0) tint.fill(seenPart.x + x, seenPart.y + y, colour);
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
