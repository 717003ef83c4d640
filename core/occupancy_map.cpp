#include "korrin/core/occupancy_map.hpp"

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "core/grid_frame.hpp"
#include "core/huge_pages.hpp"
#include "core/image_ptr.hpp"
#include "core/lanes.hpp"

namespace Brin {
namespace {

constexpr float kUnknown = 0.5f;

void fill(IplImage& image, float value) {
  for (int y = 0; y < image.height; ++y) {
    std::fill_n(imageRow<float>(image, y), image.width, value);
  }
}

ImagePtr makeUnknownLayer(const OccupancyMapParams& params) {
  ImagePtr layer = makeImage(cvSize(params.width, params.height), IPL_DEPTH_32F, 1);
  wishForHugePages(layer->imageData, layer->imageData + layer->imageSize);
  fill(*layer, kUnknown);
  return layer;
}

// All cells of a layer, also of one with a region of interest or with bytes between its rows.
ImagePtr copyLayer(const IplImage* layer) {
  if (layer == nullptr) return nullptr;
  requireKind(layer, IPL_DEPTH_32F, 1, "OccupancyMap");
  ImagePtr copy = makeImage(cvSize(layer->width, layer->height), IPL_DEPTH_32F, 1);
  for (int y = 0; y < layer->height; ++y) {
    std::copy_n(imageRow<float>(*layer, y), layer->width, imageRow<float>(*copy, y));
  }
  return copy;
}

std::uint8_t toByte(float probability) {
  const float level = 256.0f * probability;
  if (!(level > 0.0f)) return 0;
  return level < 255.0f ? static_cast<std::uint8_t>(level) : std::uint8_t{255};
}

// Limits cells to [0, 1]; not-a-number becomes 0.
void clipRow(float* row, int width) {
  int x = 0;
  for (; x + kLanes <= width; x += kLanes) {
    store(row + x, limitOrLow(load<Floats>(row + x), 0.0f, 1.0f));
  }
  for (; x < width; ++x) row[x] = limitOrLow(row[x], 0.0f, 1.0f);
}

}  // namespace

OccupancyMapParams::OccupancyMapParams(int width_, int height_, float resolution_, OriginMode mode)
    : width(width_), height(height_), resolution(resolution_) {
  if (mode == Center) {
    origin.x = -static_cast<float>(width / 2) * resolution;
    origin.y = -static_cast<float>(height / 2) * resolution;
  }
}

Pose2Di OccupancyMapParams::getPixelFromPose(const Pose2D& pose) const {
  const Point2Di cell = GridFrame(*this).cellOf(pose);
  return {cell.x, cell.y, canonicalAngle(pose.theta - origin.theta)};
}

Pose2D OccupancyMapParams::getPoseFromPixel(const Pose2Di& cell) const {
  return origin.absProject({static_cast<float>(cell.x) * resolution,
                            static_cast<float>(cell.y) * resolution, cell.theta});
}

OccupancyMap::OccupancyMap(int width, int height, float resolution, bool withSecondImage)
    : OccupancyMap(OccupancyMapParams(width, height, resolution), withSecondImage) {}

OccupancyMap::OccupancyMap(const OccupancyMapParams& params_, bool withSecondImage)
    : params(params_), image(nullptr), secondImage(nullptr) {
  ImagePtr first = makeUnknownLayer(params);
  if (withSecondImage) secondImage = makeUnknownLayer(params).release();
  image = first.release();
}

OccupancyMap::OccupancyMap(const OccupancyMap& other)
    : params(other.params), image(nullptr), secondImage(nullptr) {
  ImagePtr first = copyLayer(other.image);
  secondImage = copyLayer(other.secondImage).release();
  image = first.release();
}

OccupancyMap::OccupancyMap(OccupancyMap&& other) noexcept
    : params(other.params),
      image(std::exchange(other.image, nullptr)),
      secondImage(std::exchange(other.secondImage, nullptr)) {
  other.params.width = other.params.height = 0;
}

OccupancyMap& OccupancyMap::operator=(const OccupancyMap& other) {
  return *this = OccupancyMap(other);
}

OccupancyMap& OccupancyMap::operator=(OccupancyMap&& other) noexcept {
  OccupancyMap taken(std::move(other));  // empties `other`, even when it is this very map
  std::swap(params, taken.params);
  std::swap(image, taken.image);
  std::swap(secondImage, taken.secondImage);
  return *this;
}

OccupancyMap::~OccupancyMap() {
  cvReleaseImage(&image);
  cvReleaseImage(&secondImage);
}

void OccupancyMap::clip() {
  if (image == nullptr) return;
  requireKind(image, IPL_DEPTH_32F, 1, "OccupancyMap::clip");
  for (int y = 0; y < image->height; ++y) {
    clipRow(imageRow<float>(*image, y), image->width);
  }
}

void OccupancyMap::reset(float value) {
  if (image == nullptr) return;
  requireKind(image, IPL_DEPTH_32F, 1, "OccupancyMap::reset");
  fill(*image, value);
}

void OccupancyMap::refuseImage() const {
  requireKind(image, IPL_DEPTH_32F, 1, "OccupancyMap");
  throw std::logic_error("asked to refuse an image that holds cells");
}

void OccupancyMap::toCharIplImage(IplImage** out) const {
  constexpr const char* kFunction = "OccupancyMap::toCharIplImage";
  requireKind(image, IPL_DEPTH_32F, 1, kFunction);
  // Not cvGetSize, which gives the size of a region of interest where there is one.
  fitImage(out, cvSize(image->width, image->height), IPL_DEPTH_8U, 1, kFunction);
  for (int y = 0; y < image->height; ++y) {
    std::transform(imageRow<float>(*image, y), imageRow<float>(*image, y) + image->width,
                   imageRow<std::uint8_t>(**out, y), toByte);
  }
}

}  // namespace Brin
