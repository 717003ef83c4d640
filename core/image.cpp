#include "korrin/core/image.hpp"

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "core/image_ptr.hpp"
#include "core/scan_pixel.hpp"

namespace Brin {
namespace {

constexpr int kLargestSide = 8192;

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

// The smallest side, a multiple of 4, that shows every hit around the centre pixel.
int neededSide(const Scan& scan, float theta, float resolution) {
  int reach = 0;
  forEachHit(scan, theta, resolution, [&](PixelOffset p) {
    const int farther = std::max(std::abs(p.col), std::abs(p.row));
    reach = std::max(reach, std::min(farther, kLargestSide));
  });
  const int side = 2 * (reach + 1);
  return std::min((side + 3) / 4 * 4, kLargestSide);
}

void setEveryPixel(IplImage& image, int value) {
  std::fill_n(image.imageData, image.imageSize, static_cast<char>(value));
}

void makeBlankPicture(IplImage** image, int side) {
  const bool fits = *image != nullptr && hasKind(**image, IPL_DEPTH_8U, 1) &&
                    (*image)->width == side && (*image)->height == side;
  if (!fits) {
    ImagePtr fresh = makeImage(cvSize(side, side), IPL_DEPTH_8U, 1);
    cvReleaseImage(image);
    *image = fresh.release();
  }
  setEveryPixel(**image, 255);
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
    cvError(CV_StsNullPtr, "drawLaser", "null image slot", __FILE__, __LINE__);
  }
  if (flag || *image == nullptr) {
    makeBlankPicture(image, neededSide(scan, pose.theta, resolution));
  }
  requireKind(*image, IPL_DEPTH_8U, 1, "drawLaser");
  const int half = (*image)->height / 2;
  forEachHit(scan, pose.theta, resolution, [&](PixelOffset p) {
    const int col = p.col + half;
    const int row = p.row + half;
    if (col < 0 || row < 0 || col >= (*image)->width || row >= (*image)->height) return;
    imageRow<char>(**image, row)[col] = value;
  });
}

}  // namespace Brin
