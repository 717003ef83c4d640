#include "src/distance_transform.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>
#ifdef __SSE__
#include <xmmintrin.h>
#endif

#include "core/image_ptr.hpp"
#include "core/lanes.hpp"

namespace Brin {
namespace {

// Along a row each pixel depends on the one before it. What four pixels get from the row before is
// found for all four at once; what they get from each other takes two steps, from the neighbour
// and from two pixels away; what is left comes from the last of the four before them. The shuffles
// repeat the outermost pixel instead of shifting it out: a way from a pixel to itself is never
// shorter than none.
typedef std::int8_t Bytes __attribute__((vector_size(16)));
typedef std::int16_t Words __attribute__((vector_size(16)));

constexpr std::int32_t kStraight = 62587;
constexpr std::int32_t kDiagonal = 89738;

// All distances are stored with this added, which makes their bits, read as a float, a normal
// positive number. Such floats are ordered as the integers are, and the least of four pairs of
// floats is one instruction of the plainest vector unit, which has none for integers.
constexpr std::int32_t kZero = 1 << 23;
constexpr std::int32_t kFar = kZero + (1 << 29);

Ints least(Ints a, Ints b) {
  const auto x = reinterpret_cast<Floats>(a);
  const auto y = reinterpret_cast<Floats>(b);
#ifdef __SSE__
  return reinterpret_cast<Ints>(_mm_min_ps(x, y));
#else
  return reinterpret_cast<Ints>(x < y ? x : y);
#endif
}

// All bits set for each of the four bytes that is 0. The mask of a byte is its own two halves of a
// word, and those of that word the halves of the lane.
Ints zeroMask(const std::uint8_t* bytes) {
  const auto b = reinterpret_cast<Bytes>(Ints{load<std::int32_t>(bytes), 0, 0, 0}) == 0;
  const auto w = reinterpret_cast<Words>(
      __builtin_shufflevector(b, b, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7));
  return reinterpret_cast<Ints>(__builtin_shufflevector(w, w, 0, 0, 1, 1, 2, 2, 3, 3));
}

// What the row before leads to, at its pixel `at` and those beside it.
Ints leastOfRow(const std::int32_t* at) {
  const Ints diagonal = least(load<Ints>(at - 1), load<Ints>(at + 1));
  return least(diagonal + kDiagonal, load<Ints>(at) + kStraight);
}

std::int32_t leastOfRowScalar(const std::int32_t* at) {
  return std::min(std::min(at[-1], at[1]) + kDiagonal, *at + kStraight);
}

Ints spreadRight(Ints v) {
  v = least(v, __builtin_shufflevector(v, v, 0, 0, 1, 2) + kStraight);
  return least(v, __builtin_shufflevector(v, v, 0, 0, 0, 1) + 2 * kStraight);
}

Ints spreadLeft(Ints v) {
  v = least(v, __builtin_shufflevector(v, v, 1, 2, 3, 3) + kStraight);
  return least(v, __builtin_shufflevector(v, v, 2, 3, 3, 3) + 2 * kStraight);
}

constexpr Ints kFromLeft = {kStraight, 2 * kStraight, 3 * kStraight, 4 * kStraight};
constexpr Ints kFromRight = {4 * kStraight, 3 * kStraight, 2 * kStraight, kStraight};

Floats toPixels(Ints distance) {
  return __builtin_convertvector(distance - kZero, Floats) * (1.0f / 65536.0f);
}

float toPixels(std::int32_t distance) {
  return static_cast<float>(distance - kZero) * (1.0f / 65536.0f);
}

// The two ways through an image. Until its row is done on the way up, a row of `distances` holds
// sums of the way down.
class Ways {
 public:
  Ways(const IplImage& bytes, IplImage& distances)
      : bytes_(bytes),
        distances_(distances),
        before_(static_cast<std::size_t>(bytes.width) + 2, kFar),
        current_(before_) {}

  void goDown() {
    for (int y = 0; y < bytes_.height; ++y) {
      passRowDown(imageRow<std::uint8_t>(bytes_, y), imageRow<float>(distances_, y));
    }
  }

  void goUp() {
    std::fill(before_.begin(), before_.end(), kFar);
    for (int y = bytes_.height - 1; y >= 0; --y) passRowUp(imageRow<float>(distances_, y));
  }

 private:
  void passRowDown(const std::uint8_t* bytes, float* row) {
    const int width = bytes_.width;
    const std::int32_t* before = before_.data() + 1;
    std::int32_t* current = current_.data() + 1;
    Ints left = all(kFar);
    int x = 0;
    for (; x + kLanes <= width; x += kLanes) {
      Ints v = least(leastOfRow(before + x), all(kFar));
      v = spreadRight(zeroMask(bytes + x) ? all(kZero) : v);
      const Ints done = least(v, left + kFromLeft);
      left = least(__builtin_shufflevector(v, v, 3, 3, 3, 3), left + kLanes * kStraight);
      store(current + x, done);
      store(row + x, done);
    }
    for (; x < width; ++x) {
      const std::int32_t v = std::min(leastOfRowScalar(before + x), current[x - 1] + kStraight);
      current[x] = bytes[x] == 0 ? kZero : std::min(v, kFar);
      store(row + x, current[x]);
    }
    before_.swap(current_);
  }

  void passRowUp(float* row) {
    const int width = bytes_.width;
    const std::int32_t* before = before_.data() + 1;
    std::int32_t* current = current_.data() + 1;
    int x = width;
    while (x % kLanes != 0) {
      --x;
      const std::int32_t v = std::min(leastOfRowScalar(before + x), current[x + 1] + kStraight);
      current[x] = std::min(v, load<std::int32_t>(row + x));
      row[x] = toPixels(current[x]);
    }
    Ints right = all(current[x]);
    while (x > 0) {
      x -= kLanes;
      const Ints v = spreadLeft(least(leastOfRow(before + x), load<Ints>(row + x)));
      const Ints done = least(v, right + kFromRight);
      right = least(__builtin_shufflevector(v, v, 0, 0, 0, 0), right + kLanes * kStraight);
      store(current + x, done);
      store(row + x, toPixels(done));
    }
    before_.swap(current_);
  }

  const IplImage& bytes_;
  IplImage& distances_;
  // The rows just done and in work, with a pixel too far away beyond either end.
  std::vector<std::int32_t> before_;
  std::vector<std::int32_t> current_;
};

// An image's region of interest as an image of its own, in the same memory.
IplImage regionOf(const IplImage* image, int depth, const char* function) {
  requireKind(image, depth, 1, function);
  IplImage region = *image;
  if (image->roi == nullptr) return region;
  if (image->roi->coi != 0) {
    cvError(CV_BadCOI, function, "a channel is selected", __FILE__, __LINE__);
  }
  region.width = image->roi->width;
  region.height = image->roi->height;
  region.imageData += std::ptrdiff_t{image->roi->yOffset} * image->widthStep +
                      std::ptrdiff_t{image->roi->xOffset} * ((depth & 255) / 8);
  region.roi = nullptr;
  return region;
}

}  // namespace

void chamferDistances(const IplImage& bytes, IplImage& distances) {
  Ways ways(bytes, distances);
  ways.goDown();
  ways.goUp();
}

void chamferDistancesInRegions(const IplImage* bytes, IplImage* distances, const char* function) {
  const IplImage source = regionOf(bytes, IPL_DEPTH_8U, function);
  IplImage target = regionOf(distances, IPL_DEPTH_32F, function);
  if (source.width != target.width || source.height != target.height) {
    cvError(CV_StsUnmatchedSizes, function, "images of different sizes", __FILE__, __LINE__);
  }
  chamferDistances(source, target);
}

}  // namespace Brin
