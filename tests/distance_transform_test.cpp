// The distances that a dilater finds are those of OpenCV's own transform, to the last bit.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>
#ifdef __SSE2__
#include <xmmintrin.h>
#endif

#include <cstdint>
#include <utility>

#include "core/image_ptr.hpp"
#include "korrin/obstacle_dilater.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::ImagePtr;
using Brin::imageRow;
using Brin::makeImage;
using korrin_test::RandomInputs;

ImagePtr makeBytes(int width, int height, std::uint8_t value) {
  ImagePtr image = makeImage(cvSize(width, height), IPL_DEPTH_8U, 1);
  cvSet(image.get(), cvScalar(value));
  return image;
}

// The distances to the zeros of `bytes`: a dilater finds them whatever it then does to the map.
::testing::AssertionResult agrees(const IplImage& bytes) {
  Brin::OccupancyMap map(bytes.width, bytes.height, 1.0f, false);
  for (int y = 0; y < bytes.height; ++y) {
    for (int x = 0; x < bytes.width; ++x) {
      map.setCell(x, y, static_cast<float>(imageRow<std::uint8_t>(bytes, y)[x]) / 256.0f);
    }
  }
  Brin::ObstacleDilater dilater(bytes.width, bytes.height);
  dilater.setObstProbThreshold(-1.0f);
  dilater.dilate(map, static_cast<Brin::ObstacleDilater::DilateType>(3));
  const ImagePtr expected = makeImage(cvSize(bytes.width, bytes.height), IPL_DEPTH_32F, 1);
  cvDistTransform(&bytes, expected.get(), CV_DIST_L2, 3);
  return korrin_test::sameImage(dilater.distImage, expected.get());
}

TEST(DistanceTransform, agreesOnEverySmallPattern) {
  const std::pair<int, int> sizes[] = {{1, 1},  {2, 3}, {3, 2}, {4, 3}, {3, 4}, {5, 3},
                                       {12, 1}, {1, 9}, {6, 2}, {7, 2}, {2, 6}};
  int patterns = 0;
  for (const auto& [width, height] : sizes) {
    const ImagePtr bytes = makeBytes(width, height, 0);
    for (int pattern = 0; pattern < 1 << (width * height); ++pattern, ++patterns) {
      for (int i = 0; i < width * height; ++i) {
        imageRow<std::uint8_t>(*bytes, i / width)[i % width] =
            (pattern >> i & 1) != 0 ? std::uint8_t{200} : std::uint8_t{0};
      }
      ASSERT_TRUE(agrees(*bytes)) << width << " x " << height << ", pattern " << pattern;
    }
  }
  EXPECT_GT(patterns, 65000);
}

TEST(DistanceTransform, agreesOnRandomImages) {
  RandomInputs random(81);
  int withoutZero = 0;
  for (int i = 0; i < 4000; ++i) {
    const int most = random.chance(0.1) ? 200 : 40;
    const int width = random.chance(0.1) ? 1 : random.between(1, most);
    const int height = random.chance(0.1) ? 1 : random.between(1, most);
    const double density = random.pick<double>({0.5, 0.1, 0.01, 0.001});
    const ImagePtr bytes = makeBytes(width, height, 1);
    bool hasZero = false;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const bool isZero = random.chance(density);
        hasZero = hasZero || isZero;
        imageRow<std::uint8_t>(*bytes, y)[x] =
            isZero ? std::uint8_t{0} : static_cast<std::uint8_t>(random.between(1, 255));
      }
    }
    ASSERT_TRUE(agrees(*bytes)) << "case " << i << ", " << width << " x " << height;
    withoutZero += hasZero ? 0 : 1;
  }
  EXPECT_GT(withoutZero, 300);
}

TEST(DistanceTransform, agreesWhereDistancesReachTheirLimit) {
  // 8192 is about 8578 steps along a row or 5983 diagonal ones.
  const std::pair<int, int> sizes[] = {{8600, 1}, {1, 8600}, {17200, 3}, {3, 9000}, {6100, 6050}};
  for (const auto& [width, height] : sizes) {
    const ImagePtr bytes = makeBytes(width, height, 9);
    ASSERT_TRUE(agrees(*bytes)) << width << " x " << height << " without a zero";
    for (const auto& [x, y] : {std::pair{0, 0}, std::pair{width - 1, height - 1},
                               std::pair{width / 2, height / 2}, std::pair{width - 1, 0}}) {
      cvSet(bytes.get(), cvScalar(9));
      imageRow<std::uint8_t>(*bytes, y)[x] = 0;
      ASSERT_TRUE(agrees(*bytes)) << width << " x " << height << " from " << x << ", " << y;
      if (width * height > 1000000) break;
    }
  }
}

TEST(DistanceTransform, agreesOnASparseLargeImage) {
  RandomInputs random(82);
  const ImagePtr bytes = makeBytes(1501, 1203, 128);
  for (int i = 0; i < 300; ++i) {
    imageRow<std::uint8_t>(*bytes, random.between(0, 1202))[random.between(0, 1500)] = 0;
  }
  EXPECT_TRUE(agrees(*bytes));
}

#ifdef __SSE2__
TEST(DistanceTransform, agreesWhereTheThreadTreatsTheSmallestFloatsAsZero) {
  constexpr unsigned kFlushToZero = 0x8000;
  constexpr unsigned kDenormalsAreZero = 0x0040;
  const unsigned before = _mm_getcsr();
  const ImagePtr bytes = makeBytes(40, 20, 77);
  imageRow<std::uint8_t>(*bytes, 3)[5] = 0;
  _mm_setcsr(before | kFlushToZero | kDenormalsAreZero);
  const auto result = agrees(*bytes);
  _mm_setcsr(before);
  EXPECT_TRUE(result);
}
#endif

}  // namespace
