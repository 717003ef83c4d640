#include "korrin/scan_matching.hpp"

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "core/image_ptr.hpp"
#include "core/scan_pixel.hpp"
#include "korrin/core/image.hpp"
#include "src/beam_pixels.hpp"
#include "src/distance_square.hpp"
#include "src/distance_transform.hpp"
#include "src/pixel_lookup.hpp"

namespace Brin {
namespace {

constexpr const char* kComponent = "src/scan_matching";

// The picture of the matches, or none: null slot, null picture.
IplImage* whiteDebugImage(IplImage** slot, const IplImage& map) {
  if (slot == nullptr) return nullptr;
  // Not cvGetSize, which gives the size of a region of interest where there is one.
  if (*slot == nullptr) *slot = createFlippedImage(cvSize(map.width, map.height), 8, 1);
  requireKind(*slot, IPL_DEPTH_8U, 1, "scanScore");
  if ((*slot)->width != map.width || (*slot)->height != map.height) {
    cvError(CV_StsUnmatchedSizes, "scanScore", "debug image of another size", __FILE__, __LINE__);
  }
  for (int row = 0; row < map.height; ++row) {
    std::fill_n(imageRow<std::uint8_t>(**slot, row), map.height, std::uint8_t{255});
  }
  return *slot;
}

// Blackens one point's pixel, given relative to the centre, if the point matches.
void drawMatch(IplImage& debug, const DistanceSquare& square, PixelOffset pixel, float cutOff) {
  const int col = pixel.col + square.half;
  const int row = pixel.row + square.half;
  if (!square.spans(col) || !square.spans(row)) return;
  // Unlike the map, the debug image is addressed by its own row stride.
  if (square.at(row, col) <= cutOff) imageRow<std::uint8_t>(debug, row)[col] = 0;
}

// A pose in single precision as points see it. Adding a half, and cutting towards zero later, does
// not round negative offsets to the nearest pixel; kept so on purpose.
struct Placement {
  float sine;
  float cosine;
  float x;
  float y;
  float scale;  // applied after the shift

  // Points in metres onto pixels.
  static Placement ofMetres(const Pose2D& pose, float inv) {
    return {std::sin(pose.theta), std::cos(pose.theta), pose.x, pose.y, inv};
  }
  // Points that are in pixels already: only the pose is scaled, which is intended. Times 1 changes
  // nothing.
  static Placement ofPixels(const Pose2D& pose, float inv) {
    return {std::sin(pose.theta), std::cos(pose.theta), pose.x * inv, pose.y * inv, 1.0f};
  }

  // Offsets with a half added, of a float or of Floats.
  template <typename T>
  T column(T px, T py) const {
    return (px * cosine - py * sine + x) * scale + 0.5f;
  }
  template <typename T>
  T row(T px, T py) const {
    return (px * sine + py * cosine + y) * scale + 0.5f;
  }
};

// Every step-th point at one place, block by block.
class PointSource {
 public:
  PointSource(const std::vector<Point2D>& points, const Placement& placement, int step)
      : points_(points.data()),
        left_(visitedOf(points.size(), step)),
        step_(static_cast<std::size_t>(step)),
        placement_(placement) {}

  int fill(PixelBlock& block) {
    const std::size_t count = std::min(left_, std::size_t{PixelBlock::kSize});
    const std::size_t whole = count - count % kLanes;
    for (std::size_t i = 0; i < whole; i += kLanes) place(block, i, i + 1, i + 2, i + 3);
    if (whole < count) {  // fill up the last four with points that are there
      const std::size_t last = count - 1;
      place(block, whole, std::min(whole + 1, last), std::min(whole + 2, last), last);
    }
    left_ -= count;
    if (left_ > 0) points_ += count * step_;
    return static_cast<int>(count);
  }

 private:
  // Places four points, counted from the block's first, into the block at the first one's place.
  void place(PixelBlock& block, std::size_t a, std::size_t b, std::size_t c, std::size_t d) const {
    const Floats ab = pairOf(a, b);
    const Floats cd = pairOf(c, d);
    const Floats x = __builtin_shufflevector(ab, cd, 0, 2, 4, 6);
    const Floats y = __builtin_shufflevector(ab, cd, 1, 3, 5, 7);
    store(block.x + a, placement_.column(x, y));
    store(block.y + a, placement_.row(x, y));
  }

  // x and y of two points.
  Floats pairOf(std::size_t a, std::size_t b) const {
    typedef double Doubles __attribute__((vector_size(16)));  // each as large as a point
    static_assert(sizeof(Point2D) == sizeof(double));
    return reinterpret_cast<Floats>(
        Doubles{load<double>(points_ + a * step_), load<double>(points_ + b * step_)});
  }

  const Point2D* points_;
  std::size_t left_;
  std::size_t step_;
  Placement placement_;
};

}  // namespace

void buildLaserDistance(const Scan& scan, const Pose2D& pose, IplImage** laserImage,
                        IplImage** distanceMap, float resolution) {
  if (laserImage == nullptr || distanceMap == nullptr) {
    cvError(CV_StsNullPtr, "buildLaserDistance", "null image slot", __FILE__, __LINE__);
  }
  if (*laserImage == nullptr) drawLaser(scan, pose, laserImage, resolution, true, 0);
  const CvSize size = cvGetSize(*laserImage);
  // Widths alone are compared: a map of the right width but another height is kept on purpose, and
  // the distances then refuse it.
  if (*distanceMap != nullptr && (*distanceMap)->width != size.width) cvReleaseImage(distanceMap);
  if (*distanceMap == nullptr) *distanceMap = createFlippedImage(size, 32, 1);
  chamferDistancesInRegions(*laserImage, *distanceMap, "buildLaserDistance");
}

float scanScore(const IplImage* distanceMap, const std::vector<Point2D>& points, const Pose2D& pose,
                float resolution, float maxDist, int* count, IplImage** debugImage, int step) {
  const DistanceSquare square = squareOf(distanceMap, "scanScore");
  if (!isStride(step, kComponent, "scanScore")) return 0.0f;
  IplImage* debug = whiteDebugImage(debugImage, *distanceMap);
  if (points.empty()) return 0.0f;
  const float inv = 1.0f / resolution;
  const float cutOff = maxDist * inv;
  const Placement placement = Placement::ofMetres(pose, inv);
  // At the cut-off itself a point still matches, unlike in scorePxlScan: both are intended.
  const Tally tally =
      tallyBlocks(PixelRange::upToCutOff(square, cutOff), PointSource(points, placement, step));
  if (debug != nullptr) {
    for (std::size_t i = 0; i < tally.visited; ++i) {
      const Point2D& p = points[i * static_cast<std::size_t>(step)];
      const PixelOffset pixel{truncToPixel(placement.column(p.x, p.y)),
                              truncToPixel(placement.row(p.x, p.y))};
      drawMatch(*debug, square, pixel, cutOff);
    }
  }
  return scoreOf(tally.sum, tally.matches, tally.visited, cutOff, count, step);
}

float scanScore(const IplImage* distanceMap, const Scan& scan, const Pose2D& pose, float resolution,
                float maxDist, int* count, IplImage** debugImage, int step) {
  const DistanceSquare square = squareOf(distanceMap, "scanScore");
  if (!isStride(step, kComponent, "scanScore")) return 0.0f;
  IplImage* debug = whiteDebugImage(debugImage, *distanceMap);
  const float inv = 1.0f / resolution;
  const float cutOff = maxDist * inv;
  const Tally tally = tallyBlocks(PixelRange::upToCutOff(square, cutOff),
                                  BeamSource(scan.readings, pose, inv, step));
  if (debug != nullptr) {
    for (std::size_t i = 0; i < visitedOf(scan.readings.size(), step); ++i) {
      const RangeReading& reading = scan.readings[i * static_cast<std::size_t>(step)];
      if (isVisited(reading)) drawMatch(*debug, square, scanPixel(reading, pose, inv), cutOff);
    }
  }
  // Readings without a hit are not visited, so there may be none; the points overload knows no
  // such points.
  if (tally.visited == 0) return 0.0f;
  return scoreOf(tally.sum, tally.matches, tally.visited, cutOff, count, step);
}

void ScanDistMap::build(const Scan& scan, const Pose2D& pose, float resolution_) {
  drawLaser(scan, pose, &laserImage, resolution_, true, 0);
  try {
    buildLaserDistance(scan, pose, &laserImage, &distanceMap, resolution_);
  } catch (...) {
    cvReleaseImage(&distanceMap);  // nothing to score on, rather than the map of another picture
    throw;
  }
  resolution = resolution_;
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
  if (!isStride(step, kComponent, "scorePxlScan") || points.empty()) return 0.0f;
  const float inv = 1.0f / resolution;
  const float cutOff = maxDist * inv;
  const Tally tally = tallyBlocks(PixelRange::belowCutOff(square, cutOff),
                                  PointSource(points, Placement::ofPixels(pose, inv), step));
  return scoreOf(tally.sum, tally.matches, tally.visited, cutOff, count, step);
}

}  // namespace Brin
