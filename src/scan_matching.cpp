#include "korrin/scan_matching.hpp"

#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "core/image_ptr.hpp"
#include "core/scan_pixel.hpp"
#include "korrin/core/image.hpp"
#include "korrin/core/log.hpp"

namespace Brin {
namespace {

// A distance map as the scorers see it. Its rows are taken to follow one another without a gap,
// whatever the image's row stride: a simplification that is intended.
struct DistanceSquare {
  const float* pixels;
  int side;
  int half;

  bool spans(int index) const { return index >= 0 && index < side; }
  float at(int row, int col) const { return pixels[std::ptrdiff_t{row} * side + col]; }
};

DistanceSquare squareOf(const IplImage* map, const char* function) {
  requireKind(map, IPL_DEPTH_32F, 1, function);
  if (map->width < map->height) {
    cvError(CV_StsUnmatchedSizes, function, "distance map narrower than high", __FILE__, __LINE__);
  }
  return {reinterpret_cast<const float*>(map->imageData), map->height, map->height / 2};
}

bool isStride(int step, const char* function) {
  if (step >= 1) return true;
  completeLog(NavLogLevel::Warning, "step must be at least 1.", "src/scan_matching", function,
              __LINE__);
  return false;
}

// The picture of the matches, or none: null slot, null picture.
IplImage* whiteDebugImage(IplImage** slot, const IplImage& map) {
  if (slot == nullptr) return nullptr;
  if (*slot == nullptr) *slot = createFlippedImage(cvGetSize(&map), 8, 1);
  requireKind(*slot, IPL_DEPTH_8U, 1, "scanScore");
  if ((*slot)->width != map.width || (*slot)->height != map.height) {
    cvError(CV_StsUnmatchedSizes, "scanScore", "debug image of another size", __FILE__, __LINE__);
  }
  for (int row = 0; row < map.height; ++row) {
    std::fill_n(imageRow<std::uint8_t>(**slot, row), map.height, std::uint8_t{255});
  }
  return *slot;
}

// What the points visited so far have added up to. The sum is a float and grows point by point.
struct Tally {
  float cutOff;  // pixels
  float sum = 0.0f;
  std::int64_t matches = 0;
  std::int64_t visited = 0;

  explicit Tally(float cutOffPixels) : cutOff(cutOffPixels) {}

  void match(float distance) {
    sum += cutOff - distance;
    ++matches;
  }

  float score(int* count, int step) const {
    if (count != nullptr) {
      constexpr std::int64_t kMost = std::numeric_limits<int>::max();
      *count = static_cast<int>(std::min(matches * step, kMost));
    }
    const float score = sum / (static_cast<float>(visited) * cutOff);
    return std::isnan(score) ? 0.0f : score;
  }
};

// A pose as it turns points, in single precision.
struct Turn {
  float sine;
  float cosine;

  explicit Turn(float theta) : sine(std::sin(theta)), cosine(std::cos(theta)) {}
  float x(const Point2D& p) const { return p.x * cosine - p.y * sine; }
  float y(const Point2D& p) const { return p.x * sine + p.y * cosine; }
};

// Scores items of a sequence: `pixelOf` gives an item's pixel relative to the centre.
template <typename Item, typename Counts, typename PixelOf>
Tally tallyMatches(const DistanceSquare& square, const std::vector<Item>& items, float cutOff,
                   IplImage* debug, int step, Counts counts, PixelOf pixelOf) {
  Tally tally(cutOff);
  for (std::size_t i = 0; i < items.size(); i += static_cast<std::size_t>(step)) {
    if (!counts(items[i])) continue;
    ++tally.visited;
    const PixelOffset pixel = pixelOf(items[i]);
    const int col = pixel.col + square.half;
    const int row = pixel.row + square.half;
    if (!square.spans(col) || !square.spans(row)) continue;
    const float distance = square.at(row, col);
    // At the cut-off itself a point still matches, unlike in scorePxlScan: both are intended.
    if (!(distance <= cutOff)) continue;
    tally.match(distance);
    // Unlike the map, the debug image is addressed by its own row stride.
    if (debug != nullptr) imageRow<std::uint8_t>(*debug, row)[col] = 0;
  }
  return tally;
}

}  // namespace

void buildLaserDistance(const Scan& scan, const Pose2D& pose, IplImage** laserImage,
                        IplImage** distanceMap, float resolution) {
  if (laserImage == nullptr || distanceMap == nullptr) {
    cvError(CV_StsNullPtr, "buildLaserDistance", "null image slot", __FILE__, __LINE__);
  }
  if (*laserImage == nullptr) drawLaser(scan, pose, laserImage, resolution, true, 0);
  const CvSize size = cvGetSize(*laserImage);
  // Widths alone are compared: a map of the right width but another height is kept on purpose, and
  // the distance transform refuses it.
  if (*distanceMap != nullptr && (*distanceMap)->width != size.width) cvReleaseImage(distanceMap);
  if (*distanceMap == nullptr) *distanceMap = createFlippedImage(size, 32, 1);
  cvDistTransform(*laserImage, *distanceMap, CV_DIST_L2, 3, nullptr, nullptr);
}

float scanScore(const IplImage* distanceMap, const std::vector<Point2D>& points, const Pose2D& pose,
                float resolution, float maxDist, int* count, IplImage** debugImage, int step) {
  const DistanceSquare square = squareOf(distanceMap, "scanScore");
  if (!isStride(step, "scanScore")) return 0.0f;
  IplImage* debug = whiteDebugImage(debugImage, *distanceMap);
  if (points.empty()) return 0.0f;
  const float inv = 1.0f / resolution;
  const Turn turn(pose.theta);
  const auto everyPoint = [](const Point2D&) { return true; };
  // Adding a half and cutting towards zero does not round negative offsets to the nearest pixel;
  // kept so on purpose.
  const auto pixelOf = [&](const Point2D& p) -> PixelOffset {
    return {truncToPixel((turn.x(p) + pose.x) * inv + 0.5f),
            truncToPixel((turn.y(p) + pose.y) * inv + 0.5f)};
  };
  return tallyMatches(square, points, maxDist * inv, debug, step, everyPoint, pixelOf)
      .score(count, step);
}

float scanScore(const IplImage* distanceMap, const Scan& scan, const Pose2D& pose, float resolution,
                float maxDist, int* count, IplImage** debugImage, int step) {
  const DistanceSquare square = squareOf(distanceMap, "scanScore");
  if (!isStride(step, "scanScore")) return 0.0f;
  IplImage* debug = whiteDebugImage(debugImage, *distanceMap);
  const float inv = 1.0f / resolution;
  const auto isHit = [](const RangeReading& reading) { return reading.status != 1; };
  const auto pixelOf = [&](const RangeReading& reading) { return scanPixel(reading, pose, inv); };
  const Tally tally =
      tallyMatches(square, scan.readings, maxDist * inv, debug, step, isHit, pixelOf);
  // Only here do readings without a hit not count as visited; the points overload knows none.
  return tally.visited == 0 ? 0.0f : tally.score(count, step);
}

void ScanDistMap::build(const Scan& scan, const Pose2D& pose, float resolution_) {
  resolution = resolution_;
  drawLaser(scan, pose, &laserImage, resolution, true, 0);
  buildLaserDistance(scan, pose, &laserImage, &distanceMap, resolution);
}

float ScanDistMap::score(const std::vector<Point2D>& points, const Pose2D& pose, float maxDist,
                         int* count) const {
  return scanScore(distanceMap, points, pose, resolution, maxDist, count, nullptr, step);
}

float ScanDistMap::score(const Scan& scan, const Pose2D& pose, float maxDist, int* count) const {
  return scanScore(distanceMap, scan, pose, resolution, maxDist, count, nullptr, step);
}

float ScanDistMap::scorePxlScan(const std::vector<Point2D>& points, const Pose2D& pose,
                                float maxDist, int* count) const {
  const DistanceSquare square = squareOf(distanceMap, "scorePxlScan");
  if (!isStride(step, "scorePxlScan") || points.empty()) return 0.0f;
  const float inv = 1.0f / resolution;
  const Turn turn(pose.theta);
  // With an odd side the last column and row are out of bounds; intended.
  const auto isNear = [half = square.half](int offset) { return offset >= -half && offset < half; };
  Tally tally(maxDist * inv);
  for (std::size_t i = 0; i < points.size(); i += static_cast<std::size_t>(step)) {
    ++tally.visited;
    const int col = truncToPixel(turn.x(points[i]) + pose.x * inv + 0.5f);
    const int row = truncToPixel(turn.y(points[i]) + pose.y * inv + 0.5f);
    if (!isNear(col) || !isNear(row)) continue;
    const float distance = square.at(row + square.half, col + square.half);
    if (distance < tally.cutOff) tally.match(distance);
  }
  return tally.score(count, step);
}

}  // namespace Brin
