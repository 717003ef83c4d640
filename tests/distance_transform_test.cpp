// The distances that a dilater and a scan's distance map hold are those of the literal model and of
// OpenCV 4.6, to the last bit, whatever release of OpenCV is linked.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>
#ifdef __SSE2__
#include <xmmintrin.h>
#endif

#include <cstdint>
#include <utility>

#include "core/image_ptr.hpp"
#include "korrin/obstacle_dilater.hpp"
#include "korrin/scan_matching.hpp"
#include "models/distance_transform_model.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"
#include "support/uniform_images.hpp"
#include "support/workload.hpp"

namespace {

using Brin::ImagePtr;
using Brin::imageRow;
using Brin::makeImage;
using korrin_test::RandomInputs;
using korrin_test::sameImage;
using korrin_test::uniformByteImage;

// The distances to the zeros of `bytes` that buildLaserDistance finds.
ImagePtr distancesOf(IplImage& bytes) {
  IplImage* picture = &bytes;
  IplImage* distances = nullptr;
  Brin::buildLaserDistance({}, {0.0f, 0.0f, 0.0f}, &picture, &distances, 1.0f);
  return ImagePtr(distances);
}

// Those that a dilater finds, whatever it then does to the map.
::testing::AssertionResult dilaterFinds(const IplImage& bytes, const IplImage& expected) {
  Brin::OccupancyMap map(bytes.width, bytes.height, 1.0f, false);
  for (int y = 0; y < bytes.height; ++y) {
    for (int x = 0; x < bytes.width; ++x) {
      map.setCell(x, y, static_cast<float>(imageRow<std::uint8_t>(bytes, y)[x]) / 256.0f);
    }
  }
  Brin::ObstacleDilater dilater(bytes.width, bytes.height);
  dilater.setObstProbThreshold(-1.0f);
  dilater.dilate(map, static_cast<Brin::ObstacleDilater::DilateType>(3));
  return sameImage(dilater.distImage, &expected) << " (dilater)";
}

::testing::AssertionResult agrees(IplImage& bytes) {
  const ImagePtr expected = makeImage(cvSize(bytes.width, bytes.height), IPL_DEPTH_32F, 1);
  korrin_model::chamferDistances(&bytes, expected.get());
  if (auto same = sameImage(distancesOf(bytes).get(), expected.get()); !same) return same;
  return dilaterFinds(bytes, *expected);
}

// Zeros with that probability, and any other bytes.
ImagePtr randomPicture(RandomInputs& random, int width, int height, double density) {
  ImagePtr bytes = makeImage(cvSize(width, height), IPL_DEPTH_8U, 1);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const auto other = static_cast<std::uint8_t>(random.between(1, 255));
      imageRow<std::uint8_t>(*bytes, y)[x] = random.chance(density) ? std::uint8_t{0} : other;
    }
  }
  return bytes;
}

bool hasZero(const IplImage& bytes) {
  for (int y = 0; y < bytes.height; ++y) {
    for (int x = 0; x < bytes.width; ++x) {
      if (imageRow<std::uint8_t>(bytes, y)[x] == 0) return true;
    }
  }
  return false;
}

std::uint64_t digestOf(const IplImage& image) {
  korrin_test::Words words;
  words.add(image);
  return korrin_test::digestOf(words);
}

TEST(DistanceTransform, countsStepsAlongRowsAndColumnsAndDiagonalOnes) {
  // As OpenCV 4.6 printed them.
  const float expected[4][5] = {
      {1.36929321f, 0.955001831f, 1.36929321f, 2.32429504f, 3.27929688f},
      {0.955001831f, 0.0f, 0.955001831f, 1.91000366f, 2.86500549f},
      {1.36929321f, 0.955001831f, 1.36929321f, 2.32429504f, 3.27929688f},
      {2.32429504f, 1.91000366f, 2.32429504f, 2.73858643f, 3.69358826f},
  };
  const ImagePtr bytes = uniformByteImage(5, 4, 9);
  imageRow<std::uint8_t>(*bytes, 1)[1] = 0;
  const ImagePtr distances = distancesOf(*bytes);
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 5; ++x) EXPECT_EQ(imageRow<float>(*distances, y)[x], expected[y][x]);
  }
  EXPECT_TRUE(agrees(*bytes));
}

TEST(DistanceTransform, is8192EverywhereWithoutAZero) {
  // So OpenCV 4.6; 4.10 has 65534.6289.
  for (const auto& [width, height] :
       {std::pair{1, 1}, {2, 3}, {17, 9}, {8600, 1}, {1, 8600}, {3000, 2000}, {2000000, 1}}) {
    const ImagePtr bytes = uniformByteImage(width, height, 9);
    const ImagePtr expected = korrin_test::uniformFloatImage(width, height, 8192.0f);
    ASSERT_TRUE(sameImage(distancesOf(*bytes).get(), expected.get())) << width << " x " << height;
    ASSERT_TRUE(dilaterFinds(*bytes, *expected)) << width << " x " << height;
  }
}

TEST(DistanceTransform, hasTheDigestsThatOpenCv46Gave) {
  const struct {
    int width;
    int height;
    double density;
    std::uint64_t digest;
  } pictures[] = {
      {1, 1, 1.0, 0x7e1ef442cd317605U},       {1, 40, 0.1, 0x16713d785e40c283U},
      {40, 1, 0.1, 0x1320daa09ad0b3a8U},      {33, 27, 0.5, 0xa9041f2f61b0c34bU},
      {64, 64, 0.02, 0xe1e2dab28c13b464U},    {201, 3, 0.01, 0xd38cc291552d9f43U},
      {301, 203, 0.001, 0x3d171dda6df2b0d7U}, {17200, 3, 0.0001, 0xf6bc8527c4bcb93dU},
      {3, 9000, 0.0001, 0xf613a8f69d451bf5U}, {1501, 1203, 0.0001, 0xbef2698d78669f0cU},
  };
  RandomInputs random(83);
  for (const auto& picture : pictures) {
    const ImagePtr bytes = randomPicture(random, picture.width, picture.height, picture.density);
    ASSERT_TRUE(hasZero(*bytes));
    EXPECT_EQ(digestOf(*distancesOf(*bytes)), picture.digest)
        << picture.width << " x " << picture.height;
  }
}

TEST(DistanceTransform, agreesOnEverySmallPattern) {
  const std::pair<int, int> sizes[] = {{1, 1},  {2, 3}, {3, 2}, {4, 3}, {3, 4}, {5, 3},
                                       {12, 1}, {1, 9}, {6, 2}, {7, 2}, {2, 6}};
  int patterns = 0;
  for (const auto& [width, height] : sizes) {
    const ImagePtr bytes = uniformByteImage(width, height, 0);
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
    const ImagePtr bytes = randomPicture(random, width, height, density);
    ASSERT_TRUE(agrees(*bytes)) << "case " << i << ", " << width << " x " << height;
    withoutZero += hasZero(*bytes) ? 0 : 1;
  }
  EXPECT_GT(withoutZero, 300);
}

TEST(DistanceTransform, agreesWhereDistancesReachTheirLimit) {
  // 8192 is about 8578 steps along a row or 5983 diagonal ones.
  const std::pair<int, int> sizes[] = {{8600, 1}, {1, 8600}, {17200, 3}, {3, 9000}, {6100, 6050}};
  for (const auto& [width, height] : sizes) {
    const ImagePtr bytes = uniformByteImage(width, height, 9);
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
  const ImagePtr bytes = uniformByteImage(1501, 1203, 128);
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
  const ImagePtr bytes = uniformByteImage(40, 20, 77);
  imageRow<std::uint8_t>(*bytes, 3)[5] = 0;
  _mm_setcsr(before | kFlushToZero | kDenormalsAreZero);
  const auto result = agrees(*bytes);
  _mm_setcsr(before);
  EXPECT_TRUE(result);
}
#endif

}  // namespace
