// Obstacle dilation, step by step: OpenCV's calls, and the literal distances. For thresholds within
// +-2^23 and erosion counts that an int holds.
#pragma once

#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <cstdint>

#include "korrin/core/occupancy_map.hpp"
#include "models/distance_transform_model.hpp"

namespace korrin_model {

struct DilateSettings {
  float obstProbThreshold = 0.1f;
  float dilationRadius = 0.2f;
  float fadeDistance = 0.4f;
};

inline float& floatPixel(IplImage* image, int x, int y) {
  return reinterpret_cast<float*>(image->imageData + y * image->widthStep)[x];
}

// Each cell v as trunc(256 * v), saturated; not-a-number as 0.
inline void renderBytes(const Brin::OccupancyMap& map, IplImage* bytes) {
  for (int y = 0; y < bytes->height; ++y) {
    for (int x = 0; x < bytes->width; ++x) {
      const float level = 256.0f * floatPixel(map.image, x, y);
      std::uint8_t byte = 0;
      if (level >= 255.0f) {
        byte = 255;
      } else if (level > 0.0f) {
        byte = static_cast<std::uint8_t>(level);
      }
      reinterpret_cast<std::uint8_t*>(bytes->imageData + y * bytes->widthStep)[x] = byte;
    }
  }
}

inline float linearProfile(float d, float r, float f) {
  if (d < r) return 0.0f;
  const float v = (d - r) / (f - r);
  if (v < 1.0f) return v;
  return 1.0f;
}

inline float inverseProfile(float d, float r, float f) {
  if (d < r) return 0.0f;
  const float k = f / 10.0f;
  return 1.0f - k / (d - r + k);
}

// The two work images, made once for all maps of one size.
struct DilateImages {
  IplImage* charImage;
  IplImage* distImage;

  explicit DilateImages(CvSize size)
      : charImage(cvCreateImage(size, IPL_DEPTH_8U, 1)),
        distImage(cvCreateImage(size, IPL_DEPTH_32F, 1)) {}
  DilateImages(const DilateImages&) = delete;
  DilateImages& operator=(const DilateImages&) = delete;
  ~DilateImages() {
    cvReleaseImage(&charImage);
    cvReleaseImage(&distImage);
  }
};

inline void dilateWithDistances(Brin::OccupancyMap& map, DilateImages& images, float r, float f,
                                float threshold, int type) {
  IplImage* charImage = images.charImage;
  IplImage* distImage = images.distImage;
  const CvSize size = cvGetSize(map.image);
  renderBytes(map, charImage);
  cvThreshold(charImage, charImage, 256.0f * threshold, 0, CV_THRESH_TOZERO);
  chamferDistances(charImage, distImage);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const float d = floatPixel(distImage, x, y);
      if (type == 0) floatPixel(map.image, x, y) = linearProfile(d, r, f);
      if (type == 1) floatPixel(map.image, x, y) = inverseProfile(d, r, f);
    }
  }
}

inline void dilateByErosion(Brin::OccupancyMap& map, float erodeCells, float sigmaCells) {
  Brin::OccupancyMap copy(map);
  cvErode(map.image, copy.image, nullptr, static_cast<int>(erodeCells));
  if (sigmaCells > 0.001f) {
    cvSmooth(copy.image, map.image, CV_GAUSSIAN, 11, 11, sigmaCells, sigmaCells);
  }
}

inline void dilate(Brin::OccupancyMap& map, DilateImages& images, const DilateSettings& settings,
                   int type) {
  const float inv = 1.0f / map.params.resolution;
  const float radius = settings.dilationRadius * inv;
  const float fade = inv * settings.fadeDistance;
  if (type == 2) {
    dilateByErosion(map, radius, fade);
  } else {
    dilateWithDistances(map, images, radius, fade, settings.obstProbThreshold, type);
  }
}

}  // namespace korrin_model
