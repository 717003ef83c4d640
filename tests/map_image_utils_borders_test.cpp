// Shifts by exactly the image's size, by the farthest that is warped and the next float; images
// without columns or without rows; cells that scaling brings to exactly 0 or 1.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "core/image_ptr.hpp"
#include "korrin/map_image_utils.hpp"
#include "models/map_image_utils_model.hpp"
#include "support/bits.hpp"
#include "support/border_inputs.hpp"
#include "support/images.hpp"

namespace {

using korrin_test::besideBorder;
using korrin_test::RandomInputs;

TEST(MapImageBorders, shiftsByTheSizeOfTheImageAndOneLess) {
  RandomInputs random(161);
  for (int i = 0; i < 3000; ++i) {
    const int width = random.between(1, 7);
    const int height = random.between(1, 7);
    const Brin::ImagePtr src = korrin_test::randomFloatImage(random, width, height);
    const auto shift = [&](int size) {
      return static_cast<float>(random.pick<int>({-size - 1, -size, 1 - size, 0, size - 1, size}));
    };
    const Brin::Point2D by(shift(width), shift(height));
    const Brin::ImagePtr dst = korrin_test::randomFloatImage(random, width, height);
    const Brin::ImagePtr expected = korrin_test::copyOf(*dst);
    Brin::scrollIplImage(src.get(), dst.get(), by);
    korrin_model::scrollIplImage(src.get(), expected.get(), by.x, by.y);
    ASSERT_TRUE(korrin_test::sameImage(dst.get(), expected.get())) << by.x << ", " << by.y;
  }
}

TEST(MapImageBorders, imagesWithoutColumnsOrRowsScrollByAnything) {
  for (const CvSize size : {cvSize(0, 0), cvSize(3, 0), cvSize(0, 3)}) {
    const Brin::ImagePtr src = Brin::makeImage(size, IPL_DEPTH_32F, 1);
    const Brin::ImagePtr dst = Brin::makeImage(size, IPL_DEPTH_32F, 1);
    for (const float shift : {0.0f, 0.5f, 1.0f, -2.5f, 1e7f}) {
      EXPECT_NO_THROW(Brin::scrollIplImage(src.get(), dst.get(), {shift, 0.5f}));
      EXPECT_NO_THROW(Brin::scrollIplImage(src.get(), dst.get(), {0.5f, shift}));
    }
  }
}

TEST(MapImageBorders, shiftsAroundTheFarthestLeaveNothingButTheUnknown) {
  RandomInputs random(162);
  const Brin::ImagePtr src = korrin_test::randomFloatImage(random, 5, 4);
  for (const float farthest : {1048576.0f, -1048576.0f}) {
    for (int i = 0; i < 20; ++i) {
      const float shift = besideBorder(random, farthest);
      const Brin::ImagePtr dst = korrin_test::randomFloatImage(random, 5, 4);
      const bool alongX = random.chance(0.5);
      Brin::scrollIplImage(src.get(), dst.get(),
                           alongX ? Brin::Point2D(shift, 0.25f) : Brin::Point2D(0.25f, shift));
      for (int k = 0; k < 20; ++k) EXPECT_EQ(Brin::imageRow<float>(*dst, k / 5)[k % 5], 0.5f);
    }
  }
}

TEST(MapImageBorders, cellsThatScalingBringsToTheLimits) {
  RandomInputs random(163);
  int atLimit = 0;
  for (int i = 0; i < 3000; ++i) {
    const int width = random.between(1, 19);
    const float factor = random.pick<float>({0.5f, 2.0f, 3.0f, -2.0f, random.between(1.0f, 9.0f)});
    Brin::ImagePtr image = Brin::makeImage(cvSize(width, 1), IPL_DEPTH_32F, 1);
    for (int x = 0; x < width; ++x) {
      const float limit = random.pick<float>({-0.5f, 0.5f});
      float& cell = Brin::imageRow<float>(*image, 0)[x];
      cell = besideBorder(random, limit / factor + 0.5f);
      atLimit += (cell - 0.5f) * factor == limit ? 1 : 0;
    }
    const Brin::ImagePtr expected = korrin_test::copyOf(*image);
    Brin::imgMultiplyProb32F(image.get(), factor);
    korrin_model::imgMultiplyProb32F(expected.get(), factor);
    ASSERT_TRUE(korrin_test::sameImage(image.get(), expected.get())) << "case " << i;
  }
  EXPECT_GT(atLimit, 3000);
}

}  // namespace
