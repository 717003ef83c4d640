#include "korrin/map_image_utils.hpp"

#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>

#include "core/image_ptr.hpp"
#include "korrin/core/log.hpp"
#include "src/cell_scaling.hpp"
#include "src/coarser_map.hpp"

namespace Brin {
namespace {

constexpr float kUnknown = 0.5f;
const CvScalar kFill = cvScalar(kUnknown, 0.0, 0.0, 0.0);
constexpr int kWarpFlags = CV_INTER_LINEAR + CV_WARP_FILL_OUTLIERS;

void requireImage(const IplImage* image, const char* function) {
  if (image == nullptr || image->imageData == nullptr) {
    cvError(CV_StsNullPtr, function, "null image", __FILE__, __LINE__);
  }
}

// All pixels of an image, and its region of interest. Row by row, since an image may be a window of
// a larger one, and end before the bytes of its rows do.
ImagePtr cloneImage(const IplImage& image) {
  ImagePtr clone = makeImage(cvSize(image.width, image.height), image.depth, image.nChannels);
  clone->origin = image.origin;
  if (image.roi != nullptr) {
    cvSetImageROI(clone.get(), cvGetImageROI(&image));
    cvSetImageCOI(clone.get(), image.roi->coi);
  }
  const std::int64_t rowBits = std::int64_t{image.width} * image.nChannels * (image.depth & 255);
  const auto rowBytes = static_cast<std::size_t>((rowBits + 7) / 8);
  for (int y = 0; y < image.height; ++y) {
    std::memcpy(imageRow<char>(*clone, y), imageRow<char>(image, y), rowBytes);
  }
  return clone;
}

// Scaling

// (p - 127) * factor + 127, truncated and limited. The pivot is 127 and not 127.5: this is
// intended.
std::uint8_t scaledByte(int p, float factor) {
  const long double v = static_cast<long double>(p - 127) * factor + 127.0L;
  if (!(v >= 0.0L)) return 0;  // not-a-number as well
  return v < 255.0L ? static_cast<std::uint8_t>(v) : std::uint8_t{255};
}

using ByteTable = std::array<std::uint8_t, 256>;

ByteTable scaledBytes(float factor) {
  ByteTable table;
  for (int p = 0; p < 256; ++p) table[static_cast<std::size_t>(p)] = scaledByte(p, factor);
  return table;
}

// The same by integer arithmetic, which compilers turn into instructions for many bytes at once:
// p becomes d * whole + floor(d * fraction / 2^16) + 127, limited, where d = p - 127.
//
// Why there is such a pair of numbers for nearly every factor: beyond +-128 factors differ no more.
// With d at most 128, floor(d * x) changes only at fractions x of a denominator up to 128, and two
// of these are at least 1 / (128 * 127) apart, about four steps of 2^-16. So next to any x that is
// not one of them, on one side or the other, lies a multiple of 2^-16 for which all the floors are
// the same; and an x that is one of them, being binary, is such a multiple itself. What remains are
// factors so small that the extended sum rounds to 127, and infinite ones. Nothing rests on this
// but speed: a pair is used only if it gives the table.
struct ByteLine {
  std::int16_t whole;
  std::int16_t fraction;

  void apply(std::uint8_t* row, int count) const {
    constexpr int kBlock = 32;
    int x = 0;
    for (; x + kBlock <= count; x += kBlock) {
      for (int i = 0; i < kBlock; ++i) row[x + i] = (*this)(row[x + i]);
    }
    for (; x < count; ++x) row[x] = (*this)(row[x]);
  }

  std::uint8_t operator()(std::uint8_t p) const {
    const auto d = static_cast<std::int16_t>(p - 127);
    const auto high = static_cast<std::int16_t>((d * fraction) >> 16);
    const auto v = static_cast<std::int16_t>(d * whole + high + 127);
    return static_cast<std::uint8_t>(std::clamp<std::int16_t>(v, 0, 255));
  }
};

std::optional<ByteLine> lineOfTable(const ByteTable& table, float factor) {
  if (std::isnan(factor)) return std::nullopt;
  const double slope = std::clamp(factor, -128.0f, 128.0f);
  const double whole = std::floor(slope + 0.5);
  const int fraction = static_cast<int>(std::floor((slope - whole) * 65536.0));
  ByteTable levels;
  std::iota(levels.begin(), levels.end(), std::uint8_t{0});
  for (const int candidate : {fraction, fraction + 1}) {
    const ByteLine line{static_cast<std::int16_t>(whole), static_cast<std::int16_t>(candidate)};
    ByteTable drawn = levels;
    line.apply(drawn.data(), static_cast<int>(drawn.size()));
    if (drawn == table) return line;
  }
  return std::nullopt;
}

void scaleCells(IplImage& image, float factor) {
  for (int y = 0; y < image.height; ++y) {
    scaleRow(imageRow<float>(image, y), image.width, factor);
  }
}

// Scrolling

// Where the cells of a line land that moves `shift` cells: [first, last) of `size` cells.
struct Landing {
  int first;
  int last;

  Landing(std::int64_t shift, int sourceSize, int size) {
    const std::int64_t zero = 0;
    first = static_cast<int>(std::clamp<std::int64_t>(shift, zero, size));
    last = static_cast<int>(std::clamp<std::int64_t>(sourceSize + shift, first, size));
  }
};

void scrollWholeCells(const IplImage& src, IplImage& dst, std::int64_t dx, std::int64_t dy) {
  const Landing columns(dx, src.width, dst.width);
  const Landing rows(dy, src.height, dst.height);
  const auto scrollRow = [&](int y) {
    float* to = imageRow<float>(dst, y);
    if (y < rows.first || y >= rows.last) {
      std::fill_n(to, dst.width, kUnknown);
      return;
    }
    if (columns.first < columns.last) {
      const float* from = imageRow<float>(src, static_cast<int>(y - dy));
      std::memmove(to + columns.first, from + (columns.first - dx),
                   sizeof(float) * static_cast<std::size_t>(columns.last - columns.first));
    }
    std::fill(to, to + columns.first, kUnknown);
    std::fill(to + columns.last, to + dst.width, kUnknown);
  };
  // In place, a row is read before it is written: rows that move down are taken from below.
  if (dy > 0) {
    for (int y = dst.height - 1; y >= 0; --y) scrollRow(y);
  } else {
    for (int y = 0; y < dst.height; ++y) scrollRow(y);
  }
}

// Whether cells can be moved by hand: floats, and no region of interest that narrows the image.
bool holdsPlainCells(const IplImage& image) {
  return hasKind(image, IPL_DEPTH_32F, 1) && image.roi == nullptr;
}

bool isWhole(float shift) { return std::trunc(shift) == shift; }

// Beyond the widest image that OpenCV warps, and within the reach of its fixed-point coordinates.
// Not-a-number is far as well.
bool isFar(float shift) { return !(std::abs(shift) < 1048576.0f); }

// A whole shift as a number; one that no image is wide enough for stays such a one.
std::int64_t toCells(float shift) {
  constexpr float kBeyond = 4294967296.0f;
  return static_cast<std::int64_t>(std::clamp(shift, -kBeyond, kBeyond));
}

void warp(const IplImage* src, IplImage* dst, std::array<float, 6> matrix) {
  const CvMat header = cvMat(2, 3, CV_32FC1, matrix.data());
  cvWarpAffine(src, dst, &header, kWarpFlags, kFill);
}

void requireScrollable(const OccupancyMap& src, const OccupancyMap& dst) {
  constexpr const char* kFunction = "scrollOccMap";
  for (const IplImage* image : {src.image, src.secondImage, dst.image, dst.secondImage}) {
    requireKind(image, IPL_DEPTH_32F, 1, kFunction);
    if (image->width != src.image->width || image->height != src.image->height) {
      cvError(CV_StsUnmatchedSizes, kFunction, "images of different sizes", __FILE__, __LINE__);
    }
  }
}

// -v for any v. The one that has no opposite gets the nearest number there is, which is the same
// float.
std::int32_t opposite(std::int32_t v) {
  const std::int64_t wanted = -std::int64_t{v};
  return static_cast<std::int32_t>(
      std::min<std::int64_t>(wanted, std::numeric_limits<std::int32_t>::max()));
}

// Merging

void requireMergeable(const std::vector<ImageToMerge>& images, IplImage* const* out) {
  constexpr const char* kFunction = "mergeImages2";
  if (out == nullptr) cvError(CV_StsNullPtr, kFunction, "null image slot", __FILE__, __LINE__);
  requireImage(images.front().image, kFunction);
  const IplImage& first = *images.front().image;
  const auto require = [&](const IplImage* image) {
    requireImage(image, kFunction);
    if (image->width != first.width || image->height != first.height ||
        image->nChannels != first.nChannels) {
      cvError(CV_StsUnmatchedSizes, kFunction, "images of different sizes", __FILE__, __LINE__);
    }
  };
  for (const ImageToMerge& each : images) require(each.image);
  if (*out != nullptr) require(*out);
}

// Turning

void turnCells(const IplImage& src, IplImage& dst) {
  const int side = src.width;
  for (int j = 0; j < side; ++j) {
    float* to = imageRow<float>(dst, side - 1 - j);
    for (int i = 0; i < side; ++i) to[i] = imageRow<float>(src, i)[j];
  }
}

}  // namespace

void computeCoarserMap(const OccupancyMap& fine, OccupancyMap& coarse, int factor) {
  if (factor < 1) {
    completeLog(NavLogLevel::Warning, "factor is below 1, the coarse map stays as it is.",
                "src/map_image_utils", "computeCoarserMap", __LINE__);
    return;
  }
  requireKind(fine.image, IPL_DEPTH_32F, 1, "computeCoarserMap");
  OccupancyMap reduced(coarserParams(fine, factor), true);
  fillCoarserImage(fine, reduced);
  coarse = std::move(reduced);
}

void imgMultiplyProb8(IplImage* image, float factor) {
  requireKind(image, IPL_DEPTH_8U, 1, "imgMultiplyProb8");
  const ByteTable table = scaledBytes(factor);
  const std::optional<ByteLine> line = lineOfTable(table, factor);
  const int width = image->width;
  for (int y = 0; y < image->height; ++y) {
    auto* row = imageRow<std::uint8_t>(*image, y);
    if (line) {
      line->apply(row, width);
    } else {
      std::transform(row, row + width, row, [&](std::uint8_t p) { return table[p]; });
    }
  }
}

void imgMultiplyProb32F(IplImage* image, float factor) {
  requireKind(image, IPL_DEPTH_32F, 1, "imgMultiplyProb32F");
  if (image->roi == nullptr) return scaleCells(*image, factor);
  // Everything is scaled, but only the region of interest limited.
  for (int y = 0; y < image->height; ++y) {
    float* row = imageRow<float>(*image, y);
    std::transform(row, row + image->width, row,
                   [=](float p) { return (p - kUnknown) * factor + kUnknown; });
  }
  cvThreshold(image, image, 0.0, 0.0, CV_THRESH_TOZERO);
  cvThreshold(image, image, 1.0, 1.0, CV_THRESH_TRUNC);
}

void occMapMultiplyProb(OccupancyMap& map, float factor) {
  requireKind(map.image, IPL_DEPTH_32F, 1, "occMapMultiplyProb");
  scaleCells(*map.image, factor);
}

void scrollIplImage(const IplImage* src, IplImage* dst, const Point2D& shift) {
  requireImage(src, "scrollIplImage");
  requireKind(dst, src->depth, src->nChannels, "scrollIplImage");
  const bool cellByCell = holdsPlainCells(*src) && holdsPlainCells(*dst);
  if (cellByCell && isWhole(shift.x) && isWhole(shift.y)) {
    scrollWholeCells(*src, *dst, toCells(shift.x), toCells(shift.y));
  } else if (isFar(shift.x) || isFar(shift.y) || src->width <= 0 || src->height <= 0) {
    cvSet(dst, kFill);  // nothing arrives
  } else {
    warp(src, dst, {1.0f, 0.0f, shift.x, 0.0f, 1.0f, shift.y});
  }
}

void scrollOccMap(const OccupancyMap& src, OccupancyMap& dst, Point2Di shift) {
  requireScrollable(src, dst);
  const Point2D cells(static_cast<float>(shift.x), static_cast<float>(shift.y));
  scrollIplImage(src.image, dst.image, cells);
  scrollIplImage(src.secondImage, dst.secondImage, cells);
  const Pose2D& origin = src.params.origin;
  const Pose2D corner = src.getPoseFromPixel({opposite(shift.x), opposite(shift.y), 0.0f});
  dst.params.origin = origin.absProject(origin.relProject(corner));
}

void scrollOccMap(const OccupancyMap& src, OccupancyMap& dst, const Pose2D& pose) {
  const Pose2Di cell = src.getPixelFromPose(pose);
  scrollOccMap(src, dst, Point2Di(cell.x, cell.y));
}

void scrollOccMapInPlace(OccupancyMap& map, Point2Di shift) { scrollOccMap(map, map, shift); }

void mergeImages2(std::vector<ImageToMerge> images, IplImage** out, float resolution,
                  float /*extra*/) {
  if (images.empty()) return;
  requireMergeable(images, out);
  const IplImage& first = *images.front().image;
  const ImagePtr scaled = cloneImage(first);
  const ImagePtr shifted = cloneImage(first);
  ImagePtr fresh = *out == nullptr ? cloneImage(first) : nullptr;
  IplImage* sum = fresh != nullptr ? fresh.get() : *out;
  cvSetZero(sum);
  const double share = 1.0 / static_cast<double>(images.size());
  for (const ImageToMerge& each : images) {
    cvConvertScale(each.image, scaled.get(), share, 0.0);
    // Scaled before it is shifted: what the shift uncovers adds a whole 0.5. This is intended.
    scrollIplImage(scaled.get(), shifted.get(), {each.x / resolution, each.y / resolution});
    cvAdd(shifted.get(), sum, sum, nullptr);
  }
  if (fresh != nullptr) *out = fresh.release();
}

void rotateIplImage90(const IplImage* src, IplImage* dst) {
  requireImage(src, "rotateIplImage90");
  requireImage(dst, "rotateIplImage90");
  const auto w = static_cast<float>(src->width);
  // Not a textbook rotation: these values are intended.
  warp(src, dst, {0.0f, -1.0f, 0.0f, 1.0f, 0.5f * w, -0.5f * w});
}

void rotateIplImage90_2(const IplImage* src, IplImage* dst) {
  constexpr const char* kFunction = "rotateIplImage90_2";
  requireImage(src, kFunction);
  requireImage(dst, kFunction);
  const int side = src->width;
  if (src->height != side || dst->width < side || dst->height < side) {
    cvError(CV_StsOutOfRange, kFunction, "not a square image", __FILE__, __LINE__);
  }
  if (src->imageData == dst->imageData) {
    const ImagePtr copy = cloneImage(*src);
    return rotateIplImage90_2(copy.get(), dst);
  }
  if (holdsPlainCells(*src) && holdsPlainCells(*dst)) return turnCells(*src, *dst);
  // A region of interest that is too small, or a selected channel, is OpenCV's error here already,
  // before anything is written.
  if (side > 0) cvGet2D(src, side - 1, side - 1), cvGet2D(dst, side - 1, side - 1);
  for (int j = 0; j < side; ++j) {
    for (int i = 0; i < side; ++i) cvSet2D(dst, side - 1 - j, i, cvGet2D(src, i, j));
  }
}

}  // namespace Brin
