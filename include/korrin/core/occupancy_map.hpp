// The occupancy grid: square cells, each with the probability that it is free.
//
//   Brin::OccupancyMap map(200, 100, 0.05f, false);     // 10 m x 5 m, every cell unknown
//   map.params.origin = {-5.0f, -2.5f, 0.0f};           // the centre of cell (0, 0), in the world
//   Brin::Pose2Di cell = map.getPixelFromPose({0.0f, 0.0f, 0.0f});
//   map.setCell(cell.x, cell.y, 0.0f);                  // an obstacle at the world's origin
//   float freeness = map.getCell(cell.x, cell.y);       // 0
//
// Cell values: 1 certainly free, 0.5 unknown, 0 certainly occupied. A cell outside the grid reads
// as -1, so it is never free. Column x, row y; cell (0, 0) is the image's first pixel.
#pragma once

#include <opencv2/core/types_c.h>

#include <cstddef>
#include <cstdint>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"

namespace Brin {

// The geometry of a grid: its size, its resolution and its place in the world.
struct KORRIN_EXPORT OccupancyMapParams {
  // Where a new grid lies in the world. Its rows run along the world's x axis.
  enum OriginMode : std::int32_t {
    Corner = 0,  // the world's origin is the centre of cell (0, 0)
    Center = 1   // the world's origin is the centre of cell (width / 2, height / 2)
  };

  std::int32_t width = 0;   // columns
  std::int32_t height = 0;  // rows
  float resolution = 1.0f;  // metres per cell side
  Pose2D origin;            // world pose of the centre of cell (0, 0)

  OccupancyMapParams() = default;
  // Columns, rows, metres per cell side, and a place; any values are kept as they are.
  OccupancyMapParams(int width, int height, float resolution, OriginMode mode = Corner);

  // The cell that holds the world pose `pose`, and the heading relative to the grid. With
  // r = origin.relProject(pose): column floor(r.x / resolution + 0.5), row likewise, heading
  // r.theta. The cell may lie outside the grid. Beyond +-2^28 cells it is clamped there, and a
  // coordinate that is not a number becomes -2^28: a wild pose is a cell outside the map.
  // Constant time; safe from any thread.
  Pose2Di getPixelFromPose(const Pose2D& pose) const;

  // The world pose of the centre of `cell`, inside the grid or not:
  // origin.absProject({cell.x * resolution, cell.y * resolution, cell.theta}).
  // Constant time; safe from any thread.
  Pose2D getPoseFromPixel(const Pose2Di& cell) const;
};

// A grid with its cells, in an OpenCV image of one 32-bit float channel, and optionally a second
// image of the same size and kind. The map owns both images. It serves wherever its geometry is
// asked for.
//
// Creating or copying a map throws cv::Exception for a negative size, when memory runs out, or when
// an image's bytes or the bits of one of its rows exceed what an int counts (2^26 columns and 2^29
// cells are too many); nothing leaks and the target of an assignment stays as it was. The images
// may be replaced by others of the same kind; everything that looks at cells raises OpenCV's error
// for one of another kind or without pixels, before anything is touched. Reading is safe from
// several threads while nobody writes.
class KORRIN_EXPORT OccupancyMap {
 public:
  OccupancyMapParams params;  // the geometry; its size ought to be that of the images
  IplImage* image;            // the probabilities
  IplImage* secondImage;      // a second layer, or null; it can veto hits of a simulated beam

  // A map of unknown cells (0.5), its origin as OriginMode::Corner places it. With
  // `withSecondImage` it gets a second image too, 0.5 everywhere. 0 columns or rows are fine.
  OccupancyMap(int width, int height, float resolution, bool withSecondImage);
  OccupancyMap(const OccupancyMapParams& params, bool withSecondImage);

  // Copies are deep, the second image included. A map that was moved from has 0 x 0 cells.
  OccupancyMap(const OccupancyMap& other);
  OccupancyMap(OccupancyMap&& other) noexcept;
  OccupancyMap& operator=(const OccupancyMap& other);
  OccupancyMap& operator=(OccupancyMap&& other) noexcept;
  ~OccupancyMap();

  // The geometry, and its conversions between world and grid.
  operator const OccupancyMapParams&() const { return params; }
  Pose2Di getPixelFromPose(const Pose2D& pose) const { return params.getPixelFromPose(pose); }
  Pose2D getPoseFromPixel(const Pose2Di& cell) const { return params.getPoseFromPixel(cell); }

  // Whether (x, y) is a cell of the probability image.
  bool isInside(int x, int y) const {
    return image != nullptr && x >= 0 && y >= 0 && x < image->width && y < image->height;
  }

  // The value of cell (x, y); -1 outside the map.
  float getCell(int x, int y) const { return hasCell(x, y) ? *cellAddress(x, y) : -1.0f; }

  // Writes cell (x, y) as it is, without clamping; does nothing outside the map.
  void setCell(int x, int y, float value) {
    if (hasCell(x, y)) *cellAddress(x, y) = value;
  }

  // Clamps every cell of the probability image into [0, 1]; not-a-number becomes 0. Like the two
  // below it is linear in the cells.
  void clip();

  // Sets every cell of the probability image to `value`.
  void reset(float value);

  // Renders the probabilities into `*image`, one byte a cell at 256 levels per unit: v becomes
  // trunc(256 * v) saturated to [0, 255], not-a-number becomes 0. `*image` is created when null
  // and replaced when its size or kind differs or it has no pixels; the caller owns it. A null
  // `image` raises OpenCV's error.
  void toCharIplImage(IplImage** image) const;

 private:
  bool hasCell(int x, int y) const {
    if (image == nullptr) return false;
    const bool holdsFloats =
        image->imageData != nullptr && image->depth == IPL_DEPTH_32F && image->nChannels == 1;
    if (!holdsFloats) refuseImage();
    return isInside(x, y);
  }

  // Raises OpenCV's error about the image.
  [[noreturn]] void refuseImage() const;

  float* cellAddress(int x, int y) const {
    return reinterpret_cast<float*>(image->imageData + std::ptrdiff_t{y} * image->widthStep) + x;
  }
};

}  // namespace Brin
