// Averaging of shifted images.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "korrin/map_image_utils.hpp"
#include "models/map_image_utils_model.hpp"
#include "support/bits.hpp"
#include "support/images.hpp"

namespace {

using Brin::ImagePtr;
using Brin::ImageToMerge;
using korrin_test::byteImage;
using korrin_test::copyOf;
using korrin_test::floatImage;
using korrin_test::randomFloatImage;
using korrin_test::RandomInputs;
using korrin_test::Rows;
using korrin_test::rowsOf;
using korrin_test::sameImage;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// The images merged at 1 metre a cell into a new image.
Rows<float> merged(const std::vector<ImageToMerge>& images) {
  IplImage* out = nullptr;
  Brin::mergeImages2(images, &out, 1.0f, 0.0f);
  const ImagePtr owned(out);
  return rowsOf<float>(*owned);
}

TEST(MergeImages2, oneImageInItsPlaceIsItself) {
  const ImagePtr a = floatImage({{0.1f, 0.9f}, {0.3f, 0.7f}});
  EXPECT_EQ(merged({{a.get(), 0.0f, 0.0f, 0.0f}}), rowsOf<float>(*a));
}

TEST(MergeImages2, imagesAreAveraged) {
  const ImagePtr a = floatImage({{0.0f, 1.0f, 0.5f, 0.25f}});
  const ImagePtr b = floatImage({{1.0f, 1.0f, 0.0f, 0.75f}});
  EXPECT_EQ(merged({{a.get(), 0, 0, 0}, {b.get(), 0, 0, 0}}),
            (Rows<float>{{0.5f, 1.0f, 0.25f, 0.5f}}));
}

TEST(MergeImages2, aNewImageHasTheRegionAndTheOtherPixelsOfTheFirst) {
  const ImagePtr a = floatImage({{0.1f, 0.2f, 0.3f, 0.4f}, {0.5f, 0.6f, 0.7f, 0.8f}});
  const ImagePtr b = floatImage({{0.9f, 0.8f, 0.7f, 0.6f}, {0.5f, 0.4f, 0.3f, 0.2f}});
  cvSetImageROI(a.get(), cvRect(1, 0, 2, 2));
  cvSetImageROI(b.get(), cvRect(0, 0, 2, 2));
  const std::vector<ImageToMerge> images = {{a.get(), 0, 0, 0}, {b.get(), 0, 0, 0}};
  IplImage* out = nullptr;
  Brin::mergeImages2(images, &out, 1.0f, 0.0f);
  const ImagePtr owned(out);
  EXPECT_EQ(rowsOf<float>(*owned),
            (Rows<float>{{0.1f, 0.55f, 0.55f, 0.4f}, {0.5f, 0.55f, 0.55f, 0.8f}}));
  ASSERT_NE(owned->roi, nullptr);
  EXPECT_EQ(owned->roi->xOffset, 1);
  EXPECT_EQ(owned->roi->coi, 0);
}

TEST(MergeImages2, shiftsAreInMetres) {
  const ImagePtr a = floatImage({{0.0f, 0.25f, 1.0f}, {1.0f, 0.75f, 0.0f}});
  IplImage* out = nullptr;
  Brin::mergeImages2({{a.get(), 0.1f, -0.05f, 0.0f}}, &out, 0.05f, 0.0f);
  const ImagePtr owned(out);
  EXPECT_EQ(rowsOf<float>(*owned), (Rows<float>{{0.5f, 0.5f, 1.0f}, {0.5f, 0.5f, 0.5f}}));
}

TEST(MergeImages2, shiftsAreDividedByTheResolutionNotMultipliedByItsInverse) {
  // One cell exactly, though 0.21f * (1 / 0.21f) is a little less: the shift is a whole one.
  const ImagePtr a = floatImage({{0.1f, kNaN, 0.2f, 0.3f}});
  IplImage* out = nullptr;
  Brin::mergeImages2({{a.get(), 0.21f, -0.0f, 0.0f}}, &out, 0.21f, 0.0f);
  const ImagePtr owned(out);
  EXPECT_TRUE(sameImage(out, floatImage({{0.5f, 0.1f, kNaN, 0.2f}}).get()));
}

TEST(MergeImages2, whatAnImageDoesNotCoverAddsAWholeHalf) {
  // A's share is half of it; B, a map's width away, covers nothing and adds 0.5, not 0.25.
  const ImagePtr a = floatImage({{0.0f, 1.0f, 0.5f}});
  const ImagePtr b = floatImage({{1.0f, 1.0f, 1.0f}});
  EXPECT_EQ(merged({{a.get(), 0, 0, 0}, {b.get(), 3, 0, 0}}), (Rows<float>{{0.5f, 1.0f, 0.75f}}));
}

TEST(MergeImages2, whatNoImageCoversEndsAtHalfTheirNumber) {
  const ImagePtr a = floatImage({{0.0f, 1.0f}});
  const ImageToMerge away = {a.get(), 2, 0, 0};
  EXPECT_EQ(merged({away, away, away}), (Rows<float>{{1.5f, 1.5f}}));
}

TEST(MergeImages2, headingAndTheLastArgumentAreNotRead) {
  const ImagePtr a = floatImage({{0.0f, 1.0f, 0.25f}});
  IplImage* out = nullptr;
  Brin::mergeImages2({{a.get(), 1, 0, kNaN}}, &out, 1.0f, kNaN);
  const ImagePtr owned(out);
  EXPECT_EQ(rowsOf<float>(*owned), (Rows<float>{{0.5f, 0.0f, 1.0f}}));
}

TEST(MergeImages2, anExistingOutputIsOverwrittenInPlace) {
  const ImagePtr a = floatImage({{0.0f, 1.0f}});
  const ImagePtr existing = floatImage({{7.0f, kNaN}});
  IplImage* out = existing.get();
  Brin::mergeImages2({{a.get(), 0, 0, 0}}, &out, 1.0f, 0.0f);
  EXPECT_EQ(out, existing.get());
  EXPECT_EQ(rowsOf<float>(*out), rowsOf<float>(*a));
}

TEST(MergeImages2, noImagesLeaveTheOutputAsItIs) {
  IplImage* none = nullptr;
  Brin::mergeImages2({}, &none, 1.0f, 0.0f);
  EXPECT_EQ(none, nullptr);
  const ImagePtr existing = floatImage({{7.0f}});
  IplImage* out = existing.get();
  Brin::mergeImages2({}, &out, 1.0f, 0.0f);
  EXPECT_EQ(rowsOf<float>(*out), (Rows<float>{{7.0f}}));
  EXPECT_NO_THROW(Brin::mergeImages2({}, nullptr, 1.0f, 0.0f));
}

TEST(MergeImages2, theImagesAreOnlyRead) {
  const ImagePtr a = floatImage({{0.0f, 1.0f}});
  merged({{a.get(), 1, 0, 0}, {a.get(), 0, 0, 0}});
  EXPECT_EQ(rowsOf<float>(*a), (Rows<float>{{0.0f, 1.0f}}));
}

TEST(MergeImages2, anOutputThatIsAlsoAnImageCountsWithTheSumSoFar) {
  const ImagePtr a = floatImage({{0.5f, 1.0f}});
  const ImagePtr b = floatImage({{1.0f, 1.0f}});
  IplImage* out = b.get();
  Brin::mergeImages2({{a.get(), 0, 0, 0}, {b.get(), 0, 0, 0}}, &out, 1.0f, 0.0f);
  // The sum so far, 0.25 and 0.5, stands in b when its turn comes.
  EXPECT_EQ(rowsOf<float>(*b), (Rows<float>{{0.375f, 0.75f}}));
}

void expectRefused(const std::vector<ImageToMerge>& images) {
  IplImage* none = nullptr;
  EXPECT_THROW(Brin::mergeImages2(images, &none, 1.0f, 0.0f), cv::Exception);
  EXPECT_EQ(none, nullptr);
  const ImagePtr existing = floatImage({{7.0f, 8.0f}});
  IplImage* out = existing.get();
  EXPECT_THROW(Brin::mergeImages2(images, &out, 1.0f, 0.0f), cv::Exception);
  EXPECT_EQ(rowsOf<float>(*existing), (Rows<float>{{7.0f, 8.0f}}));
}

TEST(MergeImages2, nullAndMismatchedImagesAreRefusedBeforeAnythingIsWritten) {
  const ImagePtr a = floatImage({{0.0f, 1.0f}});
  const ImagePtr wider = floatImage({{0.0f, 1.0f, 0.0f}});
  const ImagePtr colour = Brin::makeImage(cvSize(2, 1), IPL_DEPTH_32F, 3);
  expectRefused({{nullptr, 0, 0, 0}});
  expectRefused({{a.get(), 0, 0, 0}, {nullptr, 0, 0, 0}});
  expectRefused({{a.get(), 0, 0, 0}, {wider.get(), 0, 0, 0}});
  expectRefused({{a.get(), 0, 0, 0}, {colour.get(), 0, 0, 0}});
}

TEST(MergeImages2, anOutputOfAnotherSizeIsRefused) {
  const ImagePtr a = floatImage({{0.0f, 1.0f}});
  const ImagePtr taller = floatImage({{7.0f, 7.0f}, {7.0f, 7.0f}});
  IplImage* out = taller.get();
  EXPECT_THROW(Brin::mergeImages2({{a.get(), 0, 0, 0}}, &out, 1.0f, 0.0f), cv::Exception);
  EXPECT_EQ(rowsOf<float>(*taller), (Rows<float>{{7.0f, 7.0f}, {7.0f, 7.0f}}));
  EXPECT_THROW(Brin::mergeImages2({{a.get(), 0, 0, 0}}, nullptr, 1.0f, 0.0f), cv::Exception);
}

TEST(MergeImages2, nothingIsLostWhenOpenCvFailsMidway) {
  // OpenCV warps no image this wide; leak checkers tell whether the work images are released.
  const ImagePtr wide = Brin::makeImage(cvSize(40000, 1), IPL_DEPTH_32F, 1);
  cvSetZero(wide.get());
  IplImage* out = nullptr;
  EXPECT_THROW(Brin::mergeImages2({{wide.get(), 0.5f, 0, 0}}, &out, 1.0f, 0.0f), cv::Exception);
  EXPECT_EQ(out, nullptr);
}

TEST(MergeImages2, bytesAreAveragedAsOpenCvRoundsThem) {
  const ImagePtr a = byteImage({{10, 21, 30, 255}});
  const ImagePtr b = byteImage({{20, 21, 31, 255}});
  IplImage* out = nullptr;
  Brin::mergeImages2({{a.get(), 0, 0, 0}, {b.get(), 0, 0, 0}}, &out, 1.0f, 0.0f);
  const ImagePtr owned(out);
  EXPECT_EQ(rowsOf<std::uint8_t>(*owned), (Rows<std::uint8_t>{{15, 20, 31, 255}}));
}

TEST(MergeImages2, withoutAResolutionNothingIsCovered) {
  const ImagePtr a = floatImage({{0.0f, 1.0f}});
  for (const float resolution : {0.0f, kNaN}) {
    IplImage* out = nullptr;
    Brin::mergeImages2({{a.get(), 1, 1, 0}}, &out, resolution, 0.0f);
    const ImagePtr owned(out);
    EXPECT_EQ(rowsOf<float>(*owned), (Rows<float>{{0.5f, 0.5f}})) << resolution;
  }
}

TEST(MergingLaw, anyImagesAgreeWithTheModel) {
  RandomInputs random(49);
  int several = 0;
  for (int i = 0; i < 3000; ++i) {
    const int width = random.between(1, 12);
    const int height = random.between(1, 12);
    std::vector<ImagePtr> owned;
    std::vector<ImageToMerge> images;
    const float resolution = random.pick<float>({0.05f, 0.25f, 1.0f});
    for (int n = random.between(0, 5); n > 0; --n) {
      owned.push_back(randomFloatImage(random, width, height, random.pick<double>({0.0, 0.05})));
      const auto shift = [&] {
        return random.chance(0.5) ? static_cast<float>(random.between(-6, 6)) * resolution
                                  : random.between(-2.0f, 2.0f);
      };
      images.push_back({owned.back().get(), shift(), shift(), random.wildFloat()});
    }
    IplImage* out = nullptr;
    IplImage* expected = nullptr;
    if (random.chance(0.5)) {
      out = randomFloatImage(random, width, height, 0.1).release();
      expected = copyOf(*out).release();
    }
    Brin::mergeImages2(images, &out, resolution, random.wildFloat());
    korrin_model::mergeImages2(images, &expected, resolution);
    const ImagePtr ownedOut(out);
    const ImagePtr ownedExpected(expected);
    ASSERT_TRUE(sameImage(out, expected)) << "case " << i;
    several += images.size() > 1 ? 1 : 0;
  }
  EXPECT_GT(several, 1500);
}

}  // namespace
