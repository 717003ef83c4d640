// Quarter turns of images.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "korrin/map_image_utils.hpp"
#include "models/map_image_utils_model.hpp"
#include "support/bits.hpp"
#include "support/images.hpp"

namespace {

using Brin::ImagePtr;
using korrin_test::byteImage;
using korrin_test::copyOf;
using korrin_test::floatImage;
using korrin_test::randomFloatImage;
using korrin_test::RandomInputs;
using korrin_test::Rows;
using korrin_test::rowsOf;
using korrin_test::sameImage;

TEST(RotateIplImage90, theSixValuesOfTheMatrixAreThese) {
  // Source (x, y) lands at column -y and row x + 2 y - 2, as w / 2 is 2: most of it outside.
  // Column 0 shows source row 0, two rows up; columns 1 to 3 have no source.
  const ImagePtr image = floatImage({{0.1f, 0.2f, 0.3f, 0.4f},
                                     {0.6f, 0.6f, 0.6f, 0.6f},
                                     {0.7f, 0.7f, 0.7f, 0.7f},
                                     {0.8f, 0.8f, 0.8f, 0.8f}});
  const ImagePtr out = copyOf(*image);
  Brin::rotateIplImage90(image.get(), out.get());
  EXPECT_EQ(rowsOf<float>(*out), (Rows<float>{{0.3f, 0.5f, 0.5f, 0.5f},
                                              {0.4f, 0.5f, 0.5f, 0.5f},
                                              {0.5f, 0.5f, 0.5f, 0.5f},
                                              {0.5f, 0.5f, 0.5f, 0.5f}}));
}

TEST(RotateIplImage90, aTextbookRotationIsSomethingElse) {
  RandomInputs random(50);
  const ImagePtr image = randomFloatImage(random, 6, 6);
  const ImagePtr out = copyOf(*image);
  const ImagePtr turned = copyOf(*image);
  Brin::rotateIplImage90(image.get(), out.get());
  korrin_model::warpAffine(image.get(), turned.get(), 0, -1, 5, 1, 0, 0);
  EXPECT_FALSE(sameImage(out.get(), turned.get()));
}

TEST(RotateIplImage90, theWidthCountsNotTheHeight) {
  RandomInputs random(51);
  for (int i = 0; i < 300; ++i) {
    const ImagePtr image = randomFloatImage(random, random.between(1, 15), random.between(1, 15));
    const ImagePtr out = randomFloatImage(random, random.between(1, 15), random.between(1, 15));
    const ImagePtr expected = copyOf(*out);
    Brin::rotateIplImage90(image.get(), out.get());
    korrin_model::rotateIplImage90(image.get(), expected.get());
    ASSERT_TRUE(sameImage(out.get(), expected.get())) << "case " << i;
  }
}

TEST(RotateIplImage90, inPlaceGivesWhatADistinctImageGets) {
  RandomInputs random(52);
  const ImagePtr image = randomFloatImage(random, 9, 9);
  const ImagePtr out = copyOf(*image);
  Brin::rotateIplImage90(image.get(), out.get());
  Brin::rotateIplImage90(image.get(), image.get());
  EXPECT_TRUE(sameImage(image.get(), out.get()));
}

TEST(RotateIplImage90, nullEmptyAndMismatchedImagesAreRefused) {
  const ImagePtr floats = floatImage({{0.25f}});
  const ImagePtr bytes = byteImage({{7}});
  const ImagePtr empty = Brin::makeImage(cvSize(0, 0), IPL_DEPTH_32F, 1);
  EXPECT_THROW(Brin::rotateIplImage90(nullptr, floats.get()), cv::Exception);
  EXPECT_THROW(Brin::rotateIplImage90(floats.get(), nullptr), cv::Exception);
  EXPECT_THROW(Brin::rotateIplImage90(bytes.get(), floats.get()), cv::Exception);
  EXPECT_THROW(Brin::rotateIplImage90(empty.get(), floats.get()), cv::Exception);
  EXPECT_EQ(rowsOf<float>(*floats), (Rows<float>{{0.25f}}));
}

TEST(RotateIplImage90_2, rowsBecomeColumnsFromTheBottomUp) {
  const ImagePtr image = floatImage({{1, 2, 3},  //
                                     {4, 5, 6},
                                     {7, 8, 9}});
  const ImagePtr out = copyOf(*image);
  Brin::rotateIplImage90_2(image.get(), out.get());
  EXPECT_EQ(rowsOf<float>(*out), (Rows<float>{{3, 6, 9},  //
                                              {2, 5, 8},
                                              {1, 4, 7}}));
}

TEST(RotateIplImage90_2, fourTurnsGiveTheImageBack) {
  RandomInputs random(53);
  for (const int side : {1, 2, 5, 8}) {
    const ImagePtr image = randomFloatImage(random, side, side, 0.2);
    const ImagePtr turning = copyOf(*image);
    for (int turn = 0; turn < 4; ++turn) {
      Brin::rotateIplImage90_2(turning.get(), turning.get());
    }
    EXPECT_TRUE(sameImage(turning.get(), image.get()));
  }
}

TEST(RotateIplImage90_2, inPlaceGivesWhatADistinctImageGets) {
  const ImagePtr image = byteImage({{1, 2}, {3, 4}});
  Brin::rotateIplImage90_2(image.get(), image.get());
  EXPECT_EQ(rowsOf<std::uint8_t>(*image), (Rows<std::uint8_t>{{2, 4}, {1, 3}}));
}

TEST(RotateIplImage90_2, imagesThatAreNotSquareAreRefusedBeforeAnythingIsWritten) {
  const ImagePtr wide = floatImage({{1, 2, 3}, {4, 5, 6}});
  const ImagePtr tall = floatImage({{1, 2}, {3, 4}, {5, 6}});
  const ImagePtr out = floatImage({{7, 7, 7}, {7, 7, 7}, {7, 7, 7}});
  EXPECT_THROW(Brin::rotateIplImage90_2(wide.get(), out.get()), cv::Exception);
  EXPECT_THROW(Brin::rotateIplImage90_2(tall.get(), out.get()), cv::Exception);
  EXPECT_EQ(rowsOf<float>(*out), (Rows<float>{{7, 7, 7}, {7, 7, 7}, {7, 7, 7}}));
  EXPECT_THROW(Brin::rotateIplImage90_2(out.get(), wide.get()), cv::Exception);
  EXPECT_THROW(Brin::rotateIplImage90_2(out.get(), tall.get()), cv::Exception);
  EXPECT_EQ(rowsOf<float>(*wide), (Rows<float>{{1, 2, 3}, {4, 5, 6}}));
  EXPECT_EQ(rowsOf<float>(*tall), (Rows<float>{{1, 2}, {3, 4}, {5, 6}}));
}

TEST(RotateIplImage90_2, aRegionThatIsTooSmallIsRefusedBeforeAnythingIsWritten) {
  const Rows<float> cells = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  const Rows<float> sevens = {{7, 7, 7}, {7, 7, 7}, {7, 7, 7}};
  for (const CvRect& region : {cvRect(0, 0, 3, 2), cvRect(0, 0, 2, 3), cvRect(1, 1, 2, 2)}) {
    const ImagePtr source = floatImage(cells);
    const ImagePtr out = floatImage(sevens);
    cvSetImageROI(source.get(), region);
    EXPECT_THROW(Brin::rotateIplImage90_2(source.get(), out.get()), cv::Exception);
    EXPECT_EQ(rowsOf<float>(*out), sevens);
    cvResetImageROI(source.get());
    cvSetImageROI(out.get(), region);
    EXPECT_THROW(Brin::rotateIplImage90_2(source.get(), out.get()), cv::Exception);
    cvResetImageROI(out.get());
    EXPECT_EQ(rowsOf<float>(*out), sevens);
  }
}

TEST(RotateIplImage90_2, nullImagesAreRefused) {
  const ImagePtr image = floatImage({{1}});
  EXPECT_THROW(Brin::rotateIplImage90_2(nullptr, image.get()), cv::Exception);
  EXPECT_THROW(Brin::rotateIplImage90_2(image.get(), nullptr), cv::Exception);
}

TEST(RotateIplImage90_2, aLargerDestinationKeepsTheRest) {
  const ImagePtr image = floatImage({{1, 2}, {3, 4}});
  const ImagePtr out = floatImage({{7, 7, 7}, {7, 7, 7}, {7, 7, 7}});
  Brin::rotateIplImage90_2(image.get(), out.get());
  EXPECT_EQ(rowsOf<float>(*out), (Rows<float>{{2, 4, 7}, {1, 3, 7}, {7, 7, 7}}));
}

TEST(RotateIplImage90_2, betweenKindsValuesAreConverted) {
  const ImagePtr image = floatImage({{1.75f, 300.0f}, {-4.0f, 2.5f}});
  const ImagePtr out = byteImage({{0, 0}, {0, 0}});
  Brin::rotateIplImage90_2(image.get(), out.get());
  EXPECT_EQ(rowsOf<std::uint8_t>(*out), (Rows<std::uint8_t>{{255, 2}, {2, 0}}));
}

TEST(RotateIplImage90_2, anyKindAgreesWithTheModel) {
  RandomInputs random(54);
  for (int i = 0; i < 600; ++i) {
    const int side = random.between(0, 14);
    const int depth = random.pick<int>({IPL_DEPTH_32F, IPL_DEPTH_32F, IPL_DEPTH_8U, IPL_DEPTH_64F});
    const int channels = random.pick<int>({1, 1, 3});
    const ImagePtr image = Brin::makeImage(cvSize(side, side), depth, channels);
    for (int k = 0; k < image->imageSize; ++k) {
      // Bytes below 64 make ordinary numbers of any float, too.
      image->imageData[k] = static_cast<char>(random.between(0, 63));
    }
    const int outDepth = random.chance(0.7) ? depth : IPL_DEPTH_32F;
    const ImagePtr out = Brin::makeImage(
        cvSize(side + random.between(0, 2), side + random.between(0, 2)), outDepth, channels);
    cvSetZero(out.get());
    const ImagePtr expected = copyOf(*out);
    Brin::rotateIplImage90_2(image.get(), out.get());
    korrin_model::rotateIplImage90_2(image.get(), expected.get());
    ASSERT_TRUE(sameImage(out.get(), expected.get())) << "case " << i;
  }
}

}  // namespace
