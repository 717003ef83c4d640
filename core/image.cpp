#include "korrin/core/image.hpp"

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cmath>

#include "core/image_ptr.hpp"
#include "core/scan_pixel.hpp"

namespace Brin {
namespace {

constexpr int kLargestSide = 8192;
constexpr const char* kDrawLaser = "drawLaser";

bool isDrawable(const RangeReading& reading) {
  return reading.status == 0 && std::isfinite(reading.range) && std::isfinite(reading.angle);
}

template <typename Visit>
void forEachHit(const Scan& scan, float theta, float resolution, Visit visit) {
  if (!(resolution > 0.0f)) return;
  const float inv = 1.0f / resolution;
  for (const RangeReading& reading : scan.readings) {
    if (isDrawable(reading)) visit(scanPixel(reading, {0.0f, 0.0f, theta}, inv));
  }
}

// The smallest side, a multiple of 4, that shows every hit around the centre pixel (side / 2,
// side / 2), which has one pixel less after it than before it.
int neededSide(const Scan& scan, float theta, float resolution) {
  int half = 1;
  forEachHit(scan, theta, resolution, [&](PixelOffset p) {
    half = std::max({half, -p.col, p.col + 1, -p.row, p.row + 1});
  });
  return half < kLargestSide / 2 ? (2 * half + 3) / 4 * 4 : kLargestSide;
}

// Row by row, since an image may be a window of a larger one.
void setEveryPixel(IplImage& image, int value) {
  for (int y = 0; y < image.height; ++y) {
    std::fill_n(imageRow<char>(image, y), image.width, static_cast<char>(value));
  }
}

}  // namespace

IplImage* createFlippedImage(CvSize size, int depth, int channels) {
  ImagePtr image = makeImage(size, depth, channels);
  image->origin = IPL_ORIGIN_TL;
  return image.release();
}

void drawLaser(const Scan& scan, const Pose2D& pose, IplImage** image, float resolution, bool flag,
               char value) {
  if (image == nullptr) {
    cvError(CV_StsNullPtr, kDrawLaser, "null image slot", __FILE__, __LINE__);
  }
  if (flag || *image == nullptr) {
    const int side = neededSide(scan, pose.theta, resolution);
    fitImage(image, cvSize(side, side), IPL_DEPTH_8U, 1, kDrawLaser);
    setEveryPixel(**image, 255);
  }
  requireKind(*image, IPL_DEPTH_8U, 1, kDrawLaser);
  const int half = (*image)->height / 2;
  forEachHit(scan, pose.theta, resolution, [&](PixelOffset p) {
    const int col = p.col + half;
    const int row = p.row + half;
    if (col < 0 || row < 0 || col >= (*image)->width || row >= (*image)->height) return;
    imageRow<char>(**image, row)[col] = value;
  });
}

}  // namespace Brin
