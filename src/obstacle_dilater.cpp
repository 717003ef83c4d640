#include "korrin/obstacle_dilater.hpp"

#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <algorithm>

#include "core/image_ptr.hpp"
#include "core/lanes.hpp"
#include "src/distance_transform.hpp"

namespace Brin {
namespace {

constexpr const char* kFunction = "ObstacleDilater::dilate";

bool hasNoCells(const IplImage& image) { return image.width == 0 || image.height == 0; }

// OpenCV's error unless `work` is an image of that kind and of the map's size. Rendering a map of
// another size would replace the work image, and the profiles would read past it.
void requireWorkImage(const IplImage* work, int depth, const IplImage& mapImage) {
  requireKind(work, depth, 1, kFunction);
  if (work->width != mapImage.width || work->height != mapImage.height) {
    cvError(CV_StsUnmatchedSizes, kFunction, "the map has not the dilater's size", __FILE__,
            __LINE__);
  }
}

void requireSizeOf(const ObstacleDilater& dilater, const OccupancyMap& map) {
  requireKind(map.image, IPL_DEPTH_32F, 1, kFunction);
  requireWorkImage(dilater.distImage, IPL_DEPTH_32F, *map.image);
  requireWorkImage(dilater.charImage, IPL_DEPTH_8U, *map.image);
}

// 256 * probability, cut to just outside the range of a byte: no byte tells the difference, and
// cvThreshold cannot compare with numbers beyond an int. Not-a-number, like any number below 0,
// is not reached by any byte.
double toByteThreshold(float probability) {
  const float level = 256.0f * probability;
  return level > -1.0f ? std::min(level, 256.0f) : -1.0;
}

// The profiles take one distance or several at once.

struct LinearProfile {
  float radius;
  float ramp;

  template <typename T>
  T operator()(T distance) const {
    const T value = (distance - radius) / ramp;
    return choose(distance < radius, T{}, choose(value < 1.0f, value, T{} + 1.0f));
  }
};

struct InverseProfile {
  float radius;
  float k;

  template <typename T>
  T operator()(T distance) const {
    return choose(distance < radius, T{}, 1.0f - k / (distance - radius + k));
  }
};

// Writes profile(distance) to every cell.
template <typename Profile>
void applyProfile(const IplImage& distImage, IplImage& mapImage, const Profile& profile) {
  for (int y = 0; y < mapImage.height; ++y) {
    const float* distances = imageRow<float>(distImage, y);
    float* cells = imageRow<float>(mapImage, y);
    int x = 0;
    for (; x + kLanes <= mapImage.width; x += kLanes) {
      store(cells + x, profile(load<Floats>(distances + x)));
    }
    for (; x < mapImage.width; ++x) cells[x] = profile(distances[x]);
  }
}

// Beyond its larger side a map gains nothing from further erosion.
int toErosionCount(float cells, const IplImage& image) {
  const int most = std::max(image.width, image.height);
  if (!(cells >= 1.0f)) return 0;
  return cells < static_cast<float>(most) ? static_cast<int>(cells) : most;
}

}  // namespace

ObstacleDilater::ObstacleDilater(int width, int height) : distImage(nullptr), charImage(nullptr) {
  ImagePtr distances = makeImage(cvSize(width, height), IPL_DEPTH_32F, 1);
  charImage = makeImage(cvSize(width, height), IPL_DEPTH_8U, 1).release();
  distImage = distances.release();
}

ObstacleDilater::~ObstacleDilater() {
  cvReleaseImage(&distImage);
  cvReleaseImage(&charImage);
}

void ObstacleDilater::setParams(float dilationRadius_, float fadeDistance_) {
  dilationRadius = dilationRadius_;
  fadeDistance = fadeDistance_;
}

void ObstacleDilater::dilate(OccupancyMap& map, DilateType type) {
  requireSizeOf(*this, map);
  const float cellsPerMetre = 1.0f / map.params.resolution;
  const float radius = dilationRadius * cellsPerMetre;
  const float fade = cellsPerMetre * fadeDistance;
  if (type == DILATE_ERODE_SMOOTH) {
    xDoCvDilateSmooth(map, radius, fade);
  } else {
    xDoDilateWithFunctTransform(map, radius, fade, type);
  }
}

void ObstacleDilater::xDoDilateWithFunctTransform(OccupancyMap& map, float radiusCells,
                                                  float fadeCells, DilateType type) {
  requireSizeOf(*this, map);
  if (hasNoCells(*map.image)) return;
  map.toCharIplImage(&charImage);
  cvThreshold(charImage, charImage, toByteThreshold(obstProbThreshold), 0, CV_THRESH_TOZERO);
  chamferDistances(*charImage, *distImage);
  if (type == DILATE_LINEAR) {
    applyProfile(*distImage, *map.image, LinearProfile{radiusCells, fadeCells - radiusCells});
  } else if (type == DILATE_INVERSE) {
    applyProfile(*distImage, *map.image, InverseProfile{radiusCells, fadeCells / 10.0f});
  }
}

void ObstacleDilater::xDoCvDilateSmooth(OccupancyMap& map, float erodeCells, float sigmaCells) {
  requireKind(map.image, IPL_DEPTH_32F, 1, kFunction);
  if (hasNoCells(*map.image)) return;
  const ImagePtr eroded = makeImage(cvSize(map.image->width, map.image->height), IPL_DEPTH_32F, 1);
  cvErode(map.image, eroded.get(), nullptr, toErosionCount(erodeCells, *map.image));
  // Without a blur the erosion is dropped with its image: a fade of 0 is meant to change nothing.
  if (sigmaCells > 0.001f) {
    cvSmooth(eroded.get(), map.image, CV_GAUSSIAN, 11, 11, sigmaCells, sigmaCells);
  }
}

}  // namespace Brin
