// Scaling, scrolling, merging and turning of images, cell by cell and call by call.
#pragma once

#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "korrin/core/occupancy_map.hpp"
#include "korrin/map_image_utils.hpp"

namespace korrin_model {

inline float& floatCell(IplImage* image, int x, int y) {
  return reinterpret_cast<float*>(image->imageData + std::ptrdiff_t{y} * image->widthStep)[x];
}

inline float floatCell(const IplImage* image, int x, int y) {
  return reinterpret_cast<const float*>(image->imageData + std::ptrdiff_t{y} * image->widthStep)[x];
}

inline void imgMultiplyProb8(IplImage* image, float factor) {
  for (int y = 0; y < image->height; ++y) {
    for (int x = 0; x < image->width; ++x) {
      auto* p = reinterpret_cast<std::uint8_t*>(image->imageData + y * image->widthStep) + x;
      const long double scaled = (*p - 127) * static_cast<long double>(factor) + 127.0L;
      const long double v = std::trunc(scaled);
      if (std::isnan(v)) {
        *p = 0;
      } else if (v > 255.0L) {
        *p = 255;
      } else if (v < 0.0L) {
        *p = 0;
      } else {
        *p = static_cast<std::uint8_t>(v);
      }
    }
  }
}

inline void imgMultiplyProb32F(IplImage* image, float factor) {
  for (int y = 0; y < image->height; ++y) {
    for (int x = 0; x < image->width; ++x) {
      float& p = floatCell(image, x, y);
      p = (p - 0.5f) * factor + 0.5f;
    }
  }
  if (image->width == 0 || image->height == 0) return;
  cvThreshold(image, image, 0, 0, CV_THRESH_TOZERO);
  cvThreshold(image, image, 1, 1, CV_THRESH_TRUNC);
}

inline void occMapMultiplyProb(Brin::OccupancyMap& map, float factor) {
  for (int y = 0; y < map.image->height; ++y) {
    for (int x = 0; x < map.image->width; ++x) {
      float& p = floatCell(map.image, x, y);
      p = (p - 0.5f) * factor + 0.5f;
    }
  }
  map.clip();
}

inline void warpAffine(const IplImage* src, IplImage* dst, float a, float b, float c, float d,
                       float e, float f) {
  float values[6] = {a, b, c, d, e, f};
  const CvMat matrix = cvMat(2, 3, CV_32FC1, values);
  cvWarpAffine(src, dst, &matrix, 9, cvScalar(0.5, 0, 0, 0));
}

// Moves the cells of a float image by whole cells, from one image into a distinct one.
inline void scrollWhole(const IplImage* src, IplImage* dst, double dx, double dy) {
  for (int y = 0; y < dst->height; ++y) {
    for (int x = 0; x < dst->width; ++x) {
      const double fromX = x - dx;
      const double fromY = y - dy;
      const bool hasSource = fromX >= 0 && fromX < src->width && fromY >= 0 && fromY < src->height;
      floatCell(dst, x, y) =
          hasSource ? floatCell(src, static_cast<int>(fromX), static_cast<int>(fromY)) : 0.5f;
    }
  }
}

inline void scrollIplImage(const IplImage* src, IplImage* dst, float dx, float dy) {
  if (std::floor(dx) == dx && std::floor(dy) == dy) {
    scrollWhole(src, dst, dx, dy);
  } else {
    warpAffine(src, dst, 1, 0, dx, 0, 1, dy);
  }
}

inline void scrollOccMap(const Brin::OccupancyMap& src, Brin::OccupancyMap& dst, std::int64_t dx,
                         std::int64_t dy) {
  scrollIplImage(src.image, dst.image, static_cast<float>(dx), static_cast<float>(dy));
  scrollIplImage(src.secondImage, dst.secondImage, static_cast<float>(dx), static_cast<float>(dy));
  const Brin::Pose2D origin = src.params.origin;
  const float resolution = src.params.resolution;
  const Brin::Pose2D p = origin.absProject(
      {static_cast<float>(-dx) * resolution, static_cast<float>(-dy) * resolution, 0.0f});
  const Brin::Pose2D r = origin.relProject(p);
  dst.params.origin = origin.absProject(r);
}

inline void mergeImages2(const std::vector<Brin::ImageToMerge>& images, IplImage** out,
                         float resolution) {
  if (images.empty()) return;
  IplImage* scaled = cvCloneImage(images[0].image);
  IplImage* shifted = cvCloneImage(images[0].image);
  if (*out == nullptr) *out = cvCloneImage(images[0].image);
  cvSetZero(*out);
  const double w = 1.0 / static_cast<double>(images.size());
  for (const Brin::ImageToMerge& each : images) {
    cvConvertScale(each.image, scaled, w, 0);
    scrollIplImage(scaled, shifted, each.x / resolution, each.y / resolution);
    cvAdd(shifted, *out, *out, nullptr);
  }
  cvReleaseImage(&scaled);
  cvReleaseImage(&shifted);
}

inline void rotateIplImage90(const IplImage* src, IplImage* dst) {
  const float w = static_cast<float>(src->width);
  warpAffine(src, dst, 0, -1, 0, 1, 0.5f * w, -0.5f * w);
}

inline void rotateIplImage90_2(const IplImage* src, IplImage* dst) {
  const int w = src->width;
  const int h = src->height;
  for (int j = 0; j < h; ++j) {
    for (int i = 0; i < w; ++i) cvSet2D(dst, w - 1 - j, i, cvGet2D(src, i, j));
  }
}

}  // namespace korrin_model
