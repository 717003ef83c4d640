// Obstacle dilation, OpenCV call by OpenCV call, on images of its own. For thresholds within
// +-2^23 and erosion counts that an int holds.
#pragma once

#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include "korrin/core/occupancy_map.hpp"

namespace korrin_model {

struct DilateSettings {
  float obstProbThreshold = 0.1f;
  float dilationRadius = 0.2f;
  float fadeDistance = 0.4f;
};

inline float& floatPixel(IplImage* image, int x, int y) {
  return reinterpret_cast<float*>(image->imageData + y * image->widthStep)[x];
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

inline void dilateWithDistances(Brin::OccupancyMap& map, float r, float f, float threshold,
                                int type) {
  const CvSize size = cvGetSize(map.image);
  IplImage* charImage = cvCreateImage(size, IPL_DEPTH_8U, 1);
  IplImage* distImage = cvCreateImage(size, IPL_DEPTH_32F, 1);
  map.toCharIplImage(&charImage);
  cvThreshold(charImage, charImage, 256.0f * threshold, 0, CV_THRESH_TOZERO);
  cvDistTransform(charImage, distImage, CV_DIST_L2, 3, nullptr, nullptr);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const float d = floatPixel(distImage, x, y);
      if (type == 0) floatPixel(map.image, x, y) = linearProfile(d, r, f);
      if (type == 1) floatPixel(map.image, x, y) = inverseProfile(d, r, f);
    }
  }
  cvReleaseImage(&charImage);
  cvReleaseImage(&distImage);
}

inline void dilateByErosion(Brin::OccupancyMap& map, float erodeCells, float sigmaCells) {
  Brin::OccupancyMap copy(map);
  cvErode(map.image, copy.image, nullptr, static_cast<int>(erodeCells));
  if (sigmaCells > 0.001f) {
    cvSmooth(copy.image, map.image, CV_GAUSSIAN, 11, 11, sigmaCells, sigmaCells);
  }
}

inline void dilate(Brin::OccupancyMap& map, const DilateSettings& settings, int type) {
  const float inv = 1.0f / map.params.resolution;
  const float radius = settings.dilationRadius * inv;
  const float fade = inv * settings.fadeDistance;
  if (type == 2) {
    dilateByErosion(map, radius, fade);
  } else {
    dilateWithDistances(map, radius, fade, settings.obstProbThreshold, type);
  }
}

}  // namespace korrin_model
